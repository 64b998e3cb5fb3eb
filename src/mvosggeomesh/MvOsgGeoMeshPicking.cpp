#include "mvosggeomesh/GuardedQuery.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "mvosggeomesh/PickRay.h"
#include "support/BoundReach.h"
#include "support/HostConversions.h"
#include "support/LogLine.h"

#include <osg/Geometry>
#include <osg/KdTree>
#include <osgUtil/IntersectionVisitor>

namespace
{

constexpr unsigned int kManyVertices = 1000; // below, trying every triangle takes less than a millisecond

// GBK: "the intersector is not initialised".
constexpr const char* kNoIntersector = "\xc7\xf3\xbd\xbb\xc6\xf7\xce\xb4\xb3\xf5\xca\xbc\xbb\xaf";

using Intersection = osgUtil::LineSegmentIntersector::Intersection;

/** The transformed extents, with room for the single precision in which they were measured before. */
osg::BoundingBoxd placed(const KdDbExtents& extents, const KdGeMatrix3d& transform)
{
    if (!extents.isValid()) return {};
    const osg::Vec3d low = mvgeo::toOsg(extents.minPoint());
    const osg::Vec3d high = mvgeo::toOsg(extents.maxPoint());
    const double room = mvgeo::roundingOfBounds((low + high) * 0.5, (high - low).length() * 0.5);
    const KdGeVector3d border(room, room, room);
    KdDbExtents box(extents.minPoint() - border, extents.maxPoint() + border);
    box.transformBy(transform);
    return {mvgeo::toOsg(box.minPoint()), mvgeo::toOsg(box.maxPoint())};
}

/** Lets go of the tiles that were hit, however the pick ends. */
class HitRelease
{
public:
    explicit HitRelease(osgUtil::LineSegmentIntersector& intersector) : _intersector(intersector) {}
    ~HitRelease() { _intersector.reset(); }
    HitRelease(const HitRelease&) = delete;
    HitRelease& operator=(const HitRelease&) = delete;

private:
    osgUtil::LineSegmentIntersector& _intersector;
};

/** Gives large tiles a tree of their triangles when a ray first comes near them; it stays with the tile and serves
 * later picks. OSG's intersector takes it from the place of the drawable's shape, which nothing else here uses. */
class PickVisitor : public osgUtil::IntersectionVisitor
{
public:
    using osgUtil::IntersectionVisitor::apply;

    void apply(osg::Drawable& drawable) override
    {
        if (osg::Geometry* geometry = drawable.asGeometry()) buildTriangleTree(*geometry);
        osgUtil::IntersectionVisitor::apply(drawable);
    }
    void apply(osg::Geode& geode) override
    {
        for (unsigned int i = 0; i < geode.getNumDrawables(); ++i)
            if (osg::Geometry* geometry = geode.getDrawable(i)->asGeometry()) buildTriangleTree(*geometry);
        osgUtil::IntersectionVisitor::apply(geode);
    }

private:
    void buildTriangleTree(osg::Geometry& geometry)
    {
        const osg::Array* vertices = geometry.getVertexArray();
        if (!vertices || vertices->getNumElements() < kManyVertices || geometry.getShape() || !enter(geometry)) return;
        leave();
        const osg::ref_ptr<osg::KdTree> tree = new osg::KdTree;
        osg::KdTree::BuildOptions options;
        if (tree->build(options, &geometry)) geometry.setShape(tree);
    }
};

/** The ray itself, then rays beside it: OSG computes with floats, and lets a ray through that runs exactly along the
 * edge between two triangles. As narrow as possible; at the widest, a millimetre to a kilometre. */
std::vector<osg::Vec3d> rayOffsets(const osg::Vec3d& ray)
{
    osg::Vec3d across = ray ^ osg::Vec3d(0.3, 0.5, 0.8);
    across.normalize();
    osg::Vec3d athwart = ray ^ across;
    athwart.normalize();
    std::vector<osg::Vec3d> offsets{osg::Vec3d()};
    for (const double width : {1e-8, 1e-7, 1e-6})
        offsets.insert(offsets.end(), {across * (width * ray.length()), athwart * (width * ray.length())});
    return offsets;
}

/** The hit triangle's corners in the host's frame; logs why there are not three of them. */
std::vector<KdGePoint3d> cornersOf(const Intersection& hit, const mvgeo::Placement& placement)
{
    if (!hit.drawable || hit.indexList.size() != 3)
    {
        MVGEO_LOG(FATAL) << "error";
        return {};
    }
    const osg::Geometry* geometry = hit.drawable->asGeometry();
    const auto* vertices = geometry ? dynamic_cast<const osg::Vec3Array*>(geometry->getVertexArray()) : nullptr;
    const osg::Matrixd toModel = hit.matrix ? osg::Matrixd(*hit.matrix) : osg::Matrixd();

    std::vector<KdGePoint3d> corners;
    for (const unsigned int index : hit.indexList)
        if (vertices && index < vertices->size())
            corners.push_back(placement.toHost(osg::Vec3d((*vertices)[index]) * toModel));
    if (corners.size() == 3) return corners;
    MVGEO_LOG(FATAL) << "points size is less than 3";
    return {};
}

} // namespace

std::optional<Intersection> MvOsgGeoMesh::firstHit(const mvgeo::Placement& placement, const KdGePoint3d& point)
{
    const auto ray = mvgeo::pickRay(_viewMatrix, _projectionMatrix, placement, mvgeo::toOsg(point),
                                    placed(_extents, _hostTransform));
    if (!_pickIntersector)
    {
        MVGEO_LOG(FATAL) << kNoIntersector;
        return std::nullopt;
    }
    if (!ray) return std::nullopt;

    const HitRelease release(*_pickIntersector);
    for (const osg::Vec3d& offset : rayOffsets(ray->end - ray->start))
    {
        PickVisitor visitor;
        _pickIntersector->reset();
        _pickIntersector->setStart(ray->start + offset);
        _pickIntersector->setEnd(ray->end + offset);
        _pickIntersector->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
        visitor.setIntersector(_pickIntersector);
        _root->accept(visitor);
        if (_pickIntersector->containsIntersections()) return _pickIntersector->getFirstIntersection();
    }
    return std::nullopt;
}

bool MvOsgGeoMesh::pickPoint(const KdGeMatrix3d* placement, const KdGePoint3d* point, KdGePoint3d* hit)
{
    const auto placed = mvgeo::Placement::make(placement);
    if (!placed || !point || !hit) return false;
    return mvgeo::guardedQuery(
        [&]
        {
            const auto found = firstHit(*placed, *point);
            if (!found) return false;
            *hit = placed->toHost(found->getWorldIntersectPoint());
            return true;
        });
}

bool MvOsgGeoMesh::pickTriangle(const KdGeMatrix3d* placement, const KdGePoint3d* point,
                                std::vector<KdGePoint3d>* triangle)
{
    const auto placed = mvgeo::Placement::make(placement);
    if (!placed || !point || !triangle) return false;
    return mvgeo::guardedQuery(
        [&]
        {
            const auto found = firstHit(*placed, *point);
            if (!found) return false;
            std::vector<KdGePoint3d> corners = cornersOf(*found, *placed);
            if (corners.empty()) return false;
            *triangle = std::move(corners);
            return true;
        });
}
