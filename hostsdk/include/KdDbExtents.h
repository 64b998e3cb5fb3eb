#pragma once

#include "HostSdkExport.h"
#include "KdGePoint3d.h"

class KdGeMatrix3d;

/** An axis-aligned box. The default box is empty: its minimum corner lies above its maximum. */
class HOSTSDK_API KdDbExtents
{
public:
    KdDbExtents();
    KdDbExtents(const KdGePoint3d& min, const KdGePoint3d& max) : _min(min), _max(max) {}

    [[nodiscard]] const KdGePoint3d& minPoint() const { return _min; }
    [[nodiscard]] const KdGePoint3d& maxPoint() const { return _max; }
    /** False for the default box and for any box with a minimum above its maximum. */
    [[nodiscard]] bool isValid() const;

    void addPoint(const KdGePoint3d& point);
    void addExtents(const KdDbExtents& other);
    /** Replaces the box by the box around its eight transformed corners; an empty box stays as it is. */
    void transformBy(const KdGeMatrix3d& matrix);

private:
    KdGePoint3d _min;
    KdGePoint3d _max;
};
