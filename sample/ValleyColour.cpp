#include "sample/ValleyColour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
constexpr double kRoadHalf = 4.5;
constexpr double kRiverHalf = 8.0;
constexpr double kShoreToRoad = 90.0;
constexpr double kFarthestHouse = 300.0;
constexpr double kLotWidth = 24.0;
constexpr double kLotDepth = 22.0;

const Colour kAsphalt(0.56F, 0.55F, 0.53F);
const Colour kHedge(0.17F, 0.24F, 0.12F);
const Colour kGravel(0.66F, 0.64F, 0.58F);
const Colour kGlacierWater(0.46F, 0.58F, 0.53F);

// Meadow cut and uncut, maize, wheat green and ripe, rape, a ploughed field.
const std::array<Colour, 8> kCrops = {{{0.39F, 0.49F, 0.25F},
                                       {0.47F, 0.54F, 0.30F},
                                       {0.33F, 0.43F, 0.22F},
                                       {0.56F, 0.57F, 0.34F},
                                       {0.66F, 0.60F, 0.39F},
                                       {0.42F, 0.47F, 0.25F},
                                       {0.69F, 0.65F, 0.32F},
                                       {0.49F, 0.41F, 0.32F}}};

const std::array<Colour, 5> kRoofs = {{{0.60F, 0.30F, 0.22F},
                                       {0.52F, 0.27F, 0.20F},
                                       {0.43F, 0.38F, 0.35F},
                                       {0.66F, 0.37F, 0.26F},
                                       {0.36F, 0.33F, 0.32F}}};

std::uint32_t cellOf(double value)
{
    return static_cast<std::uint32_t>(floorToInt(value));
}

/** Rounds a line's corners off: the average over about this many points to each side. */
std::vector<double> smoothed(const std::vector<double>& line, int points)
{
    std::vector<double> result(line.size());
    const int last = static_cast<int>(line.size()) - 1;
    for (int i = 0; i <= last; ++i)
    {
        double sum = 0.0;
        for (int j = i - points; j <= i + points; ++j)
            sum += line[static_cast<std::size_t>(std::clamp(j, 0, last))];
        result[static_cast<std::size_t>(i)] = sum / (2 * points + 1);
    }
    return result;
}

/** The highest point within so many points to each side. */
std::vector<double> upperEdge(const std::vector<double>& line, int points)
{
    std::vector<double> result(line.size());
    const int last = static_cast<int>(line.size()) - 1;
    for (int i = 0; i <= last; ++i)
    {
        const auto first = line.begin() + std::max(i - points, 0);
        result[static_cast<std::size_t>(i)] = *std::max_element(first, line.begin() + std::min(i + points, last) + 1);
    }
    return result;
}
} // namespace

Crown crownAt(double x, double y, double share, double spacing, std::uint32_t seed)
{
    const int column = floorToInt(x / spacing);
    const int row = floorToInt(y / spacing);
    Crown nearest;
    double least = 1.0;
    for (int i = column - 1; i <= column + 1; ++i)
    {
        for (int j = row - 1; j <= row + 1; ++j)
        {
            const std::uint32_t tree = hashOf(static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j), seed);
            if ((tree & 1023U) >= share * 1024.0) continue;
            const double taste = ((tree >> 10) & 127U) / 127.0;
            const double east = x - (i + ((tree >> 17) & 127U) / 127.0) * spacing;
            const double north = y - (j + ((tree >> 24) & 127U) / 127.0) * spacing;
            const double radius = spacing * (0.50 + 0.25 * taste);
            const double off = (east * east + north * north) / (radius * radius);
            if (off >= least) continue;
            least = off;
            nearest = {true, std::clamp((north - east) / radius, -1.0, 1.0), taste};
        }
    }
    return nearest;
}

ValleyColour::ValleyColour(const TerrainPlan& plan, const TerrainGrid& heights)
    : _plan(plan), _noise(plan.noise()), _step(heights.cell)
{
    layRoad(heights);
    layRiver(heights);
    RandomSequence random(hashOf(plan.seed(), 0x5E77U));
    _villages = {{plan.width() * random.between(0.40, 0.50), 330.0},
                 {plan.width() * random.between(0.10, 0.17), 170.0},
                 {plan.width() * random.between(0.60, 0.66), 120.0},
                 {plan.width() * random.between(0.84, 0.92), 210.0}};
}

void ValleyColour::layRoad(const TerrainGrid& heights)
{
    std::vector<double> line;
    for (int column = 0; column < heights.columns; ++column)
    {
        const double x = heights.x(column);
        double y = _plan.valleyMiddle(x) + 120.0;
        for (int row = 0; row < heights.rows; ++row)
        {
            if (heights.at(column, row) >= 0.0F) continue;
            y = std::max(y, heights.y(row) + kShoreToRoad);
            break;
        }
        line.push_back(y);
    }
    const int reach = static_cast<int>(150.0 / _step) + 1;
    _road = smoothed(smoothed(upperEdge(line, 2 * reach), reach), reach);
}

void ValleyColour::layRiver(const TerrainGrid& heights)
{
    for (int column = 0; column < heights.columns; ++column)
    {
        const double x = heights.x(column);
        const double meander = 110.0 * _noise.fractal(x / 420.0, 17.0, 2) + 30.0 * _noise.at(x / 110.0, 5.0);
        _river.push_back(_plan.valleyMiddle(x) - 60.0 + meander);
    }
}

double ValleyColour::across(const std::vector<double>& line, double x, double y) const
{
    const double point = std::clamp(x / _step - 0.5, 0.0, static_cast<double>(line.size()) - 1.001);
    const auto first = static_cast<std::size_t>(point);
    const double rise = line[first + 1] - line[first];
    const double there = line[first] + (point - static_cast<double>(first)) * rise;
    return (y - there) / std::sqrt(1.0 + rise * rise / (_step * _step));
}

double ValleyColour::built(double x, double fromRoad) const
{
    double density = 0.0;
    for (const Centre& centre : _villages)
    {
        const double along = (x - centre.x) / centre.size;
        const double aside = (fromRoad - 20.0) / (0.42 * centre.size);
        density = std::max(density, 1.15 * std::exp(-along * along - aside * aside));
    }
    return density;
}

std::optional<Colour> ValleyColour::village(double x, double fromRoad, double density) const
{
    // Every third row of lots is a lane.
    const int row = floorToInt(fromRoad / kLotDepth);
    const int lane = ((row % 3) + 3) % 3;
    const double inRow = fromRoad - row * kLotDepth;
    if (density < 0.10) return std::nullopt;
    if (lane == 0 && std::abs(inRow - 4.0) < 2.6 && density > 0.22) return kAsphalt * 0.96F;
    const double crossing = x / (5.0 * kLotWidth);
    if (density > 0.3 && std::abs(crossing - std::round(crossing)) * 5.0 * kLotWidth < 2.4) return kAsphalt * 0.96F;

    const double lot = x / kLotWidth;
    RandomSequence random(hashOf(cellOf(lot), static_cast<std::uint32_t>(row), _plan.seed()));
    if (random.next() > 1.25 * density) return std::nullopt;
    const double halfLength = random.between(4.5, 7.5);
    const double halfWidth = random.between(3.8, 5.2);
    double u = (lot - floorToInt(lot)) * kLotWidth - 12.0 - random.between(-2.5, 2.5);
    double v = inRow - 12.5 - random.between(-2.0, 2.0);
    if (random.chance(0.4)) std::swap(u, v);
    const Colour roof = kRoofs[random.nextHash() % kRoofs.size()];
    if (std::abs(u) < halfLength && std::abs(v) < halfWidth) return roof * (v > 0.0 ? 1.16F : 0.84F);
    if (std::abs(u - 2.5) < halfLength && std::abs(v + 2.5) < halfWidth) return Colour(0.19F, 0.22F, 0.14F); // shadow
    const Crown crown = crownAt(x, fromRoad, 0.35, 7.0, 3U);
    if (crown.covers) return Colour(0.24F, 0.34F, 0.15F) * static_cast<float>(1.0 + 0.3 * crown.light);
    return Colour(0.44F, 0.52F, 0.27F) * (1.0F + 0.12F * _noise.at(x / 6.0, fromRoad / 6.0));
}

Colour ValleyColour::field(double x, double y) const
{
    // Strips away from the road, cut into lots of different widths.
    const double away = across(_road, x, y) + 9.0 * _noise.at(x / 160.0, y / 160.0);
    const double depth = 165.0;
    const int strip = floorToInt(away / depth);
    const double slanted = x + 0.28 * away + 60.0 * random01(static_cast<std::uint32_t>(strip), 5U);
    const double width = 62.0 + 70.0 * random01(static_cast<std::uint32_t>(strip), 9U);
    const double lot = slanted / width;
    const double inLot = lot - floorToInt(lot);
    const double border =
        std::min(std::min(inLot, 1.0 - inLot) * width, std::min(away - strip * depth, (strip + 1) * depth - away));
    RandomSequence random(hashOf(cellOf(lot), static_cast<std::uint32_t>(strip), _plan.seed() + 77U));
    const auto crop = static_cast<std::size_t>(random.next() * random.next() * 1.3 * kCrops.size()) % kCrops.size();
    const bool hedged = random.chance(0.3);
    const double along = random.chance(0.5) ? slanted : away;
    const float rows = static_cast<float>(std::sin(along * 0.55) * 0.025 * random.next());
    Colour colour = kCrops[crop] * static_cast<float>(random.between(0.90, 1.10));
    if (hedged && border < 6.0 && crownAt(x, y, 0.8, 6.0, 11U).covers) return kHedge;
    if (border < 1.8) colour = blend(colour, Colour(0.43F, 0.44F, 0.26F), 0.6);
    const float patches = 0.10F * _noise.fractal(x / 55.0, y / 55.0, 3) + 0.07F * _noise.fractal(x / 6.0, y / 6.0, 2);
    return colour * (1.0F + patches + rows);
}

std::optional<Colour> ValleyColour::at(double x, double y, double height, double slope) const
{
    const double fromRoad = across(_road, x, y);
    const double fromRiver = std::abs(across(_river, x, y)) + 2.5 * _noise.at(x / 14.0, y / 14.0);
    if (std::abs(fromRoad) < kRoadHalf && slope < 0.5)
        return std::abs(fromRoad) < 0.7 ? Colour(0.80F, 0.79F, 0.75F) : kAsphalt;
    if (fromRiver < kRiverHalf && height < 150.0) return kGlacierWater * (1.0F + 0.08F * _noise.at(x / 9.0, y / 5.0));
    const double bar = kRiverHalf + 9.0 * std::max(0.0F, 0.3F + _noise.at(x / 120.0, 61.0));
    if (fromRiver < bar) return kGravel * (1.0F + 0.12F * _noise.fractal(x / 5.0, y / 5.0, 2));
    const double wood = bar + 14.0 + 16.0 * _noise.fractal(x / 60.0, y / 60.0, 2);
    if (fromRiver < wood)
    {
        const Crown crown = crownAt(x, y, 0.7, 6.5, 5U);
        if (crown.covers) return Colour(0.25F, 0.35F, 0.16F) * static_cast<float>(1.0 + 0.3 * crown.light);
    }
    if (slope > 0.25 || height < 0.5 || std::abs(fromRoad) > kFarthestHouse) return std::nullopt;
    return village(x, fromRoad, built(x, fromRoad));
}
} // namespace mvgeo::sample
