#pragma once

#include "sample/CityLayout.h"

namespace mvgeo::sample
{
/** What the ground looks like from above before any light falls on it: asphalt and its markings, pavements, lawns,
 * yards, paths, water. Thread: any, it never changes. */
class GroundColour
{
public:
    GroundColour(const CityPlan& plan, const Noise& noise) : _plan(plan), _noise(noise) {}

    /** The ground at a place that lies `shore` metres from the water, see CityPlan::waterDistance(). */
    [[nodiscard]] Colour at(double x, double y, double shore) const;

    /** The street's surface, its pavements included, as if it ran over water too: what a bridge shows. */
    [[nodiscard]] Colour onBridge(double x, double y) const;

private:
    struct StreetPlace
    {
        const Street* street = nullptr;
        double across = 0.0; // metres from the centre line, signed
    };

    [[nodiscard]] static StreetPlace nearest(const std::vector<Street>& streets, double coordinate);
    [[nodiscard]] Colour asphalt(double x, double y) const;
    [[nodiscard]] Colour carriageway(const StreetPlace& along, const StreetPlace& crossing, double x, double y,
                                     double way) const;
    [[nodiscard]] Colour pavement(double x, double y) const;
    [[nodiscard]] Colour grass(double x, double y) const;
    [[nodiscard]] Colour water(double x, double y, double shore) const;
    [[nodiscard]] Colour bank(double x, double y, double shore) const;
    [[nodiscard]] Colour gravel(double x, double y) const;
    [[nodiscard]] Colour inBlock(const Block& block, double x, double y, double shore) const;
    [[nodiscard]] Colour garden(const Block& block, double x, double y) const;
    [[nodiscard]] Colour slabYard(const Block& block, double x, double y) const;
    [[nodiscard]] Colour plaza(double x, double y) const;
    [[nodiscard]] Colour parkGround(const Block& block, double x, double y, double shore) const;
    [[nodiscard]] Colour pitch(const Block& block, double x, double y) const;

    const CityPlan& _plan;
    const Noise& _noise;
};
} // namespace mvgeo::sample
