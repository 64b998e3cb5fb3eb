#pragma once

#include <string>
#include <vector>

class GeoMeshTileContainer;

/** Through this the host learns, during MvGeoMesh::update(), what came, what went and what is to be drawn.
 *
 * Calls come in this order: hasTiles, removeTiles, visibleTiles (always once each), then beginTile for each new tile. A
 * tile in visibleTiles may therefore be announced only a moment later, but always before update() returns. Identities
 * are unique within the process and stay the same when a tile leaves and comes back.
 *
 * From within these calls, and those to containers and meshes, the host may call every operation of the model but two:
 * it must not delete it, and update() does nothing there and returns false. The update under way goes on with the
 * tiles, the identities and the placement that it had before its first call; a file that is added there is announced by
 * the next one, and after reload(), replaceModel() or clear() the next hasTiles() answers false, as always. Nothing may
 * be thrown.
 * Thread: the one that called update().
 *
 * Hosts implement it and the library calls it, so it is binary interface: nothing is added, taken out, moved or
 * changed, see MvGeoMesh.
 */
class GeoMeshUpdateReceiver
{
public:
    virtual ~GeoMeshUpdateReceiver() = default;

    /** False asks for everything anew: every tile in memory is announced again. Say so when the host dropped its tiles,
     * and after MvGeoMesh::reload(), replaceModel() or clear(), which forget tiles without a word. */
    virtual bool hasTiles() = 0;

    /** A new tile; its meshes go into the returned container before the next call. Null skips the tile's meshes. */
    virtual GeoMeshTileContainer* beginTile(const std::string& globalId) = 0;

    /** The tiles that left memory; their meshes are to be dropped. A tile that came and left within one update is named
     * here although it was never announced. */
    virtual void removeTiles(const std::vector<std::string>& globalIds) = 0;

    /** The tiles to draw for this view. What is held but not named here stays hidden. */
    virtual void visibleTiles(const std::vector<std::string>& globalIds) = 0;
};
