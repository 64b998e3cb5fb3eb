#pragma once

#include <osg/Vec3d>

#include <vector>

namespace mvgeo::host
{
/** A line, a ring, or the corners of triangles; in the model's coordinates unless something else is said. */
using Points = std::vector<osg::Vec3d>;
} // namespace mvgeo::host
