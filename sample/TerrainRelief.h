#pragma once

#include "sample/TerrainGrid.h"
#include "sample/TerrainPlan.h"

#include <functional>
#include <optional>

namespace mvgeo::sample
{
/** The finished terrain on its posts, and what its colours are chosen by. */
struct TerrainRelief
{
    /** Told how far the work is (0 to 1), on the caller's thread; false to stop. */
    using Advance = std::function<bool(double fraction)>;

    /** Nothing if `advance` said stop. */
    [[nodiscard]] static std::optional<TerrainRelief> make(const TerrainPlan& plan, int columns, int rows, double cell,
                                                           const Advance& advance);

    TerrainGrid heights; // metres above the lake; negative is the lake's bed
    TerrainGrid slopes;  // rise over run
    TerrainGrid streams; // decimal logarithm of the square metres that drain through
    TerrainGrid hollows; // metres below the surroundings; ridges are negative
    TerrainGrid light;   // cosine between the ground's normal and the direction to the sun
};
} // namespace mvgeo::sample
