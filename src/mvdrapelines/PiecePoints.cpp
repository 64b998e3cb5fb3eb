#include "mvdrapelines/PiecePoints.h"

#include <algorithm>
#include <cmath>

namespace mvgeo
{

namespace
{

constexpr double kSamePoint = 1e-6;

bool isFinite(const std::vector<KdGePoint3d>& piece)
{
    return std::all_of(piece.begin(), piece.end(),
                       [](const KdGePoint3d& point)
                       { return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z); });
}

} // namespace

bool PiecePoints::isPieceEnd(std::size_t point) const
{
    const std::size_t piece = pieceOf[point];
    return point == firstPoint[piece] || point + 1 == firstPoint[piece + 1];
}

PiecePoints collectPoints(const std::vector<std::vector<KdGePoint3d>>& pieces)
{
    PiecePoints result;
    result.firstPoint.push_back(0);
    for (const auto& piece : pieces)
    {
        if (!isFinite(piece)) continue;
        const std::size_t first = result.points.size();
        for (const KdGePoint3d& point : piece)
            if (result.points.size() == first || !(point.distanceTo(result.points.back()) < kSamePoint))
                result.points.push_back(point);
        if (result.points.size() < first + 2)
        {
            result.points.resize(first);
            continue;
        }
        result.pieceOf.resize(result.points.size(), result.pieceCount());
        result.firstPoint.push_back(result.points.size());
    }
    return result;
}

} // namespace mvgeo
