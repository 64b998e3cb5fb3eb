#pragma once

#include "mvosggeomesh/Placement.h"

#include <osg/BoundingBox>

#include <optional>

namespace mvgeo
{

/** A piece of a straight line, in the model's frame. */
struct PickRay
{
    osg::Vec3d start;
    osg::Vec3d end;
};

/** The ray through `point` in the given view, clipped to `extents`.
 *
 * Perspective: from the eye through the point. Orthographic: along the view direction through the point, from behind
 * the whole model. The view and the point are the host's, the extents and the result the model's. Nothing if the point
 * is the eye, or the ray misses the extents. */
[[nodiscard]] std::optional<PickRay> pickRay(const osg::Matrixd& view, const osg::Matrixd& projection,
                                             const Placement& placement, const osg::Vec3d& point,
                                             const osg::BoundingBoxd& extents);

} // namespace mvgeo
