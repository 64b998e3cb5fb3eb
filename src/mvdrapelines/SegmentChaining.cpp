#include "mvdrapelines/SegmentChaining.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <tuple>

namespace mvgeo
{

namespace
{

void removeDuplicates(std::vector<CutSegment>& segments)
{
    for (CutSegment& segment : segments)
        if (segment.second < segment.first) std::swap(segment.first, segment.second);
    std::sort(segments.begin(), segments.end());
    segments.erase(std::unique(segments.begin(), segments.end()), segments.end());
    const auto isPoint = [](const CutSegment& segment) { return segment.first == segment.second; };
    segments.erase(std::remove_if(segments.begin(), segments.end(), isPoint), segments.end());
}

/** The segments as a graph whose nodes are the distinct points. Segment i has the ends 2 i and 2 i + 1. */
class SegmentGraph
{
public:
    explicit SegmentGraph(const std::vector<CutSegment>& segments) : _segments(segments), _nodeOf(2 * segments.size())
    {
        _isUsed.resize(segments.size(), false);
        _endsByPoint.resize(2 * segments.size());
        std::iota(_endsByPoint.begin(), _endsByPoint.end(), std::size_t{0});
        std::sort(_endsByPoint.begin(), _endsByPoint.end(),
                  [this](std::size_t a, std::size_t b) { return std::tie(pointAt(a), a) < std::tie(pointAt(b), b); });
        for (std::size_t i = 0; i < _endsByPoint.size(); ++i)
        {
            if (i == 0 || pointAt(_endsByPoint[i]) != pointAt(_endsByPoint[i - 1])) _firstOfNode.push_back(i);
            _nodeOf[_endsByPoint[i]] = _firstOfNode.size() - 1;
        }
        _firstOfNode.push_back(_endsByPoint.size());
    }

    /** Every segment becomes part of one line. */
    [[nodiscard]] std::vector<CutLine> traceLines()
    {
        std::vector<CutLine> lines;
        for (std::size_t node = 0; node + 1 < _firstOfNode.size(); ++node)
            if (endCount(node) != 2) traceLinesFrom(node, lines);
        for (std::size_t node = 0; node + 1 < _firstOfNode.size(); ++node)
            traceLinesFrom(node, lines); // only closed lines are left
        return lines;
    }

private:
    [[nodiscard]] const osg::Vec3d& pointAt(std::size_t end) const
    {
        return end % 2 == 0 ? _segments[end / 2].first : _segments[end / 2].second;
    }

    [[nodiscard]] std::size_t endCount(std::size_t node) const { return _firstOfNode[node + 1] - _firstOfNode[node]; }

    void traceLinesFrom(std::size_t node, std::vector<CutLine>& lines)
    {
        for (std::size_t i = _firstOfNode[node]; i < _firstOfNode[node + 1]; ++i)
            if (!_isUsed[_endsByPoint[i] / 2]) lines.push_back(traceLine(_endsByPoint[i]));
    }

    [[nodiscard]] CutLine traceLine(std::size_t end)
    {
        CutLine line{pointAt(end)};
        while (!_isUsed[end / 2])
        {
            _isUsed[end / 2] = true;
            end ^= 1U; // the segment's other end
            line.push_back(pointAt(end));
            const std::size_t node = _nodeOf[end];
            if (endCount(node) != 2) break;
            const std::size_t first = _firstOfNode[node];
            end = _endsByPoint[first] == end ? _endsByPoint[first + 1] : _endsByPoint[first];
        }
        return line;
    }

    const std::vector<CutSegment>& _segments;
    std::vector<std::size_t> _endsByPoint;
    std::vector<std::size_t> _firstOfNode; // in _endsByPoint; one more at the end
    std::vector<std::size_t> _nodeOf;      // of each end
    std::vector<bool> _isUsed;
};

/** Twice the area seen from the side; negative if the line runs forward above and backward below. */
double sideViewArea(const CutLine& line, const osg::Plane& along)
{
    double area = 0.0;
    const osg::Vec3d& origin = line.front();
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        const osg::Vec3d& a = line[i - 1];
        const osg::Vec3d& b = line[i];
        const double aForward = along.distance(a) - along.distance(origin);
        const double bForward = along.distance(b) - along.distance(origin);
        area += aForward * (b.z() - origin.z()) - bForward * (a.z() - origin.z());
    }
    return area;
}

void orient(CutLine& line, const osg::Plane& along)
{
    if (line.front() != line.back())
    {
        if (along.distance(line.back()) < along.distance(line.front())) std::reverse(line.begin(), line.end());
        return;
    }
    const auto liesFurtherBack = [&along](const osg::Vec3d& a, const osg::Vec3d& b)
    { return along.distance(a) < along.distance(b); };
    line.pop_back();
    std::rotate(line.begin(), std::min_element(line.begin(), line.end(), liesFurtherBack), line.end());
    line.push_back(line.front());
    if (sideViewArea(line, along) > 0.0) std::reverse(line.begin(), line.end());
}

} // namespace

std::vector<CutLine> chainSegments(std::vector<CutSegment> segments, const osg::Plane& along)
{
    removeDuplicates(segments);
    std::vector<CutLine> lines = SegmentGraph(segments).traceLines();
    for (CutLine& line : lines)
        orient(line, along);
    std::stable_sort(lines.begin(), lines.end(),
                     [&along](const CutLine& a, const CutLine& b)
                     { return along.distance(a.front()) < along.distance(b.front()); });
    return lines;
}

} // namespace mvgeo
