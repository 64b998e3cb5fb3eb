#include "mvgdaldatasetmanager/OrthoLayout.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <gdal_priv.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <utility>
#include <vector>

namespace
{

using Bands = std::array<int, 3>;
using Colour = std::array<std::uint8_t, 3>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

class OrthoLayoutTest : public testing::Test
{
protected:
    OrthoLayout layoutOf(const TestRaster& raster, const RasterValue& value) const
    {
        const std::string path = folder / "image.tif";
        writeRaster(path, raster, value);
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str()));
        return orthoLayoutOf(*dataset);
    }

    OrthoLayout layoutOfBands(int bands, const std::vector<GDALColorInterp>& colours = {}) const
    {
        TestRaster raster;
        raster.bands = bands;
        raster.colours = colours;
        return layoutOf(raster, [](int band, int, int) { return band; });
    }

    /** Of a grey raster of one row with these samples. */
    OrthoLayout layoutOfSamples(GDALDataType type, const std::vector<double>& samples,
                                std::optional<double> noData = std::nullopt) const
    {
        TestRaster raster;
        raster.type = type;
        raster.width = static_cast<int>(samples.size());
        raster.height = 1;
        raster.noData = noData;
        return layoutOf(raster, [&](int, int column, int) { return samples[static_cast<std::size_t>(column)]; });
    }

    TemporaryDirectory folder;
};

void expectRange(const OrthoLayout& layout, double offset, double scale)
{
    EXPECT_FALSE(layout.isByte);
    EXPECT_DOUBLE_EQ(layout.offset, offset);
    EXPECT_DOUBLE_EQ(layout.scale, scale);
}

TEST_F(OrthoLayoutTest, OfThreeBandsIsTheirOrder)
{
    const OrthoLayout layout = layoutOfBands(3);
    EXPECT_EQ(layout.bands, (Bands{1, 2, 3}));
    EXPECT_TRUE(layout.isByte);
    EXPECT_TRUE(layout.palette.empty());
    EXPECT_EQ(layout.offset, 0.0);
    EXPECT_EQ(layout.scale, 1.0);
}

TEST_F(OrthoLayoutTest, FollowsTheColourTags)
{
    EXPECT_EQ(layoutOfBands(3, {GCI_BlueBand, GCI_GreenBand, GCI_RedBand}).bands, (Bands{3, 2, 1}));
    EXPECT_EQ(layoutOfBands(4, {GCI_Undefined, GCI_RedBand, GCI_GreenBand, GCI_BlueBand}).bands, (Bands{2, 3, 4}));
    EXPECT_EQ(layoutOfBands(4, {GCI_Undefined, GCI_BlueBand, GCI_GreenBand, GCI_RedBand}).bands, (Bands{4, 3, 2}));
}

TEST_F(OrthoLayoutTest, LeavesTheFourthBandOut)
{
    EXPECT_EQ(layoutOfBands(4, {GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_AlphaBand}).bands, (Bands{1, 2, 3}));
    EXPECT_EQ(layoutOfBands(5, std::vector<GDALColorInterp>(5, GCI_Undefined)).bands, (Bands{1, 2, 3}));
}

TEST_F(OrthoLayoutTest, TakesTheBandsInOrderIfAColourIsNotTagged)
{
    const std::vector<GDALColorInterp> noBlue = {GCI_Undefined, GCI_GreenBand, GCI_RedBand, GCI_Undefined};
    EXPECT_EQ(layoutOfBands(4, noBlue).bands, (Bands{1, 2, 3}));
}

TEST_F(OrthoLayoutTest, OfOneOrTwoBandsIsGrey)
{
    EXPECT_EQ(layoutOfBands(1).bands, (Bands{1, 1, 1}));
    EXPECT_EQ(layoutOfBands(2, {GCI_GrayIndex, GCI_AlphaBand}).bands, (Bands{1, 1, 1}));
}

TEST_F(OrthoLayoutTest, OfAPalettedImageHasItsColours)
{
    TestRaster raster;
    raster.palette = {{10, 20, 30}, {255, 0, 128}};
    const OrthoLayout layout = layoutOf(raster, [](int, int column, int) { return column % 2; });
    EXPECT_EQ(layout.bands, (Bands{1, 1, 1}));
    EXPECT_TRUE(layout.isByte);
    ASSERT_GE(layout.palette.size(), 2U);
    EXPECT_EQ(layout.palette[0], (Colour{10, 20, 30}));
    EXPECT_EQ(layout.palette[1], (Colour{255, 0, 128}));
}

struct PaletteCase
{
    GDALPaletteInterp kind;
    GDALColorEntry entry;
    Colour expected;

    friend std::ostream& operator<<(std::ostream& text, const PaletteCase& one)
    {
        return text << GDALGetPaletteInterpretationName(one.kind) << ' ' << one.entry.c1 << ' ' << one.entry.c2;
    }
};

class PaletteKinds : public testing::TestWithParam<PaletteCase>
{
};

TEST_P(PaletteKinds, BecomeRedGreenAndBlue)
{
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("MEM");
    const GDALDatasetUniquePtr dataset(driver->Create("", 2, 2, 1, GDT_Byte, nullptr));
    GDALColorTable table(GetParam().kind);
    table.SetColorEntry(0, &GetParam().entry);
    dataset->GetRasterBand(1)->SetColorTable(&table);
    dataset->GetRasterBand(1)->SetColorInterpretation(GCI_PaletteIndex);

    const OrthoLayout layout = orthoLayoutOf(*dataset);
    ASSERT_EQ(layout.palette.size(), 1U);
    EXPECT_EQ(layout.palette[0], GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, PaletteKinds,
                         testing::Values(PaletteCase{GPI_RGB, {1, 2, 3, 0}, {1, 2, 3}},
                                         PaletteCase{GPI_RGB, {-5, 300, 3, 255}, {0, 255, 3}}, // no byte holds these
                                         PaletteCase{GPI_Gray, {77, 1, 2, 3}, {77, 77, 77}},
                                         PaletteCase{
                                             GPI_CMYK, {0, 100, 255, 55}, {200, 100, 0}}, // 255 less ink and black
                                         PaletteCase{GPI_HLS, {10, 99, 30, 0}, {99, 99, 99}})); // its lightness alone

TEST_F(OrthoLayoutTest, LeavesIntegersUpTo255AsTheyAre)
{
    expectRange(layoutOfSamples(GDT_UInt16, {0, 17, 255}), 0.0, 1.0);
    expectRange(layoutOfSamples(GDT_Int16, {5, 6, 7}), 0.0, 1.0);
    expectRange(layoutOfSamples(GDT_Int32, {0, 1}), 0.0, 1.0); // not brightened, unlike fractions
}

TEST_F(OrthoLayoutTest, StretchesWiderIntegers)
{
    expectRange(layoutOfSamples(GDT_UInt16, {100, 1120, 300}), 100.0, 0.25); // 255 / 1020
    expectRange(layoutOfSamples(GDT_Int16, {-100, 155}), -100.0, 1.0);
    expectRange(layoutOfSamples(GDT_UInt32, {0, 4294967295.0}), 0.0, 255.0 / 4294967295.0);
}

TEST_F(OrthoLayoutTest, LeavesFractionsUpTo255AsTheyAre)
{
    expectRange(layoutOfSamples(GDT_Float32, {0.0, 12.5, 255.0}), 0.0, 1.0);
}

TEST_F(OrthoLayoutTest, SpreadsFractionsUpToOneOverAllBytes)
{
    expectRange(layoutOfSamples(GDT_Float32, {0.0, 0.25, 1.0}), 0.0, 255.0);
    expectRange(layoutOfSamples(GDT_Float64, {0.5, 0.25}), 0.0, 255.0);
}

TEST_F(OrthoLayoutTest, StretchesOtherFractions)
{
    expectRange(layoutOfSamples(GDT_Float32, {-1.0, 1.0}), -1.0, 127.5);
    expectRange(layoutOfSamples(GDT_Float64, {1000.0, 1002.0}), 1000.0, 127.5);
}

TEST_F(OrthoLayoutTest, StretchesTheThreeColoursTogether)
{
    TestRaster raster;
    raster.type = GDT_UInt16;
    raster.bands = 4; // the fourth, 40000, is not shown
    raster.colours = {GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_Undefined};
    const std::vector<double> values = {200, 710, 455, 40000};
    expectRange(layoutOf(raster, [&](int band, int, int) { return values[static_cast<std::size_t>(band - 1)]; }), 200.0,
                0.5); // 255 / 510
}

// From 100 to 610: 255 / 510.
TEST_F(OrthoLayoutTest, LooksPastSamplesWithoutData)
{
    expectRange(layoutOfSamples(GDT_Float32, {kNan, 100.0, 610.0, kNan}), 100.0, 0.5);
    expectRange(layoutOfSamples(GDT_Float32, {kInfinity, 100.0, 610.0, -kInfinity}), 100.0, 0.5);
    expectRange(layoutOfSamples(GDT_UInt16, {65535, 100, 610}, 65535.0), 100.0, 0.5);
    expectRange(layoutOfSamples(GDT_Float32, {kNan, 100.0, 610.0}, kNan), 100.0, 0.5);
    expectRange(layoutOfSamples(GDT_Float32, {kInfinity, 100.0, 610.0}, kInfinity), 100.0, 0.5);
}

// The pixel is the float next to -9999.9; not every format rounds what it declares in the same way.
TEST_F(OrthoLayoutTest, KnowsANoDataValueThatIsNoFloat)
{
    TestRaster raster;
    raster.type = GDT_Float32;
    raster.driver = "ENVI";
    raster.noData = -9999.9;
    const std::vector<double> row = {-9999.9, 100.0, 610.0, 100.0};
    expectRange(layoutOf(raster, [&](int, int column, int) { return row[static_cast<std::size_t>(column)]; }), 100.0,
                0.5);
}

TEST_F(OrthoLayoutTest, LeavesAnImageWithoutAnyDataAsItIs)
{
    expectRange(layoutOfSamples(GDT_Float32, {kNan, kNan}), 0.0, 1.0);
    expectRange(layoutOfSamples(GDT_UInt16, {9999, 9999}, 9999.0), 0.0, 1.0);
}

TEST_F(OrthoLayoutTest, OfOneValueOnlyDividesByNothing)
{
    expectRange(layoutOfSamples(GDT_UInt16, {0, 0}), 0.0, 1.0);
    expectRange(layoutOfSamples(GDT_UInt16, {1000, 1000}), 1000.0, 1.0);
    expectRange(layoutOfSamples(GDT_Float32, {-7.5, -7.5}), -7.5, 1.0);
    expectRange(layoutOfSamples(GDT_Float32, {0.0, 0.0}), 0.0, 255.0);
}

TEST_F(OrthoLayoutTest, StaysFiniteOverTheWholeRangeOfDoubles)
{
    const OrthoLayout layout = layoutOfSamples(GDT_Float64, {-1.5e308, 1.5e308});
    EXPECT_EQ(layout.offset, -1.5e308);
    EXPECT_DOUBLE_EQ(layout.scale, 127.5 / 1.5e308);
}

TEST_F(OrthoLayoutTest, OfSamplesThatCannotBeReadIsTheDefault)
{
    const std::string path = folder / "image.vrt";
    writeFile(path, "<VRTDataset rasterXSize=\"4\" rasterYSize=\"4\"><VRTRasterBand dataType=\"Float32\" band=\"1\">"
                    "<SimpleSource><SourceFilename relativeToVRT=\"1\">missing.tif</SourceFilename>"
                    "<SourceProperties RasterXSize=\"4\" RasterYSize=\"4\" DataType=\"Float32\"/>"
                    "</SimpleSource></VRTRasterBand></VRTDataset>");
    GDALAllRegister();
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str()));
    ASSERT_NE(dataset, nullptr);
    const OrthoLayout layout = orthoLayoutOf(*dataset);
    EXPECT_EQ(layout.bands, (Bands{1, 1, 1}));
    expectRange(layout, 0.0, 1.0);
}

// A ramp from 1000 to 3999 has 2 % of it below 1060 and above 3939; the samples stand 3000 / 256 apart.
TEST_F(OrthoLayoutTest, OfALargeImageIsTakenFromSamplesAllOverIt)
{
    TestRaster raster;
    raster.type = GDT_UInt16;
    raster.width = 3000;
    raster.height = 300;
    const OrthoLayout layout = layoutOf(raster, [](int, int column, int) { return 1000 + column; });
    EXPECT_NEAR(layout.offset, 1060.0, 24.0);
    EXPECT_NEAR(layout.offset + 255.0 / layout.scale, 3939.0, 24.0);
}

// 100 pixels: one glares, one is dead; the others, of 1000 and 1510, keep all contrast (255 / 510).
TEST_F(OrthoLayoutTest, LooksPastAFewGlaringAndDeadPixels)
{
    TestRaster raster;
    raster.type = GDT_UInt16;
    raster.width = 10;
    raster.height = 10;
    expectRange(layoutOf(raster,
                         [](int, int column, int row)
                         {
                             if (row == 0 && column == 0) return 65535;
                             if (row == 9 && column == 9) return 0;
                             return column < 5 ? 1000 : 1510;
                         }),
                1000.0, 0.5);
}

TEST_F(OrthoLayoutTest, DoesNotBelieveASideFilesStatistics)
{
    const std::string path = folder / "image.tif";
    TestRaster raster;
    raster.type = GDT_UInt16;
    writeRaster(path, raster, [](int, int column, int) { return 100 + 340 * column; }); // up to 1120
    writeFile(path + ".aux.xml", "<PAMDataset><PAMRasterBand band=\"1\"><Metadata>"
                                 "<MDI key=\"STATISTICS_MINIMUM\">0</MDI><MDI key=\"STATISTICS_MAXIMUM\">65535</MDI>"
                                 "</Metadata></PAMRasterBand></PAMDataset>");
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str()));
    ASSERT_EQ(dataset->GetRasterBand(1)->GetMaximum(), 65535.0);
    expectRange(orthoLayoutOf(*dataset), 100.0, 0.25);
}

} // namespace
