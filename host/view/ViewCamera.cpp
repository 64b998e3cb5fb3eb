#include "view/ViewCamera.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace mvgeo::host
{
namespace
{
constexpr double kPi = 3.14159265358979323846;

// Detailed tiles reach a few metres beyond the box of their root: 2 % of the model's size leaves room for them.
constexpr double kDepthMargin = 0.02;

// 24 bits of depth resolve about 1 m at the far plane with this ratio.
constexpr double kNearOverFar = 1e-4;

// The box ends this far inside the picture's edges.
constexpr double kPictureMargin = 1.04;

osg::Vec3d upFor(const osg::Vec3d& direction)
{
    // Straight down, north is up in the picture.
    const double horizontal = std::hypot(direction.x(), direction.y());
    return horizontal > 1e-6 * direction.length() ? osg::Vec3d(0.0, 0.0, 1.0) : osg::Vec3d(0.0, 1.0, 0.0);
}

/** The eye's place on one axis of the picture that puts all corners between two planes of the given slope. */
struct AxisFit
{
    double upper = -std::numeric_limits<double>::infinity();
    double lower = -std::numeric_limits<double>::infinity();

    void add(double side, double forward, double slope)
    {
        upper = std::max(upper, side - slope * forward);
        lower = std::max(lower, -side - slope * forward);
    }
    [[nodiscard]] double centre() const { return (upper - lower) / 2.0; }
    [[nodiscard]] double distance(double slope) const { return (upper + lower) / 2.0 / slope; }
};
} // namespace

osg::Matrixd ViewCamera::viewMatrix() const
{
    return osg::Matrixd::lookAt(eye, target, upFor(target - eye));
}

DepthRange fitDepthRange(const osg::Matrixd& view, const osg::BoundingBoxd& extents, bool perspective)
{
    if (!extents.valid()) return {1.0, 1000.0};
    double nearest = std::numeric_limits<double>::max();
    double farthest = std::numeric_limits<double>::lowest();
    for (unsigned int i = 0; i < 8; ++i)
    {
        const double depth = -(extents.corner(i) * view).z();
        nearest = std::min(nearest, depth);
        farthest = std::max(farthest, depth);
    }
    const double margin = std::max(kDepthMargin * 2.0 * extents.radius(), 1e-3);
    nearest -= margin;
    farthest += margin;
    if (!perspective) return {nearest, farthest};
    farthest = std::max(farthest, margin); // all of it behind the eye: any valid range will do
    return {std::max(nearest, kNearOverFar * farthest), farthest};
}

osg::Matrixd ViewCamera::projectionMatrix(const osg::BoundingBoxd& extents) const
{
    const bool perspective = orthoHeight <= 0.0;
    const DepthRange depth = fitDepthRange(viewMatrix(), extents, perspective);
    if (perspective) return osg::Matrixd::perspective(fovDegrees, aspect(), depth.nearPlane, depth.farPlane);
    const double up = orthoHeight / 2.0;
    const double right = up * aspect();
    return osg::Matrixd::ortho(-right, right, -up, up, depth.nearPlane, depth.farPlane);
}

ViewFrame ViewCamera::frame(const osg::BoundingBoxd& extents) const
{
    return {viewMatrix(), projectionMatrix(extents), width, height};
}

void fitCameraToBox(ViewCamera& camera, const osg::BoundingBoxd& extents, double degreesDown)
{
    const osg::Vec3d centre = extents.center();
    const double down = degreesDown * kPi / 180.0;
    const osg::Vec3d forward(0.0, std::cos(down), -std::sin(down));
    const osg::Vec3d right(1.0, 0.0, 0.0);
    const osg::Vec3d up = right ^ forward;
    const double diagonal = std::max(2.0 * extents.radius(), 1e-3);
    if (camera.orthoHeight > 0.0)
    {
        camera.target = centre;
        camera.eye = centre - forward * diagonal;
        return;
    }
    const double slopeUp = std::tan(camera.fovDegrees * kPi / 360.0) / kPictureMargin;
    const double slopeRight = slopeUp * camera.aspect();
    AxisFit horizontal;
    AxisFit vertical;
    for (unsigned int i = 0; i < 8; ++i)
    {
        const osg::Vec3d offset = extents.corner(i) - centre;
        horizontal.add(offset * right, offset * forward, slopeRight);
        vertical.add(offset * up, offset * forward, slopeUp);
    }
    double distance = std::max(horizontal.distance(slopeRight), vertical.distance(slopeUp));
    distance = std::max(distance, 0.01 * diagonal);
    camera.target = centre + right * horizontal.centre() + up * vertical.centre();
    camera.eye = camera.target - forward * distance;
}

osg::Vec3d worldPointUnderPixel(const ViewFrame& frame, double column, double row)
{
    const double x = 2.0 * (column + 0.5) / frame.width - 1.0;
    const double y = 1.0 - 2.0 * (row + 0.5) / frame.height;
    return osg::Vec3d(x, y, 1.0) * osg::Matrixd::inverse(frame.view * frame.projection);
}
} // namespace mvgeo::host
