#pragma once

#include "sample/Noise.h"

#include <cstdint>
#include <vector>

namespace mvgeo::sample
{
/** Metres in the pyramid's own frame: x east, y north. */
struct Rect
{
    double minX = 0.0, minY = 0.0, maxX = 0.0, maxY = 0.0;

    [[nodiscard]] double width() const { return maxX - minX; }
    [[nodiscard]] double height() const { return maxY - minY; }
    [[nodiscard]] double centreX() const { return 0.5 * (minX + maxX); }
    [[nodiscard]] double centreY() const { return 0.5 * (minY + maxY); }

    /** West and south edges belong to the rectangle, so that adjoining rectangles share no point. */
    [[nodiscard]] bool contains(double x, double y) const { return x >= minX && x < maxX && y >= minY && y < maxY; }

    [[nodiscard]] Rect grownBy(double metres) const
    {
        return {minX - metres, minY - metres, maxX + metres, maxY + metres};
    }
};

/** A straight street along one axis, from edge to edge of the city. */
struct Street
{
    double centre = 0.0;
    double half = 0.0; // half the carriageway
    bool avenue = false;
};

enum class BlockUse
{
    houses,
    courtyard,
    slabs,
    towers,
    park,
    school,
    works,
    river
};

struct Block
{
    Rect rect; // inside the pavements
    BlockUse use = BlockUse::park;
    std::uint32_t seed = 0;
};

/** The plan of the city before anything is built on it: terrain, river, streets, and what each block is used for.
 * Thread: any, it never changes. */
class CityPlan
{
public:
    static constexpr double kPavement = 3.2;   // metres on either side of a carriageway
    static constexpr double kWaterLevel = 4.0; // metres, river and pond

    CityPlan(double width, double height, std::uint32_t seed);

    [[nodiscard]] Rect extent() const { return {0.0, 0.0, _width, _height}; }
    [[nodiscard]] const std::vector<Street>& streetsNorth() const { return _streetsNorth; }
    [[nodiscard]] const std::vector<Street>& streetsEast() const { return _streetsEast; }
    [[nodiscard]] const std::vector<Block>& blocks() const { return _blocks; }

    /** The block between the streets around a point, its pavements included; null at the city's edge. */
    [[nodiscard]] const Block* blockAt(double x, double y) const;

    /** Metres to the nearest shore, negative on the water; beyond 30 m inland merely some number above that. */
    [[nodiscard]] double waterDistance(double x, double y) const;

    /** The bare ground (or the water's surface), metres. */
    [[nodiscard]] double groundHeight(double x, double y) const { return groundHeight(x, y, waterDistance(x, y)); }

    /** The same for who knows the distance to the shore already. */
    [[nodiscard]] double groundHeight(double x, double y, double shore) const;

    /** The ground as it would be without river and pond: what bridges connect. */
    [[nodiscard]] double landHeight(double x, double y) const;

private:
    [[nodiscard]] double riverDistance(double x, double y) const;
    void makeStreets();
    void makeBlocks();
    [[nodiscard]] BlockUse chooseUse(const Rect& rect, std::uint32_t seed) const;
    void placePond();

    double _width;
    double _height;
    std::uint32_t _seed;
    Noise _relief;
    Rect _riverBand;                   // the row of blocks that the river flows through
    std::vector<Street> _streetsNorth; // running north, sorted by x
    std::vector<Street> _streetsEast;  // running east, sorted by y
    std::vector<Block> _blocks;        // row by row, (streetsNorth - 1) in each
    double _pondX = 0.0, _pondY = 0.0, _pondRadius = 0.0;
};
} // namespace mvgeo::sample
