#pragma once

#include "mvdrapelines/PieceNodes.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mvgeo
{

/** A piece, or what is left of it between stretches that other pieces, found earlier, cover. */
struct PiecePart
{
    std::vector<KdGePoint3d> points; ///< at least two
    std::size_t startNode = 0;
    std::size_t endNode = 0;
    std::optional<std::size_t> next; ///< the part that goes on where this one ends, for its piece is a ring
};

/** Every stretch once, in the order found. Where several pieces cover a stretch, it has the points of all of them; else
 * a piece has its own points only, also where others touch it. */
[[nodiscard]] std::vector<PiecePart> splitIntoParts(const PiecePoints& pieces, const PieceNodes& nodes);

} // namespace mvgeo
