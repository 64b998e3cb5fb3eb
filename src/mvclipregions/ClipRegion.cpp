#include "mvclipregions/ClipRegion.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::size_t kFewTriangles = 16; // as many are looked through faster than the tree is asked
constexpr int kFewCorners = 2000; // the whole region takes 25 ms with 1,000 corners, time then grows with the square
constexpr int kMaxHalvings = 16;  // where a thousand corners lie in one place, halving helps only so far

PlanBox boxOf(const std::vector<osg::Vec3d>& points)
{
    PlanBox box{points.front().x(), points.front().y(), points.front().x(), points.front().y()};
    for (const osg::Vec3d& point : points)
        box = {std::min(box.minX, point.x()), std::min(box.minY, point.y()), std::max(box.maxX, point.x()),
               std::max(box.maxY, point.y())};
    return box;
}

std::size_t distinctPoints(const std::vector<KdGePoint3d>& boundary)
{
    std::set<std::pair<double, double>> found;
    for (const KdGePoint3d& point : boundary)
    {
        found.emplace(point.x, point.y);
        if (found.size() == 3) break;
    }
    return found.size();
}

bool isFinite(const std::vector<KdGePoint3d>& boundary)
{
    return std::all_of(boundary.begin(), boundary.end(),
                       [](const KdGePoint3d& point) { return std::isfinite(point.x) && std::isfinite(point.y); });
}

/** A closed ring around the origin, without repeated points. */
std::vector<osg::Vec3d> localRing(const std::vector<KdGePoint3d>& boundary, const osg::Vec3d& origin)
{
    std::vector<osg::Vec3d> ring;
    for (const KdGePoint3d& point : boundary)
        ring.emplace_back(point.x - origin.x(), point.y - origin.y(), 0.0);
    ring.erase(std::unique(ring.begin(), ring.end()), ring.end());
    if (ring.front() != ring.back()) ring.push_back(ring.front());
    return ring;
}

/** Calls back for every polygon in a geometry, however deep it lies. */
void forEachPolygon(GEOSContextHandle_t geos, const GEOSGeometry* geometry,
                    const std::function<void(const GEOSGeometry*)>& visit)
{
    if (GEOSGeomTypeId_r(geos, geometry) == GEOS_POLYGON)
    {
        if (GEOSisEmpty_r(geos, geometry) == 0) visit(geometry);
        return;
    }
    if (GEOSGeomTypeId_r(geos, geometry) < GEOS_MULTIPOINT) return; // a point or a line is its own first member
    const int count = GEOSGetNumGeometries_r(geos, geometry);
    for (int i = 0; i < count; ++i)
        forEachPolygon(geos, GEOSGetGeometryN_r(geos, geometry, i), visit);
}

std::vector<osg::Vec3d> pointsOf(GEOSContextHandle_t geos, const GEOSGeometry* line)
{
    const GEOSCoordSequence* sequence = GEOSGeom_getCoordSeq_r(geos, line);
    unsigned int count = 0;
    if (!sequence || GEOSCoordSeq_getSize_r(geos, sequence, &count) == 0) return {};
    std::vector<double> values(2 * std::size_t{count});
    if (GEOSCoordSeq_copyToBuffer_r(geos, sequence, values.data(), 0, 0) == 0) return {};
    std::vector<osg::Vec3d> points;
    for (std::size_t i = 0; i < values.size(); i += 2)
        points.emplace_back(values[i], values[i + 1], 0.0);
    return points;
}

PlanBox envelopeOf(GEOSContextHandle_t geos, const GEOSGeometry* shape)
{
    PlanBox box{0.0, 0.0, 0.0, 0.0};
    GEOSGeom_getXMin_r(geos, shape, &box.minX);
    GEOSGeom_getYMin_r(geos, shape, &box.minY);
    GEOSGeom_getXMax_r(geos, shape, &box.maxX);
    GEOSGeom_getYMax_r(geos, shape, &box.maxY);
    return box;
}

double planArea(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c)
{
    return 0.5 * ((b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x()));
}

void appendItem(void* item, void* list)
{
    static_cast<std::vector<const void*>*>(list)->push_back(item);
}

} // namespace

std::unique_ptr<ClipRegion> ClipRegion::make(const std::vector<KdGePoint3d>& boundary, std::string& refusal)
{
    const auto refuse = [&refusal](const std::string& reason)
    {
        refusal = reason;
        return nullptr;
    };
    if (!isFinite(boundary)) return refuse("the boundary has a coordinate that is no number");
    if (distinctPoints(boundary) < 3) return refuse("the boundary has fewer than three distinct points");
    const auto [west, east] =
        std::minmax_element(boundary.begin(), boundary.end(), [](const auto& a, const auto& b) { return a.x < b.x; });
    const auto [south, north] =
        std::minmax_element(boundary.begin(), boundary.end(), [](const auto& a, const auto& b) { return a.y < b.y; });
    std::unique_ptr<ClipRegion> region(new ClipRegion);
    region->_origin = {0.5 * west->x + 0.5 * east->x, 0.5 * south->y + 0.5 * north->y, 0.0};
    if (!region->makeShape(localRing(boundary, region->_origin)))
        return refuse("the boundary cannot be used: " + region->_geos.lastError());
    // Points on a line still enclose what the rounding of their coordinates leaves between them.
    const double reach = region->_origin.length() + region->_extent;
    if (!(region->_area > 2.0 * std::numeric_limits<double>::epsilon() * reach * region->_extent))
        return refuse("the boundary has no area");
    if (!region->prepare()) return refuse("the boundary cannot be cut into triangles: " + region->_geos.lastError());
    return region;
}

GeosSession::Geometry ClipRegion::makeGeometry(const std::vector<osg::Vec3d>& points, bool isArea) const
{
    std::vector<double> values;
    for (const osg::Vec3d& point : points)
        values.insert(values.end(), {point.x(), point.y()});
    GEOSContextHandle_t geos = _geos.handle();
    GEOSCoordSequence* sequence =
        GEOSCoordSeq_copyFromBuffer_r(geos, values.data(), static_cast<unsigned int>(points.size()), 0, 0);
    if (!sequence) return _geos.own(static_cast<GEOSGeometry*>(nullptr));
    if (!isArea) return _geos.own(GEOSGeom_createLineString_r(geos, sequence));
    GEOSGeometry* ring = GEOSGeom_createLinearRing_r(geos, sequence);
    return _geos.own(ring ? GEOSGeom_createPolygon_r(geos, ring, nullptr, 0) : nullptr);
}

GeosSession::Geometry ClipRegion::rectangleOf(const PlanBox& box) const
{
    return _geos.own(GEOSGeom_createRectangle_r(_geos.handle(), box.minX, box.minY, box.maxX, box.maxY));
}

GeosSession::Geometry ClipRegion::makeValid(GeosSession::Geometry polygon) const
{
    GEOSContextHandle_t geos = _geos.handle();
    if (!polygon || GEOSisValid_r(geos, polygon.get()) == 1) return polygon;
    const GeosSession::Geometry valid = _geos.own(GEOSMakeValid_r(geos, polygon.get()));
    if (!valid) return _geos.own(static_cast<GEOSGeometry*>(nullptr));
    return polygonsOf(*valid);
}

/** Where a boundary ran there and back, or an edge lay on a border, lines are left over. */
GeosSession::Geometry ClipRegion::polygonsOf(const GEOSGeometry& mixed) const
{
    GEOSContextHandle_t geos = _geos.handle();
    std::vector<GEOSGeometry*> polygons;
    forEachPolygon(geos, &mixed,
                   [&](const GEOSGeometry* polygon) { polygons.push_back(GEOSGeom_clone_r(geos, polygon)); });
    return _geos.own(GEOSGeom_createCollection_r(geos, GEOS_MULTIPOLYGON, polygons.data(),
                                                 static_cast<unsigned int>(polygons.size())));
}

/** False only if GEOS fails. An area of zero is left for the caller to see. */
bool ClipRegion::makeShape(const std::vector<osg::Vec3d>& ring)
{
    const PlanBox box = boxOf(ring);
    _extent = std::max(box.maxX - box.minX, box.maxY - box.minY);
    _shape = makeValid(makeGeometry(ring, true));
    return _shape && GEOSArea_r(_geos.handle(), _shape.get(), &_area) == 1 && std::isfinite(_area);
}

std::vector<PlanEdge> ClipRegion::outline() const
{
    GEOSContextHandle_t geos = _geos.handle();
    std::vector<PlanEdge> edges;
    const auto addRing = [&](const GEOSGeometry* ring)
    {
        const std::vector<osg::Vec3d> points = pointsOf(geos, ring);
        for (std::size_t i = 1; i < points.size(); ++i)
            edges.push_back({points[i - 1], points[i]});
    };
    forEachPolygon(geos, _shape.get(),
                   [&](const GEOSGeometry* polygon)
                   {
                       addRing(GEOSGetExteriorRing_r(geos, polygon));
                       for (int i = 0; i < GEOSGetNumInteriorRings_r(geos, polygon); ++i)
                           addRing(GEOSGetInteriorRingN_r(geos, polygon, i));
                   });
    return edges;
}

bool ClipRegion::prepare()
{
    GEOSContextHandle_t geos = _geos.handle();
    _prepared = _geos.own(GEOSPrepare_r(geos, _shape.get()));
    if (!_prepared || !triangulate(_shape.get(), 0)) return false;

    const auto isInside = [&](double x, double y)
    {
        const GeosSession::Geometry point = _geos.own(GEOSGeom_createPointFromXY_r(geos, x, y));
        return point && GEOSPreparedIntersects_r(geos, _prepared.get(), point.get()) == 1;
    };
    _cells = std::make_unique<ClipCells>(envelopeOf(geos, _shape.get()), outline(), isInside);
    buildTree();
    return true;
}

/** The triangulation takes time with the square of the corners, and once in thousands of tangles it finds no way: in
 * both cases the halves are easier. */
bool ClipRegion::triangulate(const GEOSGeometry* shape, int halvings)
{
    GEOSContextHandle_t geos = _geos.handle();
    const bool isLast = halvings == kMaxHalvings;
    if ((isLast || GEOSGetNumCoordinates_r(geos, shape) <= kFewCorners) && addTriangles(shape)) return true;
    if (isLast) return false;

    const PlanBox box = envelopeOf(geos, shape);
    PlanBox low = box;
    PlanBox high = box;
    if (box.maxX - box.minX > box.maxY - box.minY)
        low.maxX = high.minX = 0.5 * (box.minX + box.maxX);
    else
        low.maxY = high.minY = 0.5 * (box.minY + box.maxY);
    for (const PlanBox& half : {low, high})
    {
        const GeosSession::Geometry rectangle = rectangleOf(half);
        if (!rectangle) return false;
        const GeosSession::Geometry piece = _geos.own(GEOSIntersection_r(geos, shape, rectangle.get()));
        const GeosSession::Geometry polygons = piece ? polygonsOf(*piece) : nullptr;
        if (!polygons || !triangulate(polygons.get(), halvings + 1)) return false;
    }
    return true;
}

/** False, and nothing added, if the triangles do not make up the shape. */
bool ClipRegion::addTriangles(const GEOSGeometry* shape)
{
    GEOSContextHandle_t geos = _geos.handle();
    const GeosSession::Geometry triangles = _geos.own(GEOSConstrainedDelaunayTriangulation_r(geos, shape));
    double area = 0.0;
    if (!triangles || GEOSArea_r(geos, shape, &area) == 0) return false;

    double covered = 0.0;
    std::vector<Triangle> found;
    forEachPolygon(
        geos, triangles.get(),
        [&](const GEOSGeometry* polygon)
        {
            std::vector<osg::Vec3d> points = pointsOf(geos, GEOSGetExteriorRing_r(geos, polygon));
            if (points.size() != 4) return;
            if (planArea(points[0], points[1], points[2]) < 0.0) std::swap(points[1], points[2]);
            const osg::Vec3d& a = points[0];
            const osg::Vec3d& b = points[1];
            const osg::Vec3d& c = points[2];
            covered += planArea(a, b, c);
            found.push_back({boxOf({a, b, c}), {halfSpaceLeftOf(a, b), halfSpaceLeftOf(b, c), halfSpaceLeftOf(c, a)}});
        });
    if (!(std::abs(covered - area) <= 1e-10 * area + 1e-14 * _area)) return false;
    _triangles.insert(_triangles.end(), found.begin(), found.end());
    return true;
}

/** No tree where GEOS cannot make one: all triangles are looked through then. */
void ClipRegion::buildTree()
{
    if (_triangles.size() <= kFewTriangles) return;
    GEOSContextHandle_t geos = _geos.handle();
    GeosSession::Tree tree = _geos.own(GEOSSTRtree_create_r(geos, 10));
    for (Triangle& triangle : _triangles)
    {
        const GeosSession::Geometry rectangle = rectangleOf(triangle.box);
        if (!tree || !rectangle) return;
        GEOSSTRtree_insert_r(geos, tree.get(), rectangle.get(), &triangle);
    }
    _tree = std::move(tree);
}

Side ClipRegion::sideOf(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c) const
{
    GEOSContextHandle_t geos = _geos.handle();
    // Seen from above an upright triangle is the line between those two of its corners that lie farthest apart; to run
    // through all three and back covers it whichever they are.
    const bool isUpright = planArea(a, b, c) == 0.0;
    const GeosSession::Geometry seen = makeGeometry({a, b, c, a}, !isUpright);
    if (!seen) return Side::straddling;
    if (GEOSPreparedIntersects_r(geos, _prepared.get(), seen.get()) == 0) return Side::outside;
    return GEOSPreparedCovers_r(geos, _prepared.get(), seen.get()) == 1 ? Side::inside : Side::straddling;
}

double ClipRegion::toleranceFor(const ConvexPolygon& polygon) const
{
    double reach = 0.0;
    for (const osg::Vec3d& corner : polygon)
        reach = std::max({reach, std::abs(corner.x()), std::abs(corner.y())});
    // A thousand times what a double resolves within the region, and a little more than what it resolves out there.
    return 1e-12 * _extent + 1e-15 * reach;
}

void ClipRegion::cut(const ConvexPolygon& polygon, std::vector<ConvexPolygon>& inside,
                     std::vector<ConvexPolygon>& outside) const
{
    cutBy(polygon, trianglesNear(polygon, toleranceFor(polygon)), 0, inside, outside);
}

ClipRegion::Triangles ClipRegion::trianglesNear(const ConvexPolygon& polygon, double tolerance) const
{
    Triangles triangles;
    const GeosSession::Geometry box = _tree ? rectangleOf(boxOf(polygon).widened(tolerance)) : nullptr;
    if (!box)
    {
        for (const Triangle& triangle : _triangles)
            triangles.push_back(&triangle);
        return triangles;
    }
    std::vector<const void*> found;
    GEOSSTRtree_query_r(_geos.handle(), _tree.get(), box.get(), appendItem, &found);
    for (const void* item : found)
        triangles.push_back(static_cast<const Triangle*>(item));
    std::sort(triangles.begin(), triangles.end(), std::less<>()); // the tree's order is its own business
    return triangles;
}

void ClipRegion::cutBy(const ConvexPolygon& polygon, const Triangles& candidates, int halvings,
                       std::vector<ConvexPolygon>& inside, std::vector<ConvexPolygon>& outside) const
{
    const PlanBox box = boxOf(polygon);
    const double tolerance = toleranceFor(polygon);
    Triangles triangles;
    const auto mayMeet = [&](const Triangle* triangle)
    {
        const auto isBeyond = [&](const HalfSpace& half)
        {
            return std::all_of(polygon.begin(), polygon.end(),
                               [&](const osg::Vec3d& corner) { return half.depthOf(corner) < -tolerance; });
        };
        return triangle->box.overlaps(box.widened(tolerance)) &&
               std::none_of(triangle->sides.begin(), triangle->sides.end(), isBeyond);
    };
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(triangles), mayMeet);

    // Each triangle may leave three pieces more of a polygon: many are met in small places, one after another.
    if (triangles.size() > kFewTriangles && halvings < kMaxHalvings)
    {
        const bool isWide = box.maxX - box.minX > box.maxY - box.minY;
        const osg::Vec3d middle(0.5 * (box.minX + box.maxX), 0.5 * (box.minY + box.maxY), 0.0);
        const HalfSpace half{middle, isWide ? osg::Vec3d(1, 0, 0) : osg::Vec3d(0, 1, 0)};
        const CutPolygon halved = cutPolygon(polygon, half, tolerance);
        if (!halved.inside.empty()) cutBy(halved.inside, triangles, halvings + 1, inside, outside);
        if (!halved.outside.empty()) cutBy(halved.outside, triangles, halvings + 1, inside, outside);
        return;
    }
    std::vector<ConvexPolygon> remaining{polygon};
    for (const Triangle* triangle : triangles)
    {
        std::vector<ConvexPolygon> stillOutside;
        for (const ConvexPolygon& piece : remaining)
            if (ConvexPolygon clipped = clipToTriangle(piece, triangle->sides, tolerance, stillOutside);
                !clipped.empty())
                inside.push_back(std::move(clipped));
        remaining = std::move(stillOutside);
    }
    std::move(remaining.begin(), remaining.end(), std::back_inserter(outside));
}

} // namespace mvgeo
