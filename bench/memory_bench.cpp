#include "BenchModel.h"
#include "SamplePyramidFolder.h"

#include <benchmark/benchmark.h>

#include <fstream>

#include <unistd.h>

namespace
{

using namespace mvgeo::bench;

/** Resident memory of this process in MB, from the kernel's own account. */
double residentMB()
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

/** Once over every part of the city at roof height, and back. */
void flyRound(BenchModel& bench)
{
    for (int step = 0; step <= 100; ++step)
    {
        const int there = step <= 50 ? step : 100 - step;
        const int row = there / 10;
        const int column = row % 2 == 0 ? there % 10 : 9 - there % 10;
        const osg::Vec3d ground(30.0 + 60.0 * column, 50.0 + 100.0 * row, 0.0);
        bench.converge({ground + osg::Vec3d(-40, -40, 60), ground});
    }
}

// Does memory grow while tiles come and go? Resident memory after each of four rounds over the whole sample; the target
// is a last round within 10 % of the first.
void BM_Memory_AfterRounds(benchmark::State& state)
{
    useTextureCache(false);
    setenv("OSG_MAX_PAGEDLOD", "100", 1);
    double first = 0.0;
    double last = 0.0;
    for (auto _ : state)
    {
        BenchModel bench(sampleRoots());
        flyRound(bench);
        first = residentMB();
        for (int round = 0; round < 3; ++round)
            flyRound(bench);
        last = residentMB();
        state.counters["expired"] = static_cast<double>(bench.model.pager().expiredCount);
        state.counters["held"] = static_cast<double>(bench.model.pager().heldTiles.count());
    }
    unsetenv("OSG_MAX_PAGEDLOD");
    state.counters["first_MB"] = first;
    state.counters["last_MB"] = last;
    state.counters["ratio"] = last / first;
}
BENCHMARK(BM_Memory_AfterRounds)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
