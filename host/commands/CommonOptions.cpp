#include "CommonOptions.h"

#include "CommandLineValues.h"
#include "HostError.h"
#include "PictureFile.h"
#include "TerminalProgress.h"
#include "measure/ResultText.h"
#include "terrain/GdalSession.h"

#include <KdEdVariables.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <tuple>

namespace mvgeo::host
{
namespace
{
constexpr double kHeightMargin = 0.1; // of the range: the lowest place may be missing in a sample
constexpr int kMaxPictureSize = 8192; // with four samples a pixel, a square of this takes 2 GB

/** Adds an option whose text `parse` turns into a value, or the sentence's end that says what it should be. */
template <typename Parse, typename Store>
void addParsed(CLI::App& command, const char* name, const char* help, const char* form, const char* typeName,
               Parse parse, Store store)
{
    const auto take = [name, form, parse, store](const std::string& text)
    {
        const auto value = parse(text);
        if (!value) throw CLI::ValidationError(name, "'" + text + "' is not " + form);
        store(*value);
    };
    command.add_option_function<std::string>(name, take, help)->type_name(typeName);
}

void addTerrain(OpenModel& open)
{
    // Without a DOM the library's textures are black.
    if (!open.terrain->dom) open.model->setTaking(HostModel::Taking::Untextured);
    if (open.model->addFile(open.terrain->modelPath())) return;
    throw HostError("The library cannot make a terrain of '" + open.input.given + "'; its log tells why.");
}

/** Where a DEM has no data the library puts the ground at 0. What leads below the floor is no ground but such a place.
 *  Empty if the DEM's own ground may be at 0 too. */
std::optional<double> floorBelow(double lowest, double highest)
{
    if (lowest <= 0.0) return std::nullopt;
    return std::max(lowest - kHeightMargin * (highest - lowest), lowest / 2.0);
}

bool mayHaveHoles(const Terrain& terrain)
{
    return terrain.dem && (terrain.dem->source.noData || terrain.dem->used().noData);
}

/** Neither the camera nor the picture takes places without data for ground. */
void lookAtTerrain(OpenModel& open)
{
    const osg::BoundingBoxd& box = open.extents;
    const auto [lowest, highest] = open.terrain->heightRange().value_or(std::make_pair(box.zMin(), box.zMax()));
    open.floor = floorBelow(lowest, highest);
    if (open.floor) open.model->leaveOutBelow(static_cast<float>(*open.floor));
    if (!open.floor && mayHaveHoles(*open.terrain))
        std::cerr << "mvgeo: the heights of the DEM begin at " << readableLength(lowest, "m")
                  << ", so places without data cannot be told from ground; they count as 0 m.\n";
    open.look = TerrainLook{osg::Vec2f(static_cast<float>(lowest), static_cast<float>(highest))};
    open.sight.zMin() = std::max(box.zMin(), std::min(lowest, box.zMax()));
    open.sight.zMax() = std::max(open.sight.zMin(), std::min(highest, box.zMax()));
}
} // namespace

void addModelOptions(CLI::App& command, ModelOptions& options)
{
    command.add_option(
        "MODEL", options.model,
        "folder of root tiles (or the folder above its 'Data'), an .osgb file, or a terrain: its rasters as "
        "\"DOM?DEM\", or one of them");
    command.add_option("--dom", options.terrain.dom, "instead of MODEL: the ortho-image of a terrain")
        ->type_name("FILE");
    command.add_option("--dem", options.terrain.dem, "instead of MODEL: the elevations of a terrain")
        ->type_name("FILE");
    command.add_flag("--no-warp", options.noWarp,
                     "take a terrain's rasters as they are, in whatever systems and units");
    command.add_flag("--normals", options.normals, "smooth normals for tiles that have none");
    command.add_option("--log-dir", options.logFolder, "write the library's log to GeoCache/3d.log in this folder")
        ->type_name("DIR");
}

void addPictureOptions(CLI::App& command, ViewOptions& options)
{
    command.add_option("--fov", options.fovDegrees, "vertical opening angle in degrees")
        ->check(CLI::Range(0.1, 175.0))
        ->capture_default_str();
    addParsed(
        command, "--size", "pixels of the picture [1280x720]", "WIDTHxHEIGHT", "WxH",
        [](const std::string& text) { return parsePair(text, kMaxPictureSize); },
        [&options](const std::pair<int, int>& size) { std::tie(options.width, options.height) = size; });
    addParsed(
        command, "--background", "one colour instead of the sky", "a colour such as #ffffff", "#RRGGBB",
        [](const std::string& text) { return parseColour(text); },
        [&options](const osg::Vec3f& colour) { options.background = colour; });
}

void addCameraOptions(CLI::App& command, ViewOptions& options)
{
    const auto point = [](const std::string& text) { return parsePoint(text); };
    addParsed(command, "--eye", "where the camera stands", "three numbers x,y,z", "X,Y,Z", point,
              [&options](const osg::Vec3d& eye) { options.eye = eye; });
    addParsed(command, "--target", "what it looks at", "three numbers x,y,z", "X,Y,Z", point,
              [&options](const osg::Vec3d& target) { options.target = target; });
}

void addOrthoOption(CLI::App& command, ViewOptions& options)
{
    command.add_option("--ortho", options.orthoHeight, "orthographic view of this height in metres")
        ->check(CLI::Range(1e-6, 1e9));
}

void addTimeoutOption(CLI::App& command, ViewOptions& options)
{
    command.add_option("--timeout", options.timeoutSeconds, "seconds until a view that has not converged is an error")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
}

CLI::Option* addJsonOption(CLI::App& command, bool& json)
{
    return command.add_flag("--json", json, "print the result as JSON");
}

ModelInput resolveModel(const ModelOptions& options)
{
    if (options.namesRasters() && !options.model.empty())
        throw HostError("MODEL and --dom or --dem are two ways to name a model; give one of them.");
    if (options.namesRasters()) return terrainInput(options.terrain);
    if (options.model.empty()) throw HostError("MODEL is required; a terrain can be named by --dom and --dem instead.");
    return resolveModelInput(options.model);
}

Terrain openTerrain(const ModelInput& input, const ModelOptions& options)
{
    Terrain terrain = prepareTerrain(*input.terrain, !options.noWarp);
    for (const std::string& note : terrain.notes)
        std::cerr << "mvgeo: " << note << '\n';
    return terrain;
}

void useLogFolder(const ModelOptions& options)
{
    if (options.logFolder.empty()) return;
    const std::string folder = options.logFolder + "/GeoCache";
    makeFolder(folder);
    // The library keeps silent about a log that it cannot open.
    if (!std::ofstream(folder + "/3d.log", std::ios::app))
        throw HostError("Cannot write the log '" + folder + "/3d.log'.");
    kdedSetVar(KdString("LOGFILEPATH").kwszPtr(), KdString((options.logFolder + "/").c_str()).kwszPtr());
}

OpenModel openModel(const ModelOptions& options, bool emptyAllowed)
{
    limitBlockCache();
    OpenModel open;
    open.input = resolveModel(options);
    if (open.input.terrain) open.terrain = openTerrain(open.input, options);
    useLogFolder(options);
    open.model = std::make_unique<HostModel>(open.terrain ? kTerrainModel : kTiledModel);
    if (options.normals) open.model->setGenerateNormals(true);
    if (open.terrain)
        addTerrain(open);
    else
        open.unreadable = addRootFiles(*open.model, open.input);
    if (!open.unreadable.empty())
        std::cerr << "mvgeo: left out " << open.unreadable.size() << " of " << open.input.rootFiles.size()
                  << " root tiles that cannot be read, the first is '" << open.unreadable.front() << "'.\n";
    open.extents = open.model->extents();
    if (!open.extents.valid() && !emptyAllowed)
        throw HostError("The model '" + open.input.given + "' holds no geometry.");
    open.sight = open.extents;
    if (open.terrain && open.extents.valid()) lookAtTerrain(open);
    return open;
}

ViewCamera makeCamera(const ViewOptions& options, const osg::BoundingBoxd& sight)
{
    ViewCamera camera;
    camera.fovDegrees = options.fovDegrees;
    camera.orthoHeight = options.orthoHeight;
    camera.width = options.width;
    camera.height = options.height;
    lookOverBox(camera, sight);
    if (options.target) camera.eye += *options.target - camera.target;
    if (options.target) camera.target = *options.target;
    if (options.eye) camera.eye = *options.eye;
    if (options.eye && !options.target) camera.target = sight.center();
    if ((camera.eye - camera.target).length() < 1e-9) throw HostError("The eye and the target are the same point.");
    return camera;
}

ModelSystem systemOf(const OpenModel& open)
{
    return open.terrain ? systemOf(*open.terrain) : systemOf(readModelMetadata(open.input.metadataFile));
}

HostModel::Clock::time_point deadlineAfter(double seconds)
{
    return HostModel::Clock::now() +
           std::chrono::duration_cast<HostModel::Clock::duration>(std::chrono::duration<double>(seconds));
}

void convergeOrFail(HostModel& model, const ViewFrame& frame, const ViewOptions& options)
{
    TerminalProgress progress("loading:");
    const auto show = [&progress](const GeoMeshStatistics& s)
    {
        progress.showText(std::to_string(s.tilesLoaded) + " tiles loaded, " + std::to_string(s.requestsWaiting) +
                          " waiting");
    };
    if (model.converge(frame, deadlineAfter(options.timeoutSeconds), show)) return;
    throw HostError("The view has not converged within " + Json(options.timeoutSeconds).dump() +
                    " seconds: " + std::to_string(model.statistics().requestsWaiting) + " requests still wait.");
}

void failOnViolations(const HostTileStore& tiles, bool isFreeRunning)
{
    if (!isFreeRunning && tiles.unannouncedRemovals() > 0)
        throw HostError("The library removed " + std::to_string(tiles.unannouncedRemovals()) +
                        " tiles that it had not announced.");
    if (tiles.violations().empty()) return;
    throw HostError("The library broke its contract " + std::to_string(tiles.violations().size()) +
                    " times, first: " + tiles.violations().front() + ".");
}

Json tileReport(const HostModel& model)
{
    const HostTileStore& tiles = model.tiles();
    const GeoMeshStatistics statistics = model.statistics();
    Json report;
    report["loadedTiles"] = statistics.tilesLoaded;
    report["mergedTiles"] = statistics.tilesMerged;
    report["expiredTiles"] = statistics.tilesExpired;
    report["failedTiles"] = statistics.tilesFailed;
    if (model.type() == kTerrainModel)
    {
        report["incompleteTiles"] = statistics.tilesIncomplete;
        report["notKeptTiles"] = statistics.tilesNotKept;
    }
    if (model.type() == kTerrainModel)
    {
        report["builtTiles"] = statistics.tilesBuilt;
        report["cachedTiles"] = statistics.tilesFromCache;
    }
    report["heldTiles"] = statistics.tilesHeld;       // files
    report["heldContainers"] = tiles.heldTileCount(); // a file holds several, each with its identity
    report["visibleTiles"] = tiles.visibleIds().size();
    report["meshes"] = tiles.visibleMeshCount();
    report["triangles"] = tiles.visibleTriangleCount();
    report["textures"] = tiles.textures().textureCount();
    report["textureBytes"] = tiles.textures().byteCount();
    report["undrawableTextures"] = tiles.textures().undrawableCount();
    report["bytesHeld"] = statistics.bytesHeld;
    report["unannouncedRemovals"] = tiles.unannouncedRemovals();
    report["violations"] = tiles.violations();
    return report;
}

void printTerrainTiles(const HostModel& model)
{
    if (model.type() != kTerrainModel) return;
    const GeoMeshStatistics statistics = model.statistics();
    std::cout << statistics.tilesBuilt << " tiles were made from the rasters, " << statistics.tilesFromCache
              << " came from the disk cache.\n";
    if (statistics.tilesIncomplete > 0)
        std::cerr << "mvgeo: for " << statistics.tilesIncomplete
                  << " tiles a raster could not be read; they are flat or of one colour.\n";
    if (statistics.tilesNotKept > 0)
        std::cerr << "mvgeo: " << statistics.tilesNotKept << " tiles could not be written to the disk cache.\n";
}
} // namespace mvgeo::host
