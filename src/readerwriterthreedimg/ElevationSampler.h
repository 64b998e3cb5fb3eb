#pragma once

#include "readerwriterthreedimg/ElevationGrid.h"
#include "readerwriterthreedimg/RasterReading.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <optional>

namespace mvgeo
{

/** The posts of a tile's elevation grid. All tiles of a depth, and strips made of their grids, have their posts on one
 * lattice, so that those that they share are the same to the last bit. */
[[nodiscard]] SampleGrid postsOf(const TerrainTileInfo& info);

/** Samples the DEM's band 1 on the posts. Between cells with data the elevation is blended, beside a cell without
 * it is the nearest cell's; a post without data, or outside the raster, gets the raster's no-data value. Nothing if
 * the grid lies beside the raster or the read failed.
 * Thread: the one that the dataset belongs to. */
[[nodiscard]] std::optional<ElevationGrid> sampleDemPosts(ImageHeader& demHeader, GDALDataset& demDataset,
                                                          const SampleGrid& posts);

/** The same for the tile's posts. */
[[nodiscard]] std::optional<ElevationGrid> sampleDemGrid(ImageHeader& demHeader, GDALDataset& demDataset,
                                                         const TerrainTileInfo& info);

} // namespace mvgeo
