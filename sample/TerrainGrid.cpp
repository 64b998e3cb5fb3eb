#include "sample/TerrainGrid.h"

#include "sample/Noise.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <thread>

namespace mvgeo::sample
{
namespace
{
/** The weights of four posts in a row for a place between the middle two (Catmull-Rom). */
std::array<double, 4> cubicWeights(double t)
{
    const double t2 = t * t;
    const double t3 = t2 * t;
    return {0.5 * (-t3 + 2.0 * t2 - t), 0.5 * (3.0 * t3 - 5.0 * t2 + 2.0), 0.5 * (-3.0 * t3 + 4.0 * t2 + t),
            0.5 * (t3 - t2)};
}

/** A running average along rows: each value is that of the window around it, cut off at the border. */
TerrainGrid averagedAlongRows(const TerrainGrid& grid, int cells)
{
    TerrainGrid result(grid.columns, grid.rows, grid.cell);
    forEachRow(grid.rows,
               [&](int row)
               {
                   double sum = 0.0;
                   for (int column = -cells; column < grid.columns; ++column)
                   {
                       if (column + cells < grid.columns) sum += grid.at(column + cells, row);
                       if (column - cells - 1 >= 0) sum -= grid.at(column - cells - 1, row);
                       if (column < 0) continue;
                       const int first = std::max(column - cells, 0);
                       const int last = std::min(column + cells, grid.columns - 1);
                       result.at(column, row) = static_cast<float>(sum / (last - first + 1));
                   }
               });
    return result;
}

TerrainGrid transposed(const TerrainGrid& grid)
{
    TerrainGrid result(grid.rows, grid.columns, grid.cell);
    forEachPost(result, [&](int column, int row) { result.at(column, row) = grid.at(row, column); });
    return result;
}
} // namespace

TerrainGrid::TerrainGrid(int columnCount, int rowCount, double cellSize, float value)
    : columns(columnCount),
      rows(rowCount),
      cell(cellSize),
      values(static_cast<std::size_t>(columnCount) * static_cast<std::size_t>(rowCount), value)
{
}

float TerrainGrid::clamped(int column, int row) const
{
    return at(std::clamp(column, 0, columns - 1), std::clamp(row, 0, rows - 1));
}

float TerrainGrid::smoothAt(double x, double y) const
{
    const double column = x / cell - 0.5;
    const double row = rows - y / cell - 0.5;
    const int west = floorToInt(column);
    const int north = floorToInt(row);
    const std::array<double, 4> across = cubicWeights(column - west);
    const std::array<double, 4> down = cubicWeights(row - north);
    double sum = 0.0;
    for (int j = 0; j < 4; ++j)
    {
        double line = 0.0;
        for (int i = 0; i < 4; ++i)
            line += across[static_cast<std::size_t>(i)] * clamped(west - 1 + i, north - 1 + j);
        sum += down[static_cast<std::size_t>(j)] * line;
    }
    return static_cast<float>(sum);
}

double TerrainGrid::slope(int column, int row) const
{
    const double east = clamped(column + 1, row) - clamped(column - 1, row);
    const double north = clamped(column, row - 1) - clamped(column, row + 1);
    return std::sqrt(east * east + north * north) / (2.0 * cell);
}

TerrainGrid blurred(const TerrainGrid& grid, int cells)
{
    return transposed(averagedAlongRows(transposed(averagedAlongRows(grid, cells)), cells));
}

GridPlace::GridPlace(const TerrainGrid& grid, double x, double y)
{
    const double column = std::clamp(x / grid.cell - 0.5, 0.0, grid.columns - 1.0);
    const double row = std::clamp(grid.rows - y / grid.cell - 0.5, 0.0, grid.rows - 1.0);
    const int west = std::min(static_cast<int>(column), grid.columns - 2);
    const int north = std::min(static_cast<int>(row), grid.rows - 2);
    first = grid.index(west, north);
    east = static_cast<float>(column - west);
    south = static_cast<float>(row - north);
}

void forEachRow(int rows, const std::function<void(int row)>& work)
{
    constexpr int kRowsPerTurn = 4;
    std::atomic<int> next = 0;
    const auto takeRows = [&]
    {
        for (int first = next.fetch_add(kRowsPerTurn); first < rows; first = next.fetch_add(kRowsPerTurn))
        {
            for (int row = first; row < std::min(first + kRowsPerTurn, rows); ++row)
                work(row);
        }
    };
    std::vector<std::thread> threads;
    for (int i = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 8); i > 1; --i)
        threads.emplace_back(takeRows);
    takeRows();
    for (std::thread& thread : threads)
        thread.join();
}
} // namespace mvgeo::sample
