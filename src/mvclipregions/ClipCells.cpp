#include "mvclipregions/ClipCells.h"

#include <algorithm>

namespace mvgeo
{

enum class ClipCells::Kind : unsigned char
{
    outside,
    inside,
    mixed
};

namespace
{

// Fine enough that few triangles of a large mesh lie in mixed cells; filling them takes about a millisecond.
constexpr int kSide = 512;
// Of a cell: rounding must not leave a touched cell unmarked.
constexpr double kMargin = 1e-6;

int cellOf(double position)
{
    // In this order a position that is no number gives a cell, too.
    return static_cast<int>(std::max(0.0, std::min(kSide - 1.0, position)));
}

std::size_t at(int column, int row)
{
    return static_cast<std::size_t>(row) * kSide + static_cast<std::size_t>(column);
}

} // namespace

ClipCells::ClipCells(const PlanBox& bounds, const std::vector<PlanEdge>& edges,
                     const std::function<bool(double x, double y)>& isInside)
    : _bounds(bounds), _cellWidth((bounds.maxX - bounds.minX) / kSide), _cellHeight((bounds.maxY - bounds.minY) / kSide)
{
    std::vector<Kind> cells(std::size_t{kSide} * kSide, Kind::outside);
    for (const PlanEdge& edge : edges)
        markMixed(cells, edge);
    for (int row = 0; row < kSide; ++row)
        fillRow(&cells[at(0, row)], _bounds.minY + (row + 0.5) * _cellHeight, isInside);
    sumUp(cells);
}

int ClipCells::columnOf(double x) const
{
    return cellOf((x - _bounds.minX) / _cellWidth);
}

int ClipCells::rowOf(double y) const
{
    return cellOf((y - _bounds.minY) / _cellHeight);
}

/** Row by row: the columns between the edge's way in and its way out. */
void ClipCells::markMixed(std::vector<Kind>& cells, const PlanEdge& edge) const
{
    const osg::Vec3d& low = edge.from.y() < edge.to.y() ? edge.from : edge.to;
    const osg::Vec3d& high = edge.from.y() < edge.to.y() ? edge.to : edge.from;
    const double rise = high.y() - low.y();
    const auto xAt = [&](double y)
    { return rise > 0.0 ? low.x() + (high.x() - low.x()) * std::clamp((y - low.y()) / rise, 0.0, 1.0) : low.x(); };

    const int lastRow = rowOf(high.y() + kMargin * _cellHeight);
    for (int row = rowOf(low.y() - kMargin * _cellHeight); row <= lastRow; ++row)
    {
        const double rowBottom = _bounds.minY + (row - kMargin) * _cellHeight;
        const double first = rise > 0.0 ? xAt(rowBottom) : low.x();
        const double last = rise > 0.0 ? xAt(rowBottom + (1.0 + 2.0 * kMargin) * _cellHeight) : high.x();
        const int firstColumn = columnOf(std::min(first, last) - kMargin * _cellWidth);
        const int lastColumn = columnOf(std::max(first, last) + kMargin * _cellWidth);
        std::fill(&cells[at(firstColumn, row)], &cells[at(lastColumn, row)] + 1, Kind::mixed);
    }
}

/** The outline passes through no cell between two mixed ones, so one point speaks for the whole run. */
void ClipCells::fillRow(Kind* row, double y, const std::function<bool(double, double)>& isInside) const
{
    for (int column = 0; column < kSide; ++column)
    {
        if (row[column] == Kind::mixed) continue;
        const bool startsRun = column == 0 || row[column - 1] == Kind::mixed;
        if (!startsRun)
            row[column] = row[column - 1];
        else if (isInside(_bounds.minX + (column + 0.5) * _cellWidth, y))
            row[column] = Kind::inside;
    }
}

void ClipCells::sumUp(const std::vector<Kind>& cells)
{
    _sums.resize(std::size_t{kSide + 1} * (kSide + 1));
    Counts* sum = _sums.data() + kSide + 1;
    for (int row = 0; row < kSide; ++row)
    {
        Counts inRow;
        ++sum;
        for (int column = 0; column < kSide; ++column, ++sum)
        {
            const Kind kind = cells[at(column, row)];
            inRow.inside += kind == Kind::inside ? 1U : 0U;
            inRow.mixed += kind == Kind::mixed ? 1U : 0U;
            const Counts& below = *(sum - (kSide + 1));
            *sum = {below.inside + inRow.inside, below.mixed + inRow.mixed};
        }
    }
}

const ClipCells::Counts& ClipCells::sumBelow(int column, int row) const
{
    return _sums[static_cast<std::size_t>(row) * (kSide + 1) + static_cast<std::size_t>(column)];
}

Side ClipCells::sideOf(const PlanBox& box) const
{
    if (!_bounds.overlaps(box)) return Side::outside;
    const int west = columnOf(box.minX);
    const int south = rowOf(box.minY);
    const int east = columnOf(box.maxX) + 1;
    const int north = rowOf(box.maxY) + 1;
    const Counts& a = sumBelow(west, south);
    const Counts& b = sumBelow(east, south);
    const Counts& c = sumBelow(west, north);
    const Counts& d = sumBelow(east, north);
    const std::uint32_t inside = d.inside - b.inside - c.inside + a.inside;
    const std::uint32_t mixed = d.mixed - b.mixed - c.mixed + a.mixed;
    if (inside == 0 && mixed == 0) return Side::outside;
    const auto count = static_cast<std::uint32_t>((east - west) * (north - south));
    return inside == count && _bounds.contains(box) ? Side::inside : Side::straddling;
}

} // namespace mvgeo
