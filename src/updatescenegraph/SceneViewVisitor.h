#pragma once

#include <osg/CullingSet>
#include <osg/FrameStamp>
#include <osg/Matrixd>
#include <osg/NodeVisitor>
#include <osg/Polytope>
#include <osg/Viewport>

#include <vector>

/** Walks a tiled model once per host view and collects the tiles that the view shows.
 *
 * The host draws, so OSG's cull traversal never runs and this visitor stands in its place: PagedLODEx nodes ask it for
 * the view, and missing tiles are requested from its database request handler. Set viewport, pixelSizeVector, frustum
 * and eyePoint first, push the model matrix with its frustum, then let the root accept the visitor; afterwards
 * visibleContentNodes holds the tagged tiles in traversal order. The visitor only appends to that list: whoever reads
 * it empties it.
 *
 * A sphere smaller than smallFeaturePixelSize pixels is culled with everything below it.
 *
 * Thread: the host's update thread. Ownership: every collected node stays alive until the list is emptied.
 */
class SceneViewVisitor : public osg::NodeVisitor
{
public:
    SceneViewVisitor();

    void reset() override {}
    [[nodiscard]] osg::Vec3 getEyePoint() const override { return eyePoint; }
    [[nodiscard]] osg::Vec3 getViewPoint() const override { return viewPoint; }
    [[nodiscard]] float getDistanceToViewPoint(const osg::Vec3& position, bool useLODScale) const override;

    using osg::NodeVisitor::apply;
    void apply(osg::PagedLOD& node) override;
    void apply(osg::Transform& transform) override;
    void apply(osg::Node& node) override;

    /** Appends the frustum as seen in the frame whose local-to-world matrix is given. */
    void pushFrustum(const osg::Matrixd& localToWorld);
    void pushModelMatrix(const osg::Matrixd& localToWorld) { modelMatrixStack.push_back(localToWorld); }
    void popModelMatrix();
    void popFrustum();
    /** Local to world; the identity when nothing was pushed. */
    [[nodiscard]] osg::Matrixd currentModelMatrix() const;

    /** Outside the frustum, or smaller than smallFeaturePixelSize. The sphere is in the current local frame. */
    [[nodiscard]] bool isCulled(const osg::BoundingSphere& sphere);

    std::vector<osg::Matrixd> modelMatrixStack; ///< local to world, innermost last
    std::vector<osg::Polytope> frustumStack;    ///< the view frustum in each pushed matrix's local frame
    osg::ref_ptr<osg::Viewport> viewport;       ///< the host view, pixels
    osg::Vec3f eyePoint;                        ///< the camera in the current local frame
    osg::Vec3f viewPoint;
    osg::Vec4f pixelSizeVector{0.0F, 0.0F, 0.0F, 1.0F}; ///< osg::CullingSet::computePixelSizeVector()
    float lodScale = 1.0F;                              ///< divides pixel sizes, multiplies distances
    unsigned int cullingEnabled = 1;                    ///< 0: everything is visited
    osg::Polytope frustum;                              ///< world coordinates
    double smallFeaturePixelSize = 2.0;
    std::vector<osg::ref_ptr<osg::Node>> visibleContentNodes;

protected:
    ~SceneViewVisitor() override;

private:
    void collectIfContent(osg::Node& node);
};

namespace mvgeo
{

/** (vector . (point, 1)), the pixel size of a unit length at that point. */
[[nodiscard]] inline double dot(const osg::Vec4f& vector, const osg::Vec3d& point)
{
    return vector.x() * point.x() + vector.y() * point.y() + vector.z() * point.z() + vector.w();
}

/** The first component of the matrix's scale, squared; OSG takes the length of the first column for it. */
[[nodiscard]] inline double firstScaleSquared(const osg::Matrixd& matrix)
{
    return matrix(0, 0) * matrix(0, 0) + matrix(1, 0) * matrix(1, 0) + matrix(2, 0) * matrix(2, 0);
}

/** A point of the visitor's current local frame in the world. Model matrices are affine, so nothing is divided. */
[[nodiscard]] inline osg::Vec3d toWorld(const osg::Vec3d& point, const SceneViewVisitor& visitor)
{
    if (visitor.modelMatrixStack.empty()) return point;
    const osg::Matrixd& matrix = visitor.modelMatrixStack.back();
    return osg::Matrixd::transform3x3(point, matrix) + matrix.getTrans();
}

} // namespace mvgeo
