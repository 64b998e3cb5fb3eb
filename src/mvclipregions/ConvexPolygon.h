#pragma once

#include <osg/Vec3d>

#include <array>
#include <vector>

namespace mvgeo
{

/** Corners in order; flat, convex, and possibly upright, that is without any area in plan. */
using ConvexPolygon = std::vector<osg::Vec3d>;

/** The half space on the normal's side of a plane. */
struct HalfSpace
{
    osg::Vec3d base;
    osg::Vec3d normal; // of unit length

    [[nodiscard]] double depthOf(const osg::Vec3d& point) const { return normal * (point - base); }
};

/** What lies left of the way from one point to another, seen from above. The opposite way gives exactly the opposite
 * depths, so that two areas with a common edge share out every point. */
[[nodiscard]] HalfSpace halfSpaceLeftOf(const osg::Vec3d& from, const osg::Vec3d& to);

struct CutPolygon
{
    ConvexPolygon inside;
    ConvexPolygon outside;
};

/** Cuts a polygon in two; one of the halves may be empty. Corners within `tolerance` of the plane count as lying on it,
 * and a polygon that lies in it is inside. */
[[nodiscard]] CutPolygon cutPolygon(const ConvexPolygon& polygon, const HalfSpace& half, double tolerance);

/** The part of a polygon inside a triangle, that is within three half spaces; may be empty.
 * @param outside  the rest, in convex pieces, is appended: the polygon itself if nothing of it is inside */
[[nodiscard]] ConvexPolygon clipToTriangle(const ConvexPolygon& polygon, const std::array<HalfSpace, 3>& triangle,
                                           double tolerance, std::vector<ConvexPolygon>& outside);

} // namespace mvgeo
