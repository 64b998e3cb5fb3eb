#include "commands/ModelOptions.h"

#include "common/GdalAccess.h"
#include "common/HostError.h"
#include "common/ReadableText.h"
#include "common/WholeFile.h"

#include <KdEdVariables.h>

#include <algorithm>
#include <fstream>
#include <iostream>

namespace mvgeo::host
{
namespace
{
constexpr double kHeightMargin = 0.1; // of the range: the lowest place may be missing in a sample

/** Warped where necessary. */
Terrain openTerrain(const ModelInput& input, const ModelOptions& options)
{
    Terrain terrain = prepareTerrain(*input.terrain, !options.noWarp);
    for (const std::string& note : terrain.notes)
        std::cerr << "mvgeo: " << note << '\n';
    return terrain;
}

void addTerrain(OpenModel& open)
{
    // Without a DOM the library's textures are black.
    if (!open.terrain->dom) open.model->setAcceptedTiles(HostModel::AcceptedTiles::untextured);
    if (open.model->addFile(open.terrain->modelPath())) return;
    throw HostError("The library cannot make a terrain of '" + open.input.given + "'; its log tells why.");
}

/** Where a DEM has no data the library puts the ground at 0. What leads below the floor is no ground but such a place.
 * Empty if the DEM's own ground may be at 0 too. */
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
void findGround(OpenModel& open)
{
    const osg::BoundingBoxd& box = open.extents;
    const auto [lowest, highest] = open.terrain->heightRange().value_or(std::make_pair(box.zMin(), box.zMax()));
    open.floor = floorBelow(lowest, highest);
    if (open.floor) open.model->leaveOutBelow(static_cast<float>(*open.floor));
    if (!open.floor && mayHaveHoles(*open.terrain))
        std::cerr << "mvgeo: the heights of the DEM begin at " << readableLength(lowest, "m")
                  << ", so places without data cannot be told from ground; they count as 0 m.\n";
    open.terrainLook = TerrainLook{osg::Vec2f(static_cast<float>(lowest), static_cast<float>(highest))};
    open.groundExtents.zMin() = std::max(box.zMin(), std::min(lowest, box.zMax()));
    open.groundExtents.zMax() = std::max(open.groundExtents.zMin(), std::min(highest, box.zMax()));
}
} // namespace

void addModelOptions(Command command, ModelOptions& options)
{
    command.add("MODEL", options.model,
                "folder of root tiles (or the folder above its 'Data'), an .osgb file, or a terrain: its rasters as "
                "\"DOM?DEM\", or one of them");
    command.add("--dom", options.terrain.dom, "instead of MODEL: the ortho-image of a terrain").typeName("FILE");
    command.add("--dem", options.terrain.dem, "instead of MODEL: the elevations of a terrain").typeName("FILE");
    command.addFlag("--no-warp", options.noWarp, "take a terrain's rasters as they are, in whatever systems and units");
    command.addFlag("--normals", options.normals, "smooth normals for tiles that have none");
    command.add("--log-dir", options.logFolder, "write the library's log to GeoCache/3d.log in this folder")
        .typeName("DIR");
}

ModelInput resolveModel(const ModelOptions& options)
{
    if (options.namesRasters() && !options.model.empty())
        throw HostError("MODEL and --dom or --dem are two ways to name a model; give one of them.");
    if (options.namesRasters()) return terrainInput(options.terrain);
    if (options.model.empty()) throw HostError("MODEL is required; a terrain can be named by --dom and --dem instead.");
    return resolveModelInput(options.model);
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

std::vector<std::string> addRootFiles(HostModel& model, const ModelInput& input)
{
    std::vector<std::string> unreadable;
    for (const std::string& file : input.rootFiles)
        if (!model.addFile(file)) unreadable.push_back(file);
    if (unreadable.size() < input.rootFiles.size()) return unreadable;
    if (unreadable.size() == 1) throw HostError("Cannot read the tile '" + unreadable.front() + "'.");
    throw HostError("Cannot read any of the " + std::to_string(unreadable.size()) + " root tiles of '" + input.given +
                    "'.");
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
    open.groundExtents = open.extents;
    if (open.terrain && open.extents.valid()) findGround(open);
    return open;
}

ModelSystem systemOf(const OpenModel& open)
{
    return open.terrain ? systemOf(*open.terrain) : systemOf(readModelMetadata(open.input.metadataFile));
}
} // namespace mvgeo::host
