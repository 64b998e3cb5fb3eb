#include <terrain/TerrainRegions.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace mvgeo::host;

namespace
{
RasterFacts facts(int width, int height, double pixel = 1.0, double west = 0.0, double north = 0.0)
{
    RasterFacts raster;
    raster.width = width;
    raster.height = height;
    raster.transform = {west, pixel, 0.0, north, 0.0, -pixel};
    return raster;
}

constexpr GroundRect kRoot{500000.0, 4000000.0, 516384.0, 4016384.0}; // a tile of level 4 is 1,024 m wide

osg::BoundingBoxd groundInView(const ViewFrame& frame)
{
    const osg::Matrixd toGround = osg::Matrixd::inverse(frame.view * frame.projection);
    osg::BoundingBoxd box;
    box.expandBy(osg::Vec3d(-1.0, -1.0, 0.0) * toGround);
    box.expandBy(osg::Vec3d(1.0, 1.0, 0.0) * toGround);
    return box;
}

double metresAPixel(const ViewFrame& frame)
{
    const osg::BoundingBoxd box = groundInView(frame);
    return (box.xMax() - box.xMin()) / frame.width;
}

/** True if a tile's sphere reaches into the window, both seen from above. */
bool reaches(const osg::BoundingBoxd& window, double centreX, double centreY, double radius)
{
    const double x = std::max({window.xMin() - centreX, 0.0, centreX - window.xMax()});
    const double y = std::max({window.yMin() - centreY, 0.0, centreY - window.yMax()});
    return std::hypot(x, y) <= radius;
}
} // namespace

TEST(TerrainRegions, CoverARootThatIsSquareInPixels)
{
    const GroundRect square = rootRectOf(facts(100, 100, 2.0, 10.0, 500.0));
    EXPECT_EQ(square.west, 10.0);
    EXPECT_EQ(square.east, 210.0);
    EXPECT_EQ(square.north, 500.0);
    EXPECT_EQ(square.south, 300.0);
}

// 100 x 61: 39 rows are missing, 19 of them go to the north and 20 to the south; and likewise for columns.
TEST(TerrainRegions, PadTheShorterSideWithTheOddOneInTheSouthOrEast)
{
    const GroundRect wide = rootRectOf(facts(100, 61));
    EXPECT_EQ(wide.north, 19.0);
    EXPECT_EQ(wide.south, -81.0);
    EXPECT_EQ(wide.west, 0.0);
    EXPECT_EQ(wide.east, 100.0);
    const GroundRect high = rootRectOf(facts(61, 100));
    EXPECT_EQ(high.west, -19.0);
    EXPECT_EQ(high.east, 81.0);
    EXPECT_EQ(high.north, 0.0);
    EXPECT_EQ(high.south, -100.0);
}

// 992 m with posts at 32 m steps in the root, if it had 31 steps: a tile is divided while half a step is at least a
// pixel. Pixels of 4 m: 16, 8, 4 m at the levels 0, 1, 2 divide; 2 m at level 3 does not, its children are the last.
TEST(TerrainRegions, EndWhereHalfAStepIsFinerThanThePixels)
{
    const GroundRect root{0.0, 0.0, 992.0, 992.0};
    const RasterFacts dem = facts(248, 248, 4.0);
    EXPECT_EQ(finestLevel(root, nullptr, &dem), 4);
    const RasterFacts coarse = facts(2, 2, 496.0);
    EXPECT_EQ(finestLevel(root, nullptr, &coarse), 1);
    // 255 steps of 992 / 255 m: with pixels of 0.25 m, half a step is 1.95, 0.97, 0.49, 0.24 m.
    const RasterFacts dom = facts(3968, 3968, 0.25);
    EXPECT_EQ(finestLevel(root, &dom, nullptr), 4);
    const RasterFacts fineDom = facts(7936, 7936, 0.125);
    EXPECT_EQ(finestLevel(root, &fineDom, &dem), 5); // the finer of both counts
}

TEST(TerrainRegions, CountTheFilesOfThePyramid)
{
    EXPECT_EQ(TerrainRegions(kRoot, 0).fileCount(), 1U);
    EXPECT_EQ(TerrainRegions(kRoot, 1).fileCount(), 2U);
    EXPECT_EQ(TerrainRegions(kRoot, 2).fileCount(), 6U);
    EXPECT_EQ(TerrainRegions(kRoot, 6).fileCount(), 1366U); // 1 + 1 + 4 + 16 + 64 + 256 + 1024
}

TEST(TerrainRegions, GrowInNumberAndNotInSize)
{
    EXPECT_EQ(TerrainRegions(kRoot, 0).count(), 0U);
    EXPECT_EQ(TerrainRegions(kRoot, 1).count(), 1U);
    EXPECT_EQ(TerrainRegions(kRoot, 4).count(), 1U);
    EXPECT_EQ(TerrainRegions(kRoot, 4).filesPerRegion(), 85U);
    EXPECT_EQ(TerrainRegions(kRoot, 6).count(), 16U);
    EXPECT_EQ(TerrainRegions(kRoot, 6).filesPerRegion(), 85U);
    EXPECT_EQ(TerrainRegions(kRoot, 16).count(), 1U << 24U);
}

TEST(TerrainRegions, FinishOneQuarterBeforeTheNext)
{
    const TerrainRegions regions(kRoot, 6); // 4 x 4 regions of 4,096 m
    const double expected[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {3, 0}, {2, 1}, {3, 1},
                                  {0, 2}, {1, 2}, {0, 3}, {1, 3}, {2, 2}, {3, 2}, {2, 3}, {3, 3}};
    for (std::uint64_t i = 0; i < 16; ++i)
    {
        SCOPED_TRACE(i);
        const GroundRect rect = regions.rect(i);
        EXPECT_EQ(rect.west, kRoot.west + 4096.0 * expected[i][0]);
        EXPECT_EQ(rect.south, kRoot.south + 4096.0 * expected[i][1]);
        EXPECT_EQ(rect.width(), 4096.0);
        EXPECT_EQ(rect.height(), 4096.0);
    }
}

// A tile's diagonal covers 512 pixels or more when it is divided.
TEST(TerrainRegions, AreSeenSoThatTheLastLevelIsNotDividedAndTheOneBeforeIs)
{
    for (const int last : {1, 3, 4, 6, 9})
    {
        SCOPED_TRACE(last);
        const double pixel = metresAPixel(TerrainRegions(kRoot, last).frame(0, {0.0, 3000.0}));
        const double lastDiagonal = std::hypot(kRoot.width(), kRoot.height()) / std::ldexp(1.0, last);
        EXPECT_LT(lastDiagonal / pixel, 400.0);
        EXPECT_GT(2.0 * lastDiagonal / pixel, 650.0);
    }
}

TEST(TerrainRegions, ShowAllOfTheirOwnTilesAndNoneOfTheFinestBeside)
{
    const TerrainRegions regions(kRoot, 6);
    const osg::BoundingBoxd window = groundInView(regions.frame(5, {0.0, 100.0}));
    const GroundRect region = regions.rect(5);
    constexpr double kTile = 512.0; // level 5, the last that is divided
    for (int column = -1; column <= 8; ++column)
        for (int row = -1; row <= 8; ++row)
        {
            const bool isInside = column >= 0 && column < 8 && row >= 0 && row < 8;
            const double x = region.west + (column + 0.5) * kTile;
            const double y = region.south + (row + 0.5) * kTile;
            EXPECT_EQ(reaches(window, x, y, kTile * std::sqrt(0.5)), isInside) << column << ", " << row;
        }
}

TEST(TerrainRegions, SeeAllHeights)
{
    const ViewFrame frame = TerrainRegions(kRoot, 2).frame(0, {-400.0, 9000.0});
    for (const double height : {-1000.0, 0.0, 10000.0})
    {
        const osg::Vec3d clip =
            osg::Vec3d(kRoot.west + 10.0, kRoot.south + 10.0, height) * frame.view * frame.projection;
        EXPECT_LT(std::abs(clip.z()), 1.0);
    }
}
