#include "support/VisitorGeometry.h"

#include <osg/Transform>

VisitorGeometry::VisitorGeometry() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

void VisitorGeometry::reset()
{
    _matrixStack.clear();
    _geometries.clear();
    _matrices.clear();
}

void VisitorGeometry::apply(osg::Transform& transform)
{
    osg::Matrixd matrix = currentMatrix();
    transform.computeLocalToWorldMatrix(matrix, this);
    _matrixStack.push_back(matrix);
    traverse(transform);
    _matrixStack.pop_back();
}

void VisitorGeometry::apply(osg::Geometry& geometry)
{
    _geometries.emplace_back(&geometry);
    _matrices.push_back(currentMatrix());
}

osg::Matrixd VisitorGeometry::currentMatrix() const
{
    return _matrixStack.empty() ? osg::Matrixd::identity() : _matrixStack.back();
}

osg::Texture2D* mvgeo::textureOf(const osg::Geometry& geometry)
{
    const osg::StateSet* stateSet = geometry.getStateSet();
    if (!stateSet || stateSet->getTextureAttributeList().empty()) return nullptr;
    const osg::StateAttribute* texture = stateSet->getTextureAttribute(0, osg::StateAttribute::TEXTURE);
    return const_cast<osg::Texture2D*>(dynamic_cast<const osg::Texture2D*>(texture));
}
