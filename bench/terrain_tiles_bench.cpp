#include "BareTerrainWork.h"
#include "RatioTimer.h"
#include "TerrainFiles.h"
#include "TerrainWalk.h"

#include "updatescenegraph/ReadFileCallback.h"

#include <osgDB/ReadFile>

#include <benchmark/benchmark.h>

#include <filesystem>

namespace
{

using namespace mvgeo::bench;

BareTerrainWork& bareWork()
{
    static BareTerrainWork work(terrainFiles(true), kDeepest);
    return work;
}

double tilesPerSecond(double seconds)
{
    return tileCount(kDeepest) / seconds;
}

/** As a model reads it the first time: through its callback, which writes the textures too. */
DepthSeconds buildPyramid(const std::string& cacheDirectory)
{
    const osg::ref_ptr<osgDB::Options> options = rootOptions(terrainFiles(true), cacheDirectory);
    options->setReadFileCallback(new ReadFileCallback);
    return walkTerrain(options, kDeepest);
}

// How much do we add to the reads and writes that a cached pyramid cannot do without? In CPU time; the target is a
// ratio of 1.25, and 600 tiles a second.
void BM_ColdTiles_OverBareReadsAndWrites(benchmark::State& state)
{
    RatioTimer timer(RatioClock::cpu);
    bareWork();
    for (auto _ : state)
    {
        closeTerrains();
        const ScratchFolder cache("cache");
        const ScratchFolder bareCache("bare-cache");
        timer.pair(
            state, [&] { buildPyramid(cache.path()); }, [&] { bareWork().readAndWrite(bareCache.path()); });
    }
    timer.report(state);
    state.counters["tiles_per_cpu_s"] = tilesPerSecond(timer.oursSeconds());
}
BENCHMARK(BM_ColdTiles_OverBareReadsAndWrites)->UseManualTime()->Iterations(3)->Unit(benchmark::kSecond);

// How much to the raster reads alone, where nothing is kept? In CPU time. Coarse tiles read more pixels than they show,
// deep ones fewer (64 x 64 for 256 x 256, from blocks that GDAL holds already), so that the two are told apart. The
// target is a ratio of 2 for those deeper than level 3. Against the cells alone ("blended:0") it is out of reach:
// filling the tile's texture takes more than that. Against reads that give the tile's samples it can be met.
void BM_UncachedTiles_OverBareReads(benchmark::State& state)
{
    const bool isBlended = state.range(0) != 0;
    constexpr int kLastCoarse = 3;
    RatioTimer coarser;
    RatioTimer deeper;
    bareWork();
    for (auto _ : state)
    {
        closeTerrains();
        const DepthSeconds ours = walkTerrain(rootOptions(terrainFiles(true), ""), kDeepest);
        const DepthSeconds bare = isBlended ? bareWork().readBlended() : bareWork().read();
        coarser.add(sumOf(ours, 0, kLastCoarse), sumOf(bare, 0, kLastCoarse));
        deeper.add(sumOf(ours, kLastCoarse + 1, kDeepest), sumOf(bare, kLastCoarse + 1, kDeepest));
        state.SetIterationTime(sumOf(ours, 0, kDeepest));
    }
    coarser.report(state, "coarser_");
    deeper.report(state, "deeper_");
    state.counters["tiles_per_cpu_s"] = tilesPerSecond(coarser.oursSeconds() + deeper.oursSeconds());
}
BENCHMARK(BM_UncachedTiles_OverBareReads)
    ->ArgName("blended")
    ->DenseRange(0, 1)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kSecond);

/** The cached files' paths, in no order. */
std::vector<std::string> cachedFiles(const std::string& cacheDirectory)
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(cacheDirectory))
        if (entry.path().extension() == ".osgb") files.push_back(entry.path().string());
    return files;
}

// How much do we add to reading a built tile back? In CPU time; the target is a ratio of 1.1.
void BM_ReadBackTiles_OverPlainRead(benchmark::State& state)
{
    constexpr int kDeepestCached = 4;
    const ScratchFolder cache("cache");
    const osg::ref_ptr<osgDB::Options> options = rootOptions(terrainFiles(true), cache.path());
    walkTerrain(options, kDeepestCached);
    const std::vector<std::string> files = cachedFiles(cache.path());

    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(
            state,
            [&]
            {
                for (const std::string& file : files)
                    benchmark::DoNotOptimize(osgDB::readRefNodeFile(file + ".3dimg", options));
            },
            [&]
            {
                for (const std::string& file : files)
                    benchmark::DoNotOptimize(osgDB::readRefNodeFile(file));
            });
    timer.report(state);
    state.counters["tiles_per_cpu_s"] = tileCount(kDeepestCached) / timer.oursSeconds();
}
BENCHMARK(BM_ReadBackTiles_OverPlainRead)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);

} // namespace
