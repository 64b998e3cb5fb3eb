#include "sample/TileContent.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::sample
{
TileDetail TileDetail::ofLevel(int level, int levels, double rootTileSize)
{
    const bool leaf = level == levels - 1;
    const int depth = std::min(level, levels - 2); // the leaf files split no further than the level before
    TileDetail detail;
    detail.gridCells = leaf ? 20 : level == 0 ? 24 : std::max(8, 24 - 5 * level);
    detail.metresPerTexel = rootTileSize / 180.0 / std::pow(2.0, depth) * (leaf ? 0.67 : 1.0);
    detail.samples = level == 0 ? 5 : level == 1 ? 4 : 2;
    detail.groundSamples = leaf ? 1 : detail.samples;
    detail.crownSides = leaf ? 9 : std::min(8, 4 + level);
    detail.crownRings = leaf ? 4 : 1 + std::min(2, level);
    detail.smallestTree = level == 0 ? 1.9 : level == 1 ? 1.2 : 0.0;
    detail.detailBoxes = level >= 2 || leaf;
    detail.cars = level >= 2 || leaf;
    const double step = rootTileSize / std::pow(2.0, depth) / detail.gridCells;
    detail.skirt = 0.35 + 0.22 * step;
    return detail;
}

TileContent::TileContent(const CityObjects& objects, const Rect& tileArea, const TileDetail& tileDetail)
    : area(tileArea), detail(tileDetail)
{
    for (const Box& box : objects.boxes)
    {
        if (area.contains(box.x, box.y) && (detail.detailBoxes || !box.detail)) boxes.push_back(&box);
    }
    for (const Tree& tree : objects.trees)
    {
        if (area.contains(tree.x, tree.y) && tree.radius >= detail.smallestTree) trees.push_back(&tree);
    }
    for (const Car& car : objects.cars)
    {
        // Five metres more: a car across a border is painted on both sides of it.
        if (area.grownBy(5.0).contains(car.x, car.y)) cars.push_back(&car);
    }
}
} // namespace mvgeo::sample
