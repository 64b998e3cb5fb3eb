#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace mvgeo::host
{
enum class FileKind
{
    folder,
    tile,   ///< named ".osgb", whatever is in it
    raster, ///< GDAL can read it
    other
};

/** What the library's queries and GDAL say of a raster, whether it has a place on the earth or not. */
struct RasterSummary
{
    std::string driver;
    int width = 0; ///< pixels
    int height = 0;
    int bands = 0;
    std::string type;                   ///< of band 1; empty without one
    std::array<double, 6> transform{};  ///< GDAL's
    bool isGeoreferenced = false;       ///< else the transform is only GDAL's default
    std::optional<std::string> noDem{}; ///< why it cannot serve as DEM, as a part of a sentence; empty if it can
};

/** What a file or folder is, before anybody opens it as a model. */
struct FileFacts
{
    FileKind kind = FileKind::other;
    std::string path;
    std::string name;
    std::uint64_t bytes = 0; ///< none for a folder
    bool isReadableTile = false;
    std::string content; ///< of a file that is neither a readable tile nor a raster: "a KTX 2 texture", "an empty file"
    std::optional<RasterSummary> raster;
};

/** Looks at something that exists. Throws HostError if not even that is possible: no permission, or a device. */
FileFacts readFileFacts(const std::string& path);

/** True if the path ends in ".osgb", in whatever letters. */
bool isTileName(const std::string& path);

/** What the bytes are, with an article: "a JSON file". `start` is the whole file, or its beginning. */
std::string describeContent(const std::string& start);

/** One sentence for a file of which no model can be made. */
std::string whyNoModel(const FileFacts& facts);
} // namespace mvgeo::host
