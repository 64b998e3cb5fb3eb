#pragma once

#include <KdGePoint3d.h>

#include <osg/Vec3d>

#include <cmath>
#include <random>
#include <vector>

/** What the tests of clipping compute for themselves, as plainly as it can be said. */
namespace clipgeometry
{

using Points = std::vector<KdGePoint3d>;

inline osg::Vec3d difference(const KdGePoint3d& a, const KdGePoint3d& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/** Twice the area, along the normal. */
inline osg::Vec3d crossOf(const KdGePoint3d& a, const KdGePoint3d& b, const KdGePoint3d& c)
{
    return difference(b, a) ^ difference(c, a);
}

/** Of a list with three points a triangle. */
inline double surfaceArea(const Points& triangles)
{
    double sum = 0.0;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3)
        sum += 0.5 * crossOf(triangles[i], triangles[i + 1], triangles[i + 2]).length();
    return sum;
}

/** Seen from above, whichever way a triangle faces. */
inline double planArea(const Points& triangles)
{
    double sum = 0.0;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3)
        sum += 0.5 * std::abs(crossOf(triangles[i], triangles[i + 1], triangles[i + 2]).z());
    return sum;
}

/** Triangles without area or with a coordinate that is no number. */
inline int badTriangles(const Points& triangles)
{
    int count = triangles.size() % 3 == 0 ? 0 : 1;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3)
    {
        const double area = crossOf(triangles[i], triangles[i + 1], triangles[i + 2]).length();
        if (!(area > 0.0) || !std::isfinite(area)) ++count;
    }
    return count;
}

/** Of a boundary that does not cross itself, by the shoelace formula around its first point. */
inline double enclosedArea(const Points& boundary)
{
    double sum = 0.0;
    for (std::size_t i = 2; i < boundary.size(); ++i)
        sum += 0.5 * crossOf(boundary[0], boundary[i - 1], boundary[i]).z();
    return std::abs(sum);
}

/** Whether a ray to the east crosses the boundary an odd number of times. */
inline bool isEnclosed(const Points& boundary, double x, double y)
{
    bool isInside = false;
    for (std::size_t i = 0; i < boundary.size(); ++i)
    {
        const KdGePoint3d& a = boundary[i];
        const KdGePoint3d& b = boundary[(i + 1) % boundary.size()];
        if ((a.y > y) == (b.y > y)) continue;
        if (x < a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x)) isInside = !isInside;
    }
    return isInside;
}

/** Distance in plan from the boundary's nearest edge. */
inline double distanceToBoundary(const Points& boundary, double x, double y)
{
    double nearest = 1e300;
    for (std::size_t i = 0; i < boundary.size(); ++i)
    {
        const KdGePoint3d& a = boundary[i];
        const KdGePoint3d& b = boundary[(i + 1) % boundary.size()];
        const double length2 = (b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y);
        double t = length2 > 0.0 ? ((x - a.x) * (b.x - a.x) + (y - a.y) * (b.y - a.y)) / length2 : 0.0;
        t = std::fmin(1.0, std::fmax(0.0, t));
        nearest = std::fmin(nearest, std::hypot(a.x + t * (b.x - a.x) - x, a.y + t * (b.y - a.y) - y));
    }
    return nearest;
}

/** Triangles whose middle lies on the wrong side of the boundary by more than `slack`. */
inline int misplacedTriangles(const Points& triangles, const Points& boundary, bool shouldBeInside, double slack)
{
    int count = 0;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3)
    {
        const double x = (triangles[i].x + triangles[i + 1].x + triangles[i + 2].x) / 3.0;
        const double y = (triangles[i].y + triangles[i + 1].y + triangles[i + 2].y) / 3.0;
        if (isEnclosed(boundary, x, y) != shouldBeInside && distanceToBoundary(boundary, x, y) > slack) ++count;
    }
    return count;
}

/** A boundary around a centre that does not cross itself: corners at rising angles, at any distance within bounds. */
inline Points starShape(std::mt19937& random, int corners, double x, double y, double nearest, double farthest)
{
    std::uniform_real_distribution<double> distance(nearest, farthest);
    Points points;
    for (int i = 0; i < corners; ++i)
    {
        const double angle = 2.0 * std::acos(-1.0) * i / corners;
        const double radius = distance(random);
        points.emplace_back(x + radius * std::cos(angle), y + radius * std::sin(angle), 0.0);
    }
    return points;
}

/** Corners anywhere in a square: crosses itself as often as not. */
inline Points tangle(std::mt19937& random, int corners, double x, double y, double size)
{
    std::uniform_real_distribution<double> offset(0.0, size);
    Points points;
    for (int i = 0; i < corners; ++i)
    {
        const double east = offset(random);
        points.emplace_back(x + east, y + offset(random), 0.0);
    }
    return points;
}

} // namespace clipgeometry
