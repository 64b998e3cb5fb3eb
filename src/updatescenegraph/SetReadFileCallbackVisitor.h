#pragma once

#include <osg/NodeVisitor>
#include <osgDB/Options>

/** Wires the paged nodes of a freshly read tile to the read callback and the cache directory of the options that it was
 * read with, so that its children are read the same way. Does not look below a paged node. */
class SetReadFileCallbackVisitor : public osg::NodeVisitor
{
public:
    explicit SetReadFileCallbackVisitor(const osgDB::Options* sourceOptions);

    using osg::NodeVisitor::apply;
    void apply(osg::PagedLOD& node) override;

private:
    osg::ref_ptr<const osgDB::Options> _sourceOptions;
};
