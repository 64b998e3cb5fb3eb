#pragma once

#include "terrain/RasterFacts.h"

#include <functional>

namespace mvgeo::host
{
/** True for a raster that is large and has no overviews: coarse tiles must read all of it. */
bool wantsOverviews(const RasterFacts& raster);

/** Halves, quarters and so on, until one is below 256 pixels: what each is divided by. */
std::vector<int> overviewFactors(int width, int height);

/** Builds averaged overviews into a file of their own beside the raster, which stays as it is. They get their name when
 * they are complete: an interruption leaves none.
 * @param progress  told the part done, 0 to 1; false stops it
 * @return false if it was stopped. Throws HostError if the overviews cannot be built. */
[[nodiscard]] bool buildOverviews(const RasterFacts& raster, const std::function<bool(double)>& progress);
} // namespace mvgeo::host
