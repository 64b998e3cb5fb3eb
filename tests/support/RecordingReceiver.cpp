#include "support/RecordingReceiver.h"

#include "support/ImageBytes.h"

#include <osg/Image>

namespace
{

template <typename T>
std::vector<T> copyOf(const T* data, std::size_t count)
{
    return data ? std::vector<T>(data, data + count) : std::vector<T>();
}

} // namespace

void RecordingMesh::setVertices(unsigned int count, const float* v, const float* n, const float* t)
{
    calls.emplace_back("setVertices");
    vertices = copyOf(v, 3U * count);
    normals = copyOf(n, 3U * count);
    texCoords = copyOf(t, 2U * count);
}

void RecordingMesh::setIndices(unsigned int count, const unsigned int* i)
{
    calls.emplace_back("setIndices");
    indices = copyOf(i, count);
}

void RecordingMesh::setTransform(const KdGeMatrix3d& xform)
{
    calls.emplace_back("setTransform");
    transform = xform;
}

void RecordingMesh::setTexture(KdGiGeoMeshImage* newImage)
{
    calls.emplace_back("setTexture");
    image.reset(newImage);
}

void RecordingMesh::setExtents(const double* lower, const double* upper)
{
    calls.emplace_back("setExtents");
    min = copyOf(lower, 3);
    max = copyOf(upper, 3);
}

RecordedPixels RecordingMesh::pixels() const
{
    RecordedPixels result;
    unsigned char* data = nullptr;
    if (!image || !image->imageData(result.width, result.height, result.dataType, result.pixelFormat,
                                    result.internalFormat, data))
        return result;
    const osg::ref_ptr<osg::Image> shape = new osg::Image;
    shape->setImage(static_cast<int>(result.width), static_cast<int>(result.height), 1,
                    static_cast<GLint>(result.internalFormat), result.pixelFormat, result.dataType, nullptr,
                    osg::Image::NO_DELETE);
    result.bytes = copyOf<unsigned char>(data, data ? mvgeo::imageBytes(*shape) : 0);
    return result;
}

KdGiGeoMesh* RecordingContainer::createMesh()
{
    meshes.push_back(std::make_unique<RecordingMesh>());
    return meshes.back().get();
}

bool RecordingReceiver::hasTiles()
{
    calls.assign(1, "hasTiles");
    return !_tiles.empty();
}

GeoMeshTileContainer* RecordingReceiver::beginTile(const std::string& globalId)
{
    calls.push_back("beginTile " + globalId);
    if (refusesTiles) return nullptr;
    announced.push_back(globalId);
    const auto [entry, isNew] = _tiles.try_emplace(globalId);
    if (!isNew) errors.push_back("announced twice: " + globalId);
    return &entry->second;
}

void RecordingReceiver::removeTiles(const std::vector<std::string>& globalIds)
{
    calls.emplace_back("removeTiles");
    for (const std::string& id : globalIds)
    {
        removed.push_back(id);
        if (_tiles.erase(id) == 0 && !allowsComingAndGoing) errors.push_back("removed but never announced: " + id);
    }
}

void RecordingReceiver::visibleTiles(const std::vector<std::string>& globalIds)
{
    calls.emplace_back("visibleTiles");
    visible = globalIds;
}

void RecordingReceiver::finishUpdate()
{
    if (refusesTiles) return;
    for (const std::string& id : visible)
        if (_tiles.count(id) == 0) errors.push_back("visible but not held: " + id);
}

std::set<std::string> RecordingReceiver::heldIds() const
{
    std::set<std::string> ids;
    for (const auto& tile : _tiles)
        ids.insert(tile.first);
    return ids;
}

std::vector<const RecordingMesh*> RecordingReceiver::meshes() const
{
    std::vector<const RecordingMesh*> all;
    for (const auto& tile : _tiles)
        for (const auto& mesh : tile.second.meshes)
            all.push_back(mesh.get());
    return all;
}

const RecordingMesh* RecordingReceiver::onlyMesh(const std::string& globalId) const
{
    const auto found = _tiles.find(globalId);
    return found != _tiles.end() && found->second.meshes.size() == 1 ? found->second.meshes.front().get() : nullptr;
}
