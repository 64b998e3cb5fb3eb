#pragma once

#include "HostModel.h"
#include "JsonReport.h"
#include "ModelInput.h"
#include "SceneStyle.h"
#include "ViewCamera.h"
#include "measure/ModelSystem.h"

#include <CLI/CLI.hpp>

#include <osg/Vec3d>
#include <osg/Vec3f>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
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
    std::vector<std::string> unreadable; ///< root files that were left out
    osg::BoundingBoxd extents;           ///< valid, unless an empty model was allowed
    osg::BoundingBoxd sight;             ///< what a picture is of: the extents without holes that hang down to 0
    std::optional<Terrain> terrain;      ///< its rasters, if it is one
    std::optional<TerrainLook> look;     ///< likewise
    std::optional<double> floor;         ///< of a terrain: what leads below is no ground but a place without data
};

struct ViewOptions
{
    std::optional<osg::Vec3d> eye;
    std::optional<osg::Vec3d> target;
    double fovDegrees = 40.0;
    double orthoHeight = 0.0;
    int width = 1280;
    int height = 720;
    std::optional<osg::Vec3f> background;
    double timeoutSeconds = 300.0;
};

void addModelOptions(CLI::App& command, ModelOptions& options);
/** --fov, --size and --background. */
void addPictureOptions(CLI::App& command, ViewOptions& options);
/** --eye and --target. */
void addCameraOptions(CLI::App& command, ViewOptions& options);
void addOrthoOption(CLI::App& command, ViewOptions& options);
void addTimeoutOption(CLI::App& command, ViewOptions& options);
CLI::Option* addJsonOption(CLI::App& command, bool& json);

/** What the command line names as the model. Throws HostError. */
ModelInput resolveModel(const ModelOptions& options);

/** Warped where necessary. Sentences about what had to be assumed go to standard error. */
Terrain openTerrain(const ModelInput& input, const ModelOptions& options);

/** Makes the folder for the library's log, if one was asked for, and tells the library. Throws HostError if no log can
 *  be written there. */
void useLogFolder(const ModelOptions& options);

/** Throws HostError if there is no such model, or nothing of it can be read. Root files that cannot be read beside
 * others are named on standard error. */
OpenModel openModel(const ModelOptions& options, bool emptyAllowed = false);

/** The camera of the command line; what was not given is chosen so that the model fills the picture. */
ViewCamera makeCamera(const ViewOptions& options, const osg::BoundingBoxd& sight);

/** What the coordinates of a model mean. */
ModelSystem systemOf(const OpenModel& open);

HostModel::Clock::time_point deadlineAfter(double seconds);

/** Converges with progress on a terminal; throws HostError when the time is over. */
void convergeOrFail(HostModel& model, const ViewFrame& frame, const ViewOptions& options);

/** Throws HostError if the library broke the contract with its receiver. A tile that was removed without having been
 *  announced is a breach too, except in a free-running flight, where one can come and leave within one update. */
void failOnViolations(const HostTileStore& tiles, bool isFreeRunning = false);

/** What render and fly both tell: tiles, triangles, textures, violations. */
Json tileReport(const HostModel& model);
/** For people: how many of a terrain's tiles were made and how many were there; nothing for another model. */
void printTerrainTiles(const HostModel& model);
} // namespace mvgeo::host
