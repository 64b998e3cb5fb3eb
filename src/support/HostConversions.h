#pragma once

#include <KdGeMatrix3d.h>
#include <KdGePoint3d.h>

#include <osg/Matrixd>
#include <osg/Vec3d>

namespace mvgeo
{

/** Host matrices act on column vectors, OSG's on row vectors: each conversion transposes. */
[[nodiscard]] osg::Matrixd toOsg(const KdGeMatrix3d& matrix);
[[nodiscard]] KdGeMatrix3d toHost(const osg::Matrixd& matrix);

[[nodiscard]] inline osg::Vec3d toOsg(const KdGePoint3d& point)
{
    return {point.x, point.y, point.z};
}
[[nodiscard]] inline KdGePoint3d toHost(const osg::Vec3d& point)
{
    return {point.x(), point.y(), point.z()};
}

} // namespace mvgeo
