#include "updatescenegraph/GenerateNormalVisitor.h"

#include <osg/Geometry>
#include <osgUtil/SmoothingVisitor>

namespace
{

/** False if a damaged tile's index lies beyond the vertices: the toolkit's smoothing does not look. */
bool indicesFit(const osg::Geometry& geometry)
{
    const unsigned int vertexCount = geometry.getVertexArray() ? geometry.getVertexArray()->getNumElements() : 0;
    for (const osg::ref_ptr<osg::PrimitiveSet>& set : geometry.getPrimitiveSetList())
        for (unsigned int i = 0; i < set->getNumIndices(); ++i)
            if (set->index(i) >= vertexCount) return false;
    return true;
}

} // namespace

GenerateNormalVisitor::GenerateNormalVisitor() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

void GenerateNormalVisitor::apply(osg::Geometry& geometry)
{
    if (dynamic_cast<osg::Vec3Array*>(geometry.getNormalArray()) || !indicesFit(geometry)) return;
    osgUtil::SmoothingVisitor::smooth(geometry, 3.141592653589793);
}
