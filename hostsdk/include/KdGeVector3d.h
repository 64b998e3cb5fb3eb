#pragma once

#include "HostSdkExport.h"

/** A direction or displacement in three dimensions. */
class HOSTSDK_API KdGeVector3d
{
public:
    KdGeVector3d() = default;
    KdGeVector3d(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}

    [[nodiscard]] double length() const;
    [[nodiscard]] double dotProduct(const KdGeVector3d& other) const;
    [[nodiscard]] KdGeVector3d crossProduct(const KdGeVector3d& other) const;

    KdGeVector3d operator+(const KdGeVector3d& other) const { return {x + other.x, y + other.y, z + other.z}; }
    KdGeVector3d operator-(const KdGeVector3d& other) const { return {x - other.x, y - other.y, z - other.z}; }
    KdGeVector3d operator*(double factor) const { return {x * factor, y * factor, z * factor}; }

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};
