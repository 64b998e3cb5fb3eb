#include "updatescenegraph/PagedLODReplacer.h"

#include "updatescenegraph/PagedLODEx.h"

namespace
{

constexpr unsigned int kMinimumExpiryFrames = 2;

} // namespace

PagedLODReplacer::PagedLODReplacer() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

void PagedLODReplacer::apply(osg::PagedLOD& node)
{
    for (unsigned int i = 0; i < node.getNumFileNames(); ++i)
        node.setMinimumExpiryFrames(i, kMinimumExpiryFrames);
    if (!dynamic_cast<PagedLODEx*>(&node)) _found.emplace_back(&node);
    traverse(node);
}

osg::ref_ptr<osg::Node> PagedLODReplacer::replace(osg::Node* root)
{
    osg::ref_ptr<osg::Node> result = root;
    for (const osg::observer_ptr<osg::PagedLOD>& found : _found)
    {
        osg::ref_ptr<osg::PagedLOD> original;
        if (!found.lock(original)) continue;

        const osg::ref_ptr<PagedLODEx> copy = new PagedLODEx(*original);
        if (original == root)
        {
            result = copy;
            continue;
        }
        const osg::Node::ParentList parents = original->getParents(); // replacing changes the node's own list
        for (osg::Group* parent : parents)
            parent->replaceChild(original, copy);
    }
    _found.clear();
    return result;
}

osg::ref_ptr<osg::Node> mvgeo::replacePagedLODs(osg::Node* root)
{
    if (!root) return nullptr;
    PagedLODReplacer replacer;
    root->accept(replacer);
    return replacer.replace(root);
}
