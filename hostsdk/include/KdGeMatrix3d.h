#pragma once

#include "HostSdkExport.h"
#include "KdGePoint3d.h"
#include "KdGeVector3d.h"

/** A 4 x 4 transform for column vectors: a point p goes to M * p, the translation stands in the last column.
 *
 * entry[row][column]. Default is the identity.
 */
class HOSTSDK_API KdGeMatrix3d
{
public:
    KdGeMatrix3d();

    static const KdGeMatrix3d kIdentity;

    [[nodiscard]] static KdGeMatrix3d translation(const KdGeVector3d& offset);
    [[nodiscard]] static KdGeMatrix3d scaling(double factor);
    /** Right-handed turn by `angle` radians about `axis` through the origin; a zero axis gives the identity. */
    [[nodiscard]] static KdGeMatrix3d rotation(double angle, const KdGeVector3d& axis);

    /** this * right: `right` acts on a point first. */
    [[nodiscard]] KdGeMatrix3d operator*(const KdGeMatrix3d& right) const;
    [[nodiscard]] bool operator==(const KdGeMatrix3d& other) const;
    [[nodiscard]] bool operator!=(const KdGeMatrix3d& other) const { return !(*this == other); }

    [[nodiscard]] double determinant() const;
    /** The inverse; a singular matrix gives the identity, and `isSingular` tells beforehand. */
    [[nodiscard]] KdGeMatrix3d inverse() const;
    /** True if no inverse can be had: the determinant is zero, or an entry is not finite. */
    [[nodiscard]] bool isSingular() const;

    double entry[4][4];
};
