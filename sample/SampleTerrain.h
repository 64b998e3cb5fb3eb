#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace mvgeo::sample
{
struct SampleTerrainOptions
{
    int columns = 961; // posts of the elevation model, 64 to 2048
    int rows = 833;
    double demPixelMetres = 10.0; // 1 to 100
    int domPixelsPerPost = 4;     // to each side, 1 to 8: pixels of 2.5 m
    std::uint32_t seed = 7;
    std::function<void(double fraction)> progress; // 0 to 1; on the caller's thread
    std::function<bool()> cancelled;               // asked some times a second; on the caller's thread
};

struct SampleTerrainResult
{
    bool ok = false;
    std::string message; // one sentence for the user if not ok
    std::string demFile;
    std::string domFile;
    unsigned long long bytes = 0; // of both
};

/** The folder in DIR that the terrain is written to. */
[[nodiscard]] std::string sampleTerrainFolder(const std::string& directory);

/** Writes an invented alpine valley with a lake: an elevation model DIR/terrain/dem.tif (metres above the lake, the
 * lake itself without data) and an ortho-image of exactly the same extent DIR/terrain/dom.tif, both with overviews,
 * in UTM zone 32 north.
 *
 * The directory is made if it is not there (UTF-8); one that already holds "terrain" is left alone and reported. The
 * same options give the same bytes, on however many threads. Whatever goes wrong, and after a cancellation, nothing
 * that this call wrote stays behind.
 *
 * Works on as many threads as the machine has cores, with about 100 bytes for each post; the files are made in memory.
 */
[[nodiscard]] SampleTerrainResult writeSampleTerrain(const std::string& directory, const SampleTerrainOptions& options);
} // namespace mvgeo::sample
