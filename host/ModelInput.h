#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mvgeo::host
{
enum class InputKind
{
    RootTileFolder, ///< sub-folders X, each with a file X/X.osgb
    RootTile,       ///< one such sub-folder
    SingleFile
};

/** What a command line names as MODEL, found on disk but not opened. */
struct ModelInput
{
    InputKind kind = InputKind::SingleFile;
    std::string given;                  ///< as the user wrote it
    std::string folder;                 ///< that holds the sub-folders of the root tiles, or the file
    std::vector<std::string> rootFiles; ///< sorted by name, at least one
    std::string metadataFile;           ///< metadata.xml in `folder` or above it; empty if there is none
};

/** Throws HostError if nothing there can be a model. */
ModelInput resolveModelInput(const std::string& path);

const char* describe(InputKind kind);

struct FileTotals
{
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

/** The .osgb files that belong to the input: the root files' folders, or the single file. Unreadable entries are left
 *  out. */
FileTotals countTileFiles(const ModelInput& input);
} // namespace mvgeo::host
