#include "support/TerrainTileFacts.h"

#include "support/UserValues.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace mvgeo
{

namespace
{

/** Signed, and infinite for a single post. */
double postSpacing(double start, double end, int posts)
{
    return (end - start) / static_cast<double>(static_cast<std::int64_t>(posts) - 1);
}

} // namespace

std::optional<TileExtent> terrainTileExtent(const osg::Object& node)
{
    const double* west = userValue<double>(node, keys::startX);
    if (!west) return std::nullopt; // as all nodes that are no terrain tile's: this is asked of each in every frame
    const double* south = userValue<double>(node, keys::startY);
    const double* east = userValue<double>(node, keys::endX);
    const double* north = userValue<double>(node, keys::endY);
    if (!south || !east || !north) return std::nullopt;
    return TileExtent{*west, *south, *east, *north};
}

bool isDenserThanPixels(const osg::Vec2d& sampleStep, const osg::Vec2d& pixelSize)
{
    constexpr double kRounding = 1.0 + 1e-6;
    return pixelSize.x() > sampleStep.x() * kRounding && std::abs(pixelSize.y()) > std::abs(sampleStep.y()) * kRounding;
}

bool isDenserThanDem(const osg::Object& node)
{
    const std::optional<TileExtent> tile = terrainTileExtent(node);
    const double* pixelWidth = userValue<double>(node, keys::demResolutionX);
    const double* pixelHeight = userValue<double>(node, keys::demResolutionY);
    const int* columns = userValue<int>(node, keys::demWidth);
    const int* rows = userValue<int>(node, keys::demHeight);
    if (!tile || !pixelWidth || !pixelHeight || !columns || !rows) return false;
    const double rowSpacing = postSpacing(tile->south, tile->north, *rows);
    return isDenserThanPixels({postSpacing(tile->west, tile->east, *columns), std::max(rowSpacing, 0.0)},
                              {*pixelWidth, *pixelHeight});
}

} // namespace mvgeo
