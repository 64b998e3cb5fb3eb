#include "updatescenegraph/SceneViewVisitor.h"

#include "support/UserValues.h"

#include <osg/Geode>
#include <osg/PagedLOD>
#include <osg/Transform>

#include <cmath>

namespace
{

/** Enters a transform's local frame: model matrix, frustum and eye. Everything is put back on every way out. */
class LocalFrameScope
{
public:
    LocalFrameScope(SceneViewVisitor& visitor, osg::Transform& transform)
        : _visitor(visitor), _eyePoint(visitor.eyePoint), _viewPoint(visitor.viewPoint)
    {
        osg::Matrixd localToWorld = visitor.currentModelMatrix();
        transform.computeLocalToWorldMatrix(localToWorld, &visitor);
        visitor.pushModelMatrix(localToWorld);
        visitor.pushFrustum(localToWorld);

        osg::Matrixd toLocal;
        transform.computeWorldToLocalMatrix(toLocal, &visitor);
        visitor.eyePoint = osg::Vec3d(_eyePoint) * toLocal;
        visitor.viewPoint = osg::Vec3d(_viewPoint) * toLocal;
    }
    ~LocalFrameScope()
    {
        _visitor.eyePoint = _eyePoint;
        _visitor.viewPoint = _viewPoint;
        _visitor.popFrustum();
        _visitor.popModelMatrix();
    }
    LocalFrameScope(const LocalFrameScope&) = delete;
    LocalFrameScope& operator=(const LocalFrameScope&) = delete;

private:
    SceneViewVisitor& _visitor;
    osg::Vec3f _eyePoint;
    osg::Vec3f _viewPoint;
};

/** True for a geode in which no drawable carries user data: visiting them could not change anything, and they are half
 * of a tile's nodes. */
bool hasPlainDrawablesOnly(osg::Node& node)
{
    const osg::Geode* geode = node.asGeode();
    if (!geode) return false;
    for (unsigned int i = 0; i < geode->getNumChildren(); ++i)
        if (geode->getChild(i)->getUserDataContainer() || !geode->getChild(i)->asDrawable()) return false;
    return true;
}

} // namespace

SceneViewVisitor::SceneViewVisitor()
    : osg::NodeVisitor(CULL_VISITOR, TRAVERSE_ACTIVE_CHILDREN), viewport(new osg::Viewport)
{
}

SceneViewVisitor::~SceneViewVisitor() = default;

float SceneViewVisitor::getDistanceToViewPoint(const osg::Vec3& position, bool useLODScale) const
{
    const float distance = (position - eyePoint).length();
    return useLODScale ? distance * lodScale : distance;
}

void SceneViewVisitor::apply(osg::PagedLOD& node)
{
    apply(static_cast<osg::Node&>(node));
}

void SceneViewVisitor::apply(osg::Transform& transform)
{
    if (isCulled(transform.getBound())) return;
    collectIfContent(transform);

    const LocalFrameScope scope(*this, transform);
    traverse(transform);
}

void SceneViewVisitor::apply(osg::Node& node)
{
    if (isCulled(node.getBound())) return;
    collectIfContent(node);
    if (!hasPlainDrawablesOnly(node)) traverse(node); // content may stand inside content
}

void SceneViewVisitor::collectIfContent(osg::Node& node)
{
    if (node.getUserDataContainer() && mvgeo::userValue<std::string>(node, mvgeo::keys::globalId))
        visibleContentNodes.emplace_back(&node);
}

void SceneViewVisitor::pushFrustum(const osg::Matrixd& localToWorld)
{
    frustumStack.push_back(frustum);
    frustumStack.back().transformProvidingInverse(localToWorld);
}

void SceneViewVisitor::popModelMatrix()
{
    if (!modelMatrixStack.empty()) modelMatrixStack.pop_back();
}

void SceneViewVisitor::popFrustum()
{
    if (!frustumStack.empty()) frustumStack.pop_back();
}

osg::Matrixd SceneViewVisitor::currentModelMatrix() const
{
    return modelMatrixStack.empty() ? osg::Matrixd::identity() : modelMatrixStack.back();
}

bool SceneViewVisitor::isCulled(const osg::BoundingSphere& sphere)
{
    if (!cullingEnabled) return false;
    osg::Polytope& localFrustum = frustumStack.empty() ? frustum : frustumStack.back();
    if (!localFrustum.contains(sphere)) return true;

    const osg::Vec3d centre = mvgeo::toWorld(sphere.center(), *this);
    // Behind the eye the product is negative, so that nothing there counts as small: the frustum decides alone.
    const double smallest = mvgeo::dot(pixelSizeVector, centre) * smallFeaturePixelSize;
    const double radius = sphere.radius();
    const double scaleSquared = modelMatrixStack.empty() ? 1.0 : mvgeo::firstScaleSquared(modelMatrixStack.back());
    if (radius < 0.0) return smallest > radius * std::sqrt(scaleSquared); // an empty node's sphere
    // Both sides squared, because this is asked of every node and a root costs more than the rest.
    return smallest > 0.0 && smallest * smallest > radius * radius * scaleSquared;
}
