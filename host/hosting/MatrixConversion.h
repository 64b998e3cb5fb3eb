#pragma once

#include <KdDbExtents.h>
#include <KdGeMatrix3d.h>
#include <KdGePoint3d.h>

#include <osg/BoundingBox>
#include <osg/Matrixd>
#include <osg/Vec3d>

namespace mvgeo::host
{
/** OSG's matrices act on row vectors, the host's on column vectors: both directions transpose. */
KdGeMatrix3d toHostMatrix(const osg::Matrixd& matrix);
osg::Matrixd toOsgMatrix(const KdGeMatrix3d& matrix);

inline KdGePoint3d toHostPoint(const osg::Vec3d& p)
{
    return {p.x(), p.y(), p.z()};
}
inline osg::Vec3d toOsgPoint(const KdGePoint3d& p)
{
    return {p.x, p.y, p.z};
}

/** An empty box for extents that are not valid. */
osg::BoundingBoxd toOsgBox(const KdDbExtents& extents);
} // namespace mvgeo::host
