#include "sample/TerrainRelief.h"

#include "sample/TerrainErosion.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace mvgeo::sample
{
namespace
{
/** How long the mountains grow at one spacing of posts. */
struct Stage
{
    int factor; // cells of the finished terrain, to each side, in a cell of this one
    int steps;
    double rise; // metres a step
};

// Metres. The drainage pattern forms at the coarsest spacing; between the finest one's posts are only crags.
constexpr double kCoarsestCell = 90.0;
constexpr double kFinestCell = 15.0;
constexpr double kErosionPart = 0.6; // of the work, about
constexpr double kHighestBank = 150.0;
constexpr double kBankSlope = 0.4;
constexpr double kLowestLand = 0.2; // metres above the lake

std::vector<Stage> stagesFor(double cell)
{
    std::vector<Stage> stages;
    int factor = 1;
    while (2.0 * factor * cell <= kCoarsestCell)
        factor *= 2;
    for (; stages.empty() || (factor >= 1 && factor * cell >= kFinestCell); factor /= 2)
    {
        const bool first = stages.empty();
        stages.push_back({factor, first ? 80 : 9, first ? 60.0 : 25.0});
    }
    return stages;
}

std::optional<TerrainGrid> eroded(const TerrainPlan& plan, int columns, int rows, double cell,
                                  const TerrainRelief::Advance& advance)
{
    const std::vector<Stage> stages = stagesFor(cell);
    std::optional<TerrainErosion> erosion;
    for (std::size_t i = 0; i < stages.size(); ++i)
    {
        const Stage& stage = stages[i];
        const int stageColumns = (columns + stage.factor - 1) / stage.factor;
        const int stageRows = (rows + stage.factor - 1) / stage.factor;
        if (!erosion)
            erosion.emplace(plan, stageColumns, stageRows, cell * stage.factor);
        else
            erosion.emplace(TerrainErosion(plan, stageColumns, stageRows, cell * stage.factor, erosion->heights()));
        for (int step = 0; step < stage.steps; ++step)
        {
            const double stageDone = static_cast<double>(step) / stage.steps;
            if (!advance(kErosionPart * (static_cast<double>(i) + stageDone) / static_cast<double>(stages.size())))
                return std::nullopt;
            erosion->step(stage.rise);
        }
    }
    return erosion->heights();
}

/** Crags on steep ground: sharp crests, broken finely. Metres. */
double crags(const TerrainPlan& plan, double x, double y, double slope)
{
    const Noise& noise = plan.noise();
    const double crest = 1.0 - std::abs(noise.fractal(x / 130.0 + 9.0, y / 130.0, 4));
    const double steep = smoothStep(0.55, 1.3, slope);
    return steep * (26.0 * (crest - 0.8) + 5.0 * noise.fractal(x / 31.0, y / 31.0, 2));
}

/** The eroded terrain on the finished one's posts, bent a little: water runs in eight directions only, which shows. */
TerrainGrid refined(const TerrainPlan& plan, const TerrainGrid& eroded, int columns, int rows, double cell)
{
    constexpr double kBend = 260.0; // metres, twice the most it gets to in practice
    constexpr double kBendSize = 900.0;
    const Noise& noise = plan.noise();
    TerrainGrid result(columns, rows, cell);
    forEachPost(result,
                [&](int column, int row)
                {
                    const double y = result.y(row);
                    const double x = result.x(column);
                    const double toEdge = std::min(std::min(x, plan.width() - x), std::min(y, plan.height() - y));
                    const double height = GridPlace(eroded, x, y).in(eroded);
                    const double bend =
                        kBend * smoothStep(0.0, 700.0, toEdge) * smoothStep(0.02, 0.15, height / plan.peak());
                    const double east = bend * noise.fractal(x / kBendSize, y / kBendSize + 31.0, 3);
                    const double north = bend * noise.fractal(x / kBendSize + 57.0, y / kBendSize, 3);
                    result.at(column, row) = eroded.smoothAt(x + east, y + north);
                });
    return result;
}

/** Gives the mountains their height, their crags and the debris at their feet. */
TerrainGrid finished(const TerrainPlan& plan, const TerrainGrid& raw)
{
    // Debris makes the foot of a slope hollow; what is far above the floor only sinks a little.
    const double debris = 0.009 * plan.peak();
    const double scale = plan.peak() / *std::max_element(raw.values.begin(), raw.values.end());
    const auto finishedHeight = [&](int column, int row)
    {
        const double x = raw.x(column);
        const double y = raw.y(row);
        double height = plan.floorHeight(x, y);
        if (height < 0.0) return height;
        const double rough = crags(plan, x, y, scale * raw.slope(column, row));
        const double above = std::max(scale * (raw.at(column, row) - height) + rough, 0.0);
        height += above * above / (above + debris);
        // Banks, not cliffs: whoever draws the terrain joins them to the lake's level.
        if (height < kHighestBank) height = std::min(height, kBankSlope * plan.toShore(x, y));
        return std::max(height, kLowestLand);
    };
    return gridOf(raw, finishedHeight);
}

TerrainGrid streamsOf(const TerrainGrid& heights)
{
    TerrainGrid streams(heights.columns, heights.rows, heights.cell);
    std::vector<char> drains(heights.values.size(), 0);
    for (std::size_t cell = 0; cell < drains.size(); ++cell)
    {
        const int column = static_cast<int>(cell) % heights.columns;
        const int row = static_cast<int>(cell) / heights.columns;
        const bool edge = row == 0 || column == 0 || row == heights.rows - 1 || column == heights.columns - 1;
        drains[cell] = edge || heights.values[cell] < 0.0F ? 1 : 0;
    }
    const Drainage drainage = drainageOf(heights, drains);
    for (std::size_t cell = 0; cell < drains.size(); ++cell)
        streams.values[cell] = heights.values[cell] < 0.0F ? 0.0F : std::log10(drainage.area[cell]);
    return streams;
}

/** How far places lie below the average of their surroundings, near ones and far ones. */
TerrainGrid hollowsOf(const TerrainGrid& heights)
{
    const TerrainGrid nearby = blurred(heights, std::max(1, static_cast<int>(40.0 / heights.cell)));
    const TerrainGrid farther = blurred(heights, std::max(2, static_cast<int>(300.0 / heights.cell)));
    TerrainGrid hollows = nearby;
    for (std::size_t cell = 0; cell < hollows.values.size(); ++cell)
    {
        const float height = std::max(heights.values[cell], 0.0F);
        hollows.values[cell] = nearby.values[cell] - height + 0.2F * (farther.values[cell] - height);
    }
    return hollows;
}

TerrainGrid lightOf(const TerrainGrid& heights)
{
    // From the north-west, 45 degrees high, as on maps.
    constexpr double kEast = -0.5, kNorth = 0.5, kUp = 0.70710678;
    const auto cosine = [&](int column, int row)
    {
        const double run = 2.0 * heights.cell;
        const double east = (heights.clamped(column + 1, row) - heights.clamped(column - 1, row)) / run;
        const double north = (heights.clamped(column, row - 1) - heights.clamped(column, row + 1)) / run;
        return (kUp - kEast * east - kNorth * north) / std::sqrt(1.0 + east * east + north * north);
    };
    return gridOf(heights, cosine);
}
} // namespace

std::optional<TerrainRelief> TerrainRelief::make(const TerrainPlan& plan, int columns, int rows, double cell,
                                                 const Advance& advance)
{
    const std::optional<TerrainGrid> raw = eroded(plan, columns, rows, cell, advance);
    if (!raw) return std::nullopt;
    TerrainGrid heights = finished(plan, refined(plan, *raw, columns, rows, cell));
    if (!advance(0.8)) return std::nullopt;
    const TerrainGrid smooth = blurred(heights, 2); // what grows does not mind each stone
    TerrainGrid slopes = gridOf(smooth, [&](int column, int row) { return smooth.slope(column, row); });
    TerrainGrid streams = streamsOf(heights);
    TerrainGrid hollows = hollowsOf(heights);
    TerrainGrid light = lightOf(heights);
    if (!advance(1.0)) return std::nullopt;
    return TerrainRelief{std::move(heights), std::move(slopes), std::move(streams), std::move(hollows),
                         std::move(light)};
}
} // namespace mvgeo::sample
