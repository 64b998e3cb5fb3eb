#include "ClippedSurface.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
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
        const osg::Vec3d twice = (triangles[first + 1] - triangles[first]) ^ (triangles[first + 2] - triangles[first]);
        figures.areaPlan += std::abs(twice.z()) / 2.0;
        figures.areaSpace += twice.length() / 2.0;
    }
    return figures;
}

void leaveOutBelow(Points& triangles, std::optional<double> floor)
{
    const auto isGround = [floor](const osg::Vec3d& corner)
    {
        const bool finite = std::isfinite(corner.x()) && std::isfinite(corner.y()) && std::isfinite(corner.z());
        return finite && !(floor && corner.z() < *floor);
    };
    std::size_t kept = 0;
    for (std::size_t first = 0; first + 2 < triangles.size(); first += 3)
    {
        if (!isGround(triangles[first]) || !isGround(triangles[first + 1]) || !isGround(triangles[first + 2])) continue;
        for (std::size_t corner = 0; corner < 3; ++corner)
            triangles[kept++] = triangles[first + corner];
    }
    triangles.resize(kept);
}
} // namespace mvgeo::host
