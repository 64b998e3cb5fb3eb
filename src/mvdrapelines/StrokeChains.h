#pragma once

#include "mvdrapelines/PieceStrokes.h"

#include <vector>

namespace mvgeo
{

/** Joins strokes at the nodes where they end, each end to at most one other. Closed lines end with their first point.
 *  The order is that of the first stroke of each line, and so is the direction. */
[[nodiscard]] std::vector<std::vector<KdGePoint3d>> chainStrokes(const std::vector<PieceStroke>& strokes);

} // namespace mvgeo
