#include "mvosggeomesh/MeshExtraction.h"

#include "mvgeothirdparty/GeoMeshTileContainer.h"
#include "mvgeothirdparty/KdGiGeoMesh.h"
#include "mvosggeomesh/KdDbGeoMeshImage.h"
#include "support/HostConversions.h"
#include "support/LogLine.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"

#include <osg/Texture2D>
#include <osgDB/FileNameUtils>

#include <memory>

namespace mvgeo
{

namespace
{

template <typename Narrow>
osg::ref_ptr<osg::DrawElementsUInt> widened(const osg::PrimitiveSet& set)
{
    const auto& narrow = static_cast<const Narrow&>(set);
    return new osg::DrawElementsUInt(GL_TRIANGLES, narrow.begin(), narrow.end());
}

osg::PrimitiveSet* firstPrimitiveSet(osg::Geometry& geometry)
{
    return geometry.getNumPrimitiveSets() > 0 ? geometry.getPrimitiveSet(0) : nullptr;
}

/** Primitive set 0 if it is one that the host can take; null, with a warning where it is of another kind. */
const osg::DrawElementsUInt* triangleIndices(osg::Geometry& geometry)
{
    widenIndices(geometry);
    const osg::PrimitiveSet* set = firstPrimitiveSet(geometry);
    if (!set) return nullptr;
    if (set->getMode() != GL_TRIANGLES)
    {
        MVGEO_LOG(WARN) << "geometry is not triangle";
        return nullptr;
    }
    const auto* indices = dynamic_cast<const osg::DrawElementsUInt*>(set);
    if (!indices) MVGEO_LOG(WARN) << "geometry DrawElements is not UInt";
    return indices;
}

/** The data of a float array with this many components, or null: another kind of array cannot be handed over. */
const float* floats(const osg::Array* array, int components, unsigned int count)
{
    const bool fits = array && array->getDataType() == GL_FLOAT && array->getDataSize() == components &&
                      array->getNumElements() >= count;
    return fits ? static_cast<const float*>(array->getDataPointer()) : nullptr;
}

/** The texture's image, or a new empty one that `item` will fill from the cached file, or null. */
osg::Image* imageOf(osg::Texture2D& texture, TextureWorkItem& item)
{
    if (texture.getImage()) return texture.getImage();
    const std::string* path = userValue<std::string>(texture, keys::imagePath);
    if (!path) return nullptr;

    const osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setFileName(osgDB::getSimpleFileName(*path));
    item.isFilled = 1;
    item.path = *path;
    item.target = image;
    texture.setImage(image);
    return image;
}

void handOverTexture(osg::Geometry& geometry, std::uint32_t modelId, KdGiGeoMesh& mesh, TextureWorkItem& item)
{
    osg::Texture2D* texture = textureOf(geometry);
    osg::Image* image = texture ? imageOf(*texture, item) : nullptr;
    if (!image) return;

    auto hostImage = std::make_unique<KdDbGeoMeshImage>(modelId);
    hostImage->setImage(image);
    mesh.setTexture(hostImage.release()); // the host takes it
}

void handOverExtents(const osg::Geometry& geometry, KdGiGeoMesh& mesh)
{
    const osg::BoundingBox& box = geometry.getBoundingBox();
    const double min[3] = {box.xMin(), box.yMin(), box.zMin()};
    const double max[3] = {box.xMax(), box.yMax(), box.zMax()};
    mesh.setExtents(min, max);
}

} // namespace

void widenIndices(osg::Geometry& geometry)
{
    const osg::PrimitiveSet* set = firstPrimitiveSet(geometry);
    if (!set || set->getMode() != GL_TRIANGLES) return;
    if (set->getType() == osg::PrimitiveSet::DrawElementsUBytePrimitiveType)
        geometry.setPrimitiveSet(0, widened<osg::DrawElementsUByte>(*set));
    else if (set->getType() == osg::PrimitiveSet::DrawElementsUShortPrimitiveType)
        geometry.setPrimitiveSet(0, widened<osg::DrawElementsUShort>(*set));
}

void extractGeometry(osg::Geometry& geometry, const osg::Matrixd& matrix, const ExtractionContext& context,
                     GeoMeshTileContainer& container, TextureWorkItem& item)
{
    const osg::Array* vertices = geometry.getVertexArray();
    if (!vertices) return;
    const unsigned int vertexCount = vertices->getNumElements();
    const float* vertexData = floats(vertices, 3, vertexCount);
    if (!vertexData) return;
    const osg::DrawElementsUInt* indices = triangleIndices(geometry);
    if (!indices) return;

    KdGiGeoMesh* mesh = container.createMesh();
    if (!mesh) return;
    const float* texCoords = nullptr;
    if (context.withTextures)
    {
        texCoords = floats(geometry.getTexCoordArray(0), 2, vertexCount);
        handOverTexture(geometry, context.modelId, *mesh, item);
    }
    mesh->setTransform(context.hostTransform * toHost(matrix));
    mesh->setVertices(vertexCount, vertexData, floats(geometry.getNormalArray(), 3, vertexCount), texCoords);
    mesh->setIndices(indices->getNumIndices(), indices->empty() ? nullptr : &indices->front());
    handOverExtents(geometry, *mesh);
}

} // namespace mvgeo
