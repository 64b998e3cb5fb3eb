#include "KdGeVector3d.h"

#include <cmath>

double KdGeVector3d::length() const
{
    return std::hypot(x, y, z);
}

double KdGeVector3d::dotProduct(const KdGeVector3d& other) const
{
    return x * other.x + y * other.y + z * other.z;
}

KdGeVector3d KdGeVector3d::crossProduct(const KdGeVector3d& other) const
{
    return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
}
