#include "sample/TerrainPlan.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
constexpr double kTurn = 6.283185307179586;
constexpr double kSteepestLandscape = 0.285; // the highest peak over the shorter side
constexpr double kHighestPeak = 2300.0;
} // namespace

TerrainPlan::TerrainPlan(double width, double height, std::uint32_t seed)
    : _width(width),
      _height(height),
      _seed(seed),
      _noise(hashOf(seed, 0x7E44A1U)),
      _unit(0.01 * std::min(width, height))
{
    RandomSequence random(hashOf(seed, 0x1A4EU));
    _bend = random.between(-0.08, 0.08);
    _lakeWest = width * random.between(0.28, 0.33);
    _lakeEast = width * random.between(0.69, 0.75);
    _islandX = _lakeWest + (_lakeEast - _lakeWest) * random.between(0.60, 0.72);
    _islandOffset = _unit * random.between(-2.5, -1.0);
    _islandSize = _unit * random.between(1.0, 1.4);
}

double TerrainPlan::peak() const
{
    return std::min(kHighestPeak, 100.0 * kSteepestLandscape * _unit);
}

double TerrainPlan::wobble(double x, double y, double size, int octaves) const
{
    return _noise.fractal(x / (size * _unit), y / (size * _unit), octaves);
}

double TerrainPlan::valleyMiddle(double x) const
{
    const double bend = std::sin(kTurn * (0.80 * x / _width + 0.05 + _bend));
    return _height * (0.335 + 0.060 * bend) + 3.0 * _unit * wobble(x, 37.0 * _unit, 24.0, 2);
}

double TerrainPlan::lakeHalfWidth(double x) const
{
    const double t = (x - _lakeWest) / (_lakeEast - _lakeWest);
    if (t <= 0.0) return -(_lakeWest - x);
    if (t >= 1.0) return -(x - _lakeEast);
    return 7.2 * _unit * std::pow(std::sin(0.5 * kTurn * t), 0.55) * (1.0 + 0.30 * wobble(x, 91.0 * _unit, 11.0, 2));
}

double TerrainPlan::toShore(double x, double y) const
{
    const double warpedX = x + 6.0 * _unit * wobble(x, y + 300.0 * _unit, 9.0, 4);
    const double warpedY = y + 5.0 * _unit * wobble(x + 500.0 * _unit, y, 8.0, 5);
    const double fromLake = std::abs(warpedY - valleyMiddle(warpedX)) - lakeHalfWidth(warpedX);
    const double fromIsland =
        std::hypot(1.0 * (warpedX - _islandX), 1.7 * (warpedY - valleyMiddle(_islandX) - _islandOffset)) -
        _islandSize * (1.0 + 0.5 * wobble(x, y, 1.7, 3));
    return std::max(fromLake, -fromIsland);
}

double TerrainPlan::toFloor(double x, double y) const
{
    const double warpedX = x + 6.0 * _unit * wobble(x + 700.0 * _unit, y, 10.0, 4);
    const double warpedY = y + 4.0 * _unit * wobble(x, y + 900.0 * _unit, 8.0, 5);
    const double middle = valleyMiddle(warpedX);
    const double lake = std::max(lakeHalfWidth(warpedX), 0.0);
    // North of the lake there is room for fields, south of it the mountains fall into the water.
    const double beside = smoothStep(0.0, 4.0 * _unit, lake);
    const double north = _unit * (4.6 - 0.4 * beside + 2.2 * wobble(warpedX, 50.0 * _unit, 13.0, 2));
    const double south = _unit * (3.6 - 2.9 * beside + 1.2 * wobble(warpedX, 70.0 * _unit, 9.0, 2));
    const double across = warpedY - middle;
    const double fromValley = across > 0.0 ? across - lake - north : -across - lake - south;
    return std::min(fromValley, toShore(x, y) - 0.5 * _unit); // a strip of shore everywhere
}

double TerrainPlan::floorHeight(double x, double y) const
{
    const double shore = toShore(x, y);
    if (shore < 0.0) return std::max(-0.8 * _unit, 0.14 * shore) - 0.3;

    const double upstream = std::max(0.0, _lakeWest - x) * 0.010 + std::max(0.0, x - _lakeEast) * 0.002;
    const double rolling = (0.8 + 0.5 * wobble(x, y, 3.0, 3)) * smoothStep(0.0, 3.0 * _unit, shore);
    const double islandHill =
        std::max(0.0, _islandSize - std::hypot(x - _islandX, y - valleyMiddle(_islandX) - _islandOffset)) * 0.3;
    return 0.4 + 0.011 * shore + upstream + 2.0 * rolling + islandHill;
}

double TerrainPlan::uplift(double x, double y) const
{
    const bool south = y < valleyMiddle(x);
    const double varied = 1.0 + 0.9 * wobble(x, y + 2100.0 * _unit, 24.0, 3);
    const double away = 0.45 + 0.55 * smoothStep(0.0, 25.0 * _unit, toFloor(x, y));
    const double backwards = smoothStep(0.0, 20.0 * _unit, std::min(std::min(x, _width - x), _height - y));
    return std::clamp((south ? 0.27 : 0.75) * varied * away * (0.45 + 0.55 * backwards), 0.05, 1.0);
}

double TerrainPlan::steepest(double x, double y) const
{
    return 0.72 + 0.50 * wobble(x + 40.0 * _unit, y + 1700.0 * _unit, 10.0, 4);
}
} // namespace mvgeo::sample
