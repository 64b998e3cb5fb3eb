#include "RatioTimer.h"

#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/GeosSession.h"

#include <benchmark/benchmark.h>

#include <osg/Geode>
#include <osg/Geometry>

#include <cmath>
#include <vector>

namespace
{

using namespace mvgeo::bench;

constexpr int kSide = 708; // 2 * 707 * 707: one million triangles
constexpr double kCentre = 353.5;

/** Hills on squares of 1 m. */
osg::ref_ptr<osg::Geometry> hills()
{
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    const osg::ref_ptr<osg::DrawElementsUInt> indices = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (unsigned int row = 0; row < kSide; ++row)
        for (unsigned int column = 0; column < kSide; ++column)
        {
            const double z = 20.0 * std::sin(0.02 * column) * std::cos(0.03 * row);
            vertices->push_back(osg::Vec3(osg::Vec3d(column, row, z)));
            if (row + 1 == kSide || column + 1 == kSide) continue;
            const unsigned int at = row * kSide + column;
            for (const unsigned int corner : {at, at + 1, at + kSide, at + 1, at + kSide + 1, at + kSide})
                indices->push_back(corner);
        }
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(vertices);
    geometry->addPrimitiveSet(indices);
    return geometry;
}

/** Around the middle of the hills; with many corners every other one is drawn in. */
std::vector<KdGePoint3d> boundaryOf(int corners, double radius)
{
    std::vector<KdGePoint3d> points;
    for (int i = 0; i < corners; ++i)
    {
        const double angle = 2.0 * std::acos(-1.0) * (i + 0.3) / corners;
        const double distance = corners > 10 && i % 2 == 1 ? 0.9 * radius : radius;
        points.emplace_back(kCentre + distance * std::cos(angle), kCentre + distance * std::sin(angle), 0.0);
    }
    return points;
}

mvgeo::GeosSession::Geometry polygonOf(const mvgeo::GeosSession& geos, const std::vector<double>& ring)
{
    GEOSCoordSequence* sequence =
        GEOSCoordSeq_copyFromBuffer_r(geos.handle(), ring.data(), static_cast<unsigned int>(ring.size() / 2), 0, 0);
    return geos.own(
        GEOSGeom_createPolygon_r(geos.handle(), GEOSGeom_createLinearRing_r(geos.handle(), sequence), nullptr, 0));
}

/** The plain way: every triangle is intersected with the boundary. @return the area in plan */
double intersectAll(const osg::Geometry& geometry, const std::vector<KdGePoint3d>& boundary)
{
    const mvgeo::GeosSession geos;
    std::vector<double> ring;
    for (const KdGePoint3d& point : boundary)
        ring.insert(ring.end(), {point.x, point.y});
    ring.insert(ring.end(), {boundary.front().x, boundary.front().y});
    const auto region = polygonOf(geos, ring);

    const auto& vertices = static_cast<const osg::Vec3Array&>(*geometry.getVertexArray());
    const auto& indices = static_cast<const osg::DrawElementsUInt&>(*geometry.getPrimitiveSet(0));
    double sum = 0.0;
    for (std::size_t i = 0; i < indices.size(); i += 3)
    {
        ring.clear();
        for (const std::size_t corner : {i, i + 1, i + 2, i})
            ring.insert(ring.end(), {vertices[indices[corner]].x(), vertices[indices[corner]].y()});
        const auto triangle = polygonOf(geos, ring);
        const auto common = geos.own(GEOSIntersection_r(geos.handle(), triangle.get(), region.get()));
        double area = 0.0;
        GEOSArea_r(geos.handle(), common.get(), &area);
        sum += area;
    }
    return sum;
}

double planArea(const std::vector<KdGePoint3d>& triangles)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < triangles.size(); i += 3)
    {
        const KdGePoint3d& a = triangles[i];
        const KdGePoint3d& b = triangles[i + 1];
        const KdGePoint3d& c = triangles[i + 2];
        sum += 0.5 * std::abs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
    }
    return sum;
}

// How much faster than intersecting every one of a million triangles with GEOS? The target is a ratio below 0.05.
// Arguments: corners, radius in metres of a model that is 707 m wide.
void BM_Clip_OverEveryTriangle(benchmark::State& state)
{
    const osg::ref_ptr<osg::Geometry> geometry = hills();
    const std::vector<KdGePoint3d> boundary =
        boundaryOf(static_cast<int>(state.range(0)), static_cast<double>(state.range(1)));
    MvOsgGeoMesh model(nullptr);
    model.root().addChild(geometry);
    geometry->getBoundingBox(); // the reader has computed it: tiles arrive with their bounds

    std::vector<KdGePoint3d> triangles;
    double area = 0.0;
    const auto ours = [&]
    {
        triangles = {};
        model.clip(MvGeoMesh::kClipInside, MvGeoMesh::kAllModelFiles, &KdGeMatrix3d::kIdentity, &boundary, nullptr, 0,
                   &triangles);
    };
    const auto plain = [&] { area = intersectAll(*geometry, boundary); };
    RatioTimer timer;
    for (auto _ : state)
        timer.pair(state, ours, plain);
    if (std::abs(planArea(triangles) - area) > 1e-9 * area) state.SkipWithError("the two ways differ");
    timer.report(state);
    state.counters["triangles"] = static_cast<double>(triangles.size() / 3);
}
BENCHMARK(BM_Clip_OverEveryTriangle)
    ->Args({4, 20})
    ->Args({4, 400})
    ->Args({1000, 100})
    ->Iterations(1) // the plain way takes up to twenty seconds
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
