#include "readerwriterthreedimg/RasterWindow.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using mvgeo::CellPosition;
using mvgeo::RasterFrame;
using mvgeo::RasterWindow;
using mvgeo::SampleGrid;
using mvgeo::WindowAxis;

namespace
{

/** Pixels of one unit, the south-western corner at the origin. */
RasterFrame frame(int width, int height)
{
    return {0.0, static_cast<double>(height), 1.0, -1.0, width, height};
}

SampleGrid square(double west, double south, double side, int samples)
{
    return {west, south, west + side, south + side, samples, samples};
}

void expectAxis(const WindowAxis& axis, int first, int pixels, int cellsRead, int cells)
{
    EXPECT_EQ(axis.first, first);
    EXPECT_EQ(axis.pixels, pixels);
    EXPECT_EQ(axis.cellsRead, cellsRead);
    EXPECT_EQ(axis.cells, cells);
}

RasterWindow windowOf(const RasterFrame& raster, const SampleGrid& grid)
{
    const std::optional<RasterWindow> window = mvgeo::windowOver(raster, grid);
    EXPECT_TRUE(window.has_value());
    return window.value_or(RasterWindow());
}

// Step 100 / 31 = 3.2 pixels: cells of 2. Rows 0..60 are 30 whole cells and a half one, which repeats the last.
TEST(RasterWindow, OfARootTileTakesTheWholeRaster)
{
    const RasterWindow window = windowOf(frame(100, 61), {0.0, -20.0, 100.0, 80.0, 32, 32});
    EXPECT_EQ(window.scale, 2);
    expectAxis(window.x, 0, 100, 50, 51); // the last one: trunc(99 / 2 + 0.5) = 50
    expectAxis(window.y, 0, 60, 30, 31);  // trunc(60 / 2 + 0.5) = 30
}

// Step 25 / 31 < 1. Pixels 50..75, one more at both ends.
TEST(RasterWindow, OfAFineTileIsNotDecimated)
{
    const RasterWindow window = windowOf(frame(100, 100), square(50.0, 25.0, 25.0, 32));
    EXPECT_EQ(window.scale, 1);
    expectAxis(window.x, 49, 28, 28, 28);
    expectAxis(window.y, 49, 28, 28, 28);
}

// Step 250 / 31 = 8.06: cells of 8. From trunc(500 / 8) - 1 = 61 to trunc(750 / 8 + 0.5) + 1 = 95.
TEST(RasterWindow, OfACoarseTileInsideIsDecimated)
{
    const RasterWindow window = windowOf(frame(1000, 1000), square(500.0, 250.0, 250.0, 32));
    EXPECT_EQ(window.scale, 8);
    expectAxis(window.x, 488, 280, 35, 35);
    expectAxis(window.y, 488, 280, 35, 35);
}

TEST(RasterWindow, ReachesOnePixelBeyondATileOfPartsOfPixels)
{
    const RasterWindow window = windowOf(frame(100, 100), {10.4, 20.6, 11.4, 21.2, 3, 3});
    expectAxis(window.x, 9, 4, 4, 4);  // 10..11 -> 9..12
    expectAxis(window.y, 77, 4, 4, 4); // 100 - 21.2 = 78.8 -> 77, 100 - 20.6 = 79.4 -> 80
}

TEST(RasterWindow, IsClampedAtAllFourEdges)
{
    const RasterWindow southWest = windowOf(frame(10, 10), square(-5.0, -5.0, 10.0, 21));
    expectAxis(southWest.x, 0, 7, 7, 7); // to pixel 5 and one more
    expectAxis(southWest.y, 4, 6, 6, 6); // from pixel 5 and one before
    const RasterWindow northEast = windowOf(frame(10, 10), square(5.0, 5.0, 10.0, 21));
    expectAxis(northEast.x, 4, 6, 6, 6);
    expectAxis(northEast.y, 0, 7, 7, 7);
}

TEST(RasterWindow, TakesTheLargestPowerOfTwoThatFitsIntoTheStep)
{
    for (const auto& [step, scale] : {std::pair{0.5, 1}, {1.0, 1}, {1.99, 1}, {2.0, 2}, {3.99, 2}, {4.0, 4}, {8.0, 8}})
        EXPECT_EQ(windowOf(frame(1000, 1000), square(0.0, 0.0, step * 31.0, 32)).scale, scale) << "step " << step;
}

TEST(RasterWindow, GoesByTheFinerOfTheTwoAxes)
{
    EXPECT_EQ(windowOf(frame(1000, 1000), {0.0, 0.0, 8.0 * 31, 2.0 * 31, 32, 32}).scale, 2);
    EXPECT_EQ(windowOf(frame(1000, 1000), {0.0, 0.0, 8.0 * 31, 0.2 * 31, 32, 32}).scale, 1);
    RasterFrame oblong = frame(1000, 1000);
    oblong.pixelHeight = -0.125;
    oblong.originY = 125.0;
    EXPECT_EQ(windowOf(oblong, square(0.0, 0.0, 4.0 * 31, 32)).scale, 4); // 4 and 32 pixels
}

// 124 pixels under 31 steps are 4 each; the tile's own edges are rounded, and so is their difference.
TEST(RasterWindow, TakesAStepForAPowerOfTwoThatMissesItByRounding)
{
    for (const double pixel : {0.000833333333, 1.0 / 3.0, 0.1, 30.0 / 7.0})
        for (const double origin : {137.9995833, -0.1, 412345.67, 1.0e7 / 3.0})
        {
            const RasterFrame raster = {origin, origin, pixel, -pixel, 124 * 64, 124 * 64};
            for (int tile = 0; tile < 64; ++tile)
            {
                const double start = origin + tile * (124 * pixel);
                const double end = origin + (tile + 1) * (124 * pixel);
                const SampleGrid grid{start, origin - 124 * pixel, end, origin, 32, 32};
                ASSERT_EQ(windowOf(raster, grid).scale, 4) << "pixel " << pixel << " origin " << origin << ' ' << tile;
            }
        }
}

TEST(RasterWindow, IsNoneFarFromTheRaster)
{
    const RasterFrame raster = frame(10, 10);
    for (const auto& [west, south] : {std::pair{-1000.0, 0.0},
                                      {1000.0, 0.0},
                                      {0.0, -1000.0},
                                      {0.0, 1000.0},
                                      {1e300, 0.0},
                                      {0.0, -1e300},
                                      {1e308, 1e308}})
        EXPECT_FALSE(mvgeo::windowOver(raster, {west, south, west + 10.0, south + 10.0, 32, 32}))
            << west << ' ' << south;
}

TEST(RasterWindow, HasNoSampleInsideForWhatIsNoNumber)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const RasterFrame raster = frame(10, 10);
    for (const SampleGrid& grid :
         {SampleGrid{nan, 0.0, 10.0, 10.0, 3, 3}, {0.0, 0.0, nan, 10.0, 3, 3}, {nan, nan, nan, nan, 3, 3}})
    {
        const std::optional<RasterWindow> window = mvgeo::windowOver(raster, grid);
        if (!window) continue;
        for (const CellPosition& position : mvgeo::columnPositions(raster, grid, *window))
            EXPECT_FALSE(position.isInside());
    }
}

TEST(RasterWindow, CoversAWorldAroundASmallRaster)
{
    const RasterWindow window = windowOf(frame(10, 10), square(-1e300, -1e300, 2e300, 32));
    expectAxis(window.x, 0, 10, 1, 1);
    expectAxis(window.y, 0, 10, 1, 1);
}

TEST(RasterWindow, OfARasterOfOnePixelIsThatPixel)
{
    const RasterFrame raster = frame(1, 1);
    const SampleGrid grid = square(0.0, 0.0, 1.0, 32);
    const RasterWindow window = windowOf(raster, grid);
    EXPECT_EQ(window.scale, 1);
    expectAxis(window.x, 0, 1, 1, 1);
    expectAxis(window.y, 0, 1, 1, 1);
    for (const CellPosition& position : mvgeo::columnPositions(raster, grid, window))
    {
        EXPECT_EQ(position.lower, 0);
        EXPECT_EQ(position.upper, 0);
        EXPECT_EQ(position.fraction, 0.0);
    }
}

TEST(RasterWindow, OfARasterOneColumnWideIsThatColumn)
{
    const RasterWindow window = windowOf(frame(1, 37), {0.0, 0.0, 1.0, 37.0, 32, 32});
    EXPECT_EQ(window.scale, 1);
    expectAxis(window.x, 0, 1, 1, 1);
    expectAxis(window.y, 0, 37, 37, 37);
}

// Cells of 8 under 3 pixels: the one cell takes what is there.
TEST(RasterWindow, OfARasterNarrowerThanACellTakesAllPixels)
{
    const RasterWindow window = windowOf(frame(3, 3), square(0.0, -307.0, 310.0, 32));
    EXPECT_EQ(window.scale, 8);
    expectAxis(window.x, 0, 3, 1, 1);
    expectAxis(window.y, 0, 3, 1, 1);
}

// 100000 / 255 = 392 pixels a step: cells of 256, so that 390 x 390 are read and not 10^10.
TEST(RasterWindow, OfAHugeRasterStaysSmall)
{
    const RasterWindow window = windowOf(frame(100000, 100000), square(0.0, 0.0, 100000.0, 256));
    EXPECT_EQ(window.scale, 256);
    expectAxis(window.x, 0, 99840, 390, 392); // the last one: trunc(99999 / 256 + 0.5) = 391
    expectAxis(window.y, 0, 99840, 390, 392);
}

// No decimation by the steps in y, but 10^8 cells: the first power of two that leaves fewer than 2^24 is 8.
TEST(RasterWindow, OfALongThinRasterIsDecimatedAnyway)
{
    const RasterWindow window = windowOf(frame(100000000, 1), {0.0, 0.0, 1e8, 1.0, 32, 32});
    EXPECT_EQ(window.scale, 8);
    EXPECT_EQ(window.x.cells, 12500001);
    expectAxis(window.y, 0, 1, 1, 1);
}

TEST(RasterWindow, SurvivesTheLargestRaster)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    const RasterFrame raster = frame(kMost, kMost);
    const RasterWindow window = windowOf(raster, square(0.0, 0.0, kMost, 32));
    EXPECT_EQ(window.scale, 1 << 26); // 2^31 / 31 = 2^26.05
    expectAxis(window.x, 0, 31 << 26, 31, 33);
    const RasterWindow corner = windowOf(raster, square(kMost - 10.0, 0.0, 10.0, 32));
    EXPECT_EQ(corner.x.first, kMost - 11);
    EXPECT_EQ(corner.x.pixels, 11);
}

// 31 pixels under 32 posts: post i stands at the edge of pixel i, half a cell from both centres.
TEST(CellPositions, OfPostsOnPixelEdgesLieBetweenTheCells)
{
    const RasterFrame raster = frame(31, 31);
    const SampleGrid grid = square(0.0, 0.0, 31.0, 32);
    const RasterWindow window = windowOf(raster, grid);
    const std::vector<CellPosition> columns = mvgeo::columnPositions(raster, grid, window);
    ASSERT_EQ(columns.size(), 32U);
    EXPECT_EQ(columns[0].lower, 0); // half a cell outside: clamped
    EXPECT_EQ(columns[0].fraction, 0.0);
    for (int i = 1; i < 31; ++i)
    {
        const CellPosition& position = columns[static_cast<std::size_t>(i)];
        EXPECT_EQ(position.lower, i - 1);
        EXPECT_EQ(position.upper, i);
        EXPECT_EQ(position.fraction, 0.5);
    }
    EXPECT_EQ(columns[31].lower, 30);
    EXPECT_EQ(columns[31].upper, 30); // no neighbour in the east
    EXPECT_EQ(columns[31].fraction, 0.0);
}

TEST(CellPositions, OfRowsRunSouth)
{
    const RasterFrame raster = frame(10, 10);
    const SampleGrid grid = {2.0, 2.0, 8.0, 6.5, 13, 2};
    const std::vector<CellPosition> rows = mvgeo::rowPositions(raster, grid, windowOf(raster, grid));
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].lower, 1); // y 6.5 is pixel 3.5, a centre; the window begins at pixel 2
    EXPECT_EQ(rows[0].fraction, 0.0);
    EXPECT_EQ(rows[1].lower, 5); // y 2 is pixel 8
    EXPECT_EQ(rows[1].fraction, 0.5);
}

// Cells of two pixels have their centres at pixels 1, 3, 5.
TEST(CellPositions, CountInDecimatedCells)
{
    const RasterFrame raster = frame(10, 10);
    const SampleGrid grid = square(0.0, 0.0, 8.0, 5);
    const RasterWindow window = windowOf(raster, grid);
    ASSERT_EQ(window.scale, 2);
    const std::vector<CellPosition> columns = mvgeo::columnPositions(raster, grid, window);
    for (int i = 1; i < 5; ++i)
    {
        EXPECT_EQ(columns[static_cast<std::size_t>(i)].lower, i - 1);
        EXPECT_EQ(columns[static_cast<std::size_t>(i)].fraction, 0.5);
    }
}

TEST(CellPositions, OutsideTheWindowAreOutside)
{
    const RasterFrame raster = frame(4, 4);
    const SampleGrid grid = {-1.0, 0.0, 5.0, 4.0, 7, 5};
    const std::vector<CellPosition> columns = mvgeo::columnPositions(raster, grid, windowOf(raster, grid));
    EXPECT_FALSE(columns[0].isInside()); // x -1
    EXPECT_TRUE(columns[1].isInside());  // x 0, the raster's edge
    EXPECT_TRUE(columns[5].isInside());  // x 4, its other edge
    EXPECT_FALSE(columns[6].isInside());
}

TEST(CellPositions, ToleratesTheRoundingOfAnEdge)
{
    const RasterFrame raster = frame(4, 4);
    const SampleGrid grid = {-1e-9, 0.0, 4.0, 4.0, 5, 5};
    EXPECT_TRUE(mvgeo::columnPositions(raster, grid, windowOf(raster, grid))[0].isInside());
}

TEST(CellPositions, AreEqualForSumsThatDifferByRounding)
{
    const RasterFrame raster = frame(10, 10);
    const SampleGrid one = {2.3, 0.0, 6.3, 4.0, 5, 5};
    const SampleGrid other = {2.3 + 1e-10, 0.0, 6.3 - 1e-10, 4.0, 5, 5};
    const auto first = mvgeo::columnPositions(raster, one, windowOf(raster, one));
    const auto second = mvgeo::columnPositions(raster, other, windowOf(raster, other));
    for (std::size_t i = 0; i < 5; ++i)
    {
        EXPECT_EQ(first[i].lower, second[i].lower);
        EXPECT_EQ(first[i].fraction, second[i].fraction);
    }
}

// Posts at 1, 1 + 1 / 3, 1 + 2 / 3 and 2 by a lattice of thirds; coordinates miss them by more than they are rounded
// to.
TEST(CellPositions, LieOnTheLatticeThatTheirCoordinatesMean)
{
    const RasterFrame raster = frame(10, 10);
    SampleGrid grid = {1.0 + 3e-6, 8.0 - 4e-6, 2.0 - 2e-6, 9.0 + 1e-6, 4, 4};
    grid.latticeX = {-1.0, 1.0 / 3.0};
    grid.latticeY = {-2.0, 1.0 / 3.0};
    const RasterWindow window = windowOf(raster, grid);
    for (const auto& positions :
         {mvgeo::columnPositions(raster, grid, window), mvgeo::rowPositions(raster, grid, window)})
        for (int i = 0; i < 4; ++i)
        {
            const CellPosition& position = positions[static_cast<std::size_t>(i)];
            EXPECT_NEAR(position.lower + position.fraction, 1.0 + i / 3.0 - 0.5, 1e-12) << i; // the window begins at 0
        }
}

TEST(CellPositions, StayWhereTheyAreOffTheLattice)
{
    const RasterFrame raster = frame(10, 10);
    SampleGrid grid = {1.1, 8.1, 2.1, 9.1, 4, 4};
    const auto before = mvgeo::columnPositions(raster, grid, windowOf(raster, grid));
    for (const double spacing : {1.0, 0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    {
        grid.latticeX = {0.0, spacing};
        const auto after = mvgeo::columnPositions(raster, grid, windowOf(raster, grid));
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(before[i].fraction, after[i].fraction) << spacing;
    }
}

TEST(CellPositions, AreNearestToTheLowerCellUpToTheMiddle)
{
    EXPECT_EQ((CellPosition{3, 4, 0.0}).nearest(), 3);
    EXPECT_EQ((CellPosition{3, 4, 0.5}).nearest(), 3);
    EXPECT_EQ((CellPosition{3, 4, 0.50001}).nearest(), 4);
}

} // namespace
