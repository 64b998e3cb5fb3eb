#pragma once

#include "measure/Points.h"

#include <cstddef>
#include <optional>

namespace mvgeo::host
{
/** What people want to know of a surface given by three points a triangle; all 0 if it has none. */
struct SurfaceFigures
{
    std::size_t triangles = 0;
    double areaPlan = 0.0; ///< as seen from above; where surfaces lie above each other, of all of them together
    double areaSpace = 0.0;
    double lowest = 0.0;
    double highest = 0.0;
};
SurfaceFigures figuresOf(const Points& triangles);

/** Leaves out the triangles that lead below the floor, ground that is not there, and those that are no triangles
 * because a number is not finite.
 * @return how much of the former, in plan */
double leaveOutBelow(Points& triangles, std::optional<double> floor);
} // namespace mvgeo::host
