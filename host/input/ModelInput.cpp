#include "input/ModelInput.h"

#include "common/HostError.h"
#include "input/FileFacts.h"

#include <mvgeothirdparty/FileQueries.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr const char* kExpected = "expected are sub-folders X that hold a file X/X.osgb, here or below 'Data'";

std::vector<std::string> rootTilesIn(const fs::path& folder)
{
    std::vector<KdString> found;
    GetRootTiles_Imp(KdString(folder.string().c_str()), found);
    std::vector<std::string> files;
    files.reserve(found.size());
    for (const KdString& file : found)
        files.emplace_back(file.ansiPtr());
    std::sort(files.begin(), files.end());
    return files;
}

std::string findMetadata(const fs::path& folder)
{
    std::error_code ignored;
    const fs::path absolute = fs::absolute(folder, ignored);
    for (const fs::path& place : {absolute, absolute.parent_path()})
        if (fs::is_regular_file(place / "metadata.xml", ignored)) return (place / "metadata.xml").string();
    return {};
}

/** The sentence for a folder without root tiles. */
[[noreturn]] void failForFolder(const fs::path& folder, const std::string& given)
{
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    if (error) throw HostError("Cannot list the folder '" + given + "': " + error.message() + ".");
    if (entry == fs::directory_iterator()) throw HostError("The folder '" + given + "' is empty.");
    const auto isLooseTile = [](const fs::directory_entry& e) { return isTileName(e.path().string()); };
    if (std::any_of(entry, fs::directory_iterator(), isLooseTile))
        throw HostError("The folder '" + given +
                        "' holds loose .osgb files but no root tile; give one of the files, or " +
                        "a model's folder (" + kExpected + ").");
    throw HostError("The folder '" + given + "' holds no root tile; " + kExpected + ".");
}

ModelInput resolveFolder(fs::path folder, const std::string& given)
{
    if (!folder.has_filename()) folder = folder.parent_path(); // "city/" is "city"
    for (const fs::path& place : {folder, folder / "Data"})
    {
        std::vector<std::string> files = rootTilesIn(place);
        if (!files.empty())
            return {InputKind::rootTileFolder, given, place.string(), std::move(files), findMetadata(place), {}};
    }
    std::error_code ignored;
    const fs::path name = fs::canonical(folder, ignored).filename();
    const fs::path ownRoot = folder / (name.string() + ".osgb");
    if (!fs::is_regular_file(ownRoot, ignored)) failForFolder(folder, given);
    return {InputKind::rootTile, given, folder.string(), {ownRoot.string()}, findMetadata(folder / ".."), {}};
}

ModelInput loneRaster(const std::string& path)
{
    const std::optional<RasterRole> role = guessRole(path);
    if (!role) throw HostError("'" + path + "' is neither a folder nor an .osgb file nor a raster that GDAL can read.");
    ModelInput input = terrainInput(*role == RasterRole::dom ? TerrainPaths{path, {}} : TerrainPaths{{}, path});
    input.given = path;
    return input;
}
} // namespace

ModelInput terrainInput(const TerrainPaths& paths)
{
    ModelInput input;
    input.kind = InputKind::terrain;
    input.given = paths.dom + "?" + paths.dem;
    input.terrain = paths;
    return input;
}

ModelInput resolveModelInput(const std::string& path)
{
    if (path.empty()) throw HostError("The model's path is empty.");
    std::error_code error;
    const fs::path place(path);
    const fs::file_status status = fs::status(place, error);
    if (!fs::exists(status))
    {
        if (const std::optional<TerrainPaths> paths = splitTerrainPath(path)) return terrainInput(*paths);
        if (path.rfind("/vsi", 0) == 0) return loneRaster(path); // GDAL's own file systems
        if (status.type() != fs::file_type::not_found)
            throw HostError("Cannot look at '" + path + "': " + error.message() + ".");
        throw HostError("There is no file or folder '" + path + "'.");
    }
    if (fs::is_directory(status)) return resolveFolder(place, path);
    if (!fs::is_regular_file(status) || !isTileName(path)) return loneRaster(path);
    const fs::path folder = place.has_parent_path() ? place.parent_path() : fs::path(".");
    return {InputKind::singleFile, path, folder.string(), {path}, findMetadata(folder), {}};
}

const char* describe(InputKind kind)
{
    switch (kind)
    {
    case InputKind::rootTileFolder:
        return "folder of root tiles";
    case InputKind::rootTile:
        return "folder of one root tile";
    case InputKind::singleFile:
        return "single .osgb file";
    case InputKind::terrain:
        return "terrain";
    }
    return "";
}

FileTotals countTileFiles(const ModelInput& input)
{
    FileTotals totals;
    const auto add = [&totals](const fs::path& file)
    {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(file, error);
        if (error) return;
        ++totals.files;
        totals.bytes += size;
    };
    if (input.terrain)
    {
        for (const std::string& raster : {input.terrain->dom, input.terrain->dem})
            if (!raster.empty()) add(raster);
        return totals;
    }
    if (input.kind == InputKind::singleFile)
    {
        add(input.rootFiles.front());
        return totals;
    }
    for (const std::string& root : input.rootFiles)
    {
        std::error_code error;
        fs::directory_iterator entry(fs::path(root).parent_path(), error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error))
            if (isTileName(entry->path().string())) add(entry->path());
    }
    return totals;
}
} // namespace mvgeo::host
