#pragma once

#include <osg/Vec3d>

#include <cmath>
#include <vector>

namespace mvgeo::host
{
/** A line, a ring, or the corners of triangles; in the model's coordinates unless something else is said. */
using Points = std::vector<osg::Vec3d>;

inline bool isFinite(const osg::Vec3d& point)
{
    return std::isfinite(point.x()) && std::isfinite(point.y()) && std::isfinite(point.z());
}

inline double planDistance(const osg::Vec3d& a, const osg::Vec3d& b)
{
    return std::hypot(b.x() - a.x(), b.y() - a.y());
}
} // namespace mvgeo::host
