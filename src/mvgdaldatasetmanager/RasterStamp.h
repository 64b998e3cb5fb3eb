#pragma once

#include <string>

class GDALDataset;

namespace mvgeo
{

/** A short text, fit for a file name, that changes when one of the raster's files is written, added or taken away: the
 * raster's own, those beside it (overviews, world files, masks) and those that a virtual raster is made of. Side files
 * ending in ".aux.xml" do not count, because many programs leave statistics there; what matters of their content, the
 * georeferencing and band 1's no-data value, counts by itself. Never throws. */
[[nodiscard]] std::string rasterStamp(GDALDataset& dataset);

} // namespace mvgeo
