#include "readerwriterthreedimg/TerrainTileBuilder.h"

#include "readerwriterthreedimg/GeometryContainer.h"
#include "readerwriterthreedimg/MeshClipByRasterOverlay.h"
#include "readerwriterthreedimg/OrthoSampler.h"
#include "readerwriterthreedimg/TileGeometry.h"
#include "readerwriterthreedimg/TileSurface.h"
#include "support/LogLine.h"
#include "support/TerrainTileFacts.h"
#include "support/UserValues.h"

#include <osg/MatrixTransform>
#include <osgDB/FileNameUtils>

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace mvgeo
{

namespace
{

constexpr double kSkirtPartOfHalfDiagonal = 0.02; // the parent's

float noDataOf(const ImageHeader* header, const GDALDataset* dataset)
{
    return header && dataset ? header->noData() : 0.0F;
}

/** The parent's posts, at twice our spacing, were already denser than the DEM's pixels: ours would only interpolate. */
bool isParentDenserThanDem(const ImageHeader& dem, const TerrainTileInfo& info)
{
    return isDenserThanPixels({2.0 * info.postSpacingX(), 2.0 * info.postSpacingY()},
                              {dem.pixelWidth(), dem.pixelHeight()});
}

osg::ref_ptr<osg::Geometry> parentGeometryIn(const osgDB::Options* options)
{
    const osg::UserDataContainer* values = options ? options->getUserDataContainer() : nullptr;
    const auto* container =
        values ? dynamic_cast<const GeometryContainer*>(values->getUserObject(keys::parentGeometry)) : nullptr;
    return container ? container->geometry : nullptr;
}

/** False for a tile that is only measured: its ortho-image would be sampled for nothing. */
bool wantsTexture(const osgDB::Options* options)
{
    const bool* geometryOnly = options ? userValue<bool>(*options, keys::geometryOnly) : nullptr;
    return !geometryOnly || !*geometryOnly;
}

RgbPixels tilePixels(const TerrainRasters& rasters, const TerrainTileInfo& info)
{
    RgbPixels pixels;
    if (rasters.dom && rasters.domDataset) pixels = sampleDomImage(*rasters.dom, *rasters.domDataset, info);
    if (!pixels) pixels = uniformImage(info, noDataByte(noDataOf(rasters.dom, rasters.domDataset)));
    return pixels;
}

/** A fiftieth of half the parent's diagonal, and never below what a float can hold. In doubles: OSG's own radius is
 * infinite for heights from 1e19 on. */
double skirtDepthFor(const osg::BoundingBox& parent)
{
    const double radius = (osg::Vec3d(parent._max) - osg::Vec3d(parent._min)).length() / 2.0;
    const double room = static_cast<double>(parent.zMin()) - std::numeric_limits<float>::lowest();
    return std::min(kSkirtPartOfHalfDiagonal * radius, room);
}

/** The parent's mesh cut to the tile, in `info` its range of z. Null if the parent cannot be cut. */
osg::ref_ptr<osg::Geometry> cutOutOfParent(const osg::ref_ptr<osg::Geometry>& parent, const TerrainRasters& rasters,
                                           TerrainTileInfo& info, bool isTextured)
{
    osg::ref_ptr<osg::Image> image;
    if (isTextured) image = makeTileImage(tilePixels(rasters, info), info, domImageName(info));
    const osg::ref_ptr<MeshClipByRasterOverlay> clipper = new MeshClipByRasterOverlay;
    clipper->setRectangle(info.startX - info.offsetX, info.endX - info.offsetX, info.startY - info.offsetY,
                          info.endY - info.offsetY);
    osg::ref_ptr<osg::Geometry> geometry;
    clipper->clip(parent, skirtDepthFor(parent->getBoundingBox()), image, geometry);
    if (!geometry) return nullptr;
    if (!isTextured || geometry->getVertexArray()->getNumElements() == 0)
        geometry->setStateSet(nullptr); // as in buildFromDem

    const osg::BoundingBox& box = geometry->getBoundingBox();
    info.minZ = box.valid() ? box.zMin() : -1.0;
    info.maxZ = box.valid() ? box.zMax() : 1.0;
    return geometry;
}

osg::ref_ptr<osg::Geometry> buildFromDem(const TerrainRasters& rasters, TerrainTileInfo& info, bool isTextured)
{
    const float noData = noDataOf(rasters.dem, rasters.demDataset);
    std::optional<TileSurface> surface = readDemWithEdges(rasters.dem.get(), rasters.demDataset, info, info.normal);
    if (!surface) surface = flatSurface(info, noData, info.normal);
    const osg::ref_ptr<osg::Geometry> geometry = buildTileGeometry(*surface, noData, info);
    // A tile in the padding around the raster has nothing that could show a texture.
    if (!isTextured || geometry->getVertexArray()->getNumElements() == 0) return geometry;

    const std::string name = osgDB::getSimpleFileName(domImageName(info));
    setTileTexture(*geometry, makeTileImage(tilePixels(rasters, info), info, name));
    return geometry;
}

/** The real types that are wider than a byte; GDAL numbers them one after the other. */
bool isElevationType(GDALDataType type)
{
    return type >= GDT_UInt16 && type <= GDT_Float64;
}

} // namespace

osg::ref_ptr<osg::Node> buildTerrainTile(const TerrainRasters& rasters, TerrainTileInfo& info,
                                         const osgDB::Options* options)
{
    if (rasters.demDataset && !isElevationType(rasters.demDataset->GetRasterBand(1)->GetRasterDataType()))
    {
        MVGEO_LOG(WARN) << "dem not supported data Type";
        return nullptr;
    }
    const bool isTextured = wantsTexture(options);
    osg::ref_ptr<osg::Geometry> geometry;
    if (!rasters.dem || isParentDenserThanDem(*rasters.dem, info))
        if (const osg::ref_ptr<osg::Geometry> parent = parentGeometryIn(options))
            geometry = cutOutOfParent(parent, rasters, info, isTextured);
    if (!geometry) geometry = buildFromDem(rasters, info, isTextured);

    const osg::ref_ptr<osg::MatrixTransform> tile =
        new osg::MatrixTransform(osg::Matrixd::translate(info.offsetX, info.offsetY, 0.0));
    tile->addChild(geometry);
    return tile;
}

} // namespace mvgeo
