#pragma once

#include "mvdrapelines/PiecePoints.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mvgeo
{

/** Where the points of pieces lie on other pieces. */
struct PieceNodes
{
    struct PointOnSegment
    {
        std::size_t segment;
        double along; ///< distance from the segment's first point
        std::size_t point;
    };

    std::vector<std::size_t> nodeOf;              ///< of each point: the first of all points that are the same place
    std::vector<PointOnSegment> pointsOnSegments; ///< inside segments of other pieces, in the order along the pieces
};

/** Two points are one node if they are within 1e-6; also if one of them ends its piece, is within 1e-4 of the other and
 * lies on one of its segments. A point lies on a segment that it projects onto within 1e-4. All distances are in three
 * dimensions. Two pieces that are not of one upright cut, such as the legs of a sharp corner, have nodes at their ends
 * only; ends more than 1e-6 apart only if neither meets another end. Nothing if GEOS cannot answer. */
[[nodiscard]] std::optional<PieceNodes> findNodes(const PiecePoints& pieces);

} // namespace mvgeo
