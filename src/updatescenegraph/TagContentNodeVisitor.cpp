#include "updatescenegraph/TagContentNodeVisitor.h"

#include "support/LogLine.h"
#include "support/UserValues.h"

#include <osg/PagedLOD>

namespace
{

// GBK: "there is a node whose number of parents is not 1".
constexpr const char* kNotOneParent = "\xb4\xe6\xd4\xda"
                                      "parent"
                                      "\xb8\xf6\xca\xfd\xb2\xbb\xce\xaa"
                                      "1"
                                      "\xb5\xc4\xbd\xda\xb5\xe3";

} // namespace

TagContentNodeVisitor::TagContentNodeVisitor(osg::Node* root, const std::string& tileName, int modelSerial)
    : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), _root(root), _tileName(tileName), _modelSerial(modelSerial)
{
}

void TagContentNodeVisitor::apply(osg::PagedLOD& node)
{
    _tagged = 1;
    for (unsigned int i = 0; i < node.getNumChildren(); ++i)
        if (node.getChild(i)) tag(*node.getChild(i));

    if (&node == _root) return;
    if (node.getNumParents() != 1)
    {
        MVGEO_LOG(WARN) << "[TagContentNodeVisitor] " << kNotOneParent;
        return;
    }
    tagSiblings(*node.getParent(0));
}

void TagContentNodeVisitor::tagSiblings(osg::Group& parent)
{
    if (&parent != _lastParent)
    {
        _lastParent = &parent;
        _siblings.clear();
        for (unsigned int i = 0; i < parent.getNumChildren(); ++i)
        {
            osg::Node* sibling = parent.getChild(i);
            if (sibling && !dynamic_cast<osg::PagedLOD*>(sibling)) _siblings.push_back(sibling);
        }
    }
    for (osg::Node* sibling : _siblings)
        tag(*sibling);
}

void TagContentNodeVisitor::tagRoot()
{
    if (_root) tag(*_root);
}

void TagContentNodeVisitor::tag(osg::Node& node)
{
    node.setUserValue(mvgeo::keys::globalId,
                      std::to_string(_modelSerial) + '_' + _tileName + '_' + std::to_string(_counter));
    ++_counter;
}

void mvgeo::tagContent(osg::Node& root, const std::string& tileName, int modelSerial)
{
    TagContentNodeVisitor visitor(&root, tileName, modelSerial);
    root.accept(visitor);
    if (!visitor.tagged()) visitor.tagRoot();
}
