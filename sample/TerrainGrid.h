#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <vector>

namespace mvgeo::sample
{
/** Values on posts, one in the middle of each square cell. Rows run from north to south, as in a raster; places are
 * metres east and north of the south-western corner. */
struct TerrainGrid
{
    TerrainGrid(int columnCount, int rowCount, double cellSize, float value = 0.0F);

    [[nodiscard]] float& at(int column, int row) { return values[index(column, row)]; }
    [[nodiscard]] float at(int column, int row) const { return values[index(column, row)]; }
    [[nodiscard]] std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column);
    }
    [[nodiscard]] double x(int column) const { return (column + 0.5) * cell; }
    [[nodiscard]] double y(int row) const { return (rows - row - 0.5) * cell; }

    /** Like at(), with the border's value beyond the border. */
    [[nodiscard]] float clamped(int column, int row) const;
    /** Smooth between the posts (cubic). */
    [[nodiscard]] float smoothAt(double x, double y) const;
    /** Steepness as rise over run; rows next to the border count the border twice. */
    [[nodiscard]] double slope(int column, int row) const;

    int columns;
    int rows;
    double cell; // metres
    std::vector<float> values;
};

/** The average over about this many cells to each side. */
[[nodiscard]] TerrainGrid blurred(const TerrainGrid& grid, int cells);

/** Where a place lies between four posts: computed once, used for several grids of the same size. */
struct GridPlace
{
    GridPlace(const TerrainGrid& grid, double x, double y);

    [[nodiscard]] float in(const TerrainGrid& grid) const
    {
        const float* corner = grid.values.data() + first;
        const float north = corner[0] + east * (corner[1] - corner[0]);
        const float* below = corner + grid.columns;
        return north + south * (below[0] + east * (below[1] - below[0]) - north);
    }

    std::size_t first; // the north-western of the four
    float east, south; // 0 to 1
};

/** Calls work(row) for every row, on as many threads as the machine has cores; the caller's is one of them. */
void forEachRow(int rows, const std::function<void(int row)>& work);

/** Calls work(column, row) for every post; threads as above. */
template <typename Work>
void forEachPost(const TerrainGrid& grid, const Work& work)
{
    forEachRow(grid.rows,
               [&](int row)
               {
                   for (int column = 0; column < grid.columns; ++column)
                       work(column, row);
               });
}

/** value(column, row) on the posts of the grid. */
template <typename Value>
[[nodiscard]] TerrainGrid gridOf(const TerrainGrid& posts, const Value& value)
{
    TerrainGrid result(posts.columns, posts.rows, posts.cell);
    forEachPost(result, [&](int column, int row) { result.at(column, row) = static_cast<float>(value(column, row)); });
    return result;
}
} // namespace mvgeo::sample
