#pragma once

#include "terrain/RasterFacts.h"
#include "view/ViewCamera.h"

#include <cstdint>
#include <utility>

namespace mvgeo::host
{
/** A rectangle in the rasters' system. */
struct GroundRect
{
    double west = 0.0;
    double south = 0.0;
    double east = 0.0;
    double north = 0.0;

    [[nodiscard]] double width() const { return east - west; }
    [[nodiscard]] double height() const { return north - south; }
};

/** The ground of the pyramid's root: the DEM (or the DOM without one) and as many rows or columns around it as make
 * both counts equal; the odd one lies in the south or the east. */
GroundRect rootRectOf(const RasterFacts& leading);

/** The finest level of tiles that the rasters give: a tile is divided while half its sampling step is no finer than the
 * pixels of one of them. Either may be null. */
int finestLevel(const GroundRect& root, const RasterFacts* dom, const RasterFacts* dem);

/** How the levels 0 to `lastLevel` of a pyramid are walked through region by region, so that however many tiles there
 * are, few have to be held: a region is the part of the pyramid below one tile, at most four levels deep. */
class TerrainRegions
{
public:
    TerrainRegions(const GroundRect& root, int lastLevel);

    [[nodiscard]] std::uint64_t count() const;
    /** Files of the pyramid for all levels: one holds the root, the others the four children of a tile. */
    [[nodiscard]] std::uint64_t fileCount() const;
    /** Files below the region's tile. */
    [[nodiscard]] std::uint64_t filesPerRegion() const;

    /** In an order that finishes one quarter before the next, so that coarse tiles are not read over and over. */
    [[nodiscard]] GroundRect rect(std::uint64_t index) const;

    /** Looks straight down on a region, at a scale at which the level before the last is divided and the last is not.
     * Around it as little as possible comes into view.
     * @param heights  lowest and highest place, roughly */
    [[nodiscard]] ViewFrame frame(std::uint64_t index, const std::pair<double, double>& heights) const;

private:
    GroundRect _root;
    int _lastLevel;
    int _regionLevel; // of the regions' own tiles
};
} // namespace mvgeo::host
