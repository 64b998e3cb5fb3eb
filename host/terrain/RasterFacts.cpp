#include "terrain/RasterFacts.h"

#include "common/GdalAccess.h"
#include "common/HostError.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
/** Rounding errors in a file are no rotation: what counts is how far rows and columns drift over the whole raster. */
constexpr double kLargestDrift = 0.01; // pixels

constexpr std::int64_t kPixelsReadAtOnce = std::int64_t{4} << 20; // tens of milliseconds
constexpr int kSampleSide = 1024;

bool canBeHeights(GDALDataType type)
{
    switch (type)
    {
    case GDT_UInt16:
    case GDT_Int16:
    case GDT_UInt32:
    case GDT_Int32:
    case GDT_Float32:
    case GDT_Float64:
        return true;
    default:
        return false;
    }
}

bool isVirtualPath(const std::string& path)
{
    return path.rfind("/vsi", 0) == 0;
}

[[noreturn]] void failToOpen(const std::string& path, const std::string& role)
{
    if (path.empty()) throw HostError("The path of the " + role + " is empty.");
    std::error_code error;
    if (!isVirtualPath(path) && !fs::exists(fs::path(path), error))
        throw HostError("There is no file '" + path + "' for the " + role + ".");
    throw HostError("The " + role + " '" + path + "' is not a raster that GDAL can read.");
}

std::optional<OGRSpatialReference> horizontalSystem(GDALDataset& dataset)
{
    const OGRSpatialReference* srs = dataset.GetSpatialRef();
    // A local system has no place on the earth: it says no more than a missing one.
    if (!srs || srs->IsEmpty() || srs->IsLocal()) return std::nullopt;
    OGRSpatialReference horizontal(*srs);
    horizontal.StripVertical();
    horizontal.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return horizontal;
}

std::optional<double> noDataOf(GDALRasterBand& band)
{
    int has = 0;
    const double value = band.GetNoDataValue(&has);
    return has ? std::optional<double>(value) : std::nullopt;
}

std::vector<std::pair<int, int>> overviewsOf(GDALRasterBand& band)
{
    std::vector<std::pair<int, int>> sizes;
    if (band.GetOverviewCount() > 0) band.GetOverview(0); // a warped raster counts all of its only then
    for (int i = 0; i < band.GetOverviewCount(); ++i)
        if (GDALRasterBand* overview = band.GetOverview(i))
            sizes.emplace_back(overview->GetXSize(), overview->GetYSize());
    return sizes;
}

/** The band, or if it is large its smallest overview that still shows single mountains. Averages of much larger squares
 * would cut the peaks off. */
GDALRasterBand& sampleOf(GDALRasterBand& band)
{
    GDALRasterBand* best = &band;
    if (std::int64_t{band.GetXSize()} * band.GetYSize() <= kPixelsReadAtOnce) return band;
    for (int i = 0; i < band.GetOverviewCount(); ++i)
    {
        GDALRasterBand* overview = band.GetOverview(i);
        const bool knowsHoles = overview && noDataOf(*overview).has_value() == noDataOf(band).has_value();
        if (knowsHoles && overview->GetXSize() < best->GetXSize() &&
            std::max(overview->GetXSize(), overview->GetYSize()) >= kSampleSide)
            best = overview;
    }
    return *best;
}

RasterFacts factsOf(GDALDataset& dataset, const std::string& path)
{
    const QuietGdal quiet;
    GDALRasterBand& band = *dataset.GetRasterBand(1);
    RasterFacts facts;
    facts.path = path;
    facts.driver = dataset.GetDriverName();
    facts.width = dataset.GetRasterXSize();
    facts.height = dataset.GetRasterYSize();
    facts.bands = dataset.GetRasterCount();
    facts.type = band.GetRasterDataType();
    facts.hasPalette = band.GetColorTable() != nullptr;
    facts.noData = noDataOf(band);
    facts.overviews = overviewsOf(band);
    facts.srs = horizontalSystem(dataset);
    return facts;
}
} // namespace

bool RasterFacts::isNorthUp() const
{
    return transform[1] > 0.0 && transform[5] < 0.0 &&
           std::abs(transform[2] * height) <= kLargestDrift * std::abs(transform[1]) &&
           std::abs(transform[4] * width) <= kLargestDrift * std::abs(transform[5]);
}

const char* nameOf(RasterRole role)
{
    return role == RasterRole::dom ? "DOM" : "DEM";
}

RasterFacts readRasterFacts(const std::string& path, RasterRole role)
{
    const std::string name = nameOf(role);
    const GDALDatasetUniquePtr dataset = path.empty() ? nullptr : openRaster(path);
    if (!dataset) failToOpen(path, name);
    if (dataset->GetRasterCount() == 0) throw HostError("The " + name + " '" + path + "' holds no band of its own.");
    RasterFacts facts = factsOf(*dataset, path);
    if (dataset->GetGeoTransform(facts.transform.data()) != CE_None)
        throw HostError("The " + name + " '" + path + "' has no georeferencing: the place of its pixels is unknown.");
    if (role == RasterRole::dem && !canBeHeights(facts.type))
        throw HostError("The DEM '" + path + "' holds values of type " + GDALGetDataTypeName(facts.type) +
                        "; heights must be 16- or 32-bit integers or floating-point numbers.");
    return facts;
}

std::string absolutePath(const std::string& path)
{
    std::error_code error;
    if (!fs::exists(fs::path(path), error)) return path;
    const fs::path absolute = fs::absolute(fs::path(path), error);
    return error ? path : absolute.lexically_normal().string();
}

std::optional<RasterRole> guessRole(const std::string& path)
{
    const GDALDatasetUniquePtr dataset = openRaster(path);
    if (!dataset || dataset->GetRasterCount() == 0) return std::nullopt;
    GDALRasterBand& band = *dataset->GetRasterBand(1);
    const bool isPicture = dataset->GetRasterCount() >= 3 || band.GetRasterDataType() == GDT_Byte;
    return isPicture ? RasterRole::dom : RasterRole::dem;
}

std::optional<std::pair<double, double>> valueRange(const std::string& path)
{
    const GDALDatasetUniquePtr dataset = openRaster(path);
    if (!dataset || dataset->GetRasterCount() == 0) return std::nullopt;
    const QuietGdal quiet;
    GDALRasterBand& sample = sampleOf(*dataset->GetRasterBand(1));
    const bool isLarge = std::int64_t{sample.GetXSize()} * sample.GetYSize() > kPixelsReadAtOnce;
    double range[2] = {0.0, 0.0};
    if (sample.ComputeRasterMinMax(isLarge ? TRUE : FALSE, range) != CE_None) return std::nullopt;
    return std::make_pair(range[0], range[1]);
}

bool isSameSystem(const OGRSpatialReference& a, const OGRSpatialReference& b)
{
    const char* const options[] = {"CRITERION=EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS",
                                   "IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
    const QuietGdal quiet;
    return a.IsSame(&b, options) != 0;
}

std::string describe(const OGRSpatialReference& srs)
{
    const char* name = srs.GetName();
    const char* authority = srs.GetAuthorityName(nullptr);
    const char* code = srs.GetAuthorityCode(nullptr);
    std::string text = name && *name ? name : "unnamed";
    if (authority && code) text += std::string(" (") + authority + ":" + code + ")";
    return text;
}
} // namespace mvgeo::host
