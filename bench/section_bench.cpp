#include "OsgSection.h"
#include "RatioTimer.h"
#include "TerrainWalk.h"

#include "mvgeothirdparty/GeoMeshStatistics.h"
#include "mvosggeoterrain/MvOsgGeoTerrain.h"
#include "support/HostConversions.h"

#include <benchmark/benchmark.h>

#include <osgDB/ReadFile>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace mvgeo::bench;

using Line = std::vector<KdGePoint3d>;

constexpr double kLength = 14000.0;
constexpr int kFewPasses = 9;
constexpr int kManyPasses = 33;
constexpr double kPassesWidth = 8.0; // metres

/** A terrain model whose finer tiles all lie in the disk cache along the line; only its root is in memory. */
class SectionTerrain
{
public:
    SectionTerrain() : _model([] { return true; })
    {
        static const ScratchFolder cache("section-cache");
        setenv("TEMP", cache.path().c_str(), 1);
        const TerrainFiles& files = terrainFiles(true);
        const std::string source = files.dom + '?' + files.dem;
        std::string directory;
        _model.makeCacheDirectory(source, directory);
        const osg::ref_ptr<osgDB::Options> options = rootOptions(files, directory);
        static const DepthSeconds built = walkTerrain(options, kDeepest);
        static_cast<void>(built);

        if (_model.addModel(KdString(source.c_str())) < 0) throw std::runtime_error("cannot open " + files.dem);
        const KdDbExtents box = _model.extents();
        _middle = (mvgeo::toOsg(box.minPoint()) + mvgeo::toOsg(box.maxPoint())) * 0.5;
        // Without the model's callback: what the model does with each tile is its own affair.
        _root = osgDB::readRefNodeFile(directory + "/terrain.osgb.3dimg", options);
        if (!_root) throw std::runtime_error("cannot read the terrain's root");

        static const bool isComplete = (cacheLastTiles(), true); // they are finer than the walk goes
        static_cast<void>(isComplete);
    }

    /** There and back in turn, each pass beside the one before it, from side to side of a band. */
    [[nodiscard]] Line passes(int count) const
    {
        Line line;
        for (int pass = 0; pass < count; ++pass)
            for (const bool isFirst : {true, false})
                line.push_back(mvgeo::toHost(
                    place(isFirst == (pass % 2 == 0) ? 0.0 : 1.0, pass * kPassesWidth / std::max(count - 1, 1))));
        return line;
    }

    /** One pass as many segments of equal length. */
    [[nodiscard]] Line inSegments(int count) const
    {
        Line line;
        for (int i = 0; i <= count; ++i)
            line.push_back(mvgeo::toHost(place(static_cast<double>(i) / count)));
        return line;
    }

    [[nodiscard]] std::vector<Line> section(const Line& line)
    {
        std::vector<Line> draped;
        _model.section(&KdGeMatrix3d::kIdentity, &line, &draped);
        return draped;
    }

    [[nodiscard]] TileKeeper* newTileKeeper() const { return new TileKeeper(*_root); }

    [[nodiscard]] SurfaceLines osgSection(OsgSection peer, TileKeeper& tiles) const
    {
        return peer(*_root, place(0.0), place(1.0), tiles);
    }

    [[nodiscard]] double distanceOf(const osg::Vec3d& point) const { return (point - place(0.0)) * direction(); }

    [[nodiscard]] GeoMeshStatistics statistics() const
    {
        GeoMeshStatistics now{};
        now.version = kGeoMeshStatisticsVersion;
        getGeoMeshStatistics(&_model, &now);
        return now;
    }

private:
    [[nodiscard]] static osg::Vec3d direction() { return {0.8, 0.6, 0.0}; }

    /** @param along 0 at the start, 1 at the end  @param offset metres to the left */
    [[nodiscard]] osg::Vec3d place(double along, double offset = 0.0) const
    {
        const osg::Vec3d side(-direction().y(), direction().x(), 0.0);
        return _middle + direction() * ((along - 0.5) * kLength) + side * (offset + 123.4);
    }

    void cacheLastTiles() const
    {
        const osg::ref_ptr<TileKeeper> tiles = newTileKeeper();
        for (const double offset : {0.0, kPassesWidth})
            static_cast<void>(planeCut(*_root, place(0.0, offset), place(1.0, offset), *tiles));
    }

    MvOsgGeoTerrain _model;
    osg::ref_ptr<osg::Node> _root;
    osg::Vec3d _middle;
};

/** The greatest height of lines by the distance from the start. */
class Profile
{
public:
    Profile(const SectionTerrain& terrain, const SurfaceLines& lines)
    {
        for (const std::vector<osg::Vec3d>& line : lines)
            for (std::size_t i = 1; i < line.size(); ++i)
                add({terrain.distanceOf(line[i - 1]), line[i - 1].z()}, {terrain.distanceOf(line[i]), line[i].z()});
    }

    /** No number where there is no line. */
    [[nodiscard]] double heightAt(double distance) const
    {
        double highest = std::numeric_limits<double>::quiet_NaN();
        for (const auto& [a, b] : _stretches)
        {
            if (distance < a.first || distance > b.first) continue;
            const double height = a.second + (b.second - a.second) * (distance - a.first) / (b.first - a.first);
            if (!(height <= highest)) highest = height;
        }
        return highest;
    }

private:
    using Place = std::pair<double, double>; // distance, height

    void add(Place a, Place b)
    {
        if (b < a) std::swap(a, b);
        if (b.first - a.first > 1e-6) _stretches.emplace_back(a, b);
    }

    std::vector<std::pair<Place, Place>> _stretches;
};

std::size_t pointCount(const std::vector<Line>& lines)
{
    return std::accumulate(lines.begin(), lines.end(), std::size_t{0},
                           [](std::size_t sum, const Line& line) { return sum + line.size(); });
}

/** How far the heights of both are apart in the middle of each of our stretches; infinite if there is one that the
 * other does not have, or if together they are not as long as the line. */
double heightDifference(const SectionTerrain& terrain, const std::vector<Line>& ours, const SurfaceLines& theirs)
{
    constexpr double kNotThere = std::numeric_limits<double>::infinity();
    const Profile profile(terrain, theirs);
    double greatest = 0.0;
    double length = 0.0;
    for (const Line& line : ours)
        for (std::size_t i = 1; i < line.size(); ++i)
        {
            const osg::Vec3d a = mvgeo::toOsg(line[i - 1]);
            const osg::Vec3d b = mvgeo::toOsg(line[i]);
            const double stretch = std::abs(terrain.distanceOf(b) - terrain.distanceOf(a));
            length += stretch;
            if (stretch < 1e-3) continue; // narrower than the others' rounding
            const osg::Vec3d middle = (a + b) * 0.5;
            const double difference = std::abs(middle.z() - profile.heightAt(terrain.distanceOf(middle)));
            if (!(difference <= greatest)) greatest = std::isnan(difference) ? kNotThere : difference;
        }
    return std::abs(length - kLength) < 1e-3 ? greatest : kNotThere;
}

/** Both must have found the same surface, and on the same tiles, none of them built for the occasion. */
void compareResults(benchmark::State& state, SectionTerrain& terrain, OsgSection peer)
{
    const GeoMeshStatistics before = terrain.statistics();
    const std::vector<Line> ours = terrain.section(terrain.passes(1));
    const GeoMeshStatistics after = terrain.statistics();
    const osg::ref_ptr<TileKeeper> tiles = terrain.newTileKeeper();
    const SurfaceLines theirs = terrain.osgSection(peer, *tiles);

    const auto files = static_cast<int>(after.tilesLoaded - before.tilesLoaded);
    const double difference = heightDifference(terrain, ours, theirs);
    state.counters["files"] = files;
    state.counters["their_files"] = tiles->readCount();
    state.counters["points"] = static_cast<double>(pointCount(ours));
    state.counters["lines"] = static_cast<double>(ours.size());
    state.counters["height_difference_mm"] = difference * 1e3;
    if (after.tilesBuilt != before.tilesBuilt) state.SkipWithError("tiles were not in the cache");
    if (!(difference <= 1e-3)) state.SkipWithError("the heights differ");
    // We ask for a tile's rectangle and they for its sphere, so that they read a few more.
    if (std::abs(files - tiles->readCount()) > files / 10) state.SkipWithError("the tiles differ");
}

// What does a straight section of 14 km cost, with everything below the root read from the disk cache and dropped
// again? Beside OSG's ways, which read the same files through the same reader. In CPU time; the target is a
// ratio of 1 over the elevation slice.
void BM_ColdSection(benchmark::State& state, OsgSection peer)
{
    SectionTerrain terrain;
    compareResults(state, terrain, peer);
    RatioTimer timer(RatioClock::cpu);
    const Line line = terrain.passes(1);
    for (auto _ : state)
        timer.pair(
            state, [&] { benchmark::DoNotOptimize(terrain.section(line)); },
            [&]
            {
                const osg::ref_ptr<TileKeeper> tiles = terrain.newTileKeeper();
                benchmark::DoNotOptimize(terrain.osgSection(peer, *tiles));
            });
    timer.report(state);
}
BENCHMARK_CAPTURE(BM_ColdSection, OverElevationSlice, &elevationSlice)
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ColdSection, OverPlaneIntersector, &planeCut)
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMillisecond);

std::pair<double, std::uint64_t> timedPasses(SectionTerrain& terrain, int count)
{
    const Line line = terrain.passes(count);
    const std::uint64_t filesBefore = terrain.statistics().tilesLoaded;
    const double seconds = RatioTimer::secondsOfCpu([&] { benchmark::DoNotOptimize(terrain.section(line)); });
    return {seconds, terrain.statistics().tilesLoaded - filesBefore};
}

// And where the tiles are in memory? A call holds them until it ends, so this is what each pass costs by which a call
// of many passes goes over one of few; both cut the same tiles, in a band of 8 m. OSG's ways cut once more with
// the tiles that they have kept. In CPU time; the target is a ratio of 1 over the elevation slice.
void BM_WarmSection(benchmark::State& state, OsgSection peer)
{
    SectionTerrain terrain;
    compareResults(state, terrain, peer);
    const osg::ref_ptr<TileKeeper> tiles = terrain.newTileKeeper();
    benchmark::DoNotOptimize(terrain.osgSection(peer, *tiles));
    RatioTimer timer;
    for (auto _ : state)
    {
        const auto [fewSeconds, fewFiles] = timedPasses(terrain, kFewPasses);
        const auto [manySeconds, manyFiles] = timedPasses(terrain, kManyPasses);
        if (fewFiles != manyFiles) state.SkipWithError("more passes took more files");
        const double ours = (manySeconds - fewSeconds) / (kManyPasses - kFewPasses);
        timer.add(ours, RatioTimer::secondsOfCpu([&] { benchmark::DoNotOptimize(terrain.osgSection(peer, *tiles)); }));
        state.SetIterationTime(ours);
    }
    timer.report(state);
}
BENCHMARK_CAPTURE(BM_WarmSection, OverElevationSlice, &elevationSlice)
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_WarmSection, OverPlaneIntersector, &planeCut)
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMillisecond);

// What do a thousand segments cost over one of the same length? In CPU time, cold; the target is a ratio of 3.
void BM_SectionOfSegments_OverOne(benchmark::State& state)
{
    SectionTerrain terrain;
    const Line one = terrain.passes(1);
    const Line many = terrain.inSegments(static_cast<int>(state.range(0)));
    std::vector<Line> drapedOne;
    std::vector<Line> drapedMany;
    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(
            state, [&] { drapedMany = terrain.section(many); }, [&] { drapedOne = terrain.section(one); });
    timer.report(state);
    state.counters["points"] = static_cast<double>(pointCount(drapedMany));
    state.counters["points_of_one"] = static_cast<double>(pointCount(drapedOne));
    state.counters["lines"] = static_cast<double>(drapedMany.size());
    SurfaceLines whole;
    for (const Line& line : drapedOne)
        std::transform(line.begin(), line.end(), std::back_inserter(whole.emplace_back()),
                       [](const KdGePoint3d& point) { return mvgeo::toOsg(point); });
    if (!(heightDifference(terrain, drapedMany, whole) <= 1e-3)) state.SkipWithError("the heights differ");
}
BENCHMARK(BM_SectionOfSegments_OverOne)->Arg(1000)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);

} // namespace
