#pragma once

#include "mvclipregions/ClipRegion.h"

#include <KdGePoint3d.h>

#include <osg/BoundingBox>

#include <limits>
#include <vector>

namespace mvgeo
{

/** Two horizontal planes, in the host's frame, which both belong to what lies between them. */
struct HeightRange
{
    double lowest = -std::numeric_limits<double>::infinity();
    double highest = std::numeric_limits<double>::infinity();
};

/** Takes triangles one by one and keeps what one clip wants of them.
 *
 * All points that come in are local to the region's origin; `triangles` gets the host's frame. A triangle without
 * area, or with a coordinate that is no number, leaves nothing. Thread: one at a time.
 */
class TriangleClip
{
public:
    /** Borrows the region and the list. */
    TriangleClip(const ClipRegion& region, Side wanted, const HeightRange& heights, std::vector<KdGePoint3d>& triangles)
        : _region(region), _wanted(wanted), _heights(heights), _triangles(triangles)
    {
    }

    [[nodiscard]] const osg::Vec3d& origin() const { return _region.origin(); }
    /** False if nothing in the box can be wanted. */
    [[nodiscard]] bool mayWant(const osg::BoundingBoxd& box) const;
    void add(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c);

private:
    void addCut(const ConvexPolygon& triangle, Side side);
    [[nodiscard]] std::vector<ConvexPolygon> wantedPieces(const ConvexPolygon& triangle, Side side) const;
    void emitFan(const ConvexPolygon& piece, double tolerance);
    void emit(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c);

    const ClipRegion& _region;
    Side _wanted;
    HeightRange _heights;
    std::vector<KdGePoint3d>& _triangles;
};

} // namespace mvgeo
