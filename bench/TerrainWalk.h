#pragma once

#include "TerrainFiles.h"

#include <osg/Node>
#include <osg/ref_ptr>
#include <osgDB/Options>

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace mvgeo::bench
{

constexpr int kDeepest = 6; // 1 + 4 + 16 + ... + 4096 tiles

[[nodiscard]] constexpr int tileCount(int deepest)
{
    return deepest == 0 ? 1 : 1 + 4 * tileCount(deepest - 1);
}

/** Seconds of CPU time, by the depth of the tiles. */
using DepthSeconds = std::array<double, kDeepest + 1>;

/** Of the tiles from one depth to another, both included. */
[[nodiscard]] double sumOf(const DepthSeconds& seconds, int first, int last);

/** How a terrain's root is asked for. Without a cache directory nothing is cached. */
[[nodiscard]] osg::ref_ptr<osgDB::Options> rootOptions(const TerrainFiles& files, const std::string& cacheDirectory);

/** Reads a terrain's tiles down to a depth, root first and then depth first, and drops each group of four as soon as
 * all below it has been read: memory holds one path of the pyramid. Throws if a tile cannot be read. */
DepthSeconds walkTerrain(const osg::ref_ptr<osgDB::Options>& options, int deepest);

/** The nodes that are read on the way from the root down to a depth, always through the same quadrant, 0 to 3; the
 * index is the depth. Nothing is cached. */
[[nodiscard]] std::vector<osg::ref_ptr<osg::Node>> terrainBranch(const TerrainFiles& files, unsigned int quadrant,
                                                                 int deepest);

/** Closes the rasters that no model holds, so that the next round begins as a new process does. */
void closeTerrains();

} // namespace mvgeo::bench
