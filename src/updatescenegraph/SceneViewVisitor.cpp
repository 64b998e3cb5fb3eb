#include "updatescenegraph/SceneViewVisitor.h"

#include "support/UserValues.h"

#include <osg/PagedLOD>
#include <osg/Transform>

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
    traverse(node); // content may stand inside content
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

    static const osg::Matrixd identity;
    const osg::Matrixd& matrix = modelMatrixStack.empty() ? identity : modelMatrixStack.back();
    const osg::Vec3d centre = osg::Vec3d(sphere.center()) * matrix;
    // Behind the eye the product is negative, so that nothing there counts as small: the frustum decides alone.
    return mvgeo::dot(pixelSizeVector, centre) * smallFeaturePixelSize > sphere.radius() * mvgeo::firstScale(matrix);
}
