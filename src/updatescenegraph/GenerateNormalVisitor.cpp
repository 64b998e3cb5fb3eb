#include "updatescenegraph/GenerateNormalVisitor.h"

#include <osg/Geometry>
#include <osgUtil/SmoothingVisitor>

GenerateNormalVisitor::GenerateNormalVisitor() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

void GenerateNormalVisitor::apply(osg::Geometry& geometry)
{
    if (dynamic_cast<osg::Vec3Array*>(geometry.getNormalArray())) return;
    osgUtil::SmoothingVisitor::smooth(geometry, 3.141592653589793);
}
