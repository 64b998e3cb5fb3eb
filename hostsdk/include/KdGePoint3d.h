#pragma once

#include "KdGeVector3d.h"

class KdGeMatrix3d;

/** A place in three dimensions. */
class HOSTSDK_API KdGePoint3d
{
public:
    KdGePoint3d() = default;
    KdGePoint3d(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}

    [[nodiscard]] double distanceTo(const KdGePoint3d& other) const;
    /** Replaces the point by matrix * point, divided by the fourth component. */
    KdGePoint3d& transformBy(const KdGeMatrix3d& matrix);

    KdGeVector3d operator-(const KdGePoint3d& other) const { return {x - other.x, y - other.y, z - other.z}; }
    KdGePoint3d operator+(const KdGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
    KdGePoint3d operator-(const KdGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};
