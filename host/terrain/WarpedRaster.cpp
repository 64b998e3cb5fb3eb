#include "terrain/WarpedRaster.h"

#include "common/GdalAccess.h"
#include "common/HostError.h"
#include "common/WholeFile.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_utils.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <sstream>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr const char* kStampKey = "MVGEO_SOURCE";

/** Stable from one run to the next and on every machine, which std::hash need not be. FNV-1a. */
std::string hashText(const std::string& text)
{
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

std::string wktOf(const OGRSpatialReference& srs)
{
    const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
    char* text = nullptr;
    srs.exportToWkt(&text, options);
    std::string wkt = text ? text : "";
    CPLFree(text);
    return wkt;
}

/** NaN can be told from any height; integers have none, and a height of -9999 m does not exist. */
const char* outsideValue(GDALDataType type)
{
    switch (type)
    {
    case GDT_Float32:
    case GDT_Float64:
        return "nan";
    case GDT_Int16:
    case GDT_Int32:
        return "-9999";
    default:
        return "0";
    }
}

void addNoDataOptions(CPLStringList& options, const RasterFacts& source, RasterRole role)
{
    if (role == RasterRole::dom)
    {
        options.AddString("-dstnodata").AddString("none").AddString("-wo").AddString("INIT_DEST=0");
        return;
    }
    if (source.noData) return; // taken over
    const bool isFloat = source.type == GDT_Float32 || source.type == GDT_Float64;
    if (isFloat) options.AddString("-srcnodata").AddString("nan"); // heights may be NaN without a word
    options.AddString("-dstnodata").AddString(outsideValue(source.type));
}

struct Rectangle
{
    double west;
    double south;
    double east;
    double north;
    [[nodiscard]] double area() const { return std::max(east - west, 0.0) * std::max(north - south, 0.0); }
};

/** The largest upright rectangle that the warped raster fills between its bent edges; the wedges outside it would be
 * ground without data. Empty if that would cost more than a tenth of it, or cannot be told. */
std::optional<Rectangle> filledRectangle(const RasterFacts& source, const OGRSpatialReference& own,
                                         const OGRSpatialReference& target)
{
    constexpr int kSteps = 20;
    constexpr double kLeastPart = 0.9;
    const QuietGdal quiet;
    const std::unique_ptr<OGRCoordinateTransformation> transform(OGRCreateCoordinateTransformation(&own, &target));
    if (!source.isNorthUp() || !transform) return std::nullopt;
    constexpr double kInfinite = std::numeric_limits<double>::infinity();
    Rectangle inner{-kInfinite, -kInfinite, kInfinite, kInfinite};
    Rectangle outer{kInfinite, kInfinite, -kInfinite, -kInfinite};
    bool isKnown = true;
    const auto warped = [&](double x, double y)
    {
        isKnown = isKnown && transform->Transform(1, &x, &y) != 0;
        outer = {std::min(outer.west, x), std::min(outer.south, y), std::max(outer.east, x), std::max(outer.north, y)};
        return std::make_pair(x, y);
    };
    for (int i = 0; i <= kSteps; ++i)
    {
        const double x = source.west() + (source.east() - source.west()) * i / kSteps;
        const double y = source.south() + (source.north() - source.south()) * i / kSteps;
        inner.west = std::max(inner.west, warped(source.west(), y).first);
        inner.east = std::min(inner.east, warped(source.east(), y).first);
        inner.south = std::max(inner.south, warped(x, source.south()).second);
        inner.north = std::min(inner.north, warped(x, source.north()).second);
    }
    if (!isKnown || !(inner.area() >= kLeastPart * outer.area())) return std::nullopt;
    return inner;
}

CPLStringList warpOptions(const RasterFacts& source, RasterRole role, const std::optional<OGRSpatialReference>& own,
                          const std::optional<OGRSpatialReference>& target)
{
    CPLStringList options;
    options.AddString("-of").AddString("VRT");
    if (own) options.AddString("-s_srs").AddString(wktOf(*own).c_str());
    if (target) options.AddString("-t_srs").AddString(wktOf(*target).c_str());
    options.AddString("-r").AddString(source.hasPalette ? "near" : "bilinear"); // no colour lies between two numbers
    addNoDataOptions(options, source, role);
    const std::optional<OGRSpatialReference> from = own ? own : source.srs;
    if (role != RasterRole::dem || !from || !target) return options;
    if (const std::optional<Rectangle> filled = filledRectangle(source, *from, *target))
    {
        options.AddString("-te");
        for (const double edge : {filled->west, filled->south, filled->east, filled->north})
            options.AddString(CPLSPrintf("%.17g", edge));
    }
    return options;
}

[[noreturn]] void failToWarp(const RasterFacts& source, const std::optional<OGRSpatialReference>& target)
{
    const std::string into = target ? "into " + describe(*target) : "north-up";
    throw HostError("Cannot warp '" + source.path + "' " + into + QuietGdal::reason() + ".");
}

/** Changes with the source: then heights may have changed as well. */
std::string stampOf(const std::string& path)
{
    VSIStatBufL status{};
    if (VSIStatL(path.c_str(), &status) != 0) return "unknown";
    return std::to_string(status.st_size) + " bytes of " + std::to_string(status.st_mtime);
}

/** The virtual raster's text, made in memory. */
std::string makeWarpText(const RasterFacts& source, RasterRole role, const std::optional<OGRSpatialReference>& own,
                         const std::optional<OGRSpatialReference>& target)
{
    static const char* const kPlace = "/vsimem/mvgeo-warp.vrt";
    const GDALDatasetUniquePtr dataset = openRaster(source.path);
    const QuietGdal quiet;
    if (!dataset) failToWarp(source, target);
    const std::unique_ptr<GDALWarpAppOptions, decltype(&GDALWarpAppOptionsFree)> options(
        GDALWarpAppOptionsNew(warpOptions(source, role, own, target).List(), nullptr), GDALWarpAppOptionsFree);
    GDALDatasetH input = GDALDataset::ToHandle(dataset.get());
    GDALDatasetH warped = options ? GDALWarp(kPlace, nullptr, 1, &input, options.get(), nullptr) : nullptr;
    if (!warped) failToWarp(source, target);
    GDALDataset::FromHandle(warped)->GetRasterBand(1)->SetMetadataItem(kStampKey, stampOf(source.path).c_str());
    GDALClose(warped);

    vsi_l_offset size = 0;
    const std::unique_ptr<GByte, decltype(&VSIFree)> bytes(VSIGetMemFileBuffer(kPlace, &size, TRUE), VSIFree);
    if (!bytes) failToWarp(source, target);
    return {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
}

/** Asked for the range of a large warped raster, GDAL looks at overviews that it warps without regard to places without
 * data, for seconds. So the text says what the source's range is, in lines of their own. */
std::string withHeightRange(std::string text, const std::string& source)
{
    const std::size_t stamp = text.find(kStampKey);
    const std::size_t place = stamp == std::string::npos ? stamp : text.find('\n', stamp);
    const auto range = valueRange(source);
    if (!range || place == std::string::npos) return text;
    return text.insert(place, CPLSPrintf("\n      <MDI key=\"STATISTICS_MINIMUM\">%.17g</MDI>"
                                         "\n      <MDI key=\"STATISTICS_MAXIMUM\">%.17g</MDI>"
                                         "\n      <MDI key=\"STATISTICS_APPROXIMATE\">YES</MDI>",
                                         range->first, range->second));
}

std::string withoutHeightRange(const std::string& text)
{
    std::istringstream lines(text);
    std::string line;
    std::string rest;
    while (std::getline(lines, line))
        if (line.find("\"STATISTICS_") == std::string::npos) rest += line + '\n';
    return rest;
}

/** The source's name, for people who look into the folder, without what file names or the library's own way of naming
 * two rasters cannot hold. */
std::string readableName(const std::string& path)
{
    std::string name = fs::path(path).stem().string();
    if (name.size() > 100) name.clear();
    for (char& c : name)
        if (std::strchr("?:*|<>\"\\/", c)) c = '_';
    return name;
}
} // namespace

std::string temporaryFolder()
{
    const char* chosen = std::getenv("TEMP");
    if (chosen && *chosen) return chosen;
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    return error ? "." : folder.string();
}

std::string writeWarpedRaster(const RasterFacts& source, RasterRole role, const std::optional<OGRSpatialReference>& own,
                              const std::optional<OGRSpatialReference>& target)
{
    const std::string key = source.path + '\n' + nameOf(role) + '\n' + (target ? wktOf(*target) : "");
    const fs::path folder = fs::path(temporaryFolder()) / "mvgeo-warp";
    makeFolder(folder.string());
    const fs::path file = folder / (hashText(key) + "-" + readableName(source.path) + ".vrt");
    const std::string text = makeWarpText(source, role, own, target);
    // The range is not compared: overviews of the source may change it a little, and the terrain not at all.
    const std::string before = readWholeFile(file.string()).value_or("");
    if (withoutHeightRange(before) == withoutHeightRange(text)) return absolutePath(file.string());
    const bool isDem = role == RasterRole::dem;
    saveFile(isDem ? withHeightRange(text, source.path) : text, file.string(), "warped raster");
    return absolutePath(file.string());
}
} // namespace mvgeo::host
