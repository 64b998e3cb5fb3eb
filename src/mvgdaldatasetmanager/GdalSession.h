#pragma once

#include <KdString.h>

#include <gdal_priv.h>

namespace mvgeo
{

/** Opens a raster read-only; null if that fails, without a word. The first call of the process registers GDAL's
 *  drivers. Thread: any. */
[[nodiscard]] GDALDatasetUniquePtr openRaster(const KdString& path);

/** Keeps GDAL's messages of this thread off the standard error stream while it lives; the last one can still be had
 *  from CPLGetLastErrorMsg. */
class QuietGdal
{
public:
    QuietGdal();
    ~QuietGdal();
    QuietGdal(const QuietGdal&) = delete;
    QuietGdal& operator=(const QuietGdal&) = delete;
};

} // namespace mvgeo
