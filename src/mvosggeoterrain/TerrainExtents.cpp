#include "mvosggeoterrain/TerrainExtents.h"

#include "mvgdaldatasetmanager/GdalSession.h"
#include "support/VisitorGeometry.h"

#include <gdal_priv.h>

#include <array>
#include <cmath>
#include <cstdint>

namespace mvgeo
{

namespace
{

constexpr std::int64_t kMostPixelsReadInFull = std::int64_t{4} << 20; // about 20 ms

/** Adds the elevations of the surface: skirts hang straight down, and so have no area when seen from above. */
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
        const bool isUpright = (b.x() - a.x()) * (c.y() - a.y()) == (c.x() - a.x()) * (b.y() - a.y());
        if (isUpright) continue;
        for (const osg::Vec3* corner : {&a, &b, &c})
        {
            const double z = corner->z();
            box.zMin() = std::min(box.zMin(), z);
            box.zMax() = std::max(box.zMax(), z);
        }
    }
}

void addElevations(ImageHeader& dem, osg::BoundingBoxd& box)
{
    GDALDataset* dataset = dem.getDataset();
    GDALRasterBand* band = dataset ? dataset->GetRasterBand(1) : nullptr;
    if (!band) return;
    const bool isSampled = std::int64_t{dem.width()} * dem.height() > kMostPixelsReadInFull;
    const QuietGdal quiet;
    std::array<double, 2> range{};
    if (band->ComputeRasterMinMax(isSampled ? TRUE : FALSE, range.data()) != CE_None) return;
    if (!std::isfinite(range[0]) || !std::isfinite(range[1])) return;
    box.zMin() = std::min(box.zMin(), range[0]);
    box.zMax() = std::max(box.zMax(), range[1]);
}

} // namespace

osg::BoundingBoxd terrainExtents(const ImageHeader& outline, ImageHeader* dem, osg::Node& rootTile)
{
    osg::BoundingBoxd box;
    VisitorGeometry collector;
    rootTile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        addSurface(*geometry, box);
    if (dem) addElevations(*dem, box);
    if (box.zMin() > box.zMax()) box.zMin() = box.zMax() = 0.0;

    box.xMin() = outline.originX();
    box.xMax() = outline.originX() + outline.width() * outline.pixelWidth();
    box.yMin() = outline.originY() + outline.height() * outline.pixelHeight();
    box.yMax() = outline.originY();
    return box;
}

} // namespace mvgeo
