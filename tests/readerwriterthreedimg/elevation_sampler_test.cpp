#include "TerrainParts.h"
#include "readerwriterthreedimg/ElevationSampler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace terraintest;
using mvgeo::ElevationGrid;
using mvgeo::sampleDemGrid;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace
{

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr float kUndeclared = -1.0e10F; // the no-data value of a raster that declares none, as GDAL documents it
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/** A DEM in memory, pixels of one unit. */
class Dem
{
public:
    Dem(const TestRaster& raster, const RasterValue& value)
    {
        writeRaster(_path, raster, value);
        _rasters = openedRasters("", _path);
    }

    [[nodiscard]] std::optional<ElevationGrid> sample(const TerrainTileInfo& info)
    {
        return sampleDemGrid(*_rasters.dem, *_rasters.demDataset, info);
    }
    [[nodiscard]] std::vector<float> heights(const TerrainTileInfo& info)
    {
        return sample(info).value_or(ElevationGrid()).heights;
    }

private:
    const std::string _path = "/vsimem/elevation_sampler_test.tif";
    mvgeo::TerrainRasters _rasters;
};

/** 4 x 4 pixels with these values from north to south, without data where they are -1. */
Dem demOf(const std::vector<double>& values, GDALDataType type = GDT_Float32)
{
    TestRaster raster = floatDem(4, 4);
    raster.type = type;
    raster.noData = -1.0;
    return {raster,
            [&values](int, int column, int row) { return values.at(static_cast<std::size_t>(4 * row + column)); }};
}

/** The heights of a grid whose rows are all the same. */
std::vector<float> repeated(const std::vector<float>& row, int rows)
{
    std::vector<float> heights;
    for (int i = 0; i < rows; ++i)
        heights.insert(heights.end(), row.begin(), row.end());
    return heights;
}

double ramp(int /*band*/, int column, int row)
{
    return 1000.0 + 10.0 * column + 100.0 * row;
}

class ElevationSamplerOf : public testing::TestWithParam<GDALDataType>
{
protected:
    ElevationSamplerOf() { raster.type = GetParam(); }

    TestRaster raster = floatDem(4, 4);
};
INSTANTIATE_TEST_SUITE_P(Real, ElevationSamplerOf,
                         testing::Values(GDT_UInt16, GDT_Int16, GDT_UInt32, GDT_Int32, GDT_Float32, GDT_Float64),
                         [](const auto& type) { return std::string(GDALGetDataTypeName(type.param)); });

// Posts on pixel edges lie midway between two columns and two rows.
TEST_P(ElevationSamplerOf, TypeBlendsFourNeighbours)
{
    EXPECT_THAT(Dem(raster, ramp).heights(tileOver({1, 3, 1, 3}, 3)),
                ElementsAre(1055, 1065, 1075, 1155, 1165, 1175, 1255, 1265, 1275));
}

// Column 0.75 - 0.5, row 0.5: 1000 + 2.5 + 50.
TEST_P(ElevationSamplerOf, TypeIsWeightedByDistance)
{
    EXPECT_FLOAT_EQ(Dem(raster, ramp).heights(tileOver({0.75, 1.25, 2.5, 3}, 2)).at(0), 1052.5F);
}

// Every second post lies halfway between two columns: integers would lose the halves.
TEST_P(ElevationSamplerOf, TypeKeepsTheFractionsOfItsBlends)
{
    Dem dem(raster, [](int, int column, int) { return column == 0 ? 10.0 : column == 1 ? 11.0 : 14.0; });
    EXPECT_THAT(dem.heights(tileOver({0.5, 2.5, 1, 3}, 5)),
                ElementsAreArray(repeated({10.0F, 10.5F, 11.0F, 12.5F, 14.0F}, 5)));
}

// A file that GDAL computes from another: 0.3, 1.2, 2.7 and 3.3 are whole numbers once they are integers.
TEST(ElevationSampler, ReadsWhatADemOfIntegersRoundsTo)
{
    const TemporaryDirectory folder;
    TestRaster raster = floatDem(4, 4);
    raster.type = GDT_Int16;
    writeRaster(folder / "tenths.tif", raster,
                [](int, int column, int) {
                    return std::array{3, 12, 27, 33}.at(column);
                });
    writeVirtualRaster(folder / "dem.vrt", raster, folder / "tenths.tif", 0.1);
    const mvgeo::TerrainRasters rasters = openedRasters("", folder / "dem.vrt");
    ASSERT_NE(rasters.demDataset, nullptr);
    const std::optional<ElevationGrid> grid =
        sampleDemGrid(*rasters.dem, *rasters.demDataset, tileOver({0.5, 3.5, 0.5, 3.5}, 4));
    ASSERT_TRUE(grid);
    EXPECT_THAT(grid->heights, ElementsAreArray(repeated({0.0F, 1.0F, 3.0F, 3.0F}, 4)));
}

TEST(ElevationSampler, KeepsLargeAndNegativeValues)
{
    TestRaster raster = floatDem(4, 4);
    raster.type = GDT_UInt32;
    EXPECT_THAT(Dem(raster, [](int, int, int) { return 4.0e9; }).heights(tileOver({1, 3, 1, 3}, 2)),
                ElementsAre(4.0e9F, 4.0e9F, 4.0e9F, 4.0e9F));
    raster.type = GDT_Int32;
    EXPECT_THAT(Dem(raster, [](int, int, int) { return -2.0e9; }).heights(tileOver({1, 3, 1, 3}, 2)),
                ElementsAre(-2.0e9F, -2.0e9F, -2.0e9F, -2.0e9F));
    raster.type = GDT_Int16;
    EXPECT_THAT(Dem(raster, [](int, int, int) { return -32768.0; }).heights(tileOver({1, 3, 1, 3}, 2)),
                ElementsAre(-32768.0F, -32768.0F, -32768.0F, -32768.0F));
    raster.type = GDT_UInt16;
    EXPECT_THAT(Dem(raster, [](int, int, int) { return 65535.0; }).heights(tileOver({1, 3, 1, 3}, 2)),
                ElementsAre(65535.0F, 65535.0F, 65535.0F, 65535.0F));
}

TEST(ElevationSampler, HoldsTheOuterHalfPixelsAtTheLastOnes)
{
    Dem dem(floatDem(4, 4), [](int, int column, int) { return 10.0 + 10.0 * column; });
    const ElevationGrid grid = dem.sample(tileOver({0, 4, 0, 4}, 5)).value();
    const std::vector<float> expected = {10, 15, 25, 35, 40};
    for (int row = 0; row < 5; ++row)
        for (int column = 0; column < 5; ++column)
            EXPECT_EQ(grid.at(column, row), expected.at(static_cast<std::size_t>(column)));
}

TEST(ElevationSampler, GivesPostsOutsideTheRasterItsNoDataValue)
{
    TestRaster raster = floatDem(4, 4);
    raster.noData = -32767.0;
    Dem dem(raster, [](int, int, int) { return 8.0; });
    EXPECT_THAT(dem.heights(tileOver({-4, 4, 0, 4}, 3)), ElementsAre(-32767, 8, 8, -32767, 8, 8, -32767, 8, 8));
    EXPECT_THAT(dem.heights(tileOver({0, 4, -4, 4}, 3)), ElementsAre(8, 8, 8, 8, 8, 8, -32767, -32767, -32767));
}

TEST(ElevationSampler, GivesNothingBesideTheRaster)
{
    Dem dem(floatDem(4, 4), ramp);
    EXPECT_FALSE(dem.sample(tileOver({100, 104, 0, 4}, 3)));
    EXPECT_FALSE(dem.sample(tileOver({0, 4, -104, -100}, 3)));
}

// Cells of 4 pixels: GDAL takes the one behind the middle, columns 2 and 6; nothing is averaged.
TEST(ElevationSampler, TakesOnePixelOfEachDecimatedCell)
{
    Dem dem(floatDem(8, 8), [](int, int column, int) { return column; });
    EXPECT_THAT(dem.heights(tileOver({0, 8, 0, 8}, 3)), ElementsAre(2, 4, 6, 2, 4, 6, 2, 4, 6));
}

// The pixels of a cell do not depend on where the window begins.
TEST(ElevationSampler, SeesTheSameDecimatedCellsFromEveryTile)
{
    TestRaster raster = floatDem(64, 64);
    Dem dem(raster, [](int, int column, int row) { return (column * 7919 + row * 104729) % 1000; });
    const ElevationGrid whole = dem.sample(tileOver({0, 64, 0, 64}, 17)).value(); // a post each 4 pixels
    const ElevationGrid part = dem.sample(tileOver({16, 48, 8, 40}, 9)).value();
    for (int row = 0; row < 9; ++row)
        for (int column = 0; column < 9; ++column)
            EXPECT_EQ(part.at(column, row), whole.at(column + 4, row + 6)) << column << ' ' << row;
}

// A tile 1 x 1 whose north-western post stands at the centre of pixel (1, 1), the others east and south of it.
TEST(ElevationSampler, TakesAPixelWhollyFromItsCentre)
{
    EXPECT_EQ(demOf({0, 0, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}).heights(tileOver({1.5, 2.5, 1.5, 2.5}, 2)).at(0),
              9);
}

// Pixel (1, 1) has no data. A post at (1.25, 1) is three quarters towards column 1, midway between rows 0 and 1.
TEST(ElevationSampler, TakesTheNearestPixelBesideOneWithoutData)
{
    Dem dem = demOf({10, 20, 30, 40, 50, -1, 70, 80, 90, 100, 110, 120, 130, 140, 150, 160});
    EXPECT_EQ(dem.heights(tileOver({1.25, 3, 1, 3}, 2)).at(0), 20);    // column 1, row 0: the middle goes north
    EXPECT_EQ(dem.heights(tileOver({1, 3, 1, 2.75}, 2)).at(0), 50);    // column 0, row 1: the middle goes west
    EXPECT_EQ(dem.heights(tileOver({1.25, 3, 1, 2.75}, 2)).at(0), -1); // itself
    EXPECT_EQ(dem.heights(tileOver({2.1, 3, 1, 1.9}, 2)).at(0), 110);  // pixel (2, 2)
}

TEST(ElevationSampler, BlendsAgainAwayFromThePixelWithoutData)
{
    Dem dem = demOf({10, 20, 30, 40, 50, -1, 70, 80, 90, 100, 110, 120, 130, 140, 150, 160});
    EXPECT_EQ(dem.heights(tileOver({3, 4, 1, 3}, 2)).at(0), 55); // between 30, 40, 70 and 80
}

TEST(ElevationSampler, TakesTheNoDataValueThatGdalReportsWhereNoneIsDeclared)
{
    Dem dem(floatDem(4, 4), [](int, int, int) { return 8.0; });
    EXPECT_EQ(dem.heights(tileOver({-4, 4, 0, 4}, 3)).at(0), kUndeclared);
}

class ElevationHole : public testing::TestWithParam<double>
{
};

TEST_P(ElevationHole, IsNoDataThoughUndeclared)
{
    for (const GDALDataType type : {GDT_Float32, GDT_Float64})
    {
        TestRaster raster = floatDem(4, 4);
        raster.type = type;
        Dem dem(raster, [](int, int column, int row) { return column == 1 && row == 1 ? GetParam() : 8.0; });
        const TerrainTileInfo info = tileOver({0, 4, 0, 4}, 17);
        const std::vector<float> heights = dem.heights(info);
        ASSERT_EQ(heights.size(), 289U);
        int holes = 0;
        for (const float height : heights)
        {
            EXPECT_TRUE(height == 8.0F || height == kUndeclared) << height;
            if (height == kUndeclared) ++holes;
        }
        EXPECT_EQ(holes, 16); // posts 5..8 each way, whose nearest pixel it is; at 1 and 2 exactly it is the lower one
    }
}

INSTANTIATE_TEST_SUITE_P(NotANumber, ElevationHole, testing::Values(kNan, kInfinity, -kInfinity));

// As many programs write for "nothing" in doubles.
TEST(ElevationSampler, TakesDoublesBeyondFloatsForNoData)
{
    TestRaster raster = floatDem(4, 4);
    raster.type = GDT_Float64;
    for (const double value : {1e300, -1e300, std::numeric_limits<double>::max(), -std::numeric_limits<double>::max()})
    {
        Dem dem(raster, [value](int, int, int) { return value; });
        EXPECT_THAT(dem.heights(tileOver({0, 4, 0, 4}, 5)), ElementsAreArray(std::vector<float>(25, kUndeclared)));
        raster.noData = -std::numeric_limits<double>::max();
        Dem declared(raster, [value](int, int, int) { return value; });
        EXPECT_THAT(declared.heights(tileOver({0, 4, 0, 4}, 5)),
                    ElementsAreArray(std::vector<float>(25, -std::numeric_limits<float>::max())));
        raster.noData.reset();
    }
}

TEST(ElevationSampler, KnowsADeclaredNotANumber)
{
    TestRaster raster = floatDem(4, 4);
    raster.noData = kNan;
    Dem dem(raster, [](int, int column, int) { return column < 2 ? kNan : 8.0; });
    const ElevationGrid grid = dem.sample(tileOver({0, 4, 0, 4}, 5)).value();
    EXPECT_TRUE(std::isnan(grid.at(0, 0)));
    EXPECT_TRUE(std::isnan(grid.at(2, 2))); // midway: the western one
    EXPECT_EQ(grid.at(3, 2), 8.0F);
}

TEST(ElevationSampler, BlendsExtremeHeightsToFiniteOnes)
{
    Dem dem(floatDem(4, 4), [](int, int column, int) { return column % 2 == 0 ? 3.4e38 : -3.4e38; });
    const std::vector<float> heights = dem.heights(tileOver({0, 4, 0, 4}, 32));
    ASSERT_EQ(heights.size(), 32U * 32U);
    for (const float height : heights)
        EXPECT_TRUE(std::isfinite(height));
}

TEST(ElevationSampler, OfOnePixelIsThatEverywhere)
{
    Dem dem(floatDem(1, 1), [](int, int, int) { return 42.0; });
    EXPECT_THAT(dem.heights(tileOver({0, 1, 0, 1}, 32)), ElementsAreArray(std::vector<float>(32U * 32U, 42.0F)));
}

TEST(ElevationSampler, FailsAndSaysSoOnceWhereTheRasterCannotBeRead)
{
    const TemporaryDirectory folder;
    LogRecorder log;
    writeVirtualRaster(folder / "dem.vrt", floatDem(4, 4), folder / "gone.tif");
    mvgeo::TerrainRasters rasters = openedRasters("", folder / "dem.vrt");
    ASSERT_NE(rasters.demDataset, nullptr);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(sampleDemGrid(*rasters.dem, *rasters.demDataset, tileOver({0, 4, 0, 4}, 5)));
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + (folder / "dem.vrt")), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(rasters.dem->readFailureCount(), 3U);
}

} // namespace
