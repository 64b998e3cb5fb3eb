#include "measure/Stationing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace mvgeo::host
{
namespace
{
constexpr std::size_t kSegmentsPerLeaf = 8;
constexpr std::size_t kLookAhead = 3; // segments: short ones may hold no point of a piece
constexpr double kBeside = 1e-6;      // of the line: the library takes vertices so near to its cut for points of it
constexpr double kJoint = 1e-4;       // ends that are so near the library joins, moving one of them

double planDistance(const osg::BoundingBoxd& box, const osg::Vec3d& point)
{
    return std::hypot(std::max({box.xMin() - point.x(), point.x() - box.xMax(), 0.0}),
                      std::max({box.yMin() - point.y(), point.y() - box.yMax(), 0.0}));
}

std::size_t middleOf(std::size_t first, std::size_t last)
{
    return first + (last - first) / 2;
}
} // namespace

/** For the segment that two points fit best. */
struct Stationing::Search
{
    const osg::Vec3d& from;
    const osg::Vec3d& to;
    std::size_t best = 0;
    double least = std::numeric_limits<double>::infinity();
};

Stationing::Stationing(const Points& line) : _line(line), _corners{0.0}
{
    double largest = 0.0;
    for (const osg::Vec3d& point : line)
        largest = std::max({largest, std::abs(point.x()), std::abs(point.y())});
    // What is draped lies upright above the line, computed in doubles, however coarse the tiles' floats are.
    _tolerance = kBeside + 64.0 * std::numeric_limits<double>::epsilon() * largest;
    _corners.reserve(line.size());
    for (std::size_t i = 1; i < line.size(); ++i)
        _corners.push_back(_corners.back() + planDistance(line[i - 1], line[i]));
    buildBoxes(0, 0, segmentCount());
}

std::vector<Stationing::Stretch> Stationing::along(const Points& piece) const
{
    std::vector<Stretch> stretches(1);
    std::size_t segment = segmentOf(piece.front(), piece[std::min<std::size_t>(1, piece.size() - 1)]);
    stretches.back() = {{piece.front()}, {distanceOf(segment, piece.front())}};
    for (std::size_t i = 1; i < piece.size(); ++i)
    {
        segment = followingSegment(segment, piece[i - 1], piece[i]);
        const double start = distanceOf(segment, piece[i - 1]);
        if (std::abs(start - stretches.back().distances.back()) > 2.0 * (kJoint + _tolerance))
            stretches.push_back({{piece[i - 1]}, {start}});
        stretches.back().points.push_back(piece[i]);
        stretches.back().distances.push_back(distanceOf(segment, piece[i]));
    }
    // A piece that begins with its jump leaves a single point before it.
    stretches.erase(std::remove_if(stretches.begin(), stretches.end(),
                                   [](const Stretch& stretch) { return stretch.points.size() < 2; }),
                    stretches.end());
    return stretches;
}

Stationing::Place Stationing::placeOn(std::size_t segment, const osg::Vec3d& point) const
{
    const osg::Vec3d& a = _line[segment];
    const osg::Vec3d& b = _line[segment + 1];
    const double length = planDistance(a, b);
    if (length == 0.0) return {0.0, planDistance(a, point)};
    const double dx = (b.x() - a.x()) / length;
    const double dy = (b.y() - a.y()) / length;
    const double along = std::clamp((point.x() - a.x()) * dx + (point.y() - a.y()) * dy, 0.0, length);
    return {along, std::hypot(point.x() - a.x() - along * dx, point.y() - a.y() - along * dy)};
}

double Stationing::distanceOf(std::size_t segment, const osg::Vec3d& point) const
{
    return _corners[segment] + placeOn(segment, point).along;
}

/** True if both points lie on the segment, run through in its direction. */
bool Stationing::holds(std::size_t segment, const osg::Vec3d& from, const osg::Vec3d& to) const
{
    const Place start = placeOn(segment, from);
    const Place end = placeOn(segment, to);
    return start.beside <= _tolerance && end.beside <= _tolerance && end.along >= start.along - _tolerance;
}

double Stationing::misfit(std::size_t segment, const osg::Vec3d& from, const osg::Vec3d& to) const
{
    const Place start = placeOn(segment, from);
    const Place end = placeOn(segment, to);
    return start.beside + end.beside + (end.along < start.along ? _tolerance : 0.0);
}

/** The segment that both points lie on, preferably run through in their direction. */
std::size_t Stationing::segmentOf(const osg::Vec3d& from, const osg::Vec3d& to) const
{
    Search wanted{from, to};
    searchNode(wanted, 0, 0, segmentCount());
    return wanted.best;
}

std::size_t Stationing::followingSegment(std::size_t segment, const osg::Vec3d& from, const osg::Vec3d& to) const
{
    const std::size_t end = std::min(segment + 1 + kLookAhead, segmentCount());
    for (std::size_t near = segment; near < end; ++near)
        if (holds(near, from, to)) return near;
    return segmentOf(from, to);
}

osg::BoundingBoxd Stationing::buildBoxes(std::size_t node, std::size_t first, std::size_t last)
{
    osg::BoundingBoxd box;
    if (last - first <= kSegmentsPerLeaf)
        for (std::size_t i = first; i <= last; ++i)
            box.expandBy(_line[i]);
    else
    {
        box.expandBy(buildBoxes(2 * node + 1, first, middleOf(first, last)));
        box.expandBy(buildBoxes(2 * node + 2, middleOf(first, last), last));
    }
    if (node >= _boxes.size()) _boxes.resize(node + 1);
    return _boxes[node] = box;
}

/** Boxes that are farther from the two points than the best segment are not looked into. */
void Stationing::searchNode(Search& search, std::size_t node, std::size_t first, std::size_t last) const
{
    const auto leastIn = [&](std::size_t child)
    { return planDistance(_boxes[child], search.from) + planDistance(_boxes[child], search.to); };
    if (leastIn(node) > search.least) return;
    if (last - first <= kSegmentsPerLeaf)
    {
        for (std::size_t i = first; i < last; ++i)
        {
            const double here = misfit(i, search.from, search.to);
            if (here > search.least || (here == search.least && i > search.best)) continue;
            search.least = here;
            search.best = i;
        }
        return;
    }
    const std::size_t middle = middleOf(first, last);
    const bool isSecondNearer = leastIn(2 * node + 2) < leastIn(2 * node + 1);
    if (isSecondNearer) searchNode(search, 2 * node + 2, middle, last);
    searchNode(search, 2 * node + 1, first, middle);
    if (!isSecondNearer) searchNode(search, 2 * node + 2, middle, last);
}
} // namespace mvgeo::host
