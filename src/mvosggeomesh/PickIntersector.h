#pragma once

#include <osgUtil/LineSegmentIntersector>

namespace mvgeo
{

/** OSG's intersector of a ray, which loses surface far from the origin: it trusts bounding spheres of single precision.
 * Here they get the room that this costs (reachOf). Thread: one at a time. */
class PickIntersector : public osgUtil::LineSegmentIntersector
{
public:
    using osgUtil::LineSegmentIntersector::LineSegmentIntersector;

    osgUtil::Intersector* clone(osgUtil::IntersectionVisitor& visitor) override;
    bool enter(const osg::Node& node) override;

protected:
    ~PickIntersector() override = default;
};

} // namespace mvgeo
