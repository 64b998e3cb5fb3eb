#pragma once

#include <osg/NodeVisitor>
#include <osg/PagedLOD>
#include <osg/observer_ptr>

#include <vector>

/** Turns OSG's paged nodes of a freshly read tile into PagedLODEx. Let the root accept the visitor, then call
 * replace(root). Every paged node also gets two expiry frames, which goes with DatabasePagerBridge's expiry. */
class PagedLODReplacer : public osg::NodeVisitor
{
public:
    PagedLODReplacer();

    using osg::NodeVisitor::apply;
    void apply(osg::PagedLOD& node) override;

    /** The node to use in the place of `root`: a PagedLODEx if the root was a paged node, else the root itself. Null
     * only for null. */
    [[nodiscard]] osg::ref_ptr<osg::Node> replace(osg::Node* root);

private:
    std::vector<osg::observer_ptr<osg::PagedLOD>> _found;
};

namespace mvgeo
{

/** Both steps at once; null for null. */
[[nodiscard]] osg::ref_ptr<osg::Node> replacePagedLODs(osg::Node* root);

} // namespace mvgeo
