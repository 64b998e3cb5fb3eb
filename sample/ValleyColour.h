#pragma once

#include "sample/Colour.h"
#include "sample/TerrainGrid.h"
#include "sample/TerrainPlan.h"

#include <optional>
#include <vector>

namespace mvgeo::sample
{
/** Crowns of trees seen from above: how bright a place is, and whether a crown or the ground between them is there. */
struct Crown
{
    bool covers = false;
    double light = 0.0; // -1 in the shade to 1 in the sun
    double taste = 0.0; // 0 to 1, the same all over one tree
};

/** @param share  of the places for a tree that have one, 0 to 1
 * @param spacing  metres between them */
[[nodiscard]] Crown crownAt(double x, double y, double share, double spacing, std::uint32_t seed);

/** What people and the river made of the valley's floor: fields, a road, villages, the river itself.
 *
 * Fields and houses stand along the road, which follows the valley. Thread: any, it never changes. */
class ValleyColour
{
public:
    ValleyColour(const TerrainPlan& plan, const TerrainGrid& heights);

    /** Nothing where the floor is as nature made it.
     * @param height  metres above the lake */
    [[nodiscard]] std::optional<Colour> at(double x, double y, double height, double slope) const;

    /** The crop of the field that this place is in, with its hedge. */
    [[nodiscard]] Colour field(double x, double y) const;

private:
    /** Metres across a line that follows the valley, positive north of it. */
    [[nodiscard]] double across(const std::vector<double>& line, double x, double y) const;
    /** How densely houses stand: 0 where there are none, about 1 in a village's middle. */
    [[nodiscard]] double built(double x, double fromRoad) const;
    [[nodiscard]] std::optional<Colour> village(double x, double fromRoad, double density) const;
    void layRoad(const TerrainGrid& heights);
    void layRiver(const TerrainGrid& heights);

    const TerrainPlan& _plan;
    const Noise& _noise;
    double _step;               // metres between the points of the lines
    std::vector<double> _road;  // its y by x
    std::vector<double> _river; // its y by x
    struct Centre
    {
        double x, size;
    };
    std::vector<Centre> _villages; // on the road
};
} // namespace mvgeo::sample
