#pragma once

#include <KdGePoint3d.h>

#include <vector>

namespace mvgeo
{

/** Joins polylines whose end points lie on each other and drops what covers a stretch twice; in place.
 *
 * A point lies on another piece if it is within 1e-6 of one of its points or within 1e-4 of a segment that it projects
 * onto. Pieces that only cross or touch stay as they are. Where more than two ends meet, the straightest way on is
 * taken, and of equal ones that to the next piece in the order found. Pieces are joined end to start; end to end only
 * if the line then does not run back over itself seen from above, so that an upper and a lower surface stay apart.
 *
 * Thread: any.
 * @param pieces  each directed along the line that it was cut by, in the order found; the result stands in the order
 * of the first piece of each line, and has its direction. Pieces with coordinates that are no numbers and pieces
 * without length drop out. Unchanged if GEOS cannot answer. */
void joinPieces(std::vector<std::vector<KdGePoint3d>>& pieces);

} // namespace mvgeo
