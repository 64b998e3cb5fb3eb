#include "mvosggeomesh/GuardedQuery.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "mvosggeomesh/PickRay.h"
#include "support/HostConversions.h"
#include "support/LogLine.h"

#include <osgUtil/IntersectionVisitor>

namespace
{

// GBK: "the intersector is not initialised".
constexpr const char* kNoIntersector = "\xc7\xf3\xbd\xbb\xc6\xf7\xce\xb4\xb3\xf5\xca\xbc\xbb\xaf";

using Intersection = osgUtil::LineSegmentIntersector::Intersection;

osg::BoundingBoxd boxOf(const KdDbExtents& extents)
{
    if (!extents.isValid()) return {};
    return {mvgeo::toToolkit(extents.minPoint()), mvgeo::toToolkit(extents.maxPoint())};
}

/** The hit triangle's corners in the host's frame; logs why there are not three of them. */
std::vector<KdGePoint3d> cornersOf(const Intersection& hit, const osg::Matrixd& placement)
{
    if (!hit.drawable || hit.indexList.size() != 3)
    {
        MVGEO_LOG(FATAL) << "error";
        return {};
    }
    const osg::Geometry* geometry = hit.drawable->asGeometry();
    const auto* vertices = geometry ? dynamic_cast<const osg::Vec3Array*>(geometry->getVertexArray()) : nullptr;
    const osg::Matrixd toHostFrame = (hit.matrix ? osg::Matrixd(*hit.matrix) : osg::Matrixd()) * placement;

    std::vector<KdGePoint3d> corners;
    for (const unsigned int index : hit.indexList)
        if (vertices && index < vertices->size())
            corners.push_back(mvgeo::toHost(osg::Vec3d((*vertices)[index]) * toHostFrame));
    if (corners.size() == 3) return corners;
    MVGEO_LOG(FATAL) << "points size is less than 3";
    return {};
}

} // namespace

std::optional<Intersection> MvOsgGeoMesh::firstHit(const osg::Matrixd& placement, const osg::Vec3d& point)
{
    const auto ray = mvgeo::pickRay(_viewMatrix, _projectionMatrix, placement, point, boxOf(extents()));
    if (!_pickIntersector)
    {
        MVGEO_LOG(FATAL) << kNoIntersector;
        return std::nullopt;
    }
    if (!ray) return std::nullopt;

    osgUtil::IntersectionVisitor visitor;
    _pickIntersector->reset();
    _pickIntersector->setStart(ray->start);
    _pickIntersector->setEnd(ray->end);
    _pickIntersector->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
    visitor.setIntersector(_pickIntersector);
    _root->accept(visitor);
    if (!_pickIntersector->containsIntersections()) return std::nullopt;
    return _pickIntersector->getFirstIntersection();
}

bool MvOsgGeoMesh::pickPoint(const KdGeMatrix3d* placement, const KdGePoint3d* point, KdGePoint3d* hit)
{
    if (!placement || !point || !hit) return false;
    return mvgeo::guarded(
        [&]
        {
            const osg::Matrixd toHostFrame = mvgeo::toToolkit(*placement);
            const auto found = firstHit(toHostFrame, mvgeo::toToolkit(*point));
            if (!found) return false;
            *hit = mvgeo::toHost(found->getWorldIntersectPoint() * toHostFrame);
            return true;
        });
}

bool MvOsgGeoMesh::pickTriangle(const KdGeMatrix3d* placement, const KdGePoint3d* point,
                                std::vector<KdGePoint3d>* triangle)
{
    if (!placement || !point || !triangle) return false;
    return mvgeo::guarded(
        [&]
        {
            const osg::Matrixd toHostFrame = mvgeo::toToolkit(*placement);
            const auto found = firstHit(toHostFrame, mvgeo::toToolkit(*point));
            if (!found) return false;
            std::vector<KdGePoint3d> corners = cornersOf(*found, toHostFrame);
            if (corners.empty()) return false;
            *triangle = std::move(corners);
            return true;
        });
}
