#pragma once

#include <KdString.h>

#include <gdal_priv.h>

namespace mvgeo
{

/** Opens a raster for reading; null, without a word, if GDAL cannot. The first call, on whichever thread, registers
 * GDAL's drivers. */
[[nodiscard]] GDALDatasetUniquePtr openRaster(const KdString& path);

} // namespace mvgeo
