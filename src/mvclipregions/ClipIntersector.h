#pragma once

#include "mvclipregions/TriangleClip.h"

#include <osg/Geometry>
#include <osg/observer_ptr>
#include <osgUtil/IntersectionVisitor>

#include <memory>
#include <unordered_map>

namespace mvgeo
{

/** Hands the triangles of everything that an intersection visitor comes by to a TriangleClip.
 *
 * Subtrees and drawables of which nothing can be wanted are passed over. A drawable that the visitor comes by twice at
 * one place counts once: where several finer tiles are missing, visitors fall back to the same coarser one for each.
 * Thread: one that may read the graph.
 */
class ClipIntersector : public osgUtil::Intersector
{
public:
    /** Borrows the clip for its own life and that of its clones.
     * @param rootToHost  from the frame above the node that will accept the visitor
     * @param skipsSkirts  leave triangles out that are skirts or slivers in the frame of their tile (isSkirtOrSliver)
     */
    ClipIntersector(TriangleClip& clip, const osg::Matrixd& rootToHost, bool skipsSkirts);

    osgUtil::Intersector* clone(osgUtil::IntersectionVisitor& visitor) override;
    bool enter(const osg::Node& node) override;
    void leave() override {}
    void intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable) override;
    bool containsIntersections() override { return false; } ///< the clip keeps what is found

protected:
    ~ClipIntersector() override = default;

private:
    /** Where each drawable was seen. A tile that is gone may leave its address to another, hence the observer. */
    struct Visit
    {
        osg::observer_ptr<osg::Drawable> drawable;
        osg::Matrixd toLocal;
    };
    using Visits = std::unordered_multimap<const osg::Drawable*, Visit>;

    /** False if the drawable was visited at this place before. */
    [[nodiscard]] bool markVisited(osg::Drawable& drawable);
    void addTriangles(const osg::Geometry& geometry);

    TriangleClip& _clip;
    osg::Matrixd _rootToLocal; // from the frame that the visitor starts in; local: to the clip's origin
    osg::Matrixd _toLocal;     // from the frame that the visitor is in now
    bool _skipsSkirts;
    std::shared_ptr<Visits> _visits; // shared with all clones
};

} // namespace mvgeo
