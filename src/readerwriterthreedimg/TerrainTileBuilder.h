#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <osg/Node>
#include <osg/ref_ptr>
#include <osgDB/Options>

namespace mvgeo
{

/** The rasters of one request, with the handles of the thread that works on it. Any of them may be missing. */
struct TerrainRasters
{
    osg::ref_ptr<ImageHeader> dom;
    osg::ref_ptr<ImageHeader> dem;
    GDALDataset* domDataset = nullptr; // belong to the headers
    GDALDataset* demDataset = nullptr;
};

/** Builds one tile: a transform to the terrain's local origin above one textured geometry. Where the DEM has no finer
 * detail left for it, or there is no DEM, the mesh is cut out of the parent's, which `options` carry as
 * "ParentGeometry". Fills info.minZ and info.maxZ. Null, with a warning, for a DEM whose samples are bytes or complex.
 * Options that ask for "geometryOnly" get a tile without texture, for which the ortho-image is not read.
 * A raster that cannot be read leaves its mark in its header's readFailureCount(): the tile then shows less than it
 * should. Thread: the one that the datasets belong to. */
[[nodiscard]] osg::ref_ptr<osg::Node> buildTerrainTile(const TerrainRasters& rasters, TerrainTileInfo& info,
                                                       const osgDB::Options* options);

} // namespace mvgeo
