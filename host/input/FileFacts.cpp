#include "input/FileFacts.h"

#include "common/GdalAccess.h"
#include "common/HostError.h"
#include "common/JsonInput.h"
#include "common/ReadableText.h"
#include "common/TextParsing.h"
#include "common/WholeFile.h"
#include "terrain/RasterFacts.h"

#include <mvgeothirdparty/FileQueries.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr std::size_t kBytesLookedAt = std::size_t{16} << 20; // a longer JSON file is called a text file

constexpr const char* kTileContent = "a scene in the toolkit's binary format";

struct Signature
{
    std::string_view bytes;
    const char* content;
};
constexpr Signature kSignatures[] = {
    {"\xABKTX 11\xBB\r\n\x1A\n", "a KTX texture"},
    {"\xABKTX 20\xBB\r\n\x1A\n", "a KTX 2 texture"},
    {"\xA1\x0E\x91\x6C\x45\x45\xFB\x1A", kTileContent},
    {"PK\x03\x04", "a zip archive"},
    {"%PDF-", "a PDF document"},
};

/** Any code page: what no text holds are most of the control characters. */
bool isText(const std::string& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](unsigned char c)
                       { return c >= 0x20 || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == 0x1B; });
}

/** From the first character that is not white space, without a byte order mark. */
std::string_view visiblePart(std::string_view text)
{
    if (startsWith(text, "\xEF\xBB\xBF")) text.remove_prefix(3);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\f"), text.size()));
    return text;
}

std::optional<std::string> whyNoDem(const std::string& path, int bands)
{
    if (!IsDemFileValid_Imp(KdString(path.c_str()))) return "it has " + std::to_string(bands) + " bands";
    try
    {
        readRasterFacts(path, RasterRole::dem);
        return std::nullopt;
    }
    catch (const HostError& error)
    {
        return error.what();
    }
}

std::optional<RasterSummary> readRaster(const std::string& path)
{
    RasterSummary raster;
    if (!GetGeoImageInfo(KdString(path.c_str()), raster.transform.data(), raster.width, raster.height)) return {};
    {
        const GDALDatasetUniquePtr dataset = openRaster(path);
        if (!dataset) return {};
        const QuietGdal quiet;
        std::array<double, 6> ignored{};
        raster.driver = dataset->GetDriverName();
        raster.bands = dataset->GetRasterCount();
        raster.isGeoreferenced = dataset->GetGeoTransform(ignored.data()) == CE_None;
        if (raster.bands > 0) raster.type = GDALGetDataTypeName(dataset->GetRasterBand(1)->GetRasterDataType());
    }
    raster.noDem = whyNoDem(path, raster.bands);
    return raster;
}

void checkFolder(const std::string& path)
{
    std::error_code error;
    const fs::directory_iterator entry(path, error);
    if (error) throw HostError("Cannot list the folder '" + path + "': " + error.message() + ".");
}

void readRegularFile(FileFacts& facts)
{
    const std::optional<std::string> start = readWholeFile(facts.path, kBytesLookedAt);
    if (!start) throw HostError("Cannot read '" + facts.path + "': " + std::strerror(errno) + ".");
    facts.bytes = fs::file_size(facts.path);
    if (isTileName(facts.name))
    {
        facts.kind = FileKind::tile;
        facts.isReadableTile = IsOsgbFileValid_Imp(KdString(facts.path.c_str()));
    }
    else if ((facts.raster = readRaster(facts.path)))
        facts.kind = FileKind::raster;
    facts.content = describeContent(*start);
}
} // namespace

bool isTileName(const std::string& name)
{
    std::string extension = fs::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".osgb";
}

std::string describeContent(const std::string& start)
{
    if (start.empty()) return "an empty file";
    for (const Signature& signature : kSignatures)
        if (startsWith(start, signature.bytes)) return signature.content;
    if (!isText(start)) return "a binary file of an unknown kind";
    const std::string_view text = visiblePart(start);
    if (startsWith(text, "<")) return "an XML file";
    if ((startsWith(text, "{") || startsWith(text, "[")) && isJson(text)) return "a JSON file";
    return "a text file";
}

FileFacts readFileFacts(const std::string& path)
{
    FileFacts facts;
    facts.path = path;
    KdString name;
    getFileName_Imp(KdString(path.c_str()), name);
    facts.name = name.ansiPtr();
    if (fs::is_directory(path))
    {
        checkFolder(path);
        facts.kind = FileKind::folder;
        return facts;
    }
    if (!fs::is_regular_file(path)) throw HostError("'" + path + "' is neither a file nor a folder.");
    readRegularFile(facts);
    return facts;
}

std::string whyNoModel(const FileFacts& facts)
{
    const std::string size = facts.bytes > 0 ? " of " + readableBytes(facts.bytes) : "";
    if (facts.kind != FileKind::tile)
        return "'" + facts.path + "' is " + facts.content + size + ", neither a tile nor a raster.";
    if (facts.content == kTileContent) return "'" + facts.path + "' is a damaged tile" + size + ": it cannot be read.";
    return "'" + facts.path + "' is named like a tile but cannot be read as one: it is " + facts.content + size + ".";
}
} // namespace mvgeo::host
