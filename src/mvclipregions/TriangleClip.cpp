#include "mvclipregions/TriangleClip.h"

#include "support/HostConversions.h"

#include <algorithm>
#include <cmath>

namespace mvgeo
{

namespace
{

bool isFinite(const osg::Vec3d& point)
{
    return std::isfinite(point.x()) && std::isfinite(point.y()) && std::isfinite(point.z());
}

osg::Vec3d twiceArea(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c)
{
    return (b - a) ^ (c - a);
}

/** Narrower than the cutting can tell from a line. */
bool isSliver(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c, double tolerance)
{
    const double longest = std::max({(b - a).length(), (c - b).length(), (a - c).length()});
    return twiceArea(a, b, c).length() <= tolerance * longest;
}

} // namespace

bool TriangleClip::mayWant(const osg::BoundingBoxd& box) const
{
    if (!(box.zMin() <= _heights.highest && box.zMax() >= _heights.lowest)) return false;
    const Side side = _region.sideOf(PlanBox{box.xMin(), box.yMin(), box.xMax(), box.yMax()});
    return side == _wanted || side == Side::straddling;
}

void TriangleClip::add(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c)
{
    // Most triangles end here, so the cheap questions come first.
    const auto [minX, maxX] = std::minmax({a.x(), b.x(), c.x()});
    const auto [minY, maxY] = std::minmax({a.y(), b.y(), c.y()});
    Side side = _region.sideOf(PlanBox{minX, minY, maxX, maxY});
    if (side != _wanted && side != Side::straddling) return;
    const auto [minZ, maxZ] = std::minmax({a.z(), b.z(), c.z()});
    if (maxZ < _heights.lowest || minZ > _heights.highest) return;

    if (!isFinite(a) || !isFinite(b) || !isFinite(c) || twiceArea(a, b, c) == osg::Vec3d()) return;
    if (side == Side::straddling) side = _region.sideOf(a, b, c);
    if (side != _wanted && side != Side::straddling) return;
    const bool isWithinHeights = minZ >= _heights.lowest && maxZ <= _heights.highest;
    if (side == _wanted && isWithinHeights)
        emit(a, b, c);
    else
        addCut({a, b, c}, side);
}

void TriangleClip::addCut(const ConvexPolygon& triangle, Side side)
{
    const double tolerance = _region.toleranceFor(triangle);
    const HalfSpace above{{0.0, 0.0, _heights.lowest}, {0.0, 0.0, 1.0}};
    const HalfSpace below{{0.0, 0.0, _heights.highest}, {0.0, 0.0, -1.0}};
    for (ConvexPolygon& piece : wantedPieces(triangle, side))
    {
        if (std::isfinite(_heights.lowest)) piece = cutPolygon(piece, above, tolerance).inside;
        if (std::isfinite(_heights.highest) && !piece.empty()) piece = cutPolygon(piece, below, tolerance).inside;
        emitFan(piece, tolerance);
    }
}

std::vector<ConvexPolygon> TriangleClip::wantedPieces(const ConvexPolygon& triangle, Side side) const
{
    if (side == _wanted) return {triangle};
    std::vector<ConvexPolygon> inside;
    std::vector<ConvexPolygon> outside;
    _region.cut(triangle, inside, outside);
    return _wanted == Side::inside ? inside : outside;
}

void TriangleClip::emitFan(const ConvexPolygon& piece, double tolerance)
{
    for (std::size_t i = 2; i < piece.size(); ++i)
        if (!isSliver(piece[0], piece[i - 1], piece[i], tolerance)) emit(piece[0], piece[i - 1], piece[i]);
}

void TriangleClip::emit(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c)
{
    const osg::Vec3d first = a + _region.origin();
    const osg::Vec3d second = b + _region.origin();
    const osg::Vec3d third = c + _region.origin();
    // At large coordinates a small triangle may collapse into a line.
    if (twiceArea(first, second, third) == osg::Vec3d()) return;
    for (const osg::Vec3d& corner : {first, second, third})
        _triangles.push_back(toHost(corner));
}

} // namespace mvgeo
