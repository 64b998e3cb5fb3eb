#include "mvdrapelines/SurfaceCutter.h"

#include "mvdrapelines/SegmentChaining.h"
#include "support/BoundReach.h"
#include "support/TerrainTileFacts.h"

#include <osg/Geometry>
#include <osg/TriangleIndexFunctor>

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo
{

namespace
{

/** Nearer than this a point lies on a plane. Coordinates of some million metres leave a few 1e-9 of error. */
constexpr double kOnPlane = 1e-7;

double snappedDistance(const osg::Plane& plane, const osg::Vec3d& point)
{
    const double distance = plane.distance(point);
    return std::abs(distance) < kOnPlane ? 0.0 : distance;
}

/** Where the way from a to b, at these distances of opposite signs, meets the plane. The same bits for b and a: the
 * triangles on both sides of an edge are to find one point. */
osg::Vec3d crossing(const osg::Vec3d& a, double distanceA, const osg::Vec3d& b, double distanceB)
{
    if (distanceA > 0.0) return crossing(b, distanceB, a, distanceA);
    return a + (b - a) * (distanceA / (distanceA - distanceB));
}

/** Leaves of the segment what is in front of the plane; false if that is nothing. */
bool clip(const osg::Plane& plane, CutSegment& segment)
{
    const double first = snappedDistance(plane, segment.first);
    const double second = snappedDistance(plane, segment.second);
    if (first >= 0.0 && second >= 0.0) return true;
    if (first <= 0.0 && second <= 0.0) return false;
    (first < 0.0 ? segment.first : segment.second) = crossing(segment.first, first, segment.second, second);
    return true;
}

/** The box of a terrain tile, which the finer tiles below it do not leave either; not valid for other nodes. Reading a
 * file of four tiles costs fifty times what cutting it does, and the sphere is up to half as wide again. */
osg::BoundingBoxd terrainBox(const osg::Node& node, const osg::Vec3d& centre, double radius)
{
    const std::optional<TileExtent> tile = terrainTileExtent(node);
    if (!tile) return {};
    const double border = 0.01 * (tile->east - tile->west); // far more than its vertices are rounded by
    return {tile->west - border, tile->south - border, centre.z() - radius,
            tile->east + border, tile->north + border, centre.z() + radius};
}

/** Takes the triangles of one geometry. */
struct TriangleCutter
{
    const osg::Vec3Array* vertices = nullptr;
    const osg::Polytope::PlaneList* ends = nullptr;
    bool leavesOutSkirts = false;
    std::vector<double> distances; // from the plane, of each vertex
    std::vector<CutSegment> segments;

    void operator()(unsigned int i, unsigned int j, unsigned int k)
    {
        if (std::max({i, j, k}) >= distances.size()) return;
        const double a = distances[i];
        const double b = distances[j];
        const double c = distances[k];
        if ((a > 0.0 && b > 0.0 && c > 0.0) || (a < 0.0 && b < 0.0 && c < 0.0)) return;
        cut({i, j, k});
    }

private:
    using Corners = std::array<unsigned int, 3>;

    [[nodiscard]] osg::Vec3d corner(unsigned int index) const { return {(*vertices)[index]}; }

    void cut(const Corners& corners)
    {
        if (leavesOutSkirts &&
            isSkirtOrSliver((*vertices)[corners[0]], (*vertices)[corners[1]], (*vertices)[corners[2]]))
            return;
        std::array<osg::Vec3d, 3> found;
        std::size_t count = 0;
        for (std::size_t n = 0; n < 3; ++n)
        {
            const unsigned int here = corners[n];
            const unsigned int next = corners[(n + 1) % 3];
            const double distance = distances[here];
            if (distance == 0.0)
                found[count++] = corner(here);
            else if (distance * distances[next] < 0.0)
                found[count++] = crossing(corner(here), distance, corner(next), distances[next]);
        }
        if (count != 2) return; // a corner that touches, or a triangle in the plane
        CutSegment segment{found[0], found[1]};
        for (const osg::Plane& end : *ends)
            if (!clip(end, segment)) return;
        segments.push_back(segment);
    }
};

} // namespace

osg::ref_ptr<SurfaceCutter> SurfaceCutter::between(const osg::Vec3d& start, const osg::Vec3d& end, bool leavesOutSkirts)
{
    osg::Vec3d normal(end.y() - start.y(), start.x() - end.x(), 0.0);
    const double length = normal.normalize();
    if (!(length > 0.0) || !std::isfinite(length)) return nullptr;
    const osg::Vec3d along(-normal.y(), normal.x(), 0.0);
    osg::Polytope ends;
    ends.add(osg::Plane(along, start));
    ends.add(osg::Plane(-along, end));
    osg::ref_ptr<SurfaceCutter> cutter = new SurfaceCutter(osg::Plane(normal, start), ends, leavesOutSkirts);
    cutter->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
    return cutter;
}

SurfaceCutter::SurfaceCutter(const osg::Plane& plane, const osg::Polytope& ends, bool leavesOutSkirts)
    : osgUtil::PlaneIntersector(plane, ends), _leavesOutSkirts(leavesOutSkirts)
{
}

osgUtil::Intersector* SurfaceCutter::clone(osgUtil::IntersectionVisitor& visitor)
{
    osg::Plane plane = _plane;
    osg::Polytope::PlaneList ends = _polytope.getPlaneList();
    if (const osg::RefMatrix* toModel = visitor.getModelMatrix())
    {
        plane.transformProvidingInverse(*toModel);
        for (osg::Plane& end : ends)
            end.transformProvidingInverse(*toModel);
    }
    osg::ref_ptr<SurfaceCutter> copy = new SurfaceCutter(plane, osg::Polytope(ends), _leavesOutSkirts);
    copy->_parent = this; // keeps what all of us find
    return copy.release();
}

bool SurfaceCutter::enter(const osg::Node& node)
{
    if (!node.isCullingActive()) return true;
    const osg::BoundingSphere& sphere = node.getBound();
    if (!sphere.valid()) return false;
    const osg::Vec3d centre = sphere.center();
    const double radius = reachOf(sphere) + kOnPlane;
    if (std::abs(_plane.distance(centre)) > radius) return false;
    for (const osg::Plane& end : _polytope.getPlaneList())
        if (end.distance(centre) < -radius) return false;
    const osg::BoundingBoxd box = terrainBox(node, centre, radius);
    return !box.valid() || reaches(box);
}

bool SurfaceCutter::reaches(const osg::BoundingBoxd& box) const
{
    const osg::Vec3d centre = box.center();
    const osg::Vec3d half = box._max - centre;
    const auto radius = [&half](const osg::Plane& plane)
    {
        const osg::Vec3d normal = plane.getNormal();
        return std::abs(normal.x()) * half.x() + std::abs(normal.y()) * half.y() + std::abs(normal.z()) * half.z() +
               kOnPlane;
    };
    if (std::abs(_plane.distance(centre)) > radius(_plane)) return false;
    for (const osg::Plane& end : _polytope.getPlaneList())
        if (end.distance(centre) < -radius(end)) return false;
    return true;
}

void SurfaceCutter::intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable)
{
    const osg::Geometry* geometry = drawable->asGeometry();
    const auto* vertices = geometry ? dynamic_cast<const osg::Vec3Array*>(geometry->getVertexArray()) : nullptr;
    if (!vertices || vertices->empty() || !reaches(osg::BoundingBoxd(drawable->getBoundingBox()))) return;

    osg::TriangleIndexFunctor<TriangleCutter> cutter;
    cutter.vertices = vertices;
    cutter.ends = &_polytope.getPlaneList();
    cutter.leavesOutSkirts = _leavesOutSkirts;
    cutter.distances.reserve(vertices->size());
    for (const osg::Vec3f& vertex : *vertices)
        cutter.distances.push_back(snappedDistance(_plane, vertex));
    geometry->accept(cutter);

    for (CutLine& line : chainSegments(std::move(cutter.segments), _polytope.getPlaneList().front()))
    {
        Intersection found;
        found.nodePath = visitor.getNodePath();
        found.matrix = visitor.getModelMatrix();
        found.drawable = drawable;
        found.polyline = std::move(line);
        insertIntersection(found);
    }
}

} // namespace mvgeo
