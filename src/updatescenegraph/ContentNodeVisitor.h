#pragma once

#include <osg/NodeVisitor>

#include <vector>

/** Finds the content nodes below a node: those with a string "GlobalID". Does not look inside a content node. reset()
 * empties the list. Ownership: the collected nodes are shared until then. */
class ContentNodeVisitor : public osg::NodeVisitor
{
public:
    ContentNodeVisitor();

    void reset() override { contentNodes.clear(); }
    using osg::NodeVisitor::apply;
    void apply(osg::Node& node) override;

    std::vector<osg::ref_ptr<osg::Node>> contentNodes;
};
