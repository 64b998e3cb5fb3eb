#pragma once

#include "readerwriterthreedimg/ElevationGrid.h"
#include "readerwriterthreedimg/RasterReading.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <osg/Vec3d>

#include <optional>
#include <vector>

namespace mvgeo
{

/** The elevations of a tile and, if wanted, a normal for each post. */
struct TileSurface
{
    ElevationGrid grid;
    std::vector<osg::Vec3d> normals; ///< in the grid's order; empty if none were wanted
};

/** All posts at one elevation, normals upright. */
[[nodiscard]] TileSurface flatSurface(const TerrainTileInfo& info, float height, bool wantNormals);

/** Samples the DEM on a tile's posts; then each edge is sampled once more in a strip of its own that lies across the
 * border, and its middle line replaces the tile's edge. The neighbour does the same with the same strip, so that both
 * have the same elevations and normals there, bit for bit. Nothing without a DEM, or if the tile itself cannot be
 * sampled; a strip that cannot be leaves its edge as it was.
 * Thread: the one that the dataset belongs to. */
[[nodiscard]] std::optional<TileSurface> readDemWithEdges(ImageHeader* demHeader, GDALDataset* demDataset,
                                                          const TerrainTileInfo& info, bool wantNormals);

} // namespace mvgeo
