#pragma once

#include "hosting/HostMesh.h"
#include "hosting/TextureCache.h"

#include <mvgeothirdparty/GeoMeshTileContainer.h>
#include <mvgeothirdparty/GeoMeshUpdateReceiver.h>

#include <osg/Group>
#include <osg/ref_ptr>

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace mvgeo::host
{
/** One tile: its meshes, and the group that draws them while the tile is visible. */
class HostTile : public GeoMeshTileContainer
{
public:
    explicit HostTile(TextureCache& textures);

    KdGiGeoMesh* createMesh() override;

    void setVisible(bool visible);
    [[nodiscard]] osg::Group* node() const { return _node.get(); }
    [[nodiscard]] const std::vector<std::unique_ptr<HostMesh>>& meshes() const { return _meshes; }
    [[nodiscard]] std::size_t triangleCount() const;

private:
    TextureCache& _textures;
    std::vector<std::unique_ptr<HostMesh>> _meshes;
    osg::ref_ptr<osg::Group> _node;
};

/** All tiles that the library announced and has not taken back, as a scene that can be drawn.
 *
 * It is strict: whatever breaks the receiver's contract is written down as a sentence in violations() - a tile
 * announced twice, a visible tile that is not held when the update is over, calls in another order, a mesh with broken
 * indices. A tile that is removed without being held is not one of them, because a tile that came and left within one
 * update is named so; unannouncedRemovals() counts them.
 *
 * Order of use: beginUpdate(), MvGeoMesh::update() with this as receiver, endUpdate(). Thread: the one that updates.
 */
class HostTileStore : public GeoMeshUpdateReceiver
{
public:
    HostTileStore();

    void beginUpdate();
    void endUpdate();

    /** Drops everything; the next update announces every tile again. */
    void reset();

    /** Tiles that come from now on are drawn without what lies below this height. */
    void leaveOutBelow(float height) { _lowestGround = height; }

    bool hasTiles() override;
    GeoMeshTileContainer* beginTile(const std::string& globalId) override;
    void removeTiles(const std::vector<std::string>& globalIds) override;
    void visibleTiles(const std::vector<std::string>& globalIds) override;

    [[nodiscard]] osg::Group* scene() const { return _scene.get(); }
    [[nodiscard]] const TextureCache& textures() const { return _textures; }

    [[nodiscard]] std::size_t heldTileCount() const { return _tiles.size(); }
    /** Sorted, each once: what the last update named visible. */
    [[nodiscard]] const std::vector<std::string>& visibleIds() const { return _visibleIds; }
    [[nodiscard]] std::size_t visibleTriangleCount() const;
    [[nodiscard]] std::size_t visibleMeshCount() const;

    [[nodiscard]] const std::vector<std::string>& violations() const { return _violations; }
    [[nodiscard]] std::size_t unannouncedRemovals() const { return _unannouncedRemovals; }

private:
    /** The calls of one update, in their order. */
    enum class Step
    {
        outside,
        begun,
        askedForTiles,
        removed,
        visibleNamed
    };

    void expect(Step step, const char* call);
    void violate(const std::string& sentence);
    void finishNewTiles();
    void showVisibleTiles();
    HostTile* find(const std::string& globalId) const;

    TextureCache _textures; // outlives the tiles below
    std::unordered_map<std::string, std::unique_ptr<HostTile>> _tiles;
    osg::ref_ptr<osg::Group> _scene;
    std::vector<std::string> _visibleIds;
    std::vector<std::string> _newIds;         // announced in this update
    std::unordered_set<std::string> _goneIds; // removed in this update
    std::vector<std::string> _violations;
    std::optional<float> _lowestGround;
    std::size_t _unannouncedRemovals = 0;
    Step _step = Step::outside;
    bool _wantsAll = true;
};
} // namespace mvgeo::host
