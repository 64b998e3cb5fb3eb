#include "measure/ClippedSurface.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
namespace
{
/** Along the normal, and as long as twice the triangle's area. */
osg::Vec3d doubleArea(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c)
{
    return (b - a) ^ (c - a);
}
} // namespace

SurfaceFigures figuresOf(const Points& triangles)
{
    SurfaceFigures figures;
    if (triangles.empty()) return figures;
    figures.lowest = figures.highest = triangles.front().z();
    for (const osg::Vec3d& corner : triangles)
    {
        figures.lowest = std::min(figures.lowest, corner.z());
        figures.highest = std::max(figures.highest, corner.z());
    }
    figures.triangles = triangles.size() / 3;
    for (std::size_t first = 0; first + 2 < triangles.size(); first += 3)
    {
        const osg::Vec3d twice = doubleArea(triangles[first], triangles[first + 1], triangles[first + 2]);
        figures.areaPlan += std::abs(twice.z()) / 2.0;
        figures.areaSpace += twice.length() / 2.0;
    }
    return figures;
}

double leaveOutBelow(Points& triangles, std::optional<double> floor)
{
    double leftOut = 0.0;
    std::size_t kept = 0;
    for (std::size_t first = 0; first + 2 < triangles.size(); first += 3)
    {
        const osg::Vec3d a = triangles[first];
        const osg::Vec3d b = triangles[first + 1];
        const osg::Vec3d c = triangles[first + 2];
        if (!isFinite(a) || !isFinite(b) || !isFinite(c)) continue;
        if (floor && std::min({a.z(), b.z(), c.z()}) < *floor)
        {
            leftOut += std::abs(doubleArea(a, b, c).z()) / 2.0;
            continue;
        }
        for (const osg::Vec3d& corner : {a, b, c})
            triangles[kept++] = corner;
    }
    triangles.resize(kept);
    return leftOut;
}
} // namespace mvgeo::host
