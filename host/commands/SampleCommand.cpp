#include "commands/Commands.h"
#include "common/HostError.h"
#include "common/JsonReport.h"
#include "common/ReadableText.h"
#include "common/TerminalProgress.h"
#include "common/TextParsing.h"
#include "sample/SamplePyramid.h"
#include "sample/SampleTerrain.h"

#include <cstdint>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

namespace mvgeo::host
{
namespace
{
constexpr const char* kCity = "city";
constexpr const char* kTerrain = "terrain";
const std::map<std::string, sample::TextureStorage> kTextures = {{"jpeg", sample::TextureStorage::jpeg},
                                                                 {"ktx2", sample::TextureStorage::etc1s},
                                                                 {"ktx2-uastc", sample::TextureStorage::uastc},
                                                                 {"ktx2-bc", sample::TextureStorage::bc}};
constexpr int kAnyNumber = 1000000; // the pyramid knows its own limits

struct SampleOptions
{
    std::string folder;
    std::string roots = "3x3";
    int levels = 5;
    std::uint32_t seed = 7;
    std::string only;              // kCity, kTerrain, or empty for both
    std::string textures = "jpeg"; // a key of kTextures
    bool json = false;
};

std::vector<std::string> textureNames()
{
    std::vector<std::string> names;
    for (const auto& [name, storage] : kTextures)
        names.push_back(name);
    return names;
}

sample::SamplePyramidResult writeCity(const SampleOptions& options)
{
    const auto roots = parsePair(options.roots, kAnyNumber);
    if (!roots) throw HostError("--roots: '" + options.roots + "' is not NxM.");

    sample::SamplePyramidOptions pyramid;
    std::tie(pyramid.rootTilesX, pyramid.rootTilesY) = *roots;
    pyramid.levels = options.levels;
    pyramid.seed = options.seed;
    pyramid.textures = kTextures.at(options.textures);
    TerminalProgress progress("building the city:");
    pyramid.progress = [&progress](double part) { progress.showFraction(part); };
    const sample::SamplePyramidResult result = sample::writeSamplePyramid(options.folder, pyramid);
    if (!result.ok) throw HostError(result.message);
    return result;
}

sample::SampleTerrainResult writeTerrain(const SampleOptions& options)
{
    sample::SampleTerrainOptions terrain;
    terrain.seed = options.seed;
    TerminalProgress progress("raising the mountains:");
    terrain.progress = [&progress](double part) { progress.showFraction(part); };
    const sample::SampleTerrainResult result = sample::writeSampleTerrain(options.folder, terrain);
    if (!result.ok) throw HostError(result.message);
    return result;
}

/** Before the city is written: what is in the terrain's way would otherwise show only afterwards. */
void failIfTerrainExists(const std::string& folder)
{
    std::error_code ignored;
    const std::string terrain = sample::sampleTerrainFolder(folder);
    if (std::filesystem::exists(std::filesystem::u8path(terrain), ignored))
        throw HostError(terrain + " already exists; choose another folder, remove it first, or take --only city");
}

void runSample(const SampleOptions& options)
{
    const bool both = options.only.empty();
    if (both) failIfTerrainExists(options.folder);
    Json report = Json::object();
    std::string sentences;
    if (both || options.only == kCity)
    {
        const sample::SamplePyramidResult city = writeCity(options);
        report.update({{"dataFolder", city.dataFolder}, {"files", city.files}, {"bytes", city.bytes}});
        sentences += "Wrote " + std::to_string(city.files) + " tiles, " + readableBytes(city.bytes) + ", to " +
                     city.dataFolder + '\n';
    }
    if (both || options.only == kTerrain)
    {
        const sample::SampleTerrainResult terrain = writeTerrain(options);
        report["terrain"] = {{"dem", terrain.demFile}, {"dom", terrain.domFile}, {"bytes", terrain.bytes}};
        sentences += "Wrote a terrain, " + readableBytes(terrain.bytes) + ", to " +
                     sample::sampleTerrainFolder(options.folder) + '\n';
    }
    if (options.json)
        printJson(report);
    else
        std::cout << sentences;
}
} // namespace

void addSampleCommand(Command app)
{
    const auto options = std::make_shared<SampleOptions>();
    Command command = app.addCommand(
        "sample", "make a small city as a pyramid of tiles and a mountain valley as DEM and ortho-image");
    command.add("DIR", options->folder, "folder to write to").required();
    command.add("--roots", options->roots, "root tiles from west to east and from south to north")
        .typeName("NxM")
        .showDefault();
    command.add("--levels", options->levels, "levels of detail").showDefault();
    command.add("--seed", options->seed, "another number makes another city and another valley").showDefault();
    command.add("--only", options->only, "write one of the two, for instance beside the other one")
        .oneOf({kCity, kTerrain});
    command
        .add("--textures", options->textures,
             "how the city's textures are stored: jpeg, or KTX2 with ETC1S (ktx2), UASTC or BC1 blocks")
        .oneOfTypeName(textureNames())
        .typeName("jpeg|ktx2|ktx2-uastc|ktx2-bc")
        .showDefault();
    addJsonOption(command, options->json);
    command.onRun([options] { runSample(*options); });
}
} // namespace mvgeo::host
