#include "commands/Commands.h"
#include "commands/ModelOptions.h"
#include "common/GdalAccess.h"
#include "common/HostError.h"
#include "common/Interruption.h"
#include "common/ProcessMemory.h"
#include "common/ReadableText.h"
#include "common/TerminalProgress.h"
#include "terrain/RasterOverviews.h"
#include "terrain/TerrainRegions.h"
#include "terrain/WarpedRaster.h"

#include <cpl_multiproc.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr int kMostLevels = 20; // 4^20 tiles are more than anybody stores

struct PrebuildOptions
{
    ModelOptions model;
    int levels = 0;
    bool overviews = false;
    bool json = false;
};

struct PrebuildResult
{
    int levels = 0;          ///< asked for, or as many as the rasters give
    std::uint64_t files = 0; ///< that the cache should hold for them
    std::uint64_t built = 0;
    std::uint64_t failed = 0;
    std::uint64_t incomplete = 0; ///< of those built
    std::uint64_t notKept = 0;    ///< of those built
    double seconds = 0.0;
    std::vector<std::string> newOverviews; ///< rasters that got them

    /** The files that were neither built nor failed had to be there: the library reads a tile or makes it. */
    [[nodiscard]] std::uint64_t found() const { return files - std::min(files, built + failed); }
    [[nodiscard]] std::uint64_t missing() const { return failed + incomplete + notKept; }
};

/** Better said before the work than after it. */
void checkCacheFolder()
{
    const fs::path folder = fs::path(temporaryFolder()) / "terrain";
    std::error_code error;
    fs::create_directories(folder, error);
    const fs::path probe = folder / ("mvgeo-" + std::to_string(CPLGetCurrentProcessID()) + ".probe");
    const bool writable = static_cast<bool>(std::ofstream(probe) << 'x' << std::flush);
    fs::remove(probe, error);
    if (!writable) throw HostError("Cannot write to the folder of the tile cache, '" + folder.string() + "'.");
}

/** Gives each large raster of the input overviews, if it has none. Returns the rasters that got them. */
std::vector<std::string> addOverviews(const TerrainPaths& paths)
{
    std::vector<std::string> done;
    for (const auto& [path, role] :
         {std::make_pair(paths.dom, RasterRole::dom), std::make_pair(paths.dem, RasterRole::dem)})
    {
        if (path.empty()) continue;
        const RasterFacts raster = readRasterFacts(path, role);
        if (!wantsOverviews(raster)) continue;
        TerminalProgress progress(std::string("overviews of the ") + nameOf(role) + ":");
        const auto show = [&progress](double part)
        {
            progress.showFraction(part);
            return !Interruption::isRequested();
        };
        if (!buildOverviews(raster, show))
            throw HostError("Interrupted before the overviews of '" + path + "' were complete.", kExitInterrupted);
        done.push_back(path);
    }
    return done;
}

/** Shows how far the building is, and ends it when the user wants. */
class BuildProgress
{
public:
    explicit BuildProgress(const TerrainRegions& regions) : _regions(regions), _line("building:") {}

    void beginRegion(std::uint64_t index, const GeoMeshStatistics& now)
    {
        _index = index;
        _loadedBefore = now.tilesLoaded;
        report(now);
    }

    void report(const GeoMeshStatistics& now)
    {
        if (Interruption::isRequested())
            throw HostError("Interrupted after " + std::to_string(now.tilesBuilt) +
                                " files were built; they stay, and the same command goes on with the rest.",
                            kExitInterrupted);
        const double inRegion = std::min(1.0, static_cast<double>(now.tilesLoaded - _loadedBefore) /
                                                  static_cast<double>(_regions.filesPerRegion()));
        _line.showFraction((static_cast<double>(_index) + inRegion) / static_cast<double>(_regions.count()),
                           std::to_string(now.tilesBuilt) + " files built, " + std::to_string(now.tilesFromCache) +
                               " read");
    }

private:
    const TerrainRegions& _regions;
    TerminalProgress _line;
    std::uint64_t _index = 0;
    std::uint64_t _loadedBefore = 0;
};

void buildRegions(HostModel& model, const TerrainRegions& regions, const std::pair<double, double>& heights)
{
    BuildProgress progress(regions);
    const auto report = [&progress](const GeoMeshStatistics& now) { progress.report(now); };
    for (std::uint64_t i = 0; i < regions.count(); ++i)
    {
        progress.beginRegion(i, model.statistics());
        if (!model.converge(regions.frame(i, heights), HostModel::Clock::time_point::max(), report))
            throw HostError("The terrain never came to rest."); // there is no deadline
    }
}

PrebuildResult prebuild(const PrebuildOptions& options)
{
    PrebuildResult result;
    const ModelInput input = resolveModel(options.model);
    if (!input.terrain)
        throw HostError("'" + input.given + "' is no terrain: its tiles are files already, there is nothing to build.");
    const Interruption interruption;
    const auto start = HostModel::Clock::now();
    checkCacheFolder();
    if (options.overviews) result.newOverviews = addOverviews(*input.terrain);

    const OpenModel open = openModel(options.model);
    open.model->setAcceptedTiles(HostModel::AcceptedTiles::none);
    const RasterFacts* dom = open.terrain->dom ? &open.terrain->dom->used() : nullptr;
    const RasterFacts* dem = open.terrain->dem ? &open.terrain->dem->used() : nullptr;
    const GroundRect root = rootRectOf(dem ? *dem : *dom);
    result.levels = std::min(options.levels, finestLevel(root, dom, dem));
    const TerrainRegions regions(root, result.levels);
    buildRegions(*open.model, regions, {open.extents.zMin(), open.extents.zMax()});

    const GeoMeshStatistics statistics = open.model->statistics();
    result.files = regions.fileCount();
    result.built = statistics.tilesBuilt;
    result.failed = statistics.tilesFailed;
    result.incomplete = statistics.tilesIncomplete;
    result.notKept = statistics.tilesNotKept;
    result.seconds = std::chrono::duration<double>(HostModel::Clock::now() - start).count();
    return result;
}

void printForPeople(const PrebuildOptions& options, const PrebuildResult& result)
{
    for (const std::string& raster : result.newOverviews)
        std::cout << "Built overviews of " << raster << ".\n";
    std::cout << "The cache holds the levels 0 to " << result.levels << ", "
              << result.files - std::min(result.files, result.missing()) << " files: " << result.built << " built, "
              << result.found() << " found; " << readableSeconds(result.seconds) << ", at most "
              << readableBytes(peakResidentBytes()) << " resident.\n";
    if (result.levels < options.levels) std::cout << "The rasters give no finer level.\n";
    if (result.failed > 0) std::cout << result.failed << " files could not be built; the log tells why.\n";
}

Json reportOf(const PrebuildResult& result)
{
    return {{"levels", result.levels},        {"files", result.files},
            {"builtTiles", result.built},     {"foundTiles", result.found()},
            {"failedTiles", result.failed},   {"incompleteTiles", result.incomplete},
            {"notKeptTiles", result.notKept}, {"overviews", result.newOverviews},
            {"seconds", result.seconds},      {"peakResidentBytes", peakResidentBytes()}};
}

void runPrebuild(const PrebuildOptions& options)
{
    const PrebuildResult result = prebuild(options);
    if (options.json)
        printJson(reportOf(result));
    else
        printForPeople(options, result);
    if (result.incomplete > 0)
        throw HostError("For " + std::to_string(result.incomplete) +
                        " files a raster could not be read; they are not kept.");
    if (result.notKept > 0)
        throw HostError(std::to_string(result.notKept) +
                        " files could not be written to the tile cache; is the disk full?");
}
} // namespace

void addPrebuildCommand(Command app)
{
    const auto options = std::make_shared<PrebuildOptions>();
    Command command = app.addCommand("prebuild", "fill a terrain's tile cache, so that viewing only reads");
    addModelOptions(command, options->model);
    command.add("--levels", options->levels, "finest level to build; 0 is the one tile that covers everything")
        .required()
        .between(0, kMostLevels)
        .typeName("N");
    command.addFlag("--overviews", options->overviews, "first build overviews of large rasters without them, as .ovr");
    addJsonOption(command, options->json);
    command.onRun([options] { runPrebuild(*options); });
}
} // namespace mvgeo::host
