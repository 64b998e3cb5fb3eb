#pragma once

#include "commands/CommandLine.h"
#include "hosting/HostModel.h"
#include "input/ModelInput.h"
#include "measure/ModelSystem.h"
#include "view/SceneStyle.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
/** MODEL of a command line, and how it is to be opened. */
struct ModelOptions
{
    std::string model;
    TerrainPaths terrain; ///< --dom and --dem, which stand in for MODEL
    bool noWarp = false;
    std::string logFolder;
    bool normals = false;

    [[nodiscard]] bool namesRasters() const { return !terrain.dom.empty() || !terrain.dem.empty(); }
};

/** The model of a command, open and not empty. */
struct OpenModel
{
    ModelInput input;
    std::unique_ptr<HostModel> model;
    std::vector<std::string> unreadable;    ///< root files that were left out
    osg::BoundingBoxd extents;              ///< valid, unless an empty model was allowed
    osg::BoundingBoxd groundExtents;        ///< what a picture is of: without holes that hang down to 0
    std::optional<Terrain> terrain;         ///< its rasters, if it is one
    std::optional<TerrainLook> terrainLook; ///< likewise
    std::optional<double> floor;            ///< of a terrain: what leads below is no ground but a place without data
};

void addModelOptions(Command command, ModelOptions& options);

/** What the command line names as the model. Throws HostError. */
ModelInput resolveModel(const ModelOptions& options);

/** Makes the folder for the library's log, if one was asked for, and tells the library. Throws HostError if no log can
 * be written there. */
void useLogFolder(const ModelOptions& options);

/** Adds every root file. Returns those that cannot be read; throws HostError if that is all of them. */
std::vector<std::string> addRootFiles(HostModel& model, const ModelInput& input);

/** Throws HostError if there is no such model, or nothing of it can be read. Root files that cannot be read beside
 * others, and what had to be assumed of a terrain's rasters, are told on standard error. */
OpenModel openModel(const ModelOptions& options, bool emptyAllowed = false);

/** What the coordinates of a model mean. */
ModelSystem systemOf(const OpenModel& open);
} // namespace mvgeo::host
