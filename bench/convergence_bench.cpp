#include "BenchModel.h"
#include "OsgPaging.h"
#include "RatioTimer.h"
#include "SamplePyramidFolder.h"

#include <benchmark/benchmark.h>

namespace
{

using namespace mvgeo::bench;

/** From an overview down to the roofs, along the city's diagonal, and up again; `t` in [0, 1]. The sample is 600 m
 * wide. */
Camera pathCamera(double t)
{
    const double height = 60.0 + 500.0 * (2.0 * t - 1.0) * (2.0 * t - 1.0);
    const osg::Vec3d ground(60.0 + 480.0 * t, 60.0 + 480.0 * t, 0.0);
    return {ground + osg::Vec3d(-0.5 * height, -0.5 * height, height), ground};
}

template <typename Paging>
void convergeView()
{
    Paging paging(sampleRoots());
    paging.converge(pathCamera(0.3));
}

template <typename Paging>
void convergePath()
{
    Paging paging(sampleRoots());
    for (int frame = 0; frame < 300; ++frame)
        paging.converge(pathCamera(frame / 299.0));
}

// How long until a view is complete from nothing, beside OSG's own pager? Both read one file at a time; ours
// also hands every tile to a copying host. The target is a ratio of 1.0 once the textures are in the cache (argument
// 0).
void BM_ColdView_OverOsgPager(benchmark::State& state)
{
    useTextureCache(true);
    convergeView<BenchModel>(); // fills both caches
    RatioTimer timer;
    for (auto _ : state)
    {
        if (state.range(0) == 1) useTextureCache(true);
        timer.pair(state, convergeView<BenchModel>, convergeView<OsgPaging>);
    }
    timer.report(state);
}
BENCHMARK(BM_ColdView_OverOsgPager)
    ->ArgName("emptyTextureCache")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(7)
    ->Unit(benchmark::kMillisecond);

// The same along a path of 300 frames, each of them complete before the next.
void BM_ColdPath_OverOsgPager(benchmark::State& state)
{
    useTextureCache(false);
    convergePath<BenchModel>();
    RatioTimer timer;
    for (auto _ : state)
        timer.pair(state, convergePath<BenchModel>, convergePath<OsgPaging>);
    timer.report(state);
}
BENCHMARK(BM_ColdPath_OverOsgPager)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

} // namespace
