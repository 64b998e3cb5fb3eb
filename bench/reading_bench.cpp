#include "RatioTimer.h"
#include "SamplePyramidFolder.h"

#include "support/UserValues.h"
#include "updatescenegraph/ReadFileCallback.h"

#include <osgDB/FileUtils>
#include <osgDB/ReadFile>

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace
{

using namespace mvgeo::bench;

osg::ref_ptr<osgDB::Options> cachingOptions()
{
    useTextureCache(false);
    const std::string directory = std::string(std::getenv("TEMP")) + "/reading";
    osgDB::makeDirectory(directory);
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setReadFileCallback(new ReadFileCallback);
    options->setUserValue(mvgeo::keys::cachePathDir, directory);
    return options;
}

// What do we add to reading a tile, once its textures are in the cache? The target is a ratio of 1.2.
void BM_ReadTile_OverPlainRead(benchmark::State& state)
{
    const osg::ref_ptr<osgDB::Options> options = cachingOptions();
    std::vector<std::string> tiles = sampleTiles();
    tiles.resize(std::min<std::size_t>(tiles.size(), 100));
    for (const std::string& tile : tiles)
        osgDB::readRefNodeFile(tile, options); // warms both caches

    RatioTimer timer;
    for (auto _ : state)
        timer.pair(
            state,
            [&]
            {
                for (const std::string& tile : tiles)
                    benchmark::DoNotOptimize(osgDB::readRefNodeFile(tile, options));
            },
            [&]
            {
                for (const std::string& tile : tiles)
                    benchmark::DoNotOptimize(osgDB::readRefNodeFile(tile));
            });
    timer.report(state);
    state.counters["tiles"] = static_cast<double>(tiles.size());
}
BENCHMARK(BM_ReadTile_OverPlainRead)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);

} // namespace
