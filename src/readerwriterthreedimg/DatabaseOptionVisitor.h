#pragma once

#include <osg/NodeVisitor>

namespace THREEDIMG
{

/** Gives the paged nodes of a tile that was read back from the cache what a file does not keep: fresh read options with
 * the node's own description, the tile's geometry for its children, and no database path.
 * Thread: any, on a tile that no other thread knows yet. */
class DatabaseOptionVisitor : public osg::NodeVisitor
{
public:
    DatabaseOptionVisitor();

    void apply(osg::PagedLOD& node) override;
};

} // namespace THREEDIMG
