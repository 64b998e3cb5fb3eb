#include "BenchModel.h"

#include "support/HostConversions.h"

#include <stdexcept>
#include <thread>

namespace mvgeo::bench
{

bool CopyingReceiver::hasTiles()
{
    return std::exchange(_isFilled, true);
}

GeoMeshTileContainer* CopyingReceiver::beginTile(const std::string& globalId)
{
    return &_tiles[globalId];
}

void CopyingReceiver::removeTiles(const std::vector<std::string>& globalIds)
{
    for (const std::string& id : globalIds)
        _tiles.erase(id);
}

KdGiGeoMesh* CopyingReceiver::Tile::createMesh()
{
    meshes.push_back(std::make_unique<Mesh>());
    return meshes.back().get();
}

void CopyingReceiver::Mesh::setVertices(unsigned int count, const float* positions, const float* normals,
                                        const float* texCoords)
{
    vertices.assign(positions, positions + 3 * std::size_t{count});
    if (normals) vertices.insert(vertices.end(), normals, normals + 3 * std::size_t{count});
    if (texCoords) vertices.insert(vertices.end(), texCoords, texCoords + 2 * std::size_t{count});
}

void CopyingReceiver::Mesh::setIndices(unsigned int count, const unsigned int* data)
{
    indices.assign(data, data + count);
}

osg::Matrixd viewMatrix(const Camera& camera)
{
    return osg::Matrixd::lookAt(camera.eye, camera.target, osg::Vec3d(0, 0, 1));
}

osg::Matrixd projectionMatrix()
{
    return osg::Matrixd::perspective(45.0, static_cast<double>(kWidth) / kHeight, 1.0, 20000.0);
}

BenchModel::BenchModel(const std::vector<std::string>& rootFiles) : model([] { return true; })
{
    for (const std::string& file : rootFiles)
        if (model.addModel(KdString(file.c_str())) < 0) throw std::runtime_error("cannot read " + file);
}

void BenchModel::update(const Camera& camera)
{
    const KdGeMatrix3d view = toHost(viewMatrix(camera));
    const KdGeMatrix3d projection = toHost(projectionMatrix());
    model.update(++_frame, &KdGeMatrix3d::kIdentity, &view, &projection, kWidth, kHeight, MvGeoMesh::kExtractTextures,
                 nullptr, &receiver);
}

void BenchModel::converge(const Camera& camera)
{
    for (;;)
    {
        update(camera);
        while (!model.pager().isIdle() && model.pager().getDataToMergeListSize() == 0)
            std::this_thread::yield();
        if (model.pager().isIdle()) return;
    }
}

} // namespace mvgeo::bench
