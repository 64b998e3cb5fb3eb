#include "mvclipregions/ConvexPolygon.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace mvgeo
{

namespace
{

/** Where the edge meets the plane. Always computed from the inner corner, so that both triangles of a mesh edge get the
 * same point. */
osg::Vec3d crossing(const osg::Vec3d& inner, double innerDepth, const osg::Vec3d& outer, double outerDepth)
{
    return inner + (outer - inner) * (innerDepth / (innerDepth - outerDepth));
}

} // namespace

HalfSpace halfSpaceLeftOf(const osg::Vec3d& from, const osg::Vec3d& to)
{
    const bool isForward = std::make_pair(from.x(), from.y()) < std::make_pair(to.x(), to.y());
    const osg::Vec3d& low = isForward ? from : to;
    const osg::Vec3d& high = isForward ? to : from;
    osg::Vec3d normal(low.y() - high.y(), high.x() - low.x(), 0.0);
    normal.normalize();
    return {{low.x(), low.y(), 0.0}, isForward ? normal : -normal};
}

CutPolygon cutPolygon(const ConvexPolygon& polygon, const HalfSpace& half, double tolerance)
{
    std::vector<double> depths;
    depths.reserve(polygon.size());
    for (const osg::Vec3d& corner : polygon)
    {
        const double depth = half.depthOf(corner);
        depths.push_back(std::abs(depth) <= tolerance ? 0.0 : depth);
    }
    const auto [least, greatest] = std::minmax_element(depths.begin(), depths.end());
    if (*least >= 0.0) return {polygon, {}};
    if (*greatest <= 0.0) return {{}, polygon};

    CutPolygon result;
    for (std::size_t i = 0; i < polygon.size(); ++i)
    {
        const std::size_t next = i + 1 == polygon.size() ? 0 : i + 1;
        if (depths[i] >= 0.0) result.inside.push_back(polygon[i]);
        if (depths[i] <= 0.0) result.outside.push_back(polygon[i]);
        if (depths[i] * depths[next] >= 0.0) continue;
        const osg::Vec3d point = depths[i] > 0.0 ? crossing(polygon[i], depths[i], polygon[next], depths[next])
                                                 : crossing(polygon[next], depths[next], polygon[i], depths[i]);
        result.inside.push_back(point);
        result.outside.push_back(point);
    }
    return result;
}

ConvexPolygon clipToTriangle(const ConvexPolygon& polygon, const std::array<HalfSpace, 3>& triangle, double tolerance,
                             std::vector<ConvexPolygon>& outside)
{
    ConvexPolygon inside = polygon;
    std::vector<ConvexPolygon> cutOff;
    for (const HalfSpace& half : triangle)
    {
        CutPolygon cut = cutPolygon(inside, half, tolerance);
        if (cut.inside.empty())
        {
            outside.push_back(polygon);
            return {};
        }
        if (!cut.outside.empty()) cutOff.push_back(std::move(cut.outside));
        inside = std::move(cut.inside);
    }
    std::move(cutOff.begin(), cutOff.end(), std::back_inserter(outside));
    return inside;
}

} // namespace mvgeo
