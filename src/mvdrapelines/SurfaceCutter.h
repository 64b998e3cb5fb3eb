#pragma once

#include <osg/BoundingBox>
#include <osg/Plane>
#include <osg/Polytope>
#include <osgUtil/PlaneIntersector>

namespace mvgeo
{

/** Cuts the triangles of a scene with a vertical plane between two ends.
 *
 * OSG's own cut leaves out every triangle that touches the plane with a corner, so a line through the posts of a grid,
 * or along the edge of a tile, would have gaps or find nothing. Here a corner that lies on the plane is a point of the
 * line, and so is an edge in the plane. A triangle that lies in the plane as a whole gives nothing of its own; its
 * neighbours give its border. OSG's bounds are of single precision, here they get the room that this costs.
 *
 * Each intersection is one line of one geometry, in the geometry's frame, and runs along the cut. Only triangles of
 * single-precision vertices are looked at: tiles are read so. Thread: one at a time.
 */
class SurfaceCutter : public osgUtil::PlaneIntersector
{
public:
    /** The cut from one point to another, whatever their heights.
     * @param leavesOutSkirts  skirts and slivers (isSkirtOrSliver) of the geometry do not count
     * @return null if the points lie above each other or are no numbers */
    [[nodiscard]] static osg::ref_ptr<SurfaceCutter> between(const osg::Vec3d& start, const osg::Vec3d& end,
                                                             bool leavesOutSkirts);

    osgUtil::Intersector* clone(osgUtil::IntersectionVisitor& visitor) override;
    bool enter(const osg::Node& node) override;
    void intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable) override;

private:
    /** @param ends  planes that face inward; the first one stands at the start and faces along the cut */
    SurfaceCutter(const osg::Plane& plane, const osg::Polytope& ends, bool leavesOutSkirts);

    [[nodiscard]] bool reaches(const osg::BoundingBoxd& box) const;

    bool _leavesOutSkirts;
};

} // namespace mvgeo
