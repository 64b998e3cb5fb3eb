#pragma once

#include "terrain/RasterFacts.h"

#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
/** How two rasters come into one metric coordinate system. */
struct WarpPlan
{
    /** The system of the terrain; empty if neither raster names one. */
    std::optional<OGRSpatialReference> target;
    /** Systems of the rasters, the other's where one names none. */
    std::optional<OGRSpatialReference> domSystem;
    std::optional<OGRSpatialReference> demSystem;
    bool warpsDom = false;
    bool warpsDem = false;
    /** Sentences about what had to be assumed. */
    std::vector<std::string> notes;
};

/** The DEM's system counts, or its UTM zone's if it is in degrees; a DOM alone stands in for it. A raster that is not
 * north-up is warped too. Either may be null. */
WarpPlan planWarp(const RasterFacts* dom, const RasterFacts* dem);

/** The system in metres for a raster in degrees: the UTM zone of its centre, polar stereographic beyond 84 degrees
 * north and 80 south, an equal-area projection round its centre if it is wider than any zone could serve. The datum
 * stays. */
OGRSpatialReference metricSystemFor(const RasterFacts& raster, const OGRSpatialReference& geographic);
} // namespace mvgeo::host
