#pragma once

#include "sample/Noise.h"

#include <cstdint>

namespace mvgeo::sample
{
/** Where valley, lake and mountains are to be: the part of the landscape that is drawn, before erosion carves the rest.
 *
 * A main valley runs from the western to the eastern edge with a lake in its middle; the high mountains stand north of
 * it, lower ones south. Places are metres from the south-western corner, heights are metres above the lake. Shapes
 * grow with the area, so that a small one has a whole landscape too.
 *
 * Thread: any, it never changes after its construction. */
class TerrainPlan
{
public:
    TerrainPlan(double width, double height, std::uint32_t seed);

    [[nodiscard]] double width() const { return _width; }
    [[nodiscard]] double height() const { return _height; }
    [[nodiscard]] std::uint32_t seed() const { return _seed; }
    [[nodiscard]] const Noise& noise() const { return _noise; }

    /** The height that the highest mountain gets. */
    [[nodiscard]] double peak() const;

    /** The valley's middle line: its y at this x. */
    [[nodiscard]] double valleyMiddle(double x) const;
    /** Metres to the lake's shore, about; negative in the lake. */
    [[nodiscard]] double toShore(double x, double y) const;
    /** Metres to the flat floor of the valley, about; negative on it and on the lake. */
    [[nodiscard]] double toFloor(double x, double y) const;
    /** The floor's height, continued under the mountains; negative in the lake, where it is the bed. */
    [[nodiscard]] double floorHeight(double x, double y) const;
    /** How fast the mountains grow here: 0 to 1. */
    [[nodiscard]] double uplift(double x, double y) const;
    /** The steepest that the rock here can stand, as rise over run. */
    [[nodiscard]] double steepest(double x, double y) const;

private:
    [[nodiscard]] double lakeHalfWidth(double x) const;
    [[nodiscard]] double wobble(double x, double y, double size, int octaves) const;

    double _width;
    double _height;
    std::uint32_t _seed;
    Noise _noise;
    double _unit; // metres; 1 % of the shorter side
    double _bend; // where the valley's bends lie, in turns
    double _lakeWest, _lakeEast;
    double _islandX, _islandOffset, _islandSize;
};
} // namespace mvgeo::sample
