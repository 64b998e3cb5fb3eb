#pragma once

#include <osg/Geometry>
#include <osg/Matrixd>
#include <osg/NodeVisitor>
#include <osg/Texture2D>

#include <vector>

/** Collects the geometries below a node, each with the matrix that takes its vertices into the frame of that node's
 * parent. Call reset() before each use. The two lists run in parallel, in traversal order.
 *
 * Thread: whichever may read the graph. Ownership: the geometries are shared until reset().
 */
class VisitorGeometry : public osg::NodeVisitor
{
public:
    VisitorGeometry();

    void reset() override;
    void apply(osg::Transform& transform) override;
    void apply(osg::Geometry& geometry) override;

    [[nodiscard]] const std::vector<osg::ref_ptr<osg::Geometry>>& geometries() const { return _geometries; }
    [[nodiscard]] const std::vector<osg::Matrixd>& matrices() const { return _matrices; }

private:
    [[nodiscard]] osg::Matrixd currentMatrix() const;

    std::vector<osg::Matrixd> _matrixStack;
    std::vector<osg::ref_ptr<osg::Geometry>> _geometries;
    std::vector<osg::Matrixd> _matrices;
};

namespace mvgeo
{

/** The 2D texture of unit 0 in the geometry's own state set; null if there is none. */
[[nodiscard]] osg::Texture2D* textureOf(const osg::Geometry& geometry);

} // namespace mvgeo
