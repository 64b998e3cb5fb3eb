#pragma once

#include <gdal_priv.h>

#include <string>

namespace mvgeo::host
{
/** Keeps GDAL's messages of this thread off standard error while it lives: a command says itself what is wrong. */
class QuietGdal
{
public:
    QuietGdal();
    ~QuietGdal();
    QuietGdal(const QuietGdal&) = delete;
    QuietGdal& operator=(const QuietGdal&) = delete;

    /** GDAL's last message since this object was made, as " (...)"; empty if there was none. */
    [[nodiscard]] static std::string reason();
};

/** Keeps GDAL's cache of raster blocks small, unless the user has chosen its size: its own choice is a part of all
 * memory. */
void limitBlockCache();

/** Opens a raster for reading; null, without a word, if GDAL cannot. */
[[nodiscard]] GDALDatasetUniquePtr openRaster(const std::string& path);
} // namespace mvgeo::host
