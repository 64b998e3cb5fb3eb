#pragma once

#include <KdGePoint3d.h>

#include <cstddef>
#include <vector>

namespace mvgeo
{

/** The points of several polylines one after another. Segment i runs from point i to point i + 1 of the same piece. */
struct PiecePoints
{
    std::vector<KdGePoint3d> points;
    std::vector<std::size_t> pieceOf;    ///< of each point
    std::vector<std::size_t> firstPoint; ///< of each piece; one more at the end

    [[nodiscard]] std::size_t pieceCount() const { return firstPoint.size() - 1; }
    [[nodiscard]] bool isPieceEnd(std::size_t point) const;
};

/** Leaves out pieces with a coordinate that is no number or infinite, points less than 1e-6 behind the one before, and
 * then pieces of less than two points, and those that repeat a piece before them, either way round. */
[[nodiscard]] PiecePoints collectPoints(const std::vector<std::vector<KdGePoint3d>>& pieces);

} // namespace mvgeo
