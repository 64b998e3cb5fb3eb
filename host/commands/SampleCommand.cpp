#include "CommandLineValues.h"
#include "Commands.h"
#include "HostError.h"
#include "JsonReport.h"
#include "TerminalProgress.h"

#include "sample/SamplePyramid.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <tuple>

namespace mvgeo::host
{
namespace
{
constexpr int kAnyNumber = 1000000; // the pyramid knows its own limits

struct SampleOptions
{
    std::string folder;
    std::string roots = "3x3";
    int levels = 5;
    std::uint32_t seed = 7;
    bool json = false;
};

void runSample(const SampleOptions& options)
{
    const auto roots = parsePair(options.roots, kAnyNumber);
    if (!roots) throw HostError("--roots: '" + options.roots + "' is not NxM.");

    SamplePyramidOptions pyramid;
    std::tie(pyramid.rootTilesX, pyramid.rootTilesY) = *roots;
    pyramid.levels = options.levels;
    pyramid.seed = options.seed;
    TerminalProgress progress("building:");
    pyramid.progress = [&progress](double part) { progress.showPart(part); };
    const SamplePyramidResult result = writeSamplePyramid(options.folder, pyramid);
    if (!result.ok) throw HostError(result.message);
    if (options.json)
        printJson({{"dataFolder", result.dataFolder}, {"files", result.files}, {"bytes", result.bytes}});
    else
        std::cout << "Wrote " << result.files << " tiles, " << readableBytes(static_cast<double>(result.bytes))
                  << ", to " << result.dataFolder << '\n';
}
} // namespace

void addSampleCommand(CLI::App& app, int& status)
{
    const auto options = std::make_shared<SampleOptions>();
    CLI::App& command = *app.add_subcommand("sample", "make a small city as a pyramid of tiles");
    command.add_option("DIR", options->folder, "folder to write to")->required();
    command.add_option("--roots", options->roots, "root tiles from west to east and from south to north")
        ->type_name("NxM")
        ->capture_default_str();
    command.add_option("--levels", options->levels, "levels of detail")->capture_default_str();
    command.add_option("--seed", options->seed, "another number makes another city")->capture_default_str();
    command.add_flag("--json", options->json, "print the result as JSON");
    command.callback(
        [options, &status]
        {
            runSample(*options);
            status = 0;
        });
}
} // namespace mvgeo::host
