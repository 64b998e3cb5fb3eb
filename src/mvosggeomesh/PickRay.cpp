#include "mvosggeomesh/PickRay.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace mvgeo
{

namespace
{

/** Loaded tiles reach a little beyond the root tiles that the extents come from, and a flat model has no height. */
osg::BoundingBoxd widened(const osg::BoundingBoxd& box)
{
    const double margin = 0.01 * (box._max - box._min).length();
    const osg::Vec3d border(margin, margin, margin);
    return {box._min - border, box._max + border};
}

/** The part of origin + t * direction, t within [from, to], that lies inside the box (slab method of Kay and Kajiya).
 */
std::optional<PickRay> clipped(const osg::Vec3d& origin, const osg::Vec3d& direction, double from, double to,
                               const osg::BoundingBoxd& box)
{
    for (int axis = 0; axis < 3; ++axis)
    {
        if (direction[axis] == 0.0)
        {
            if (origin[axis] < box._min[axis] || origin[axis] > box._max[axis]) return std::nullopt;
            continue;
        }
        const double a = (box._min[axis] - origin[axis]) / direction[axis];
        const double b = (box._max[axis] - origin[axis]) / direction[axis];
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
    }
    if (!(from < to)) return std::nullopt;
    return PickRay{origin + direction * from, origin + direction * to};
}

bool isPerspective(const osg::Matrixd& projection)
{
    return projection(2, 3) == -1.0;
}

} // namespace

std::optional<PickRay> pickRay(const osg::Matrixd& view, const osg::Matrixd& projection, const Placement& placement,
                               const osg::Vec3d& point, const osg::BoundingBoxd& extents)
{
    if (!extents.valid()) return std::nullopt;

    osg::Vec3d eye;
    osg::Vec3d centre;
    osg::Vec3d up;
    view.getLookAt(eye, centre, up, 1.0);
    eye = placement.toModel(eye);
    centre = placement.toModel(centre);
    const osg::Vec3d through = placement.toModel(point);

    const osg::BoundingBoxd box = widened(extents);
    osg::Vec3d direction = isPerspective(projection) ? through - eye : centre - eye;
    const double length = direction.normalize();
    if (!std::isfinite(length) || length == 0.0) return std::nullopt;
    if (isPerspective(projection)) return clipped(eye, direction, 0.0, std::numeric_limits<double>::max(), box);

    const double diagonal = (box._max - box._min).length();
    const osg::Vec3d nearCentre = through + direction * ((box.center() - through) * direction);
    return clipped(nearCentre - direction * diagonal, direction, 0.0, 2.0 * diagonal, box);
}

} // namespace mvgeo
