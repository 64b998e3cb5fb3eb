#include "mvosggeoterrain/TerrainExtents.h"

#include "mvgdaldatasetmanager/QuietGdal.h"
#include "readerwriterthreedimg/ElevationGrid.h"
#include "support/TerrainTileFacts.h"
#include "support/VisitorGeometry.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace mvgeo
{

namespace
{

constexpr std::int64_t kMostPixelsReadInFull = std::int64_t{4} << 20; // about 20 ms
constexpr int kSamples = 2048;
constexpr int kFewSamples = 128;

/** Adds the elevations of the surface, without its skirts. */
void addSurface(const osg::Geometry& geometry, osg::BoundingBoxd& box)
{
    const auto* vertices = dynamic_cast<const osg::Vec3Array*>(geometry.getVertexArray());
    const auto* triangles = geometry.getNumPrimitiveSets() > 0
                                ? dynamic_cast<const osg::DrawElementsUInt*>(geometry.getPrimitiveSet(0))
                                : nullptr;
    if (!vertices || !triangles) return;
    for (std::size_t i = 0; i + 2 < triangles->size(); i += 3)
    {
        const osg::Vec3& a = (*vertices)[(*triangles)[i]];
        const osg::Vec3& b = (*vertices)[(*triangles)[i + 1]];
        const osg::Vec3& c = (*vertices)[(*triangles)[i + 2]];
        if (isSkirtOrSliver(a, b, c)) continue;
        for (const osg::Vec3* corner : {&a, &b, &c})
        {
            const double z = corner->z();
            box.zMin() = std::min(box.zMin(), z);
            box.zMax() = std::max(box.zMax(), z);
        }
    }
}

/** Samples on the longer side. Where nothing helps with a decimated read, each sample costs a block of its own. */
int sampleCount(const ImageHeader& dem, GDALRasterBand& band)
{
    const std::int64_t pixels = std::int64_t{dem.width()} * dem.height();
    const bool isCheap = pixels <= kMostPixelsReadInFull || band.GetOverviewCount() > 0;
    return std::min(std::max(dem.width(), dem.height()), isCheap ? kSamples : kFewSamples);
}

/** Read here and not asked of GDAL, whose quick answer for a large raster may forget about no-data. */
void addElevations(const ImageHeader& dem, GDALRasterBand& band, osg::BoundingBoxd& box)
{
    const double step = static_cast<double>(std::max(dem.width(), dem.height())) / sampleCount(dem, band);
    const int columns = std::max(static_cast<int>(dem.width() / step), 1);
    const int rows = std::max(static_cast<int>(dem.height() / step), 1);
    std::vector<float> heights(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    const QuietGdal quiet;
    if (band.RasterIO(GF_Read, 0, 0, dem.width(), dem.height(), heights.data(), columns, rows, GDT_Float32, 0, 0,
                      nullptr) != CE_None)
        return;
    for (const float height : heights)
    {
        if (isNoData(height, dem.noData())) continue;
        box.zMin() = std::min(box.zMin(), static_cast<double>(height));
        box.zMax() = std::max(box.zMax(), static_cast<double>(height));
    }
}

} // namespace

osg::BoundingBoxd terrainExtents(const ImageHeader& outline, ImageHeader* dem, osg::Node& rootTile)
{
    osg::BoundingBoxd box;
    VisitorGeometry collector;
    rootTile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        addSurface(*geometry, box);
    GDALDataset* dataset = dem ? dem->getDataset() : nullptr;
    if (dataset) addElevations(*dem, *dataset->GetRasterBand(1), box);
    if (box.zMin() > box.zMax()) box.zMin() = box.zMax() = 0.0;

    box.xMin() = outline.originX();
    box.xMax() = outline.originX() + outline.width() * outline.pixelWidth();
    box.yMin() = outline.originY() + outline.height() * outline.pixelHeight();
    box.yMax() = outline.originY();
    return box;
}

} // namespace mvgeo
