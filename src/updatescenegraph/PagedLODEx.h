#pragma once

#include <osg/PagedLOD>

class SceneViewVisitor;

/** A paged level of detail that chooses its children by the view of a SceneViewVisitor instead of a cull stack.
 *
 * Only PagedLODReplacer makes these. A clone is a plain osg::PagedLOD on purpose: nothing else may multiply them.
 * Thread: the host's update thread.
 */
class PagedLODEx : public osg::PagedLOD
{
public:
    explicit PagedLODEx(const osg::PagedLOD& original);

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    ~PagedLODEx() override;

private:
    [[nodiscard]] float requiredRange(osg::NodeVisitor& visitor) const;
    [[nodiscard]] float pixelSize(const SceneViewVisitor& visitor) const;
    void traverseActiveChildren(osg::NodeVisitor& visitor);
    void acceptChild(unsigned int index, osg::NodeVisitor& visitor);
    void requestNextChild(osg::NodeVisitor& visitor, float range);
};
