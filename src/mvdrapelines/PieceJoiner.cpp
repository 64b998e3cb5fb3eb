#include "mvdrapelines/PieceJoiner.h"

namespace mvgeo
{

void joinPieces(std::vector<std::vector<KdGePoint3d>>&) {}

} // namespace mvgeo
