#pragma once

#include "view/OffscreenContext.h"
#include "view/ViewCamera.h"

#include <osg/Image>
#include <osg/Node>
#include <osg/ref_ptr>

#include <memory>

namespace osgViewer
{
class Viewer;
}

namespace mvgeo::host
{
/** Draws a scene into pictures, without a window.
 *
 * Thread: one, from the constructor to the destructor: the OpenGL context is current on it.
 */
class SceneRenderer
{
public:
    /** All pictures have one size. Throws HostError if the machine cannot draw. */
    SceneRenderer(osg::Node& scene, int width, int height);
    ~SceneRenderer();
    SceneRenderer(const SceneRenderer&) = delete;
    SceneRenderer& operator=(const SceneRenderer&) = delete;

    /** The picture of `frame`, RGB, rows from the bottom up; valid until the next call. Its size must be the
     * renderer's. Throws HostError if nothing was drawn. */
    osg::Image& draw(const ViewFrame& frame);

private:
    OffscreenContext _context; // before the viewer, so that it goes after it
    osg::ref_ptr<osgViewer::Viewer> _viewer;
    osg::ref_ptr<osg::Image> _picture;
};
} // namespace mvgeo::host
