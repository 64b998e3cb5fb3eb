#pragma once

#include "mvclipregions/ClipCells.h"
#include "mvclipregions/ConvexPolygon.h"
#include "support/GeosSession.h"

#include <KdGePoint3d.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace mvgeo
{

/** The area that a boundary encloses, seen from above, made ready for deciding and cutting a great many triangles.
 *
 * All coordinates but the boundary's are local: the host's less origin(), so that a place at 4,000 km north costs no
 * digits. Heights are never looked at. What lies exactly on the outline is inside.
 * Thread: one at a time.
 */
class ClipRegion
{
public:
    /** @param boundary  host frame; closed or not, either winding. What a boundary that crosses itself encloses an odd
     * number of times is the area.
     * @param refusal   why there is no region; left alone otherwise
     * @return null if the boundary has fewer than three distinct points, no area, or a coordinate that is no number */
    [[nodiscard]] static std::unique_ptr<ClipRegion> make(const std::vector<KdGePoint3d>& boundary,
                                                          std::string& refusal);

    ClipRegion(const ClipRegion&) = delete;
    ClipRegion& operator=(const ClipRegion&) = delete;

    /** Without height. */
    [[nodiscard]] const osg::Vec3d& origin() const { return _origin; }
    [[nodiscard]] double area() const { return _area; }

    /** Quick; straddling also if the box only comes near the outline. */
    [[nodiscard]] Side sideOf(const PlanBox& box) const { return _cells->sideOf(box); }
    /** Exact; straddling also if the triangle only touches the outline from outside. */
    [[nodiscard]] Side sideOf(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c) const;

    /** Appends what lies inside and what lies outside, in convex pieces with the polygon's winding. Together they are
     * the polygon. */
    void cut(const ConvexPolygon& polygon, std::vector<ConvexPolygon>& inside,
             std::vector<ConvexPolygon>& outside) const;

    /** How near to a line a corner of the polygon counts as lying on it. */
    [[nodiscard]] double toleranceFor(const ConvexPolygon& polygon) const;

private:
    struct Triangle
    {
        PlanBox box;
        std::array<HalfSpace, 3> sides;
    };
    using Triangles = std::vector<const Triangle*>;

    ClipRegion() = default;
    [[nodiscard]] bool makeShape(const std::vector<osg::Vec3d>& ring);
    [[nodiscard]] GeosSession::Geometry makeValid(GeosSession::Geometry polygon) const;
    [[nodiscard]] GeosSession::Geometry polygonsOf(const GEOSGeometry& mixed) const;
    [[nodiscard]] GeosSession::Geometry makeGeometry(const std::vector<osg::Vec3d>& points, bool isArea) const;
    [[nodiscard]] GeosSession::Geometry rectangleOf(const PlanBox& box) const;
    [[nodiscard]] std::vector<PlanEdge> outline() const;
    [[nodiscard]] bool prepare();
    [[nodiscard]] bool triangulate(const GEOSGeometry* shape, int halvings);
    [[nodiscard]] bool addTriangles(const GEOSGeometry* shape);
    void buildTree();
    [[nodiscard]] Triangles trianglesNear(const ConvexPolygon& polygon, double tolerance) const;
    void cutBy(const ConvexPolygon& polygon, const Triangles& candidates, int halvings,
               std::vector<ConvexPolygon>& inside, std::vector<ConvexPolygon>& outside) const;

    GeosSession _geos; // first: the others are released before it
    osg::Vec3d _origin;
    double _extent = 0.0; // the longer side of its box
    double _area = 0.0;
    GeosSession::Geometry _shape;
    GeosSession::Prepared _prepared;
    std::unique_ptr<ClipCells> _cells;
    std::vector<Triangle> _triangles; // which make up the area
    GeosSession::Tree _tree;          // of the triangles' boxes; null while they are few
};

} // namespace mvgeo
