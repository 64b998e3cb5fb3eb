#pragma once

#include "terrain/Terrain.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
enum class InputKind
{
    rootTileFolder, ///< sub-folders X, each with a file X/X.osgb
    rootTile,       ///< one such sub-folder
    singleFile,
    terrain ///< a DEM, a DOM, or both
};

/** What a command line names as MODEL, found on disk but not opened, except that a raster alone is looked at. */
struct ModelInput
{
    InputKind kind = InputKind::singleFile;
    std::string given;                   ///< as the user wrote it
    std::string folder;                  ///< that holds the sub-folders of the root tiles, or the file
    std::vector<std::string> rootFiles;  ///< sorted by name, at least one; none for a terrain
    std::string metadataFile;            ///< metadata.xml in `folder` or above it; empty if there is none
    std::optional<TerrainPaths> terrain; ///< for a terrain only
};

/** A folder or file of tiles; "DOM?DEM", unless a file has that very name; or a raster alone. Throws HostError if
 * nothing there can be a model. */
ModelInput resolveModelInput(const std::string& path);

/** A terrain whose rasters are named one by one. */
ModelInput terrainInput(const TerrainPaths& paths);

const char* describe(InputKind kind);

struct FileTotals
{
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

/** The .osgb files that belong to the input: the root files' folders, or the single file; or the rasters that were
 * named. Unreadable entries are left out. */
FileTotals countTileFiles(const ModelInput& input);
} // namespace mvgeo::host
