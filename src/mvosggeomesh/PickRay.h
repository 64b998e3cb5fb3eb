#pragma once

#include <osg/BoundingBox>
#include <osg/Matrixd>
#include <osg/Vec3d>

#include <optional>

namespace mvgeo
{

/** A piece of a straight line, in the frame above the model's root. */
struct PickRay
{
    osg::Vec3d start;
    osg::Vec3d end;
};

/** The ray through `point` in the given view, clipped to `extents`.
 *
 *  Perspective: from the eye through the point. Orthographic: along the view direction through the point, from behind
 * the whole model. @param placement the model's frame to the host's; the view and the point are the host's, the extents
 * and the result the model's. Nothing if the placement has no inverse, the point is the eye, or the ray misses the
 * extents. */
[[nodiscard]] std::optional<PickRay> pickRay(const osg::Matrixd& view, const osg::Matrixd& projection,
                                             const osg::Matrixd& placement, const osg::Vec3d& point,
                                             const osg::BoundingBoxd& extents);

} // namespace mvgeo
