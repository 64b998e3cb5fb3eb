#pragma once

#include <string>

namespace mvgeo::bench
{

struct TerrainFiles
{
    std::string dem;
    std::string dom;
};

constexpr int kDemSide = 2048; // pixels of 10 m
constexpr int kDomSide = 4096; // pixels of 5 m

/** The reference host's invented valley, uncompressed and in blocks of 256 pixels: elevations as floats, colours as
 *  interleaved bytes. Written below the build folder on first use; throws if that fails. */
[[nodiscard]] const TerrainFiles& terrainFiles(bool withOverviews);

/** An empty folder of this name below the build folder; what was in it is deleted. */
[[nodiscard]] std::string emptyFolder(const std::string& name);

/** Takes a folder of this name away again: a pyramid's cache holds a gigabyte. */
void removeFolder(const std::string& name);

} // namespace mvgeo::bench
