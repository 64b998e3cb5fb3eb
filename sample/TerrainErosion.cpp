#include "sample/TerrainErosion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <queue>
#include <utility>

namespace mvgeo::sample
{
namespace
{
// A valley that drains 5 square kilometres has a slope of 23 % in a place that rises fastest.
constexpr double kAreaExponent = 0.45;
constexpr double kErodibility = 1.0 / 240.0;
constexpr double kChannelArea = 12000.0; // square metres; less water than that cuts no channel
constexpr double kCreep = 0.35;          // of the difference to the neighbours' average, in each step

struct Neighbour
{
    int east, south;
    double distance; // in cells
};
constexpr double kDiagonal = 1.4142135623730951;
constexpr std::array<Neighbour, 8> kNeighbours = {{{1, 0, 1.0},
                                                   {-1, 0, 1.0},
                                                   {0, 1, 1.0},
                                                   {0, -1, 1.0},
                                                   {1, 1, kDiagonal},
                                                   {-1, 1, kDiagonal},
                                                   {1, -1, kDiagonal},
                                                   {-1, -1, kDiagonal}}};

/** The state of a flood that rises through a terrain. */
class Flood
{
public:
    Flood(const TerrainGrid& heights, const std::vector<char>& drains)
        : _heights(heights), _level(heights.values), _reached(heights.values.size(), 0), _done(_reached)
    {
        _result.receiver.resize(_level.size());
        _result.order.reserve(_level.size());
        for (std::size_t cell = 0; cell < _level.size(); ++cell)
        {
            if (drains[cell]) reach(static_cast<int>(cell), static_cast<int>(cell), _level[cell]);
        }
    }

    Drainage rise()
    {
        while (!_front.empty())
        {
            const auto cell = static_cast<int>(_front.top() & 0xFFFFFFFFU);
            _front.pop();
            visit(cell);
        }
        return std::move(_result);
    }

private:
    void reach(int cell, int from, float level)
    {
        _reached[static_cast<std::size_t>(cell)] = 1;
        _level[static_cast<std::size_t>(cell)] = level;
        _result.receiver[static_cast<std::size_t>(cell)] = from;
        _front.push(rankOf(level, cell));
    }

    void visit(int cell)
    {
        const auto here = static_cast<std::size_t>(cell);
        const int column = cell % _heights.columns;
        const int row = cell / _heights.columns;
        double steepest = 0.0;
        int receiver = _result.receiver[here];
        for (const Neighbour& neighbour : kNeighbours)
        {
            const int otherColumn = column + neighbour.east;
            const int otherRow = row + neighbour.south;
            if (otherColumn < 0 || otherRow < 0 || otherColumn >= _heights.columns || otherRow >= _heights.rows)
                continue;
            const std::size_t other = _heights.index(otherColumn, otherRow);
            if (!_reached[other])
                reach(static_cast<int>(other), cell, std::max(_level[here], _heights.values[other]));
            else if (_done[other] && (_level[here] - _level[other]) / neighbour.distance > steepest)
            {
                steepest = (_level[here] - _level[other]) / neighbour.distance;
                receiver = static_cast<int>(other);
            }
        }
        if (_result.receiver[here] != cell) _result.receiver[here] = receiver;
        _done[here] = 1;
        _result.order.push_back(cell);
    }

    /** One number that orders cells by level, then by their own number: the same on every machine. */
    static std::uint64_t rankOf(float level, int cell)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &level, sizeof bits);
        bits = (bits & 0x80000000U) != 0 ? ~bits : bits | 0x80000000U; // now they order as the levels do
        return (static_cast<std::uint64_t>(bits) << 32) | static_cast<std::uint32_t>(cell);
    }

    const TerrainGrid& _heights;
    std::vector<float> _level; // of the water that has to rise before the cell drains
    std::vector<char> _reached;
    std::vector<char> _done;
    std::priority_queue<std::uint64_t, std::vector<std::uint64_t>, std::greater<>> _front;
    Drainage _result;
};
} // namespace

Drainage drainageOf(const TerrainGrid& heights, const std::vector<char>& drains)
{
    Drainage result = Flood(heights, drains).rise();
    result.area.assign(heights.values.size(), static_cast<float>(heights.cell * heights.cell));
    for (auto cell = result.order.rbegin(); cell != result.order.rend(); ++cell)
    {
        const auto here = static_cast<std::size_t>(*cell);
        const auto below = static_cast<std::size_t>(result.receiver[here]);
        if (below != here) result.area[below] += result.area[here];
    }
    return result;
}

TerrainErosion::TerrainErosion(const TerrainPlan& plan, int columns, int rows, double cell)
    : _heights(columns, rows, cell), _uplift(_heights), _steepest(_heights), _drains(_heights.values.size(), 0)
{
    forEachPost(_heights,
                [&](int column, int row)
                {
                    const double x = _heights.x(column);
                    const double y = _heights.y(row);
                    const double hills = 1.0 + plan.noise().fractal(x / 900.0, y / 900.0, 6);
                    _heights.at(column, row) =
                        static_cast<float>(20.0 + 0.3 * std::max(plan.toFloor(x, y), 0.0) + 0.10 * plan.peak() * hills);
                });
    prepare(plan);
}

TerrainErosion::TerrainErosion(const TerrainPlan& plan, int columns, int rows, double cell, const TerrainGrid& coarser)
    : _heights(columns, rows, cell), _uplift(_heights), _steepest(_heights), _drains(_heights.values.size(), 0)
{
    forEachPost(_heights,
                [&](int column, int row)
                {
                    const double x = _heights.x(column);
                    const double y = _heights.y(row);
                    const double warp = 0.9 * coarser.cell;
                    const double size = 7.0 * coarser.cell;
                    const double fromX = x + warp * plan.noise().fractal(x / size, y / size + 31.0, 2);
                    const double fromY = y + warp * plan.noise().fractal(x / size + 57.0, y / size, 2);
                    const double rough = plan.noise().fractal(x / (5.0 * cell), y / (5.0 * cell), 2);
                    _heights.at(column, row) = static_cast<float>(coarser.smoothAt(fromX, fromY) + 0.35 * cell * rough);
                });
    prepare(plan);
}

void TerrainErosion::prepare(const TerrainPlan& plan)
{
    forEachPost(_heights,
                [&](int column, int row)
                {
                    const double x = _heights.x(column);
                    const double y = _heights.y(row);
                    const std::size_t cell = _heights.index(column, row);
                    _drains[cell] = plan.toFloor(x, y) < 0.0 ? 1 : 0;
                    if (_drains[cell]) _heights.values[cell] = static_cast<float>(plan.floorHeight(x, y));
                    _uplift.values[cell] = static_cast<float>(plan.uplift(x, y));
                    // Loose from cell to cell: otherwise the slopes show that water runs in eight directions only.
                    const double loose = 0.45 + 1.1 * random01(plan.seed(), static_cast<std::uint32_t>(cell));
                    _steepest.values[cell] = static_cast<float>(loose * plan.steepest(x, y));
                });
}

void TerrainErosion::step(double rise)
{
    const Drainage drainage = drainageOf(_heights, _drains);
    for (const int cell : drainage.order)
    {
        const auto here = static_cast<std::size_t>(cell);
        if (_drains[here]) continue;
        const auto below = static_cast<std::size_t>(drainage.receiver[here]);
        const int apart = std::abs(cell - drainage.receiver[here]);
        const double run = _heights.cell * (apart == 1 || apart == _heights.columns ? 1.0 : kDiagonal);
        const double water = std::max(drainage.area[here] - kChannelArea, 0.0);
        const double cut = kErodibility * rise * std::pow(water, kAreaExponent) / run;
        const double risen = _heights.values[here] + rise * _uplift.values[here];
        const double worn = (risen + cut * _heights.values[below]) / (1.0 + cut);
        const double limit = _heights.values[below] + _steepest.values[here] * run;
        _heights.values[here] = static_cast<float>(std::min(worn, limit));
    }
    creep();
}

void TerrainErosion::creep()
{
    const TerrainGrid before = _heights;
    forEachPost(_heights,
                [&](int column, int row)
                {
                    const std::size_t cell = _heights.index(column, row);
                    if (_drains[cell]) return;
                    const float average = 0.25F * (before.clamped(column - 1, row) + before.clamped(column + 1, row) +
                                                   before.clamped(column, row - 1) + before.clamped(column, row + 1));
                    _heights.values[cell] += static_cast<float>(kCreep) * (average - before.values[cell]);
                });
}
} // namespace mvgeo::sample
