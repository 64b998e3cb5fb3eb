#include "terrain/TerrainRegions.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
namespace
{
// Posts and pixels along a tile's side, and the size on the screen from which the library divides a tile.
constexpr int kPostsPerTile = 32;
constexpr int kPixelsPerTile = 256;
constexpr double kDivideAtPixels = 512.0;

constexpr int kLevelsPerRegion = 4; // 341 tiles
constexpr int kMostLevels = 30;

// So far inside the region's edge does the view end, in tiles of the last level but one. The spheres of the tiles at
// the edge, which the library culls by, still come into view; those of the neighbours, which reach over it by a fifth
// of their size, do not, even if they are four times as large.
constexpr double kInset = 0.9;

bool isExhausted(const RasterFacts* raster, double stepX, double stepY)
{
    constexpr double kRounding = 1.0 + 1e-6; // as the library allows for
    return !raster ||
           (raster->pixelWidth() > stepX / 2.0 * kRounding && raster->pixelHeight() > stepY / 2.0 * kRounding);
}

/** Every second bit. */
std::uint64_t evenBits(std::uint64_t bits)
{
    std::uint64_t result = 0;
    for (unsigned int i = 0; i < 32; ++i)
        result |= ((bits >> (2 * i)) & 1U) << i;
    return result;
}
} // namespace

GroundRect rootRectOf(const RasterFacts& leading)
{
    const int side = std::max(leading.width, leading.height);
    const double west = leading.west() - (side - leading.width) / 2 * leading.pixelWidth();
    const double north = leading.north() + (side - leading.height) / 2 * leading.pixelHeight();
    return {west, north - side * leading.pixelHeight(), west + side * leading.pixelWidth(), north};
}

int finestLevel(const GroundRect& root, const RasterFacts* dom, const RasterFacts* dem)
{
    double width = root.width();
    double height = root.height();
    for (int level = 0; level < kMostLevels; ++level, width /= 2.0, height /= 2.0)
        if (isExhausted(dom, width / (kPixelsPerTile - 1), height / (kPixelsPerTile - 1)) &&
            isExhausted(dem, width / (kPostsPerTile - 1), height / (kPostsPerTile - 1)))
            return level + 1; // its children are the end
    return kMostLevels;
}

TerrainRegions::TerrainRegions(const GroundRect& root, int lastLevel)
    : _root(root), _lastLevel(lastLevel), _regionLevel(std::max(0, lastLevel - kLevelsPerRegion))
{
}

std::uint64_t TerrainRegions::count() const
{
    return _lastLevel == 0 ? 0 : std::uint64_t{1} << (2 * _regionLevel);
}

std::uint64_t TerrainRegions::fileCount() const
{
    return 1 + ((std::uint64_t{1} << (2 * _lastLevel)) - 1) / 3;
}

std::uint64_t TerrainRegions::filesPerRegion() const
{
    return ((std::uint64_t{1} << (2 * (_lastLevel - _regionLevel))) - 1) / 3;
}

GroundRect TerrainRegions::rect(std::uint64_t index) const
{
    const double parts = std::ldexp(1.0, _regionLevel);
    const double width = _root.width() / parts;
    const double height = _root.height() / parts;
    const double west = _root.west + static_cast<double>(evenBits(index)) * width;
    const double south = _root.south + static_cast<double>(evenBits(index >> 1)) * height;
    return {west, south, west + width, south + height};
}

ViewFrame TerrainRegions::frame(std::uint64_t index, const std::pair<double, double>& heights) const
{
    const GroundRect region = rect(index);
    const double parts =
        std::ldexp(1.0, _lastLevel - 1 - _regionLevel); // tiles of the last level but one, along a side
    const double tileWidth = region.width() / parts;
    const double tileHeight = region.height() / parts;
    const bool hasNeighbours = _regionLevel > 0;
    const double halfWidth = region.width() / 2.0 - (hasNeighbours ? kInset * tileWidth : 0.0);
    const double halfHeight = region.height() / 2.0 - (hasNeighbours ? kInset * tileHeight : 0.0);

    // Midway, as sizes double from level to level: the tiles to be divided cover 1.4 times as much as they must.
    const double pixel = std::hypot(tileWidth, tileHeight) / (std::sqrt(2.0) * kDivideAtPixels);
    const double depth = 2.0 * std::hypot(_root.width(), _root.height()) + (heights.second - heights.first);
    const osg::Vec3d centre((region.west + region.east) / 2.0, (region.south + region.north) / 2.0,
                            (heights.first + heights.second) / 2.0);
    ViewFrame frame;
    frame.view = osg::Matrixd::lookAt(centre + osg::Vec3d(0.0, 0.0, 1.0), centre, osg::Vec3d(0.0, 1.0, 0.0));
    frame.projection = osg::Matrixd::ortho(-halfWidth, halfWidth, -halfHeight, halfHeight, -depth, depth);
    frame.width = std::max(1, static_cast<int>(std::lround(2.0 * halfWidth / pixel)));
    frame.height = std::max(1, static_cast<int>(std::lround(2.0 * halfHeight / pixel)));
    return frame;
}
} // namespace mvgeo::host
