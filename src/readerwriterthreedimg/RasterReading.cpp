#include "readerwriterthreedimg/RasterReading.h"

#include "mvgdaldatasetmanager/QuietGdal.h"
#include "support/LogLine.h"
#include "support/OsgPaths.h"

#include <cpl_error.h>
#include <gdal_priv.h>

#include <cstring>

namespace mvgeo
{

namespace
{

/** Repeats the last cell that was read to the end of each row, and the last row to the end. */
void repeatEdges(const RasterWindow& window, std::size_t cellSize, unsigned char* cells)
{
    const auto columns = static_cast<std::size_t>(window.x.cells);
    const auto columnsRead = static_cast<std::size_t>(window.x.cellsRead);
    const auto rowsRead = static_cast<std::size_t>(window.y.cellsRead);
    const std::size_t rowSize = columns * cellSize;
    for (std::size_t row = 0; row < rowsRead; ++row)
    {
        unsigned char* line = cells + row * rowSize;
        for (std::size_t column = columnsRead; column < columns; ++column)
            std::memcpy(line + column * cellSize, line + (columnsRead - 1) * cellSize, cellSize);
    }
    for (auto row = rowsRead; row < static_cast<std::size_t>(window.y.cells); ++row)
        std::memcpy(cells + row * rowSize, cells + (rowsRead - 1) * rowSize, rowSize);
}

/** The window as real numbers too: with overviews GDAL would otherwise round its corner to whole overview pixels, and
 * two windows would see the same cell differently. */
GDALRasterIOExtraArg exactWindow(const RasterWindow& window)
{
    GDALRasterIOExtraArg extra;
    INIT_RASTERIO_EXTRA_ARG(extra);
    extra.bFloatingPointWindowValidity = TRUE;
    extra.dfXOff = window.x.first;
    extra.dfYOff = window.y.first;
    extra.dfXSize = window.x.pixels;
    extra.dfYSize = window.y.pixels;
    return extra;
}

} // namespace

RasterFrame frameOf(const ImageHeader& header)
{
    return {header.originX(),     header.originY(), header.pixelWidth(),
            header.pixelHeight(), header.width(),   header.height()};
}

bool readWindow(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window, std::vector<int> bands,
                GDALDataType type, void* cells)
{
    const auto valueSize = static_cast<GSpacing>(GDALGetDataTypeSizeBytes(type));
    const GSpacing cellSize = valueSize * static_cast<GSpacing>(bands.size());
    GDALRasterIOExtraArg extra = exactWindow(window);
    const QuietGdal quiet;
    const CPLErr error =
        dataset.RasterIO(GF_Read, window.x.first, window.y.first, window.x.pixels, window.y.pixels, cells,
                         window.x.cellsRead, window.y.cellsRead, type, static_cast<int>(bands.size()), bands.data(),
                         cellSize, cellSize * window.x.cells, valueSize, &extra);
    if (error != CE_None)
    {
        if (header.recordReadFailure())
            MVGEO_LOG(WARN) << "cannot read " << osgPath(header.path()) << ": "
                            << osgPath(KdString::fromUtf8(CPLGetLastErrorMsg())); // which names the file too
        return false;
    }
    repeatEdges(window, static_cast<std::size_t>(cellSize), static_cast<unsigned char*>(cells));
    return true;
}

} // namespace mvgeo
