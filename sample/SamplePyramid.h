#pragma once

#include "sample/TextureStorage.h"

#include <cstdint>
#include <functional>
#include <string>

namespace mvgeo::sample
{
struct SamplePyramidOptions
{
    int rootTilesX = 3; // 1 to 50
    int rootTilesY = 3;
    int levels = 5;                // 5 to 8; files one below the other in each root tile, the root's own counted
    double tileSizeMetres = 200.0; // of a root tile, 100 to 1000
    std::uint32_t seed = 7;
    TextureStorage textures = TextureStorage::jpeg;
    std::function<void(double fraction)> progress; // 0 to 1; on the caller's thread
    std::function<bool()> cancelled;               // asked some times a second; on the caller's thread
};

struct SamplePyramidResult
{
    bool ok = false;
    std::string message; // one sentence for the user if not ok
    unsigned files = 0;  // tiles and metadata.xml
    unsigned long long bytes = 0;
    std::string dataFolder; // the folder with the root tiles' folders
};

/** Writes an invented city as an oblique-photography pyramid: DIR/metadata.xml, DIR/Data/Tile_+000_+000/...
 *
 * The directory is made if it is not there (UTF-8); one that already holds metadata.xml or Data is left alone and
 * reported. The same options give the same bytes. Whatever goes wrong, and after a cancellation, nothing that this
 * call wrote stays behind.
 *
 * Works on as many threads as the machine has cores, each with about 25 MB for a root tile of 200 m. */
[[nodiscard]] SamplePyramidResult writeSamplePyramid(const std::string& directory, const SamplePyramidOptions& options);
} // namespace mvgeo::sample
