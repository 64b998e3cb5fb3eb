#include "mvosggeomesh/SegmentChains.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace mvgeo
{

namespace
{

void dropRepetitions(std::vector<CutSegment>& segments)
{
    for (CutSegment& segment : segments)
        if (segment.second < segment.first) std::swap(segment.first, segment.second);
    std::sort(segments.begin(), segments.end());
    segments.erase(std::unique(segments.begin(), segments.end()), segments.end());
    const auto isPoint = [](const CutSegment& segment) { return segment.first == segment.second; };
    segments.erase(std::remove_if(segments.begin(), segments.end(), isPoint), segments.end());
}

/** The segments as a graph whose nodes are the distinct points. */
class SegmentGraph
{
public:
    explicit SegmentGraph(const std::vector<CutSegment>& segments)
    {
        for (const CutSegment& segment : segments)
            _points.insert(_points.end(), {segment.first, segment.second});
        std::sort(_points.begin(), _points.end());
        _points.erase(std::unique(_points.begin(), _points.end()), _points.end());

        _segmentsAt.resize(_points.size());
        for (const CutSegment& segment : segments)
        {
            const std::array<std::size_t, 2> ends{indexOf(segment.first), indexOf(segment.second)};
            for (const std::size_t end : ends)
                _segmentsAt[end].push_back(_ends.size());
            _ends.push_back(ends);
        }
        _isUsed.resize(_ends.size(), false);
    }

    /** Every segment becomes part of one line. */
    [[nodiscard]] std::vector<CutLine> takeLines()
    {
        std::vector<CutLine> lines;
        for (std::size_t point = 0; point < _points.size(); ++point)
            if (_segmentsAt[point].size() != 2) takeLinesFrom(point, lines);
        for (std::size_t point = 0; point < _points.size(); ++point)
            takeLinesFrom(point, lines); // only closed lines are left
        return lines;
    }

private:
    [[nodiscard]] std::size_t indexOf(const osg::Vec3d& point) const
    {
        return static_cast<std::size_t>(std::lower_bound(_points.begin(), _points.end(), point) - _points.begin());
    }

    void takeLinesFrom(std::size_t point, std::vector<CutLine>& lines)
    {
        for (const std::size_t segment : _segmentsAt[point])
            if (!_isUsed[segment]) lines.push_back(takeLine(point, segment));
    }

    [[nodiscard]] CutLine takeLine(std::size_t point, std::size_t segment)
    {
        CutLine line{_points[point]};
        while (!_isUsed[segment])
        {
            _isUsed[segment] = true;
            point = _ends[segment][0] == point ? _ends[segment][1] : _ends[segment][0];
            line.push_back(_points[point]);
            const std::vector<std::size_t>& here = _segmentsAt[point];
            if (here.size() != 2) break;
            segment = here[0] == segment ? here[1] : here[0];
        }
        return line;
    }

    std::vector<osg::Vec3d> _points; // sorted
    std::vector<std::array<std::size_t, 2>> _ends;
    std::vector<std::vector<std::size_t>> _segmentsAt;
    std::vector<bool> _isUsed;
};

/** Twice the area on the side view; negative if the line runs forward above and backward below. */
double areaSeenFromTheSide(const CutLine& line, const osg::Plane& along)
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

void turnRound(CutLine& line, const osg::Plane& along)
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
    if (areaSeenFromTheSide(line, along) > 0.0) std::reverse(line.begin(), line.end());
}

} // namespace

std::vector<CutLine> chainSegments(std::vector<CutSegment> segments, const osg::Plane& along)
{
    dropRepetitions(segments);
    std::vector<CutLine> lines = SegmentGraph(segments).takeLines();
    for (CutLine& line : lines)
        turnRound(line, along);
    std::stable_sort(lines.begin(), lines.end(),
                     [&along](const CutLine& a, const CutLine& b)
                     { return along.distance(a.front()) < along.distance(b.front()); });
    return lines;
}

} // namespace mvgeo
