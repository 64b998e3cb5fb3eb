#include "BenchModel.h"
#include "HillTiles.h"
#include "RatioTimer.h"

#include <osg/Geometry>
#include <osg/Timer>
#include <osg/TriangleFunctor>

#include <benchmark/benchmark.h>

#include <cmath>
#include <limits>

namespace
{

using namespace mvgeo::bench;

/** Collects the corners of all triangles; the model has no transforms. */
struct CornerCollector
{
    std::vector<osg::Vec3>* corners = nullptr;

    void operator()(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c, bool = false) const
    {
        corners->insert(corners->end(), {a, b, c});
    }
};

class AllCorners : public osg::NodeVisitor
{
public:
    AllCorners() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    using osg::NodeVisitor::apply;
    void apply(osg::Geometry& geometry) override
    {
        osg::TriangleFunctor<CornerCollector> collector;
        collector.corners = &corners;
        geometry.accept(collector);
    }

    std::vector<osg::Vec3> corners;
};

/** The yardstick: the nearest hit of a ray among all triangles, one after another (method of Moeller and Trumbore).
 * @return the way along the ray in units of its direction; infinite if it hits nothing */
double nearestOfAll(const std::vector<osg::Vec3>& corners, const osg::Vec3d& eye, const osg::Vec3d& direction)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3)
    {
        const osg::Vec3d a(corners[i]);
        const osg::Vec3d side1 = osg::Vec3d(corners[i + 1]) - a;
        const osg::Vec3d side2 = osg::Vec3d(corners[i + 2]) - a;
        const osg::Vec3d p = direction ^ side2;
        const double determinant = side1 * p;
        if (determinant == 0.0) continue;
        const osg::Vec3d toEye = eye - a;
        const double u = (toEye * p) / determinant;
        if (u < 0.0 || u > 1.0) continue;
        const osg::Vec3d q = toEye ^ side1;
        const double v = (direction * q) / determinant;
        if (v < 0.0 || u + v > 1.0) continue;
        const double along = (side2 * q) / determinant;
        if (along > 0.0 && along < nearest) nearest = along;
    }
    return nearest;
}

// What does a pick cost beside trying the ray on every one of a million triangles? 1,024 tiles is a loaded view, one
// tile the worst case. The first pick that comes near a large tile, which makes its tree, is not counted, but told. The
// target is a ratio of 0.02.
void BM_PickPoint_OverAllTriangles(benchmark::State& state)
{
    const int side = static_cast<int>(state.range(0));
    BenchModel bench({writeHills(side, static_cast<int>(state.range(1)))});
    const Camera camera{{500.0, 300.0, 900.0}, {500.0, 501.0, 0.0}};
    bench.converge(camera);
    AllCorners all;
    bench.model.root().accept(all);

    const KdGeMatrix3d identity;
    const osg::Vec3d& eye = camera.eye;
    KdGePoint3d first(500.0, 500.0, 5.0);
    const osg::ElapsedTime sinceFirst;
    bench.model.pickPoint(&identity, &first, &first);
    state.counters["first_us"] = sinceFirst.elapsedTime_u();
    RatioTimer timer;
    int spot = 0;
    for (auto _ : state)
    {
        const KdGePoint3d point(123.4 + 7.9 * (spot % 97), 877.7 - 6.1 * (spot % 113), 5.0);
        ++spot;
        const osg::Vec3d direction = osg::Vec3d(point.x, point.y, point.z) - eye;
        KdGePoint3d hit;
        bool isHit = false;
        double along = 0.0;
        timer.pair(
            state, [&] { isHit = bench.model.pickPoint(&identity, &point, &hit); },
            [&] { benchmark::DoNotOptimize(along = nearestOfAll(all.corners, eye, direction)); });
        const osg::Vec3d expected = eye + direction * along;
        if (!isHit || !(hit.distanceTo({expected.x(), expected.y(), expected.z()}) < 1e-4))
            return state.SkipWithError("the two ways disagree");
    }
    timer.report(state);
    state.counters["triangles"] = static_cast<double>(all.corners.size()) / 3.0;
}
BENCHMARK(BM_PickPoint_OverAllTriangles)
    ->Args({32, 22})
    ->Args({8, 89})
    ->Args({1, 707})
    ->UseManualTime()
    ->Iterations(300)
    ->Unit(benchmark::kMicrosecond);

} // namespace
