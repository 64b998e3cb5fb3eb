#pragma once

#include "sample/TerrainRelief.h"
#include "sample/ValleyColour.h"

#include <vector>

namespace mvgeo::sample
{
/** What a photograph from above would show of the terrain: the lake, the valley, woods, meadows, rock and snow.
 *
 * Little light is baked in, since whoever draws the terrain lights it: some sun, so that forms show from straight
 * above, and the dimness of hollows. The relief is needed as long as this is.
 * Thread: any, it never changes. */
class TerrainColour
{
public:
    TerrainColour(const TerrainPlan& plan, const TerrainRelief& relief);

    [[nodiscard]] Colour at(double x, double y) const;

private:
    /** What is known on a post; side by side in memory, since all of it is wanted together. */
    struct Post
    {
        float height; // metres above the lake
        float slope;  // rise over run
        float stream; // decimal logarithm of the square metres that drain through
        float hollow; // metres below the surroundings
        float light;  // cosine
        float broad;  // noise of about 250 m
        float middle; // noise of about 45 m
    };
    /** A place between posts. */
    struct Place : Post
    {
        double x, y;
        double altitude; // 0 at the lake, 1 on the highest peak
        double fine;     // noise of about 9 m
    };
    [[nodiscard]] static Post interpolate(const Post& first, const Post& second, float part);
    [[nodiscard]] Post postAt(double x, double y) const;
    [[nodiscard]] Place placeAt(double x, double y) const;

    [[nodiscard]] Colour water(const Place& place) const;
    [[nodiscard]] Colour land(const Place& place) const;
    [[nodiscard]] Colour pasture(const Place& place) const;
    [[nodiscard]] Colour rock(const Place& place) const;
    [[nodiscard]] Colour ground(const Place& place) const;
    [[nodiscard]] Colour withTrees(const Colour& ground, const Place& place) const;
    [[nodiscard]] Colour withSnow(const Colour& ground, const Place& place) const;
    [[nodiscard]] Colour lit(const Colour& colour, const Place& place) const;
    /** The share of the places for a tree that have one. */
    [[nodiscard]] double woodland(const Place& place) const;

    const TerrainPlan& _plan;
    const TerrainGrid& _heights;
    const Noise& _noise;
    ValleyColour _valley;
    std::vector<Post> _posts;
};
} // namespace mvgeo::sample
