#pragma once

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mvgeo::host
{
/** What a raster file says about itself. Plain values: the file is closed again. */
struct RasterFacts
{
    std::string path; ///< as GDAL opens it
    std::string driver;
    int width = 0; ///< pixels
    int height = 0;
    int bands = 0;
    GDALDataType type = GDT_Unknown; ///< of band 1, as is what follows
    bool hasPalette = false;
    std::optional<double> noData;
    std::vector<std::pair<int, int>> overviews; ///< widths and heights
    std::array<double, 6> transform{};          ///< GDAL's, to the outer edges of the pixels
    std::optional<OGRSpatialReference> srs;     ///< horizontal part; x before y

    /** Widths in the raster's own unit; the heights of north-up rasters are given as positive numbers. */
    [[nodiscard]] double pixelWidth() const { return transform[1]; }
    [[nodiscard]] double pixelHeight() const { return -transform[5]; }
    /** Where rows run south and columns east; only then the four edges below mean anything. */
    [[nodiscard]] bool isNorthUp() const;
    [[nodiscard]] double west() const { return transform[0]; }
    [[nodiscard]] double north() const { return transform[3]; }
    [[nodiscard]] double east() const { return transform[0] + width * transform[1]; }
    [[nodiscard]] double south() const { return transform[3] + height * transform[5]; }
};

enum class RasterRole
{
    dom,
    dem
};
/** "DOM" or "DEM". */
const char* nameOf(RasterRole role);

/** Reads the facts of a raster that is to play this role. Throws HostError if there is no such file, it is no raster,
 * its place is unknown, or its values cannot be heights. */
RasterFacts readRasterFacts(const std::string& path, RasterRole role);

/** The same file from whatever folder; a path that only GDAL understands stays. */
std::string absolutePath(const std::string& path);

/** The role of a raster that was given alone; empty if GDAL cannot read it. One band of numbers is heights; bytes and
 * several bands are a picture. */
std::optional<RasterRole> guessRole(const std::string& path);

/** The lowest and highest value of band 1, of a sample of a large raster; empty if there is none. */
std::optional<std::pair<double, double>> valueRange(const std::string& path);

/** True if both say the same about places on the earth, however they write it. */
bool isSameSystem(const OGRSpatialReference& a, const OGRSpatialReference& b);

/** "WGS 84 / UTM zone 13N (EPSG:32613)". */
std::string describe(const OGRSpatialReference& srs);
} // namespace mvgeo::host
