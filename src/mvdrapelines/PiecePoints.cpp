#include "mvdrapelines/PiecePoints.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <unordered_map>

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

/** Finds pieces that were there before, run through either way: a line that goes to and fro gives each many times. */
class KnownPieces
{
public:
    explicit KnownPieces(const PiecePoints& pieces) : _pieces(pieces) {}

    /** False if the points from `first` on repeat a piece; else they are known from now on. */
    [[nodiscard]] bool addIfNew(std::size_t first)
    {
        const auto begin = _pieces.points.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = _pieces.points.end();
        const std::size_t key = keyOf(*begin) + keyOf(*std::prev(end));
        const auto [from, to] = _firstPoints.equal_range(key);
        for (auto known = from; known != to; ++known)
        {
            const std::size_t piece = _pieces.pieceOf[known->second];
            const auto knownBegin = _pieces.points.begin() + static_cast<std::ptrdiff_t>(known->second);
            const auto knownEnd = _pieces.points.begin() + static_cast<std::ptrdiff_t>(_pieces.firstPoint[piece + 1]);
            if (std::equal(begin, end, knownBegin, knownEnd, isSame)) return false;
            if (std::equal(begin, end, std::make_reverse_iterator(knownEnd), std::make_reverse_iterator(knownBegin),
                           isSame))
                return false;
        }
        _firstPoints.emplace(key, first);
        return true;
    }

private:
    static bool isSame(const KdGePoint3d& a, const KdGePoint3d& b) { return a.distanceTo(b) <= kSamePoint; }

    /** Equal places near the edge of two cells have different keys: then the piece is compared later, at its length. */
    static std::size_t keyOf(const KdGePoint3d& point)
    {
        constexpr double kCellsPerMetre = 1e4;
        const auto cell = [](double value) { return std::hash<double>()(std::round(value * kCellsPerMetre)); };
        return cell(point.x) * 31 + cell(point.y) * 17 + cell(point.z);
    }

    const PiecePoints& _pieces;
    std::unordered_multimap<std::size_t, std::size_t> _firstPoints; // by key
};

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
    KnownPieces known(result);
    for (const auto& piece : pieces)
    {
        if (!isFinite(piece)) continue;
        const std::size_t first = result.points.size();
        for (const KdGePoint3d& point : piece)
            if (result.points.size() == first || !(point.distanceTo(result.points.back()) < kSamePoint))
                result.points.push_back(point);
        if (result.points.size() < first + 2 || !known.addIfNew(first))
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
