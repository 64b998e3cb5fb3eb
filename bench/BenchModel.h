#pragma once

#include "mvgeothirdparty/GeoMeshTileContainer.h"
#include "mvgeothirdparty/GeoMeshUpdateReceiver.h"
#include "mvgeothirdparty/KdGiGeoMesh.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace mvgeo::bench
{

/** A host that keeps what it is given: the arrays copied, the texture objects with their pixels. */
class CopyingReceiver : public GeoMeshUpdateReceiver
{
public:
    bool hasTiles() override;
    GeoMeshTileContainer* beginTile(const std::string& globalId) override;
    void removeTiles(const std::vector<std::string>& globalIds) override;
    void visibleTiles(const std::vector<std::string>& globalIds) override { visibleCount = globalIds.size(); }

    std::size_t visibleCount = 0;

private:
    struct Mesh : KdGiGeoMesh
    {
        void setVertices(unsigned int count, const float* positions, const float* normals,
                         const float* texCoords) override;
        void setIndices(unsigned int count, const unsigned int* data) override;
        void setTransform(const KdGeMatrix3d&) override {}
        void setTexture(KdGiGeoMeshImage* image) override { texture.reset(image); }
        void setExtents(const double*, const double*) override {}

        std::vector<float> vertices;
        std::vector<unsigned int> indices;
        std::unique_ptr<KdGiGeoMeshImage> texture;
    };
    struct Tile : GeoMeshTileContainer
    {
        KdGiGeoMesh* createMesh() override;
        std::vector<std::unique_ptr<Mesh>> meshes;
    };

    std::unordered_map<std::string, Tile> _tiles;
    bool _isFilled = false;
};

/** Where the camera stands, z up. */
struct Camera
{
    osg::Vec3d eye;
    osg::Vec3d target;
};

constexpr int kWidth = 1280;
constexpr int kHeight = 960;

[[nodiscard]] osg::Matrixd viewMatrix(const Camera& camera);
[[nodiscard]] osg::Matrixd projectionMatrix();

/** A model with a copying host, driven frame by frame. */
class BenchModel
{
public:
    explicit BenchModel(const std::vector<std::string>& rootFiles);

    void update(const Camera& camera);
    /** Updates until nothing is missing for this view. */
    void converge(const Camera& camera);

    MvOsgGeoMesh model;
    CopyingReceiver receiver;

private:
    unsigned int _frame = 0;
};

} // namespace mvgeo::bench
