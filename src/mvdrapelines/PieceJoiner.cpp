#include "mvdrapelines/PieceJoiner.h"

#include "mvdrapelines/PieceStrokes.h"
#include "mvdrapelines/StrokeChains.h"

#include <optional>
#include <utility>

namespace mvgeo
{

void joinPieces(std::vector<std::vector<KdGePoint3d>>& pieces)
{
    const PiecePoints points = collectPoints(pieces);
    const std::optional<PieceNodes> nodes = findNodes(points);
    if (!nodes) return;
    pieces = chainStrokes(makeStrokes(points, *nodes));
}

} // namespace mvgeo
