#pragma once

#include <osg/PagedLOD>
#include <osgUtil/IntersectionVisitor>

/** Cuts a paged pyramid at its finest tiles: those that are not in the scene are read through the read callback and do
 * not enter it. Where a tile cannot be read, the coarser one stands in. A terrain tile whose posts lie closer than the
 * DEM's pixels is cut as it is: finer tiles only interpolate.
 *
 * Read options are never written, they are shared with the thread that pages: a read gets a copy of its own, which says
 * that the tile is not to be kept on the disk, and that nothing but its geometry is wanted.
 *
 * Thread: the host's update thread; other threads may read tiles meanwhile. The class and library names are the base
 * class's.
 */
class IntersectionVisitor : public osgUtil::IntersectionVisitor
{
public:
    using osgUtil::IntersectionVisitor::apply;
    using osgUtil::IntersectionVisitor::IntersectionVisitor;

    void apply(osg::PagedLOD& node) override;

private:
    void cutFinestLevel(osg::PagedLOD& node);
    [[nodiscard]] osg::ref_ptr<osg::Node> readChild(osg::PagedLOD& node, unsigned int index);
};
