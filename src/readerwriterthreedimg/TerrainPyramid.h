#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"
#include "readerwriterthreedimg/TerrainTileBuilder.h"

#include <osg/Node>
#include <osg/ref_ptr>
#include <osgDB/Options>

#include <string>

namespace mvgeo
{

enum class Refinement
{
    refine,
    leaf
};

/** What one raster says of splitting a tile further: a leaf once its pixels are larger than both half steps; a missing
 * raster is for a leaf. Steps in the raster's unit, of either sign. */
[[nodiscard]] Refinement refinementVote(const ImageHeader* header, double halfStepX, double halfStepY);

/** The headers of the two rasters, from the dataset manager, where they are opened if need be; null for one that cannot
 * be opened, which is tried once until the manager forgets it. Paths are as in a tile's description. Thread: any. */
[[nodiscard]] TerrainRasters openRasters(const std::string& domPath, const std::string& demPath);

/** One step of the pyramid: the root's paged node, or for a request that describes a tile (it carries an int "lod") the
 * group of that tile's four children. Null if there is nothing to build from, or all four failed.
 * Thread: any; the calling thread's own dataset handles are used. */
[[nodiscard]] osg::ref_ptr<osg::Node> buildTerrainNode(const std::string& domPath, const std::string& demPath,
                                                       const std::string& cachePathDir, const osgDB::Options* options);

/** Hands a tile's geometry on to its children, if there is exactly one below the paged node's only child; the root's is
 * not handed on. */
void handOverGeometry(osg::PagedLOD& node, const TerrainTileInfo& info);

} // namespace mvgeo
