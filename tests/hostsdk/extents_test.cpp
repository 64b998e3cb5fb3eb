#include "KdDbExtents.h"

#include "KdGeMatrix3d.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

constexpr double kQuarterTurn = 1.5707963267948966;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

void expectBox(const KdDbExtents& box, const KdGePoint3d& min, const KdGePoint3d& max)
{
    EXPECT_NEAR(box.minPoint().x, min.x, 1e-12);
    EXPECT_NEAR(box.minPoint().y, min.y, 1e-12);
    EXPECT_NEAR(box.minPoint().z, min.z, 1e-12);
    EXPECT_NEAR(box.maxPoint().x, max.x, 1e-12);
    EXPECT_NEAR(box.maxPoint().y, max.y, 1e-12);
    EXPECT_NEAR(box.maxPoint().z, max.z, 1e-12);
}

TEST(KdDbExtents, IsEmptyByDefault)
{
    const KdDbExtents box;
    EXPECT_FALSE(box.isValid());
    EXPECT_EQ(box.minPoint().x, 1e20);
    EXPECT_EQ(box.maxPoint().z, -1e20);
}

TEST(KdDbExtents, IsNotValidWithAMinimumAboveItsMaximum)
{
    EXPECT_TRUE(KdDbExtents({0, 0, 0}, {1, 1, 1}).isValid());
    EXPECT_FALSE(KdDbExtents({2, 0, 0}, {1, 1, 1}).isValid());
    EXPECT_FALSE(KdDbExtents({0, 2, 0}, {1, 1, 1}).isValid());
    EXPECT_FALSE(KdDbExtents({0, 0, 2}, {1, 1, 1}).isValid());
    EXPECT_FALSE(KdDbExtents({0, kNan, 0}, {1, 1, 1}).isValid());
}

TEST(KdDbExtents, TheFirstPointIsTheWholeBox)
{
    KdDbExtents box;
    box.addPoint({1e21, -5, 3}); // beyond the corners of the empty box
    EXPECT_TRUE(box.isValid());
    EXPECT_EQ(box.minPoint().x, 1e21);
    EXPECT_EQ(box.maxPoint().x, 1e21);
    EXPECT_EQ(box.maxPoint().y, -5);
}

TEST(KdDbExtents, GrowsByPoints)
{
    KdDbExtents box;
    box.addPoint({1, 2, 3});
    box.addPoint({-1, 5, 3});
    box.addPoint({0, 3, -7});
    expectBox(box, {-1, 2, -7}, {1, 5, 3});
}

TEST(KdDbExtents, APointWithoutAPlaceAddsNothing)
{
    KdDbExtents box({0, 0, 0}, {1, 1, 1});
    box.addPoint({5, kNan, 5});
    expectBox(box, {0, 0, 0}, {1, 1, 1});
}

TEST(KdDbExtents, GrowsByABox)
{
    KdDbExtents box({0, 0, 0}, {1, 1, 1});
    box.addExtents(KdDbExtents({-2, 0.5, 0}, {0, 3, 0.5}));
    expectBox(box, {-2, 0, 0}, {1, 3, 1});
}

TEST(KdDbExtents, AnEmptyBoxAddsNothing)
{
    KdDbExtents box({0, 0, 0}, {1, 1, 1});
    box.addExtents(KdDbExtents());
    expectBox(box, {0, 0, 0}, {1, 1, 1});
}

TEST(KdDbExtents, AnEmptyBoxBecomesTheBoxAdded)
{
    KdDbExtents box;
    box.addExtents(KdDbExtents({4, 5, 6}, {7, 8, 9}));
    expectBox(box, {4, 5, 6}, {7, 8, 9});
}

// A quarter turn about z takes (x, y) to (-y, x).
TEST(KdDbExtents, TurnsAboutTheOrigin)
{
    KdDbExtents box({1, 2, 3}, {4, 6, 5});
    box.transformBy(KdGeMatrix3d::rotation(kQuarterTurn, KdGeVector3d(0, 0, 1)));
    expectBox(box, {-6, 1, 3}, {-2, 4, 5});
}

// The unit square on its corner is sqrt(2) wide.
TEST(KdDbExtents, EnclosesAllEightCornersOfATurnedBox)
{
    KdDbExtents box({0, 0, 0}, {1, 1, 1});
    box.transformBy(KdGeMatrix3d::rotation(kQuarterTurn / 2, KdGeVector3d(0, 0, 1)));
    expectBox(box, {-0.70710678118654752, 0, 0}, {0.70710678118654752, 1.4142135623730951, 1});
}

TEST(KdDbExtents, AMirroredBoxStaysValid)
{
    KdDbExtents box({1, 2, 3}, {4, 5, 6});
    box.transformBy(KdGeMatrix3d::scaling(-1));
    expectBox(box, {-4, -5, -6}, {-1, -2, -3});
    EXPECT_TRUE(box.isValid());
}

TEST(KdDbExtents, AnEmptyBoxStaysAsItIs)
{
    KdDbExtents box;
    box.transformBy(KdGeMatrix3d::translation(KdGeVector3d(1e19, 0, 0)) * KdGeMatrix3d::scaling(-1));
    EXPECT_FALSE(box.isValid());
    EXPECT_EQ(box.minPoint().x, 1e20);
    EXPECT_EQ(box.maxPoint().x, -1e20);
}

TEST(KdDbExtents, ATransformWithoutAPlaceEmptiesTheBox)
{
    KdDbExtents box({0, 0, 0}, {1, 1, 1});
    box.transformBy(KdGeMatrix3d::scaling(kNan));
    EXPECT_FALSE(box.isValid());
}

} // namespace
