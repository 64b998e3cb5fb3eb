#pragma once

#include "sample/CityLayout.h"

namespace mvgeo::sample
{
/** What walls, roofs and tree crowns look like before any light falls on them. Thread: any, it never changes. */
class BuildingColour
{
public:
    explicit BuildingColour(const Noise& noise) : _noise(noise) {}

    /** A wall, seen from outside: metres from its left end and above the box's bottom; sides as in wallOf(). */
    [[nodiscard]] Colour wall(const Box& box, int side, double along, double up) const;

    /** A roof, seen from above: metres from its middle, along the box's own axes. */
    [[nodiscard]] Colour roof(const Box& box, double u, double v) const;

    /** A tree crown of one kind; azimuth and rise from 0 to 1. */
    [[nodiscard]] Colour crown(int kind, double azimuth, double rise) const;

private:
    struct Opening
    {
        double width, height, sill; // metres in a bay of one storey
        double bay, storey;
    };

    [[nodiscard]] Colour masonry(const Box& box, double along, double up) const;
    [[nodiscard]] Colour windows(const Box& box, int side, double along, double up, const Opening& opening) const;
    [[nodiscard]] Colour curtainWall(const Box& box, int side, double along, double up) const;
    [[nodiscard]] Colour balconies(const Box& box, int side, double along, double up) const;
    [[nodiscard]] Colour shedWall(const Box& box, int side, double along, double up) const;
    [[nodiscard]] Colour arches(const Box& box, int side, double along, double up) const;
    [[nodiscard]] Colour tiles(const Box& box, double u, double v) const;
    [[nodiscard]] Colour flatRoof(const Box& box, double u, double v) const;

    const Noise& _noise;
};

/** One of the four walls of a box. Side 0 looks along -y of the box (its front), 1 along +x, 2 along +y, 3 along -x;
 * left and right are those of somebody who looks at the wall from outside. */
struct WallPlace
{
    double leftX, leftY;     // world
    double alongX, alongY;   // unit vector from left to right, world
    double normalX, normalY; // unit vector outwards, world
    double length;           // metres
    bool underGable;         // the roof's end stands on it
};

[[nodiscard]] WallPlace wallOf(const Box& box, int side);
} // namespace mvgeo::sample
