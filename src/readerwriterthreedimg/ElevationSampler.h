#pragma once

#include "readerwriterthreedimg/ElevationGrid.h"
#include "readerwriterthreedimg/RasterReading.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <optional>

namespace mvgeo
{

/** The posts of a tile's elevation grid. */
[[nodiscard]] SampleGrid postsOf(const TerrainTileInfo& info);

/** Samples the DEM's band 1 on the tile's posts. Between cells with data the elevation is blended, beside a cell without
 *  it is the nearest cell's; a post without data, or outside the raster, gets the raster's no-data value. Nothing if the
 *  tile lies beside the raster or the read failed.
 *
 *  `Element` is the DEM's own type, which `dataType` names, so that GDAL converts nothing.
 *  Thread: the one that the dataset belongs to. */
template <typename Element>
[[nodiscard]] std::optional<ElevationGrid> sampleDemGrid(ImageHeader& demHeader, GDALDataset& demDataset,
                                                         const TerrainTileInfo& info, GDALDataType dataType);

} // namespace mvgeo
