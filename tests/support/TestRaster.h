#pragma once

#include <gdal.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/** What a raster is to look like. The default is north-up, 4 x 4 pixels of one unit, its south-western corner at the
 * origin. */
struct TestRaster
{
    int width = 4;
    int height = 4;
    GDALDataType type = GDT_Byte;
    int bands = 1;

    bool isGeoreferenced = true;
    double originX = 0.0; ///< outer corner of the north-western pixel
    double originY = 4.0;
    double pixelWidth = 1.0;
    double pixelHeight = -1.0;
    double rowRotation = 0.0;
    double columnRotation = 0.0;
    int epsg = 0; ///< 0: no reference system

    std::optional<double> noData;                     ///< of all bands
    std::vector<GDALColorInterp> colours;             ///< one a band; empty: the driver's own
    std::vector<std::array<std::uint8_t, 3>> palette; ///< of band 1
    std::vector<int> overviews;                       ///< factors; made by nearest neighbour, inside the file
    std::string driver = "GTiff";                     ///< any that can create a file band by band
    std::vector<std::string> creationOptions;         ///< "TILED=YES", "COMPRESS=LZW", ...
};

/** Bands, columns and rows count from 1, 0 and 0; row 0 is the first row in the file, the northern one as a rule. */
using RasterValue = std::function<double(int band, int column, int row)>;

/** Writes a raster file; an existing one is replaced. A path is UTF-8, also one that GDAL alone knows ("/vsimem/...").
 *
 *     TestRaster dem;
 *     dem.type = GDT_Float32;
 *     writeRaster(folder / "dem.tif", dem, [](int, int column, int) { return 10.0 * column; });
 *
 * Throws std::runtime_error with GDAL's reason if that fails. Thread: any. */
void writeRaster(const std::string& path, const TestRaster& raster, const RasterValue& value);

/** One value everywhere. */
void writeRaster(const std::string& path, const TestRaster& raster, double value);
