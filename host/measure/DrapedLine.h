#pragma once

#include "measure/Points.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mvgeo::host
{
/** One connected stretch of the surface on a line; where a closed line ends at its start, two pieces meet. */
struct DrapedPiece
{
    Points points;
    std::vector<double> distances; ///< of each point along the given line, in plan

    [[nodiscard]] double from() const;
    [[nodiscard]] double to() const;
};

/** A line and all that lies below and above it, sorted by where it begins. Pieces overlap where surfaces lie above each
 * other, and leave gaps where there is none. */
struct DrapedLine
{
    Points given;
    std::vector<double> corners; ///< distances of the given points
    std::vector<DrapedPiece> pieces;
    double leftOutPlan = 0.0; ///< length of what lies below the floor

    [[nodiscard]] double length() const { return corners.back(); }
};

/** @param given   at least two points
 * @param pieces  what the library found, in any order
 * @param floor   what leads below it is left out: ground that is not there */
DrapedLine makeDrapedLine(const Points& given, const std::vector<Points>& pieces, std::optional<double> floor);

/** What people want to know; all 0 if there are no pieces. */
struct LineFigures
{
    double lengthPlan = 0.0; ///< of all surfaces together
    double lengthSpace = 0.0;
    double lowest = 0.0;
    double highest = 0.0;
};
LineFigures figuresOf(const DrapedPiece& piece);
LineFigures figuresOf(const DrapedLine& line);

/** How much of the given line has a surface, counted once where there are several. */
double coveredLength(const DrapedLine& line);
} // namespace mvgeo::host
