#pragma once

#include <osg/BoundingBox>
#include <osg/Matrixd>
#include <osg/Vec3d>

namespace mvgeo::host
{
/** What one frame is drawn and paged with; row vectors, as OSG stores them. */
struct ViewFrame
{
    osg::Matrixd view;
    osg::Matrixd projection;
    int width = 0;
    int height = 0;
};

/** Where a picture is taken from. Plain values; z is up. */
struct ViewCamera
{
    osg::Vec3d eye;
    osg::Vec3d target;
    double fovDegrees = 40.0; ///< full vertical opening angle; not used when orthographic
    double orthoHeight = 0.0; ///< metres from the picture's lower to its upper edge; 0: perspective
    int width = 1280;         ///< pixels
    int height = 720;

    [[nodiscard]] double aspect() const { return static_cast<double>(width) / height; }
    [[nodiscard]] osg::Matrixd viewMatrix() const;

    /** Near and far enclose `extents` seen from here, with room for tiles that reach a little beyond their root; near
     * is always above 0 in perspective. */
    [[nodiscard]] osg::Matrixd projectionMatrix(const osg::BoundingBoxd& extents) const;
    [[nodiscard]] ViewFrame frame(const osg::BoundingBoxd& extents) const;
};

/** Near and far for a perspective (near above 0) or orthographic projection, as distances along the view direction. */
struct DepthRange
{
    double nearPlane;
    double farPlane;
};
DepthRange fitDepthRange(const osg::Matrixd& view, const osg::BoundingBoxd& extents, bool perspective);

/** Moves `camera` so that the box fills its picture, looking north and `degreesDown` below the horizon. Opening angle,
 * ortho height and size stay. */
void fitCameraToBox(ViewCamera& camera, const osg::BoundingBoxd& extents, double degreesDown = 40.0);

/** The point of the far plane under the middle of a pixel, counted from the top-left corner of the picture. */
osg::Vec3d worldPointUnderPixel(const ViewFrame& frame, double column, double row);
} // namespace mvgeo::host
