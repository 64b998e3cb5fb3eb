#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace mvgeo
{

/** Elevations on a regular grid, row 0 in the north, column 0 in the west. */
struct ElevationGrid
{
    ElevationGrid() = default;
    ElevationGrid(int columnCount, int rowCount, float value)
        : columns(columnCount),
          rows(rowCount),
          heights(static_cast<std::size_t>(columnCount) * static_cast<std::size_t>(rowCount), value)
    {
    }

    int columns = 0;
    int rows = 0;
    std::vector<float> heights;

    [[nodiscard]] std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column);
    }
    [[nodiscard]] float at(int column, int row) const { return heights[index(column, row)]; }
    [[nodiscard]] float& at(int column, int row) { return heights[index(column, row)]; }
};

/** A post without elevation: the raster's no-data value, and whatever is no number, declared or not. */
[[nodiscard]] inline bool isNoData(float height, float noData)
{
    return height == noData || !std::isfinite(height);
}

} // namespace mvgeo
