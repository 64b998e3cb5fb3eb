#include "RatioTimer.h"

#include "mvgeothirdparty/GeoMeshTileContainer.h"
#include "mvgeothirdparty/KdGiGeoMesh.h"
#include "mvosggeomesh/MeshExtraction.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace
{

using namespace mvgeo::bench;

/** A host whose buffers are there already, so that only the copying is left. */
class BufferMesh : public KdGiGeoMesh, public GeoMeshTileContainer
{
public:
    BufferMesh(std::size_t vertexCount, std::size_t indexCount) : vertices(5 * vertexCount), indices(indexCount) {}

    KdGiGeoMesh* createMesh() override { return this; }
    void setVertices(unsigned int count, const float* positions, const float*, const float* texCoords) override
    {
        std::memcpy(vertices.data(), positions, 3 * sizeof(float) * count);
        std::memcpy(vertices.data() + 3 * std::size_t{count}, texCoords, 2 * sizeof(float) * count);
    }
    void setIndices(unsigned int count, const unsigned int* data) override
    {
        std::memcpy(indices.data(), data, sizeof(unsigned int) * count);
    }
    void setTransform(const KdGeMatrix3d&) override {}
    void setTexture(KdGiGeoMeshImage*) override {}
    void setExtents(const double*, const double*) override {}

    std::vector<float> vertices;
    std::vector<unsigned int> indices;
};

osg::ref_ptr<osg::Geometry> grid(unsigned int side)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    const osg::ref_ptr<osg::Vec2Array> texCoords = new osg::Vec2Array;
    const osg::ref_ptr<osg::DrawElementsUInt> indices = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (unsigned int row = 0; row < side; ++row)
        for (unsigned int column = 0; column < side; ++column)
        {
            vertices->push_back(osg::Vec3(static_cast<float>(column), static_cast<float>(row), 0));
            texCoords->push_back(osg::Vec2(static_cast<float>(column), static_cast<float>(row)));
            if (row + 1 == side || column + 1 == side) continue;
            const unsigned int at = row * side + column;
            for (const unsigned int corner : {at, at + 1, at + side, at + 1, at + side + 1, at + side})
                indices->push_back(corner);
        }
    geometry->setVertexArray(vertices);
    geometry->setTexCoordArray(0, texCoords);
    geometry->addPrimitiveSet(indices);
    return geometry;
}

// What does handing a geometry over cost beside copying its bytes? The target is a ratio of 1.3.
void BM_Extraction_OverMemcpy(benchmark::State& state)
{
    const osg::ref_ptr<osg::Geometry> geometry = grid(static_cast<unsigned int>(state.range(0)));
    const auto& positions = static_cast<const osg::Vec3Array&>(*geometry->getVertexArray());
    const auto& texCoords = static_cast<const osg::Vec2Array&>(*geometry->getTexCoordArray(0));
    const auto& indices = static_cast<const osg::DrawElementsUInt&>(*geometry->getPrimitiveSet(0));
    const mvgeo::ExtractionContext context{0, KdGeMatrix3d::kIdentity, true};
    const osg::Matrixd matrix;
    BufferMesh mesh(positions.size(), indices.size());
    geometry->getBoundingBox(); // the reader has computed it: tiles arrive with their bounds

    const auto ours = [&]
    {
        mvgeo::TextureWorkItem item;
        mvgeo::extractGeometry(*geometry, matrix, context, mesh, item);
        benchmark::ClobberMemory();
    };
    const auto bare = [&]
    {
        std::memcpy(mesh.vertices.data(), positions.getDataPointer(), positions.getTotalDataSize());
        std::memcpy(mesh.vertices.data() + 3 * positions.size(), texCoords.getDataPointer(),
                    texCoords.getTotalDataSize());
        std::memcpy(mesh.indices.data(), indices.getDataPointer(), indices.getTotalDataSize());
        benchmark::ClobberMemory();
    };
    RatioTimer timer;
    for (auto _ : state)
        timer.pair(state, ours, bare);
    timer.report(state);
    state.counters["triangles"] = static_cast<double>(indices.size() / 3);
}
BENCHMARK(BM_Extraction_OverMemcpy)->Arg(32)->Arg(100)->Arg(300)->UseManualTime()->MinTime(0.5);

} // namespace
