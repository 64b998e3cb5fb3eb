#pragma once

#include <KdGePoint3d.h>

#include <vector>

namespace mvgeo
{

/** Joins polylines whose end points lie on each other and drops what covers a stretch twice; in place. */
void joinPieces(std::vector<std::vector<KdGePoint3d>>& pieces);

} // namespace mvgeo
