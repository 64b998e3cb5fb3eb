#include "measure/DrapedLine.h"

#include "measure/Stationing.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
namespace
{
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
        for (const Points& part : splitAtFloor(piece, floor, line.leftOutPlan))
            for (Stationing::Stretch& stretch : stationing.along(part))
                line.pieces.push_back({std::move(stretch.points), std::move(stretch.distances)});
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
