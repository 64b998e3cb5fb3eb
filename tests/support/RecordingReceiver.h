#pragma once

#include "mvgeothirdparty/GeoMeshTileContainer.h"
#include "mvgeothirdparty/GeoMeshUpdateReceiver.h"
#include "mvgeothirdparty/KdGiGeoMesh.h"

#include <KdGeMatrix3d.h>
#include <KdGiGeoMeshImage.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/** The pixels of a texture, read when the update is over. */
struct RecordedPixels
{
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int dataType = 0;
    unsigned int pixelFormat = 0;
    unsigned int internalFormat = 0;
    std::vector<unsigned char> bytes; // tightly packed rows, or blocks; empty if there are none
};

class RecordingMesh : public KdGiGeoMesh
{
public:
    void setVertices(unsigned int count, const float* vertices, const float* normals, const float* texCoords) override;
    void setIndices(unsigned int count, const unsigned int* indices) override;
    void setTransform(const KdGeMatrix3d& xform) override;
    void setTexture(KdGiGeoMeshImage* image) override;
    void setExtents(const double* min, const double* max) override;

    [[nodiscard]] std::string textureKey() const { return image ? image->key() : std::string(); }
    [[nodiscard]] RecordedPixels pixels() const;

    std::vector<float> vertices;
    std::vector<float> normals;
    std::vector<float> texCoords;
    std::vector<unsigned int> indices;
    KdGeMatrix3d transform;
    std::vector<double> min;
    std::vector<double> max;
    std::unique_ptr<KdGiGeoMeshImage> image;
    std::vector<std::string> calls; // names of the operations in the order of their calls
};

class RecordingContainer : public GeoMeshTileContainer
{
public:
    KdGiGeoMesh* createMesh() override;

    std::vector<std::unique_ptr<RecordingMesh>> meshes;
};

/** A strict host: whatever breaks the contract becomes a text in `errors`. It has tiles as soon as it holds one, unless
 * forget() was called. Call finishUpdate() when update() has returned. */
class RecordingReceiver : public GeoMeshUpdateReceiver
{
public:
    bool hasTiles() override;
    GeoMeshTileContainer* beginTile(const std::string& globalId) override;
    void removeTiles(const std::vector<std::string>& globalIds) override;
    void visibleTiles(const std::vector<std::string>& globalIds) override;

    void finishUpdate();
    /** Drops everything; the next update must bring all tiles again. */
    void forget() { _tiles.clear(); }

    [[nodiscard]] const std::map<std::string, RecordingContainer>& tiles() const { return _tiles; }
    [[nodiscard]] std::set<std::string> heldIds() const;
    [[nodiscard]] std::set<std::string> visibleIds() const { return {visible.begin(), visible.end()}; }
    /** Every mesh that is held, tile by tile. */
    [[nodiscard]] std::vector<const RecordingMesh*> meshes() const;
    /** The mesh of a tile that has exactly one; null otherwise. */
    [[nodiscard]] const RecordingMesh* onlyMesh(const std::string& globalId) const;

    std::vector<std::string> visible;   // of the last update
    std::vector<std::string> calls;     // of the last update: "hasTiles", "removeTiles", ..., "beginTile <id>"
    std::vector<std::string> announced; // since the start
    std::vector<std::string> removed;   // since the start
    std::vector<std::string> errors;
    /** A tile that came and left within one update is removed without having been announced: allowed, but rare. */
    bool allowsComingAndGoing = false;
    bool refusesTiles = false; // beginTile answers null

private:
    std::map<std::string, RecordingContainer> _tiles;
};
