#include "sample/CityLayout.h"

#include "sample/CityBlocks.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
const std::array<Colour, 8> kPaints = {
    Colour(0.85F, 0.85F, 0.85F), Colour(0.15F, 0.16F, 0.17F), Colour(0.56F, 0.58F, 0.60F), Colour(0.52F, 0.11F, 0.10F),
    Colour(0.13F, 0.22F, 0.42F), Colour(0.78F, 0.78F, 0.76F), Colour(0.30F, 0.32F, 0.33F), Colour(0.80F, 0.64F, 0.16F)};

/** True near a crossing, where nobody parks or plants. */
bool isNearCrossing(const std::vector<Street>& crossing, double along, double margin)
{
    return std::any_of(crossing.begin(), crossing.end(),
                       [along, margin](const Street& street)
                       { return std::abs(along - street.centre) < street.half + margin; });
}
} // namespace

double Box::roofRise(double u, double v) const
{
    if (roof == Roof::gable) return ridge * std::max(0.0, 1.0 - std::abs(v) / halfY);
    if (roof == Roof::hip)
        return ridge * std::clamp(std::min(halfY - std::abs(v), halfX - std::abs(u)) / halfY, 0.0, 1.0);
    return 0.0;
}

CityLayout::CityLayout(double width, double height, std::uint32_t seed) : _plan(width, height, seed)
{
    for (const Block& block : _plan.blocks())
        fillBlock(block, _plan, _objects);
    addBridges();
    for (const Street& street : _plan.streetsNorth())
        addStreet(street, true);
    for (const Street& street : _plan.streetsEast())
        addStreet(street, false);
}

void CityLayout::addBridges()
{
    for (const Street& street : _plan.streetsNorth())
    {
        if (!street.avenue) continue;
        double south = 1.0e9;
        double north = -1.0e9;
        for (double y = 0.0; y < _plan.extent().maxY; y += 0.5)
        {
            if (_plan.waterDistance(street.centre, y) > 10.5) continue;
            south = std::min(south, y);
            north = std::max(north, y);
        }
        if (north <= south) continue;

        Box deck;
        deck.x = street.centre;
        deck.y = 0.5 * (south + north);
        deck.halfX = street.half + CityPlan::kPavement - 0.4;
        deck.halfY = 0.5 * (north - south) + 2.0;
        deck.top = 0.15 + std::max(_plan.groundHeight(street.centre, south - 1.0),
                                   _plan.groundHeight(street.centre, north + 1.0));
        deck.bottom = CityPlan::kWaterLevel - 1.0;
        deck.roof = Roof::deck;
        deck.facade = Facade::bridge;
        deck.wall = Colour(0.62F, 0.59F, 0.54F);
        deck.cover = deck.wall;
        _objects.boxes.push_back(deck);
    }
}

void CityLayout::addStreet(const Street& street, bool north)
{
    const std::vector<Street>& crossing = north ? _plan.streetsEast() : _plan.streetsNorth();
    const double end = north ? _plan.extent().maxY : _plan.extent().maxX;
    const auto seed = hashOf(static_cast<std::uint32_t>(floorToInt(street.centre * 16.0)), north ? 1U : 2U);
    RandomSequence random(seed);
    const auto dry = [&](double across, double along)
    {
        const double x = north ? across : along;
        const double y = north ? along : across;
        const Block* block = _plan.blockAt(x, y);
        const bool ended = north && !street.avenue && block && block->use == BlockUse::river; // at the quay
        return !ended && _plan.waterDistance(x, y) > 11.0;
    };
    const auto plant = [&](double across, double along)
    {
        if (!dry(across, along) || random.chance(street.avenue ? 0.1 : 0.45)) return;
        const double radius = random.between(1.3, 2.3);
        _objects.trees.push_back({north ? across : along, north ? along : across, radius, radius * 2.4 + 0.8,
                                  static_cast<int>(random.nextHash() % 2U), random.nextHash()});
    };
    // Parked at the kerb or on its lane; a bus needs the place of two.
    const auto drive = [&](double across, double along, double direction, bool bus)
    {
        if (!dry(across, along)) return;
        Car car;
        car.x = north ? across : along;
        car.y = north ? along : across;
        car.cosine = north ? 0.0 : direction;
        car.sine = north ? direction : 0.0;
        car.paint = kPaints[random.nextHash() % kPaints.size()];
        if (bus) car.length = 9.5, car.width = 2.5, car.height = 2.9;
        _objects.cars.push_back(car);
    };

    for (double along = 6.0; along < end; along += random.between(7.5, 11.0))
    {
        if (isNearCrossing(crossing, along, 5.0)) continue;
        plant(street.centre - street.half - 1.0, along);
        plant(street.centre + street.half + 1.0, along);
    }
    for (double along = 4.0; along < end; along += random.between(5.6, 6.6))
    {
        if (isNearCrossing(crossing, along, 6.5)) continue;
        const double kerb = street.half - 1.15;
        const double lane = street.avenue ? 2.6 : 1.1;
        for (const double side : {1.0, -1.0})
        {
            const bool bus = random.chance(0.02);
            if (random.chance(street.avenue ? 0.16 : 0.55)) drive(street.centre + side * kerb, along, side, false);
            if (random.chance(street.avenue ? 0.16 : 0.03)) drive(street.centre + side * lane, along, side, bus);
            if (bus) along += 4.0;
        }
    }
}
} // namespace mvgeo::sample
