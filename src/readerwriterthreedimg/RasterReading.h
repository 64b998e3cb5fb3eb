#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"
#include "readerwriterthreedimg/RasterWindow.h"

#include <gdal.h>

#include <cstddef>
#include <vector>

namespace mvgeo
{

[[nodiscard]] RasterFrame frameOf(const ImageHeader& header);

/** Reads a window's cells, pixel-interleaved, rows from north to south, without blending: what a cell shows depends on
 * the cell alone, not on the window. `cells` must hold window.x.cells * window.y.cells * bands.size() values of
 * `type`. False if GDAL cannot read; the first time for a raster this is said in the log. Thread: the one that the
 * dataset belongs to. */
[[nodiscard]] bool readWindow(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window,
                              std::vector<int> bands, GDALDataType type, void* cells);

} // namespace mvgeo
