#include "mvosggeomesh/PickIntersector.h"

#include "support/BoundReach.h"

#include <osgUtil/IntersectionVisitor>

namespace mvgeo
{

osgUtil::Intersector* PickIntersector::clone(osgUtil::IntersectionVisitor& visitor)
{
    const osg::Matrixd toLocal = getTransformation(visitor, _coordinateFrame);
    osg::ref_ptr<PickIntersector> copy = new PickIntersector(_start * toLocal, _end * toLocal);
    copy->_parent = this; // keeps what all of us find
    copy->setIntersectionLimit(getIntersectionLimit());
    copy->setPrecisionHint(getPrecisionHint());
    return copy.release();
}

bool PickIntersector::enter(const osg::Node& node)
{
    if (reachedLimit()) return false;
    if (!node.isCullingActive()) return true;
    const osg::BoundingSphere& sphere = node.getBound();
    if (!sphere.valid()) return false;
    return intersects(osg::BoundingSphere(sphere.center(), static_cast<float>(reachOf(sphere))));
}

} // namespace mvgeo
