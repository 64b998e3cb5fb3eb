#pragma once

#include <osg/Vec3d>

#include <cstdint>
#include <functional>
#include <vector>

namespace mvgeo
{

enum class Side
{
    inside,
    outside,
    straddling
};

/** An upright box, seen from above. */
struct PlanBox
{
    double minX;
    double minY;
    double maxX;
    double maxY;

    [[nodiscard]] bool overlaps(const PlanBox& other) const
    {
        return minX <= other.maxX && other.minX <= maxX && minY <= other.maxY && other.minY <= maxY;
    }
    [[nodiscard]] bool contains(const PlanBox& other) const
    {
        return minX <= other.minX && other.maxX <= maxX && minY <= other.minY && other.maxY <= maxY;
    }
    [[nodiscard]] PlanBox widened(double border) const
    {
        return {minX - border, minY - border, maxX + border, maxY + border};
    }
};

struct PlanEdge
{
    osg::Vec3d from;
    osg::Vec3d to;
};

/** A raster over an area that tells in constant time on which side of its outline a box lies.
 *
 * Each cell is inside, outside, or mixed, that is touched by the outline; sums over all cells to the south-west of a
 * corner then count the cells of each kind in any box (a summed-area table, after Crow).
 */
class ClipCells
{
public:
    /** @param bounds  of the area; wider and higher than 0
     * @param edges   the area's outline, holes included
     * @param isInside  asked for points off the outline only */
    ClipCells(const PlanBox& bounds, const std::vector<PlanEdge>& edges,
              const std::function<bool(double x, double y)>& isInside);

    /** Straddling also if the box only comes near the outline. */
    [[nodiscard]] Side sideOf(const PlanBox& box) const;

private:
    enum class Kind : unsigned char;
    struct Counts
    {
        std::uint32_t inside = 0;
        std::uint32_t mixed = 0;
    };

    [[nodiscard]] int columnOf(double x) const;
    [[nodiscard]] int rowOf(double y) const;
    void markMixed(std::vector<Kind>& cells, const PlanEdge& edge) const;
    void fillRow(Kind* row, double y, const std::function<bool(double, double)>& isInside) const;
    void sumUp(const std::vector<Kind>& cells);
    [[nodiscard]] const Counts& sumBelow(int column, int row) const;

    PlanBox _bounds;
    double _cellWidth;
    double _cellHeight;
    std::vector<Counts> _sums; // a row and a column of zeros first
};

} // namespace mvgeo
