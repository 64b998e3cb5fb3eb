#pragma once

#include "measure/Points.h"

#include <osg/BoundingBox>

#include <cstddef>
#include <vector>

namespace mvgeo::host
{
/** Finds places on a line in plan, and how far along it they are. Near linear in the line's points. */
class Stationing
{
public:
    /** A stretch of a piece that runs along the line without a jump. */
    struct Stretch
    {
        Points points;
        std::vector<double> distances; ///< of each point from the line's start
    };

    /** @param line  at least two points; must outlive this */
    explicit Stationing(const Points& line);

    /** Distances of the line's points. */
    [[nodiscard]] const std::vector<double>& corners() const { return _corners; }

    /** Follows a piece from segment to segment, because a line may come by the same place again. Where the piece goes
     * on at another distance (a closed line's end is its start) a new stretch begins, with the same point. */
    [[nodiscard]] std::vector<Stretch> along(const Points& piece) const;

private:
    struct Place
    {
        double along;  ///< from the segment's start
        double beside; ///< from the segment
    };
    struct Search;

    [[nodiscard]] std::size_t segmentCount() const { return _line.size() - 1; }
    [[nodiscard]] Place placeOn(std::size_t segment, const osg::Vec3d& point) const;
    [[nodiscard]] double distanceOf(std::size_t segment, const osg::Vec3d& point) const;
    [[nodiscard]] bool holds(std::size_t segment, const osg::Vec3d& from, const osg::Vec3d& to) const;
    [[nodiscard]] double misfit(std::size_t segment, const osg::Vec3d& from, const osg::Vec3d& to) const;
    [[nodiscard]] std::size_t segmentOf(const osg::Vec3d& from, const osg::Vec3d& to) const;
    [[nodiscard]] std::size_t followingSegment(std::size_t segment, const osg::Vec3d& from, const osg::Vec3d& to) const;
    osg::BoundingBoxd buildBoxes(std::size_t node, std::size_t first, std::size_t last);
    void searchNode(Search& search, std::size_t node, std::size_t first, std::size_t last) const;

    const Points& _line;
    std::vector<double> _corners;
    double _tolerance = 0.0;
    /** A binary tree: node i has the children 2i + 1 and 2i + 2, each with half of its segments. Neighbours on a line
     * are neighbours in plan, so halves of the line make boxes that are good enough. */
    std::vector<osg::BoundingBoxd> _boxes;
};
} // namespace mvgeo::host
