#include "DrapedLine.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
namespace
{
double planDistance(const osg::Vec3d& a, const osg::Vec3d& b)
{
    return std::hypot(b.x() - a.x(), b.y() - a.y());
}

/** Finds places on a line in plan. */
class Stationing
{
public:
    explicit Stationing(const Points& line) : _line(line), _corners{0.0}
    {
        double largest = 0.0;
        for (const osg::Vec3d& point : line)
            largest = std::max({largest, std::abs(point.x()), std::abs(point.y())});
        _tolerance = std::max(1e-3, 1e-7 * largest); // tiles hold floats
        for (std::size_t i = 1; i < line.size(); ++i)
            _corners.push_back(_corners.back() + planDistance(line[i - 1], line[i]));
    }

    [[nodiscard]] const std::vector<double>& corners() const { return _corners; }

    /** A line may come by the same place again, so a piece is followed from segment to segment. */
    [[nodiscard]] std::vector<double> along(const Points& piece) const
    {
        std::vector<double> distances;
        distances.reserve(piece.size());
        std::size_t segment = startSegment(piece);
        for (const osg::Vec3d& point : piece)
        {
            segment = followingSegment(segment, point);
            distances.push_back(_corners[segment] + placeOn(segment, point).along);
        }
        return distances;
    }

private:
    struct Place
    {
        double along;  ///< from the segment's start
        double beside; ///< from the segment
    };

    [[nodiscard]] std::size_t segmentCount() const { return _line.size() - 1; }

    [[nodiscard]] Place placeOn(std::size_t segment, const osg::Vec3d& point) const
    {
        const osg::Vec3d& a = _line[segment];
        const osg::Vec3d& b = _line[segment + 1];
        const double length = _corners[segment + 1] - _corners[segment];
        if (length == 0.0) return {0.0, planDistance(a, point)};
        const double dx = (b.x() - a.x()) / length;
        const double dy = (b.y() - a.y()) / length;
        const double along = std::clamp((point.x() - a.x()) * dx + (point.y() - a.y()) * dy, 0.0, length);
        return {along, std::hypot(point.x() - a.x() - along * dx, point.y() - a.y() - along * dy)};
    }

    /** The segment that the first two points lie on, preferably run through in their direction. */
    [[nodiscard]] std::size_t startSegment(const Points& piece) const
    {
        const osg::Vec3d& first = piece.front();
        const osg::Vec3d& second = piece[std::min<std::size_t>(1, piece.size() - 1)];
        const auto misfit = [&](std::size_t segment)
        {
            const Place start = placeOn(segment, first);
            const Place end = placeOn(segment, second);
            return start.beside + end.beside + (end.along < start.along ? _tolerance : 0.0);
        };
        std::size_t best = 0;
        double least = misfit(0);
        for (std::size_t i = 1; i < segmentCount() && least > 0.0; ++i)
        {
            const double misfitHere = misfit(i);
            if (misfitHere >= least) continue;
            least = misfitHere;
            best = i;
        }
        return best;
    }

    [[nodiscard]] std::size_t followingSegment(std::size_t segment, const osg::Vec3d& point) const
    {
        if (placeOn(segment, point).beside <= _tolerance) return segment;
        if (segment + 1 < segmentCount() && placeOn(segment + 1, point).beside <= _tolerance) return segment + 1;
        std::size_t best = segment;
        for (std::size_t i = 0; i < segmentCount(); ++i)
            if (placeOn(i, point).beside < placeOn(best, point).beside) best = i;
        return best;
    }

    const Points& _line;
    std::vector<double> _corners;
    double _tolerance = 0.0;
};

bool isFinite(const osg::Vec3d& point)
{
    return std::isfinite(point.x()) && std::isfinite(point.y()) && std::isfinite(point.z());
}

/** The parts of a piece that are ground. */
std::vector<Points> splitAtFloor(const Points& piece, std::optional<double> floor, double& leftOut)
{
    std::vector<Points> parts(1);
    const auto isGround = [floor](const osg::Vec3d& point)
    { return isFinite(point) && !(floor && point.z() < *floor); };
    for (std::size_t i = 0; i < piece.size(); ++i)
    {
        const bool isKept = isGround(piece[i]);
        if (i > 0 && !(isKept && isGround(piece[i - 1])) && isFinite(piece[i]) && isFinite(piece[i - 1]))
            leftOut += planDistance(piece[i - 1], piece[i]);
        if (isKept)
            parts.back().push_back(piece[i]);
        else if (!parts.back().empty())
            parts.emplace_back();
    }
    parts.erase(std::remove_if(parts.begin(), parts.end(), [](const Points& part) { return part.size() < 2; }),
                parts.end());
    return parts;
}
} // namespace

double DrapedPiece::from() const
{
    return *std::min_element(distances.begin(), distances.end());
}

double DrapedPiece::to() const
{
    return *std::max_element(distances.begin(), distances.end());
}

DrapedLine makeDrapedLine(const Points& given, const std::vector<Points>& pieces, std::optional<double> floor)
{
    const Stationing stationing(given);
    DrapedLine line;
    line.given = given;
    line.corners = stationing.corners();
    for (const Points& piece : pieces)
        for (Points& part : splitAtFloor(piece, floor, line.leftOutPlan))
        {
            std::vector<double> distances = stationing.along(part);
            line.pieces.push_back({std::move(part), std::move(distances)});
        }
    std::stable_sort(line.pieces.begin(), line.pieces.end(),
                     [](const DrapedPiece& a, const DrapedPiece& b) { return a.from() < b.from(); });
    return line;
}

LineFigures figuresOf(const DrapedPiece& piece)
{
    LineFigures figures;
    if (piece.points.empty()) return figures;
    figures.lowest = figures.highest = piece.points.front().z();
    for (std::size_t i = 0; i < piece.points.size(); ++i)
    {
        figures.lowest = std::min(figures.lowest, piece.points[i].z());
        figures.highest = std::max(figures.highest, piece.points[i].z());
        if (i == 0) continue;
        figures.lengthPlan += planDistance(piece.points[i - 1], piece.points[i]);
        figures.lengthSpace += (piece.points[i] - piece.points[i - 1]).length();
    }
    return figures;
}

LineFigures figuresOf(const DrapedLine& line)
{
    LineFigures all;
    if (line.pieces.empty()) return all;
    all.lowest = line.pieces.front().points.front().z();
    all.highest = all.lowest;
    for (const DrapedPiece& piece : line.pieces)
    {
        const LineFigures one = figuresOf(piece);
        all.lengthPlan += one.lengthPlan;
        all.lengthSpace += one.lengthSpace;
        all.lowest = std::min(all.lowest, one.lowest);
        all.highest = std::max(all.highest, one.highest);
    }
    return all;
}

double coveredLength(const DrapedLine& line)
{
    double covered = 0.0;
    double reached = 0.0;
    for (const DrapedPiece& piece : line.pieces) // sorted by where they begin
    {
        const double end = piece.to();
        covered += std::max(0.0, end - std::max(reached, piece.from()));
        reached = std::max(reached, end);
    }
    return covered;
}
} // namespace mvgeo::host
