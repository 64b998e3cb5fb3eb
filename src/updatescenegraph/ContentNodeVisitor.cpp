#include "updatescenegraph/ContentNodeVisitor.h"

#include "support/UserValues.h"

ContentNodeVisitor::ContentNodeVisitor() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

void ContentNodeVisitor::apply(osg::Node& node)
{
    if (mvgeo::userValue<std::string>(node, mvgeo::keys::globalId))
        contentNodes.emplace_back(&node);
    else
        traverse(node);
}
