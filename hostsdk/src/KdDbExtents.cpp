#include "KdDbExtents.h"

#include "KdGeMatrix3d.h"

#include <algorithm>
#include <cmath>

namespace
{

// Far outside any drawing, yet small enough that squares and differences of it stay finite.
constexpr double kEmptyCorner = 1e20;

bool hasPlace(const KdGePoint3d& point)
{
    return !std::isnan(point.x) && !std::isnan(point.y) && !std::isnan(point.z);
}

} // namespace

KdDbExtents::KdDbExtents()
    : _min(kEmptyCorner, kEmptyCorner, kEmptyCorner), _max(-kEmptyCorner, -kEmptyCorner, -kEmptyCorner)
{
}

bool KdDbExtents::isValid() const
{
    return _min.x <= _max.x && _min.y <= _max.y && _min.z <= _max.z;
}

void KdDbExtents::addPoint(const KdGePoint3d& point)
{
    if (!hasPlace(point)) return;
    if (!isValid())
    {
        _min = point;
        _max = point;
        return;
    }
    _min = KdGePoint3d(std::min(_min.x, point.x), std::min(_min.y, point.y), std::min(_min.z, point.z));
    _max = KdGePoint3d(std::max(_max.x, point.x), std::max(_max.y, point.y), std::max(_max.z, point.z));
}

void KdDbExtents::addExtents(const KdDbExtents& other)
{
    if (!other.isValid()) return;
    const KdGePoint3d otherMax = other._max; // `other` may be this box
    addPoint(other._min);
    addPoint(otherMax);
}

void KdDbExtents::transformBy(const KdGeMatrix3d& matrix)
{
    if (!isValid()) return;
    KdDbExtents result;
    for (const double x : {_min.x, _max.x})
        for (const double y : {_min.y, _max.y})
            for (const double z : {_min.z, _max.z})
                result.addPoint(KdGePoint3d(x, y, z).transformBy(matrix));
    *this = result;
}
