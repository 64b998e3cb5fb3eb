#include "BareTerrainWork.h"
#include "RatioTimer.h"
#include "TerrainFiles.h"
#include "TerrainWalk.h"

#include "readerwriterthreedimg/MeshClipByRasterOverlay.h"
#include "readerwriterthreedimg/OrthoSampler.h"
#include "support/VisitorGeometry.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <stdexcept>

namespace
{

using namespace mvgeo::bench;

constexpr int kImageSide = 256;
constexpr std::size_t kImageBytes = std::size_t{3} * kImageSide * kImageSide;
constexpr int kRepeats = 100; // in each timing: one takes less than a millisecond

template <typename Work>
auto repeated(Work work)
{
    return [work]
    {
        for (int i = 0; i < kRepeats; ++i)
            work();
    };
}

void reportMicroseconds(benchmark::State& state, const RatioTimer& timer)
{
    timer.report(state);
    state.counters["us_each"] = timer.oursSeconds() * 1e6 / kRepeats;
}

// What does cutting a quarter out of a tile's mesh cost, beside one copy of the image that it carries? A tile of 32 x
// 32 posts with normals and skirts.
void BM_OverlayClip_OverImageCopy(benchmark::State& state)
{
    const osg::ref_ptr<osg::Node> root = terrainBranch(terrainFiles(true), 0, 0).front();
    TerrainTileInfo quarter;
    if (!mvgeo::childTileInfo(infoOf(*root), 0, quarter)) throw std::logic_error("no quarter 0");
    VisitorGeometry collector;
    root->accept(collector);
    const osg::ref_ptr<osg::Geometry> parent = collector.geometries().front();
    const osg::ref_ptr<osg::Image> image = mvgeo::textureOf(*parent)->getImage();

    const auto clip = [&]
    {
        const osg::ref_ptr<MeshClipByRasterOverlay> clipper = new MeshClipByRasterOverlay;
        clipper->setRectangle(quarter.startX - quarter.offsetX, quarter.endX - quarter.offsetX,
                              quarter.startY - quarter.offsetY, quarter.endY - quarter.offsetY);
        osg::ref_ptr<osg::Geometry> result;
        clipper->clip(parent, 10.0, image, result);
        benchmark::DoNotOptimize(result.get());
    };
    std::vector<unsigned char> copy(kImageBytes);
    const auto copyImage = [&]
    {
        std::memcpy(copy.data(), image->data(), kImageBytes);
        benchmark::ClobberMemory();
    };
    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(state, repeated(clip), repeated(copyImage));
    reportMicroseconds(state, timer);
}
BENCHMARK(BM_OverlayClip_OverImageCopy)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);

/** Which cells of an ortho-image have no data. */
enum class Holes
{
    none,
    half,     // all to one side of a slanting line: the edge of a flight strip
    scattered // one in a hundred: black specks in an image that declares black as no-data
};

/** An image in memory of 1024 x 1024 pixels of one unit, and the tile of 256 x 256 of them in its middle. */
class OrthoScene
{
public:
    explicit OrthoScene(Holes holes) : _path("/vsimem/ortho-bench-" + std::to_string(static_cast<int>(holes)) + ".tif")
    {
        write(holes);
        if (!_header->open(KdString(_path.c_str()))) throw std::runtime_error("cannot open " + _path);
        _tile.imageWidth = _tile.imageHeight = kImageSide;
        _tile.startX = _tile.startY = 384.3;
        _tile.endX = _tile.endY = 640.6;
    }

    void sample() const { benchmark::DoNotOptimize(mvgeo::sampleDomImage(*_header, *_header->getDataset(), _tile)); }

    void readBare()
    {
        constexpr int kFirst = 383;
        constexpr int kCells = 258;
        _cells.resize(std::size_t{3} * kCells * kCells);
        const CPLErr error = _header->getDataset()->RasterIO(GF_Read, kFirst, kFirst, kCells, kCells, _cells.data(),
                                                             kCells, kCells, GDT_Byte, 3, nullptr, 3, 3 * kCells, 1);
        if (error != CE_None) throw std::runtime_error(CPLGetLastErrorMsg());
        benchmark::ClobberMemory();
    }

private:
    static constexpr int kSide = 1024;

    static bool isHole(Holes holes, int column, int row)
    {
        if (holes == Holes::half) return 3 * column + row > 2 * kSide;
        return holes == Holes::scattered &&
               (std::uint32_t(row) * kSide + std::uint32_t(column)) * 2654435761U % 100 == 0;
    }

    void write(Holes holes) const
    {
        GDALAllRegister();
        std::vector<unsigned char> pixels(std::size_t{3} * kSide * kSide);
        for (int row = 0; row < kSide; ++row)
            for (int column = 0; column < kSide; ++column)
                if (!isHole(holes, column, row))
                    std::memset(
                        &pixels[3U * (static_cast<std::size_t>(row) * kSide + static_cast<std::size_t>(column))],
                        1 + (row ^ column) % 255, 3);

        std::array<const char*, 3> options = {"TILED=YES", "INTERLEAVE=PIXEL", nullptr};
        const GDALDatasetUniquePtr raster(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
            _path.c_str(), kSide, kSide, 3, GDT_Byte, const_cast<char**>(options.data())));
        std::array<double, 6> transform = {0.0, 1.0, 0.0, kSide, 0.0, -1.0};
        if (!raster || raster->SetGeoTransform(transform.data()) != CE_None ||
            raster->GetRasterBand(1)->SetNoDataValue(0.0) != CE_None ||
            raster->RasterIO(GF_Write, 0, 0, kSide, kSide, pixels.data(), kSide, kSide, GDT_Byte, 3, nullptr, 3,
                             3 * kSide, 1) != CE_None)
            throw std::runtime_error(CPLGetLastErrorMsg());
    }

    std::string _path;
    osg::ref_ptr<ImageHeader> _header = new ImageHeader;
    TerrainTileInfo _tile;
    std::vector<unsigned char> _cells;
};

// What does sampling a tile's image add to reading its pixels?
void BM_SampleOrtho_OverBareRead(benchmark::State& state)
{
    OrthoScene scene(static_cast<Holes>(state.range(0)));
    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(state, repeated([&] { scene.sample(); }), repeated([&] { scene.readBare(); }));
    reportMicroseconds(state, timer);
}
BENCHMARK(BM_SampleOrtho_OverBareRead)
    ->ArgName("holes")
    ->DenseRange(0, 2)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

// How much more does a tile with holes cost than one without? The target is a ratio of 1.5.
void BM_SampleOrthoWithHoles_OverWithout(benchmark::State& state)
{
    const OrthoScene whole(Holes::none);
    const OrthoScene holed(static_cast<Holes>(state.range(0)));
    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(state, repeated([&] { holed.sample(); }), repeated([&] { whole.sample(); }));
    reportMicroseconds(state, timer);
}
BENCHMARK(BM_SampleOrthoWithHoles_OverWithout)
    ->ArgName("holes")
    ->DenseRange(1, 2)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

} // namespace
