#pragma once

#include "terrain/RasterFacts.h"

#include <optional>
#include <string>

namespace mvgeo::host
{
/** Where the library keeps its caches, and warped rasters lie beside them: the environment variable TEMP, else the
 * system's folder for temporary files. */
std::string temporaryFolder();

/** Writes a virtual raster that shows `source` north-up in `target`, and returns its path. One source and target have
 * one path, and a file that says the same already is left as it is: its time tells the tile cache whether the terrain
 * changed. Nothing is warped yet; overviews of the source serve coarse reads.
 *
 * A DOM is black outside the source; a DEM has no data there, even if its source names no such value.
 * @param source  with an absolute path: the virtual raster lies elsewhere
 * @param own     the source's system; empty if unknown, as `target` then is
 * Throws HostError if it cannot be done. */
std::string writeWarpedRaster(const RasterFacts& source, RasterRole role, const std::optional<OGRSpatialReference>& own,
                              const std::optional<OGRSpatialReference>& target);
} // namespace mvgeo::host
