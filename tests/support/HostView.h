#pragma once

#include <KdGeMatrix3d.h>
#include <KdGePoint3d.h>

#include <osg/Matrixd>

/** What a host hands to update(): matrices for column vectors, and a viewport. */
struct HostView
{
    KdGeMatrix3d model;
    KdGeMatrix3d view;
    KdGeMatrix3d projection;
    int width = 800;
    int height = 600;
};

/** Written down once more here, so that the tests do not lean on the conversion that they test. */
[[nodiscard]] inline KdGeMatrix3d hostMatrix(const osg::Matrixd& rowVectorMatrix)
{
    KdGeMatrix3d result;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            result.entry[row][column] = rowVectorMatrix(column, row);
    return result;
}

/** From `eye` to `centre`, 45 degrees high, 800 x 600 pixels, near plane 0.1. */
[[nodiscard]] inline HostView perspectiveView(const osg::Vec3d& eye, const osg::Vec3d& centre,
                                              const osg::Vec3d& up = {0.0, 1.0, 0.0}, double farPlane = 1e6)
{
    HostView result;
    result.view = hostMatrix(osg::Matrixd::lookAt(eye, centre, up));
    result.projection = hostMatrix(osg::Matrixd::perspective(45.0, 800.0 / 600.0, 0.1, farPlane));
    return result;
}

/** Parallel along the way from `eye` to `centre`; shows `halfHeight` above and below the centre. */
[[nodiscard]] inline HostView orthographicView(const osg::Vec3d& eye, const osg::Vec3d& centre, double halfHeight,
                                               const osg::Vec3d& up = {0.0, 1.0, 0.0})
{
    HostView result;
    const double halfWidth = halfHeight * 800.0 / 600.0;
    result.view = hostMatrix(osg::Matrixd::lookAt(eye, centre, up));
    result.projection = hostMatrix(osg::Matrixd::ortho(-halfWidth, halfWidth, -halfHeight, halfHeight, 0.1, 1e6));
    return result;
}
