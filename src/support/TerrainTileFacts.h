#pragma once

#include <osg/Object>
#include <osg/Vec2d>
#include <osg/Vec3d>

#include <optional>

namespace mvgeo
{

/** The edges of a terrain tile, in the rasters' own coordinate system and unit. */
struct TileExtent
{
    double west;
    double south;
    double east;
    double north;
};

/** The extent that a terrain tile's node carries as user values; nothing unless all four are there as double. */
[[nodiscard]] std::optional<TileExtent> terrainTileExtent(const osg::Object& node);

/** Samples lie closer together than a raster's pixels, in x and in y, so that finer ones would only interpolate. The y
 * components may have either sign. Two distances that differ by rounding are the same here, because the edges of
 * neighbours are rounded differently and both must be told the same. */
[[nodiscard]] bool isDenserThanPixels(const osg::Vec2d& sampleStep, const osg::Vec2d& pixelSize);

/** The same of a terrain tile's posts and its DEM's pixels, as its node's user values tell: whoever measures must stop
 * where whoever builds stops reading the DEM. The differences of the edges keep their signs, and a negative one is
 * closer than any pixel. False for the nodes of other pyramids. */
[[nodiscard]] bool isDenserThanDem(const osg::Object& node);

/** Skirts are walls that hang straight down from a terrain tile's border and hide gaps to tiles of another depth; they
 * are no part of the surface. Of the corners of each of their triangles two stand exactly above each other. In the
 * tile's own frame. */
template <typename Point>
[[nodiscard]] bool isSkirtTriangle(const Point& a, const Point& b, const Point& c)
{
    const auto isAbove = [](const Point& p, const Point& q) { return p.x() == q.x() && p.y() == q.y(); };
    return isAbove(a, b) || isAbove(b, c) || isAbove(c, a);
}

/** Triangles without area when seen from above, which no measurement counts: skirts, and slivers that rounding leaves
 * at the border of a tile that was cut out of its parent. */
template <typename Point>
[[nodiscard]] bool isSkirtOrSliver(const Point& a, const Point& b, const Point& c)
{
    const osg::Vec3d toB = osg::Vec3d(b) - osg::Vec3d(a);
    const osg::Vec3d toC = osg::Vec3d(c) - osg::Vec3d(a);
    return toB.x() * toC.y() == toB.y() * toC.x();
}

} // namespace mvgeo
