#include "KdGePoint3d.h"

#include "KdGeMatrix3d.h"

double KdGePoint3d::distanceTo(const KdGePoint3d& other) const
{
    return (*this - other).length();
}

KdGePoint3d& KdGePoint3d::transformBy(const KdGeMatrix3d& matrix)
{
    const auto row = [this, &matrix](int r)
    {
        const double(&e)[4] = matrix.entry[r];
        return e[0] * x + e[1] * y + e[2] * z + e[3];
    };
    const double w = row(3);
    *this = KdGePoint3d(row(0) / w, row(1) / w, row(2) / w);
    return *this;
}
