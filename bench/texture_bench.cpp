#include "RatioTimer.h"

#if defined(MVGEO_HAVE_KTX)
#include "BareKtx.h"
#include "TexturePicture.h"

#include "readerwriterktx/ReaderWriterKTX.h"

#include <osgDB/Options>

#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>
#endif

#include <benchmark/benchmark.h>

namespace
{

#if defined(MVGEO_HAVE_KTX)

using namespace mvgeo::bench;

/** Ours by its class: under the extension's name OSG may find a plug-in of its own first. */
osgDB::ReaderWriter& readerWriter()
{
    static const osg::ref_ptr<ReaderWriterKTX> ours = new ReaderWriterKTX;
    return *ours;
}

const osg::Image& picture(int side)
{
    static std::map<int, osg::ref_ptr<osg::Image>> pictures;
    osg::ref_ptr<osg::Image>& held = pictures[side];
    if (!held) held = groundPicture(side);
    return *held;
}

osg::ref_ptr<osgDB::Options> readingOptions(bool toBlocks)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setPluginStringData("UseRGBA", toBlocks ? "0" : "1");
    options->setPluginStringData("UseDXT", toBlocks ? "1" : "0");
    return options;
}

osg::ref_ptr<osgDB::Options> writingOptions(const KtxEncoding& encoding)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setPluginStringData("UseBASISU", "1");
    options->setPluginStringData("UseUASTC", encoding.uastc ? "1" : "0");
    options->setPluginStringData("ThreadCount", std::to_string(encoding.threads));
    options->setPluginStringData("CompressLevel", std::to_string(encoding.level));
    options->setPluginStringData("QualityLevel", std::to_string(encoding.quality));
    return options;
}

osg::ref_ptr<osg::Image> readThrough(std::istream& file, const osgDB::Options& options)
{
    file.clear();
    file.seekg(0);
    osg::ref_ptr<osg::Image> image = readerWriter().readImage(file, &options).takeImage();
    if (!image) throw std::runtime_error("the texture cannot be read");
    return image;
}

std::string writeThrough(const osg::Image& image, const osgDB::Options& options)
{
    std::ostringstream file(std::ios::binary);
    if (!readerWriter().writeImage(image, file, &options).success())
        throw std::runtime_error("the texture cannot be written");
    return file.str();
}

/** Both ways must have done the same work. */
void checkEqual(const osg::Image& ours, const PixelBuffer& bare)
{
    if (ours.getTotalSizeInBytesIncludingMipmaps() != bare.size ||
        std::memcmp(ours.data(), bare.bytes.get(), bare.size) != 0)
        throw std::logic_error("the pixels read differ from those of the yardstick");
}

// What do we add to what libktx needs for reading and transcoding a texture? The target is a ratio of 1.05. The file's
// bytes are in memory; they come to us through a stream, to libktx as they lie there.
void BM_ReadTexture_OverBareCalls(benchmark::State& state)
{
    const auto side = static_cast<int>(state.range(0));
    const bool toBlocks = state.range(2) != 0;
    KtxEncoding encoding;
    encoding.uastc = state.range(1) != 0;
    encoding.isTopFirst = true;
    const std::string file = writeBare(picture(side), encoding);
    const osg::ref_ptr<osgDB::Options> options = readingOptions(toBlocks);
    std::istringstream stream(file, std::ios::binary);
    checkEqual(*readThrough(stream, *options), readBare(file, toBlocks));

    const int repeats = side < 512 ? 8 : 1; // in each timing: short ones, so that few are disturbed
    const auto repeated = [repeats](auto work)
    {
        return [repeats, work]
        {
            for (int i = 0; i < repeats; ++i)
                benchmark::DoNotOptimize(work());
        };
    };
    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(state, repeated([&] { return readThrough(stream, *options); }),
                   repeated([&] { return readBare(file, toBlocks); }));
    timer.report(state);
    state.counters["us_each"] = timer.oursSeconds() * 1e6 / repeats;
    state.counters["file_bytes"] = static_cast<double>(file.size());
}
BENCHMARK(BM_ReadTexture_OverBareCalls)
    ->ArgNames({"side", "uastc", "bc"})
    ->ArgsProduct({{256, 1024}, {0, 1}, {0, 1}})
    ->UseManualTime()
    ->Iterations(201)
    ->Unit(benchmark::kMillisecond);

// The same for encoding and writing, with one thread. The target is a ratio of 1.02.
void BM_WriteTexture_OverBareCalls(benchmark::State& state)
{
    const osg::Image& source = picture(static_cast<int>(state.range(0)));
    KtxEncoding encoding;
    encoding.uastc = state.range(1) != 0;
    const osg::ref_ptr<osgDB::Options> options = writingOptions(encoding);
    std::string ours;
    std::string bare;
    RatioTimer timer(RatioClock::cpu);
    for (auto _ : state)
        timer.pair(
            state, [&] { ours = writeThrough(source, *options); }, [&] { bare = writeBare(source, encoding); });
    timer.report(state);
    state.counters["file_bytes"] = static_cast<double>(ours.size());
    state.counters["yardstick_bytes"] = static_cast<double>(bare.size());
}
BENCHMARK(BM_WriteTexture_OverBareCalls)
    ->ArgNames({"side", "uastc"})
    ->ArgsProduct({{256, 1024}, {0, 1}})
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

// How much of a picture is left after it was written compressed and read back? ETC1S by quality, and UASTC, which has
// none to choose; in decibels beside the source, and bits a pixel of the file.
void BM_WrittenTextureQuality(benchmark::State& state)
{
    constexpr int kSide = 512;
    const osg::Image& source = picture(kSide);
    KtxEncoding encoding;
    encoding.uastc = state.range(0) == 0;
    if (!encoding.uastc) encoding.quality = static_cast<int>(state.range(0));
    std::string file;
    double psnr = 0.0;
    for (auto _ : state)
    {
        file = writeThrough(source, *writingOptions(encoding));
        std::istringstream stream(file, std::ios::binary);
        psnr = psnrOf(*readThrough(stream, *readingOptions(/*toBlocks*/ false)), source);
    }
    state.counters["psnr_db"] = psnr;
    state.counters["bits_per_pixel"] = 8.0 * static_cast<double>(file.size()) / (kSide * kSide);
}
BENCHMARK(BM_WrittenTextureQuality)
    ->ArgName("quality")
    ->Arg(1)
    ->Arg(64)
    ->Arg(128)
    ->Arg(192)
    ->Arg(255)
    ->Arg(0)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

#else

void BM_Textures(benchmark::State& state)
{
    state.SkipWithError("this build has no libktx, so KTX textures can be neither read nor written");
}
BENCHMARK(BM_Textures);

#endif

} // namespace
