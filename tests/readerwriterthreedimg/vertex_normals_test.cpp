#include "readerwriterthreedimg/VertexNormals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using mvgeo::computeVertexNormals;
using mvgeo::ElevationGrid;

namespace
{

constexpr float kNoData = -9999.0F;

/** Rows from north to south. */
ElevationGrid grid(int columns, const std::vector<float>& heights)
{
    ElevationGrid result(columns, static_cast<int>(heights.size()) / columns, 0.0F);
    result.heights = heights;
    return result;
}

osg::Vec3d middleNormal(const std::vector<float>& heights, float dx = 1.0F, float dy = 1.0F)
{
    return computeVertexNormals(grid(3, heights), dx, dy, kNoData).at(4);
}

void expectDirection(const osg::Vec3d& normal, osg::Vec3d expected)
{
    expected.normalize();
    EXPECT_NEAR(normal.x(), expected.x(), 1e-12);
    EXPECT_NEAR(normal.y(), expected.y(), 1e-12);
    EXPECT_NEAR(normal.z(), expected.z(), 1e-12);
}

TEST(VertexNormals, OfAPlaneAreUpright)
{
    expectDirection(middleNormal({7, 7, 7, 7, 7, 7, 7, 7, 7}), {0, 0, 1});
}

TEST(VertexNormals, LeanAwayFromARiseInTheEast)
{
    expectDirection(middleNormal({0, 2, 4, 0, 2, 4, 0, 2, 4}), {-2, 0, 1});
}

// 3 up per unit in y; the unit in x does not matter.
TEST(VertexNormals, LeanAwayFromARiseInTheNorth)
{
    expectDirection(middleNormal({6, 6, 6, 3, 3, 3, 0, 0, 0}, 2.0F, 1.0F), {0, -3, 1});
}

// 1 up per 4 units in x, 3 up per 2 units in y.
TEST(VertexNormals, AreInTheUnitOfTheHeights)
{
    expectDirection(middleNormal({6, 7, 8, 3, 4, 5, 0, 1, 2}, 4.0F, 2.0F), {-0.25, -1.5, 1});
}

// The raised post belongs to the north-eastern cell's second triangle, in whose place the flat first one counts.
TEST(VertexNormals, DoNotSeeTheSecondTriangleOfACell)
{
    expectDirection(middleNormal({0, 0, 1, 0, 0, 0, 0, 0, 0}), {0, 0, 1});
}

// First triangle of the south-western cell: (1, 1, 1), counted twice; the six others are (0, 0, 1).
TEST(VertexNormals, SeeTheFirstTriangleOfACellTwice)
{
    expectDirection(middleNormal({0, 0, 0, 0, 0, 0, 1, 0, 0}), {2, 2, 8});
}

// First triangles around a peak: north-east (1, 1, 1), south-west (0, 0, 1), north-west (-1, 0, 1), south-east
// (0, -1, 1). Twice each that is (0, 0, 8).
TEST(VertexNormals, OfAPeakAreUpright)
{
    expectDirection(middleNormal({0, 0, 0, 0, 1, 0, 0, 0, 0}), {0, 0, 1});
}

// Without the north-eastern post that cell's second triangle does not count: (1, 1, 1) goes in once.
TEST(VertexNormals, CountTheFirstTriangleOnceWhereTheSecondIsMissing)
{
    expectDirection(middleNormal({0, 0, kNoData, 0, 1, 0, 0, 0, 0}), {-1, -1, 7});
}

// Only the south-western cell is left, of which the first triangle has data: its diagonal has.
TEST(VertexNormals, OfAPostWithoutDataComeFromTheTrianglesBesideIt)
{
    expectDirection(middleNormal({0, 0, 0, 0, kNoData, 0, 1, 0, 0}), {1, 1, 1});
}

// The north-eastern cell's second triangle counts, and adds the first one's: nothing.
TEST(VertexNormals, AreZeroWhereTheSumIs)
{
    const osg::Vec3d normal = middleNormal({0, 0, 0, 0, kNoData, 0, kNoData, 0, 0});
    EXPECT_EQ(normal, osg::Vec3d(0, 0, 0));
}

TEST(VertexNormals, AreUprightWhereNothingCounts)
{
    EXPECT_EQ(middleNormal(std::vector<float>(9, kNoData)), osg::Vec3d(0, 0, 1));
    EXPECT_EQ(middleNormal({1, kNoData, 2, kNoData, kNoData, kNoData, 3, kNoData, 4}), osg::Vec3d(0, 0, 1));
}

TEST(VertexNormals, TakeWhatIsNoNumberForNoData)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    for (const float missing : {nan, infinite, -infinite})
        expectDirection(middleNormal({0, 0, missing, 0, 1, 0, 0, 0, 0}), {-1, -1, 7});
}

TEST(VertexNormals, SurviveExtremeHeights)
{
    const float most = std::numeric_limits<float>::max();
    for (const float height : {most, -most, 1e30F})
        for (const osg::Vec3d& normal :
             computeVertexNormals(grid(3, {height, 0, -height, 0, height, 0, -height, 0, 1}), 1.0F, 1.0F, kNoData))
        {
            EXPECT_TRUE(normal.valid());
            EXPECT_NEAR(normal.length(), 1.0, 1e-9);
        }
}

TEST(VertexNormals, OfTheBorderAreUpright)
{
    const std::vector<osg::Vec3d> normals =
        computeVertexNormals(grid(4, {0, 2, 4, 6, 0, 2, 4, 6, 0, 2, 4, 6}), 1.0F, 1.0F, kNoData);
    ASSERT_EQ(normals.size(), 12U);
    for (const std::size_t border : {0U, 1U, 2U, 3U, 4U, 7U, 8U, 9U, 10U, 11U})
        EXPECT_EQ(normals[border], osg::Vec3d(0, 0, 1)) << "post " << border;
    expectDirection(normals[5], {-2, 0, 1});
    expectDirection(normals[6], {-2, 0, 1});
}

TEST(VertexNormals, OfTheSmallestGridsAreUpright)
{
    EXPECT_EQ(computeVertexNormals(grid(1, {5}), 1.0F, 1.0F, kNoData).size(), 1U);
    EXPECT_EQ(computeVertexNormals(grid(3, {5, 6, 7}), 1.0F, 1.0F, kNoData).at(1), osg::Vec3d(0, 0, 1));
    EXPECT_TRUE(computeVertexNormals(ElevationGrid(), 1.0F, 1.0F, kNoData).empty());
}

} // namespace
