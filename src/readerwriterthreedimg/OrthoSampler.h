#pragma once

#include "readerwriterthreedimg/RasterReading.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <cstdint>
#include <memory>

namespace mvgeo
{

/** Pixels as red, green and blue bytes, rows from north to south, without padding. */
using RgbPixels = std::unique_ptr<unsigned char[]>;

/** The byte that stands for a no-data value: its integer part, cut to 8 bits; 0 for what is no integer at all. */
[[nodiscard]] unsigned char noDataByte(float noData);

/** info.imageWidth * info.imageHeight pixels, all bytes the same. */
[[nodiscard]] RgbPixels uniformImage(const TerrainTileInfo& info, unsigned char value);

/** Samples the ortho-image over the tile. Between cells with data the colour is blended, beside a cell without (judged
 * by the first channel) it is the nearest cell's; pixels outside the raster are of the no-data byte. Null if the tile
 * lies beside the raster or the read failed.
 * Thread: the one that the dataset belongs to. */
[[nodiscard]] RgbPixels sampleDomImage(ImageHeader& domHeader, GDALDataset& domDataset, const TerrainTileInfo& info);

} // namespace mvgeo
