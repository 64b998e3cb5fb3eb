#include "mvdrapelines/PieceNodes.h"

#include "support/GeosSession.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr double kOnPoint = 1e-6;
constexpr double kOnSegment = 1e-4;
constexpr double kBesideCut = 2e-7; // in plan: twice as near as a vertex must be to count as lying on the cut
constexpr double kBoxBorder = 0.01;
constexpr std::size_t kSegmentsPerBox = 16;
constexpr double kFarthest = 1e300; // boxes stay finite, and so do the sums of their sides

/** A rectangle of the plane that the pieces are projected onto, aslant. */
struct ProjectedBox
{
    double minU = kFarthest;
    double minV = kFarthest;
    double maxU = -kFarthest;
    double maxV = -kFarthest;

    void expandBy(double u, double v)
    {
        minU = std::min(minU, u);
        minV = std::min(minV, v);
        maxU = std::max(maxU, u);
        maxV = std::max(maxV, v);
    }
    [[nodiscard]] bool contains(double u, double v) const { return u >= minU && u <= maxU && v >= minV && v <= maxV; }
    [[nodiscard]] ProjectedBox widened() const
    {
        return {minU - kBoxBorder, minV - kBoxBorder, maxU + kBoxBorder, maxV + kBoxBorder};
    }
};

// The tree is of two dimensions. Seen from above, all of a wall would lie on one spot; seen along a level direction,
// all of a plain. Along this direction hardly anything stands behind anything else.
double projectU(const KdGePoint3d& point)
{
    return std::clamp(point.x + 0.37 * point.z, -kFarthest, kFarthest);
}

double projectV(const KdGePoint3d& point)
{
    return std::clamp(point.y + 0.61 * point.z, -kFarthest, kFarthest);
}

/** A rectangle of the plan that is turned to lie along something. */
struct OrientedBox
{
    double x = 0.0; // the middle
    double y = 0.0;
    double alongX = 1.0; // a unit vector
    double alongY = 0.0;
    double halfLength = 0.0;
    double halfWidth = 0.0;

    [[nodiscard]] double along(double otherX, double otherY) const { return otherX * alongX + otherY * alongY; }
    [[nodiscard]] double across(double otherX, double otherY) const { return otherY * alongX - otherX * alongY; }

    /** True if there is more than `gap` between the other box and the line that this one lies along. */
    [[nodiscard]] bool isBeside(const OrientedBox& other, double gap) const
    {
        const double reach = std::abs(across(other.alongX, other.alongY)) * other.halfLength +
                             std::abs(along(other.alongX, other.alongY)) * other.halfWidth;
        return std::abs(across(other.x - x, other.y - y)) > halfWidth + reach + gap;
    }
    [[nodiscard]] bool isBeside(const KdGePoint3d& point, double gap) const
    {
        return std::abs(across(point.x - x, point.y - y)) > halfWidth + gap;
    }
};

/** Some neighbouring segments of one piece: those from point `first` to point `last`. */
struct SegmentRun
{
    std::size_t piece;
    std::size_t first;
    std::size_t last;
    ProjectedBox box;
    OrientedBox plan;
};

OrientedBox orientedBoxAround(const KdGePoint3d* first, const KdGePoint3d* last)
{
    const double length = std::hypot(last->x - first->x, last->y - first->y);
    OrientedBox box{(first->x + last->x) / 2.0, (first->y + last->y) / 2.0};
    if (length > 0.0)
    {
        box.alongX = (last->x - first->x) / length;
        box.alongY = (last->y - first->y) / length;
    }
    for (const KdGePoint3d* point = first; point <= last; ++point)
    {
        box.halfLength = std::max(box.halfLength, std::abs(box.along(point->x - box.x, point->y - box.y)));
        box.halfWidth = std::max(box.halfWidth, std::abs(box.across(point->x - box.x, point->y - box.y)));
    }
    return box;
}

std::vector<SegmentRun> cutIntoRuns(const PiecePoints& pieces)
{
    std::vector<SegmentRun> runs;
    for (std::size_t piece = 0; piece < pieces.pieceCount(); ++piece)
    {
        const std::size_t last = pieces.firstPoint[piece + 1] - 1;
        for (std::size_t first = pieces.firstPoint[piece]; first < last; first += kSegmentsPerBox)
        {
            SegmentRun run{piece, first, std::min(first + kSegmentsPerBox, last), {}, {}};
            run.plan = orientedBoxAround(&pieces.points[run.first], &pieces.points[run.last]);
            for (std::size_t point = run.first; point <= run.last; ++point)
                run.box.expandBy(projectU(pieces.points[point]), projectV(pieces.points[point]));
            runs.push_back(run);
        }
    }
    return runs;
}

/** Finds the runs whose widened boxes meet a box. */
class RunTree
{
public:
    explicit RunTree(const std::vector<SegmentRun>& runs) : _tree(_geos.own(GEOSSTRtree_create_r(_geos.handle(), 10)))
    {
        _isComplete = _tree != nullptr;
        for (const SegmentRun& run : runs)
        {
            const auto rectangle = rectangleOf(run.box.widened());
            _isComplete = _isComplete && rectangle;
            if (!_isComplete) return;
            // The tree keeps a copy of the rectangle's box, and takes items that may be written to.
            GEOSSTRtree_insert_r(_geos.handle(), _tree.get(), rectangle.get(), const_cast<SegmentRun*>(&run));
        }
    }

    /** @return false if GEOS cannot answer */
    [[nodiscard]] bool find(const ProjectedBox& box, std::vector<const SegmentRun*>& found) const
    {
        found.clear();
        const auto rectangle = _isComplete ? rectangleOf(box) : nullptr;
        if (!rectangle) return false;
        GEOSSTRtree_query_r(
            _geos.handle(), _tree.get(), rectangle.get(),
            [](void* item, void* list)
            { static_cast<std::vector<const SegmentRun*>*>(list)->push_back(static_cast<const SegmentRun*>(item)); },
            &found);
        return true;
    }

private:
    [[nodiscard]] GeosSession::Geometry rectangleOf(const ProjectedBox& box) const
    {
        return _geos.own(GEOSGeom_createRectangle_r(_geos.handle(), box.minU, box.minV, box.maxU, box.maxV));
    }

    GeosSession _geos;
    GeosSession::Tree _tree;
    bool _isComplete = false;
};

/** Sets of points that are the same place, each a tree whose root is the first of its points. */
class DisjointSets
{
public:
    explicit DisjointSets(std::size_t count) : _parent(count) { std::iota(_parent.begin(), _parent.end(), 0U); }

    std::size_t firstOf(std::size_t point)
    {
        while (_parent[point] != point)
            point = _parent[point] = _parent[_parent[point]];
        return point;
    }
    void unite(std::size_t a, std::size_t b)
    {
        const auto [low, high] = std::minmax({firstOf(a), firstOf(b)});
        _parent[high] = low;
    }

private:
    std::vector<std::size_t> _parent;
};

class NodeFinder
{
public:
    explicit NodeFinder(const PiecePoints& pieces) : _pieces(pieces), _places(pieces.points.size()) {}

    std::optional<PieceNodes> find()
    {
        closeRings();
        const std::vector<SegmentRun> runs = cutIntoRuns(_pieces);
        const RunTree tree(runs);
        std::vector<const SegmentRun*> neighbours;
        for (const SegmentRun& run : runs)
        {
            if (!tree.find(run.box, neighbours)) return std::nullopt;
            for (const SegmentRun* other : neighbours)
                if (other->piece != run.piece) compare(run, *other);
        }
        uniteEndsBeside();
        return result();
    }

private:
    void closeRings()
    {
        for (std::size_t piece = 0; piece < _pieces.pieceCount(); ++piece)
        {
            const std::size_t first = _pieces.firstPoint[piece];
            const std::size_t last = _pieces.firstPoint[piece + 1] - 1;
            if (_pieces.points[first].distanceTo(_pieces.points[last]) <= kOnPoint) _places.unite(first, last);
        }
    }

    void compare(const SegmentRun& run, const SegmentRun& other)
    {
        // Pieces come from upright cuts: straight in plan. The boxes of parallel lines overlap all the same.
        if (other.plan.isBeside(run.plan, kBoxBorder)) return;
        const ProjectedBox box = other.box.widened();
        for (std::size_t point = run.first; point <= run.last; ++point)
        {
            const KdGePoint3d& place = _pieces.points[point];
            if (!box.contains(projectU(place), projectV(place))) continue;
            // Near a sharp corner the line's two legs are as near as two tiles of one cut, but not in one plane: they
            // meet at the corner and share nothing. What is as good as upright tells no direction.
            const bool isOtherCut = 2.0 * other.plan.halfLength > kOnSegment && other.plan.isBeside(place, kBesideCut);
            for (std::size_t segment = other.first; segment < other.last; ++segment)
                compare(point, segment, isOtherCut);
        }
    }

    void compare(std::size_t point, std::size_t segment, bool isOtherCut)
    {
        const KdGePoint3d& start = _pieces.points[segment];
        const KdGePoint3d& end = _pieces.points[segment + 1];
        const KdGePoint3d& place = _pieces.points[point];
        const double toStart = place.distanceTo(start);
        const double toEnd = place.distanceTo(end);
        const std::size_t nearest = toStart <= toEnd ? segment : segment + 1;
        const double toNearest = std::min(toStart, toEnd);
        const bool isEnd = _pieces.isPieceEnd(point);
        const bool isNearestEnd = _pieces.isPieceEnd(nearest);
        if (isOtherCut && !isEnd && !isNearestEnd) return;
        if (toNearest <= kOnPoint) return _places.unite(point, nearest);

        const KdGeVector3d side = end - start;
        const double length = start.distanceTo(end);
        const KdGeVector3d offset = place - start;
        const double along = (offset.x * side.x + offset.y * side.y + offset.z * side.z) / length;
        if (!(along >= -kOnPoint && along <= length + kOnPoint)) return;
        const KdGePoint3d foot(start.x + side.x * (along / length), start.y + side.y * (along / length),
                               start.z + side.z * (along / length));
        if (!(place.distanceTo(foot) <= kOnSegment)) return;

        const bool isBarelyApart = toNearest <= kOnSegment;
        if (isOtherCut)
        {
            if (isEnd && isNearestEnd && isBarelyApart) _endsBeside.emplace_back(point, nearest);
            return;
        }
        // Without this, tiles whose ends differ by the rounding of floats would cross over by a tiny end.
        if (((isEnd || isNearestEnd) && isBarelyApart) || along <= 0.0 || along >= length)
            _places.unite(point, nearest);
        else
            _pointsOnSegments.push_back({segment, along, point});
    }

    /** Ends that lie beside each other are one node if none of them goes on otherwise. */
    void uniteEndsBeside()
    {
        if (_endsBeside.empty()) return;
        std::vector<std::size_t> endCount(_pieces.points.size());
        for (std::size_t point = 0; point < endCount.size(); ++point)
            if (_pieces.isPieceEnd(point)) ++endCount[_places.firstOf(point)];
        const auto isAlone = [&](std::size_t point) { return endCount[_places.firstOf(point)] == 1; };
        for (const auto& [end, other] : _endsBeside)
            if (isAlone(end) && isAlone(other)) _places.unite(end, other);
    }

    PieceNodes result()
    {
        std::sort(_pointsOnSegments.begin(), _pointsOnSegments.end(),
                  [](const PieceNodes::PointOnSegment& a, const PieceNodes::PointOnSegment& b)
                  { return std::tie(a.segment, a.along, a.point) < std::tie(b.segment, b.along, b.point); });
        PieceNodes nodes{std::vector<std::size_t>(_pieces.points.size()), std::move(_pointsOnSegments)};
        for (std::size_t point = 0; point < nodes.nodeOf.size(); ++point)
            nodes.nodeOf[point] = _places.firstOf(point);
        return nodes;
    }

    const PiecePoints& _pieces;
    DisjointSets _places;
    std::vector<std::pair<std::size_t, std::size_t>> _endsBeside; // of pieces that are not of one cut
    std::vector<PieceNodes::PointOnSegment> _pointsOnSegments;
};

} // namespace

std::optional<PieceNodes> findNodes(const PiecePoints& pieces)
{
    return NodeFinder(pieces).find();
}

} // namespace mvgeo
