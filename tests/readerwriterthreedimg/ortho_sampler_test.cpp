#include "TerrainParts.h"
#include "readerwriterthreedimg/OrthoSampler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace terraintest;
using testing::Each;
using testing::ElementsAre;

namespace
{

constexpr const char* kPath = "/vsimem/ortho_sampler_test.tif";

/** The sampled bytes; empty if sampling failed. */
std::vector<int> sampled(const TestRaster& raster, const RasterValue& value, const Rectangle& extent, int pixels)
{
    writeRaster(kPath, raster, value);
    const mvgeo::TerrainRasters rasters = openedRasters(kPath, "");
    const mvgeo::RgbPixels rgb = mvgeo::sampleDomImage(*rasters.dom, *rasters.domDataset, tileOver(extent, 2, pixels));
    if (!rgb) return {};
    return {rgb.get(), rgb.get() + 3 * pixels * pixels};
}

TestRaster grey(int width, int height)
{
    TestRaster raster = colourDom(width, height);
    raster.bands = 1;
    return raster;
}

// 2 x 2 pixels sampled at their centres: red, green, blue and white.
TEST(OrthoSampler, TakesRowsFromNorthToSouth)
{
    const auto colour = [](int band, int column, int row)
    {
        constexpr int kColours[2][2][3] = {{{255, 1, 1}, {1, 255, 1}}, {{1, 1, 255}, {255, 255, 255}}};
        return kColours[row][column][band - 1];
    };
    EXPECT_THAT(sampled(colourDom(2, 2), colour, {0.5, 1.5, 0.5, 1.5}, 2),
                ElementsAre(255, 1, 1, 1, 255, 1, 1, 1, 255, 255, 255, 255));
}

// Columns 1 and 254, midway between them: 127.5, of which the fraction is dropped.
TEST(OrthoSampler, BlendsAndDropsTheFraction)
{
    const std::vector<int> rgb = sampled(
        colourDom(2, 2), [](int band, int column, int) { return band == 1 ? 1 + 253 * column : 9; }, {0, 2, 0, 2}, 3);
    EXPECT_THAT(rgb, ElementsAre(1, 9, 9, 127, 9, 9, 254, 9, 9, //
                                 1, 9, 9, 127, 9, 9, 254, 9, 9, //
                                 1, 9, 9, 127, 9, 9, 254, 9, 9));
}

TEST(OrthoSampler, ShowsOneBandAsGrey)
{
    EXPECT_THAT(
        sampled(
            grey(2, 2), [](int, int column, int row) { return 5 + 10 * column + 100 * row; }, {0.5, 1.5, 0.5, 1.5}, 2),
        ElementsAre(5, 5, 5, 15, 15, 15, 105, 105, 105, 115, 115, 115));
}

TEST(OrthoSampler, LeavesTheSecondOfTwoBandsOut)
{
    TestRaster raster = colourDom(2, 2);
    raster.bands = 2;
    EXPECT_THAT(sampled(
                    raster, [](int band, int, int) { return band == 1 ? 70 : 255; }, {0, 2, 0, 2}, 2),
                Each(70));
}

TEST(OrthoSampler, LeavesTheFourthBandOut)
{
    TestRaster raster = colourDom(2, 2);
    raster.bands = 4;
    raster.colours = {GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_AlphaBand};
    const std::vector<int> rgb = sampled(
        raster, [](int band, int, int) { return 40 * band; }, {0, 2, 0, 2}, 2);
    ASSERT_EQ(rgb.size(), 12U);
    for (std::size_t i = 0; i < rgb.size(); i += 3)
        EXPECT_THAT(std::vector<int>(rgb.begin() + static_cast<int>(i), rgb.begin() + static_cast<int>(i) + 3),
                    ElementsAre(40, 80, 120));
}

TEST(OrthoSampler, GoesByTheBandsColourTags)
{
    TestRaster raster = colourDom(1, 1);
    raster.colours = {GCI_BlueBand, GCI_GreenBand, GCI_RedBand};
    EXPECT_THAT(sampled(
                    raster, [](int band, int, int) { return 40 * band; }, {0, 1, 0, 1}, 1 + 1),
                ElementsAre(120, 80, 40, 120, 80, 40, 120, 80, 40, 120, 80, 40));
}

// Between two entries the colours are blended, not the numbers: entry 2 never shows.
TEST(OrthoSampler, LooksPaletteColoursUpBeforeBlending)
{
    TestRaster raster = grey(2, 1);
    raster.palette = {{1, 2, 3}, {200, 0, 0}, {4, 5, 6}, {0, 100, 0}};
    EXPECT_THAT(sampled(
                    raster, [](int, int column, int) { return 1 + 2 * column; }, {0, 2, 0, 1}, 3),
                ElementsAre(200, 0, 0, 100, 50, 0, 0, 100, 0, 200, 0, 0, 100, 50, 0, 0, 100, 0, 200, 0, 0, 100, 50, 0,
                            0, 100, 0));
}

TEST(OrthoSampler, ShowsAPaletteIndexWithoutEntryAsTheLastOne)
{
    TestRaster raster = grey(1, 1);
    raster.type = GDT_UInt16;
    raster.palette = std::vector<std::array<std::uint8_t, 3>>(65536, {7, 8, 9});
    EXPECT_THAT(sampled(
                    raster, [](int, int, int) { return 65535; }, {0, 1, 0, 1}, 2),
                ElementsAre(7, 8, 9, 7, 8, 9, 7, 8, 9, 7, 8, 9));
}

// 0..1000 over 0..255: 500 is 127.5, rounded.
TEST(OrthoSampler, SpreadsSixteenBitsOverTheirRange)
{
    TestRaster raster = grey(3, 1);
    raster.type = GDT_UInt16;
    EXPECT_THAT(sampled(
                    raster, [](int, int column, int) { return 500 * column; }, {0, 3, 0, 1}, 2),
                ElementsAre(0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255));
    EXPECT_EQ(sampled(
                  raster, [](int, int column, int) { return 500 * column; }, {0, 3, 0, 1}, 3)
                  .at(3),
              128);
}

TEST(OrthoSampler, TakesFloatsUpToOneForShares)
{
    TestRaster raster = grey(3, 1);
    raster.type = GDT_Float32;
    const std::vector<int> rgb = sampled(
        raster, [](int, int column, int) { return 0.4 * column; }, {0, 3, 0, 1}, 3);
    EXPECT_EQ(rgb.at(0), 0);
    EXPECT_EQ(rgb.at(3), 102); // 0.4 * 255
    EXPECT_EQ(rgb.at(6), 204);
}

TEST(OrthoSampler, ShowsNoNumbersAsBlackAndBlendsNothingWithThem)
{
    TestRaster raster = grey(3, 1);
    raster.type = GDT_Float32;
    const std::vector<int> rgb = sampled(
        raster, [](int, int column, int) { return column == 1 ? std::numeric_limits<double>::quiet_NaN() : 1.0; },
        {0, 3, 0, 1}, 7); // samples each half pixel
    const std::vector<int> firstRow(rgb.begin(), rgb.begin() + 21);
    EXPECT_THAT(firstRow, ElementsAre(255, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255,
                                      255, 255));
}

// Samples at each quarter pixel from the first one's centre; 7 in the first channel is "nothing".
TEST(OrthoSampler, TakesTheNearestPixelBesideOneWithoutData)
{
    TestRaster raster = colourDom(4, 1);
    raster.noData = 7.0;
    const std::vector<int> rgb = sampled(
        raster,
        [](int band, int column, int)
        {
            const int red[4] = {7, 100, 200, 200};
            return band == 1 ? red[column] : 50;
        },
        {0.5, 2.5, 0, 1}, 9);
    std::vector<int> reds;
    for (std::size_t i = 0; i < 27; i += 3)
        reds.push_back(rgb.at(i));
    EXPECT_THAT(reds, ElementsAre(7, 7, 7, 100, 100, 125, 150, 175, 200));
}

TEST(OrthoSampler, JudgesNoDataByTheFirstChannelAlone)
{
    TestRaster raster = colourDom(2, 1);
    raster.noData = 7.0;
    const std::vector<int> rgb = sampled(
        raster, [](int band, int column, int) { return band == 1 ? 100 : 7 + 20 * column; }, {0, 2, 0, 1}, 3);
    EXPECT_EQ(rgb.at(4), 17); // blended though 7 is there
}

// Samples one pixel apart, the raster in the tile's north-eastern quarter.
TEST(OrthoSampler, GivesPixelsOutsideTheNoDataByte)
{
    TestRaster raster = colourDom(4, 4);
    raster.noData = 200.0;
    const std::vector<int> rgb = sampled(
        raster, [](int, int, int) { return 50; }, {-4, 4, -4, 4}, 9);
    ASSERT_EQ(rgb.size(), 3U * 81U);
    for (std::size_t i = 0; i < rgb.size(); ++i)
    {
        const bool isInside = i / 3 % 9 >= 4 && i / 27 <= 4;
        EXPECT_EQ(rgb[i], isInside ? 50 : 200) << "column " << i / 3 % 9 << " row " << i / 27;
    }
}

TEST(OrthoSampler, IsBlackOutsideARasterThatDeclaresNoData)
{
    const std::vector<int> rgb = sampled(
        colourDom(4, 4), [](int, int, int) { return 50; }, {-4, 4, 0, 4}, 3);
    EXPECT_EQ(rgb.at(0), 0);
    EXPECT_EQ(rgb.at(3), 50);
}

TEST(OrthoSampler, GivesNothingBesideTheRaster)
{
    EXPECT_THAT(sampled(
                    colourDom(4, 4), [](int, int, int) { return 50; }, {100, 104, 0, 4}, 4),
                testing::IsEmpty());
}

TEST(OrthoSampler, FailsAndSaysSoOnceWhereTheRasterCannotBeRead)
{
    const TemporaryDirectory folder;
    LogRecorder log;
    writeVirtualRaster(folder / "dom.vrt", colourDom(4, 4), folder / "gone.tif");
    const mvgeo::TerrainRasters rasters = openedRasters(folder / "dom.vrt", "");
    ASSERT_NE(rasters.domDataset, nullptr);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(mvgeo::sampleDomImage(*rasters.dom, *rasters.domDataset, tileOver({0, 4, 0, 4}, 5)));
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + (folder / "dom.vrt")), 1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(NoDataByte, IsTheIntegerPartCutToEightBits)
{
    EXPECT_EQ(mvgeo::noDataByte(0.0F), 0);
    EXPECT_EQ(mvgeo::noDataByte(255.0F), 255);
    EXPECT_EQ(mvgeo::noDataByte(256.0F), 0);
    EXPECT_EQ(mvgeo::noDataByte(-1.0F), 255);
    EXPECT_EQ(mvgeo::noDataByte(1.9F), 1);
    EXPECT_EQ(mvgeo::noDataByte(-9999.0F), 241); // -40 * 256 + 241
}

TEST(NoDataByte, IsBlackForWhatIsNoInteger)
{
    for (const float value : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(), 3.4e38F, -3.4e38F})
        EXPECT_EQ(mvgeo::noDataByte(value), 0);
}

TEST(UniformImage, IsOfOneValue)
{
    const TerrainTileInfo info = tileOver({0, 1, 0, 1}, 2, 5);
    const mvgeo::RgbPixels pixels = mvgeo::uniformImage(info, 201);
    EXPECT_THAT(std::vector<int>(pixels.get(), pixels.get() + 75), Each(201));
}

// ---- a window that has data everywhere takes another way through the code

constexpr int kWidth = 40;
constexpr int kHeight = 30;
constexpr int kPixels = 64;

std::vector<int> noise()
{
    std::mt19937 random(7);
    std::vector<int> values(3 * kWidth * kHeight);
    for (int& value : values)
        value = static_cast<int>(1 + random() % 254); // 0 and 255 stay free
    return values;
}

RasterValue valueOf(const std::vector<int>& values)
{
    return [&values](int band, int column, int row)
    { return values.at(static_cast<std::size_t>((row * kWidth + column) * 3 + band - 1)); };
}

/** The same by the formula, one sample after the other. The raster's pixels are units, its south-western corner the
 * origin. */
double expectedByte(const std::vector<int>& values, int channel, double x, double y)
{
    const auto at = [&](double column, double row)
    { return values.at(static_cast<std::size_t>((row * kWidth + column) * 3 + channel)); };
    const double gx = std::max(x - 0.5, 0.0);
    const double gy = std::max(kHeight - y - 0.5, 0.0);
    const double i0 = std::floor(gx);
    const double j0 = std::floor(gy);
    const double i1 = std::min(i0 + 1, kWidth - 1.0);
    const double j1 = std::min(j0 + 1, kHeight - 1.0);
    const double fx = i0 == i1 ? 0.0 : gx - i0;
    const double fy = j0 == j1 ? 0.0 : gy - j0;
    return (1 - fx) * (1 - fy) * at(i0, j0) + fx * (1 - fy) * at(i1, j0) + (1 - fx) * fy * at(i0, j1) +
           fx * fy * at(i1, j1);
}

TEST(OrthoSampler, AgreesWithTheFormulaOnNoise)
{
    const std::vector<int> values = noise();
    for (const Rectangle& extent : {Rectangle{0, 40, 0, 30}, {3.3, 17.7, 5.1, 20.9}, {39, 40, 0, 1}, {7, 8, 7, 8}})
    {
        const std::vector<int> rgb = sampled(colourDom(kWidth, kHeight), valueOf(values), extent, kPixels);
        ASSERT_EQ(rgb.size(), 3U * kPixels * kPixels);
        const double stepX = (extent.xmax - extent.xmin) / (kPixels - 1);
        const double stepY = (extent.ymax - extent.ymin) / (kPixels - 1);
        for (int i = 0; i < kPixels * kPixels * 3; ++i)
        {
            const int column = i / 3 % kPixels;
            const int row = i / 3 / kPixels;
            const double expected =
                expectedByte(values, i % 3, extent.xmin + column * stepX, extent.ymax - row * stepY);
            const int byte = rgb[static_cast<std::size_t>(i)];
            // A thousandth for positions rounded to 2^-20 pixel and for floats.
            ASSERT_TRUE(byte <= expected + 1e-3 && byte + 1 >= expected - 1e-3)
                << "channel " << i % 3 << " column " << column << " row " << row << ": " << byte << ", " << expected;
        }
    }
}

// Pixel 9 is read, one beyond the tile, but touches no sample: everything must come out alike.
TEST(OrthoSampler, GivesTheSameWhetherAnUnusedPixelHasDataOrNot)
{
    std::vector<int> values = noise();
    const Rectangle extent{10.6, 30.2, 5.7, 25.9};
    TestRaster raster = colourDom(kWidth, kHeight);
    raster.noData = 255.0;
    const std::vector<int> before = sampled(raster, valueOf(values), extent, kPixels);
    values.at(static_cast<std::size_t>(10 * kWidth + 9) * 3) = 255;
    const std::vector<int> after = sampled(raster, valueOf(values), extent, kPixels);
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(before, after);
}

} // namespace
