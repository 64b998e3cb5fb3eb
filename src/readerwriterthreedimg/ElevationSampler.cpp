#include "readerwriterthreedimg/ElevationSampler.h"

#include <gdal_priv.h>

#include <cmath>
#include <limits>

namespace mvgeo
{

namespace
{

/** What was read of the DEM. */
struct Cells
{
    std::vector<double> values;
    std::size_t columns;
    float noData;

    [[nodiscard]] double at(int column, int row) const
    {
        return values[static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)];
    }
    // A conversion of a number that no float can hold is undefined; such a number is no elevation either.
    [[nodiscard]] bool hasData(double value) const
    {
        constexpr double kLargest = std::numeric_limits<float>::max();
        return value >= -kLargest && value <= kLargest && !isNoData(static_cast<float>(value), noData);
    }
};

/** Doubles hold the values of every supported type exactly. GDAL is asked for the DEM's own type all the same: a
 * virtual raster of integers may compute fractions, and rounds them only for whoever reads integers. */
std::optional<Cells> readCells(ImageHeader& demHeader, GDALDataset& demDataset, const RasterWindow& window)
{
    const GDALDataType type = demDataset.GetRasterBand(1)->GetRasterDataType();
    const int valueSize = GDALGetDataTypeSizeBytes(type);
    const auto columns = static_cast<std::size_t>(window.x.cells);
    const std::size_t count = columns * static_cast<std::size_t>(window.y.cells);
    std::vector<unsigned char> bytes(count * static_cast<std::size_t>(valueSize));
    if (!readWindow(demHeader, demDataset, window, {1}, type, bytes.data())) return std::nullopt;

    Cells cells{std::vector<double>(count), columns, demHeader.noData()};
    GDALCopyWords64(bytes.data(), type, valueSize, cells.values.data(), GDT_Float64, sizeof(double),
                    static_cast<GPtrDiff_t>(count));
    return cells;
}

double lerp(double from, double to, double part)
{
    return from + (to - from) * part;
}

float sampleAt(const Cells& cells, const CellPosition& x, const CellPosition& y)
{
    if (!x.isInside() || !y.isInside()) return cells.noData;
    const double northWest = cells.at(x.lower, y.lower);
    const double northEast = cells.at(x.upper, y.lower);
    const double southWest = cells.at(x.lower, y.upper);
    const double southEast = cells.at(x.upper, y.upper);
    if (cells.hasData(northWest) && cells.hasData(northEast) && cells.hasData(southWest) && cells.hasData(southEast))
        return static_cast<float>(
            lerp(lerp(northWest, northEast, x.fraction), lerp(southWest, southEast, x.fraction), y.fraction));

    const double nearest = cells.at(x.nearest(), y.nearest());
    return cells.hasData(nearest) ? static_cast<float>(nearest) : cells.noData;
}

} // namespace

SampleGrid postsOf(const TerrainTileInfo& info)
{
    SampleGrid posts = {info.startX, info.startY, info.endX, info.endY, info.demWidth, info.demHeight};
    const RootSquare square = rootSquareOf(info);
    if (!std::isfinite(square.padEast) || !std::isfinite(square.padSouth)) return posts;
    posts.latticeX = {-square.padWest, std::ldexp(square.side / (info.demWidth - 1), -info.lod)};
    posts.latticeY = {-square.padNorth, std::ldexp(square.side / (info.demHeight - 1), -info.lod)};
    return posts;
}

std::optional<ElevationGrid> sampleDemPosts(ImageHeader& demHeader, GDALDataset& demDataset, const SampleGrid& posts)
{
    const RasterFrame raster = frameOf(demHeader);
    const std::optional<RasterWindow> window = windowOver(raster, posts);
    if (!window) return std::nullopt;
    const std::optional<Cells> cells = readCells(demHeader, demDataset, *window);
    if (!cells) return std::nullopt;

    const std::vector<CellPosition> x = columnPositions(raster, posts, *window);
    const std::vector<CellPosition> y = rowPositions(raster, posts, *window);
    ElevationGrid grid(posts.columns, posts.rows, 0.0F);
    for (int row = 0; row < posts.rows; ++row)
        for (int column = 0; column < posts.columns; ++column)
            grid.at(column, row) =
                sampleAt(*cells, x[static_cast<std::size_t>(column)], y[static_cast<std::size_t>(row)]);
    return grid;
}

std::optional<ElevationGrid> sampleDemGrid(ImageHeader& demHeader, GDALDataset& demDataset, const TerrainTileInfo& info)
{
    return sampleDemPosts(demHeader, demDataset, postsOf(info));
}

} // namespace mvgeo
