#include "mvclipregions/ConvexPolygon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace
{

using mvgeo::ConvexPolygon;
using mvgeo::HalfSpace;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr double kTolerance = 1e-9;
const ConvexPolygon kSquare{{0, 0, 5}, {10, 0, 5}, {10, 10, 5}, {0, 10, 5}};
const HalfSpace kEastOf4{{4, 0, 0}, {1, 0, 0}};

double areaOf(const ConvexPolygon& polygon)
{
    osg::Vec3d sum;
    for (std::size_t i = 2; i < polygon.size(); ++i)
        sum += (polygon[i - 1] - polygon[0]) ^ (polygon[i] - polygon[0]);
    return 0.5 * sum.length();
}

double areaOf(const std::vector<ConvexPolygon>& polygons)
{
    double sum = 0.0;
    for (const ConvexPolygon& polygon : polygons)
        sum += areaOf(polygon);
    return sum;
}

/** Corners counter-clockwise. */
std::array<HalfSpace, 3> triangle(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c)
{
    return {mvgeo::halfSpaceLeftOf(a, b), mvgeo::halfSpaceLeftOf(b, c), mvgeo::halfSpaceLeftOf(c, a)};
}

} // namespace

TEST(ConvexPolygon, IsCutInTwo)
{
    const mvgeo::CutPolygon halves = mvgeo::cutPolygon(kSquare, kEastOf4, kTolerance);
    EXPECT_THAT(halves.inside,
                ElementsAre(osg::Vec3d(4, 0, 5), osg::Vec3d(10, 0, 5), osg::Vec3d(10, 10, 5), osg::Vec3d(4, 10, 5)));
    EXPECT_THAT(halves.outside,
                ElementsAre(osg::Vec3d(0, 0, 5), osg::Vec3d(4, 0, 5), osg::Vec3d(4, 10, 5), osg::Vec3d(0, 10, 5)));
}

TEST(ConvexPolygon, StaysWholeBesideThePlane)
{
    const HalfSpace eastOf10{{10, 0, 0}, {1, 0, 0}};
    const HalfSpace westOf10{{10, 0, 0}, {-1, 0, 0}};
    EXPECT_EQ(mvgeo::cutPolygon(kSquare, eastOf10, kTolerance).outside, kSquare);
    EXPECT_THAT(mvgeo::cutPolygon(kSquare, eastOf10, kTolerance).inside, IsEmpty());
    EXPECT_EQ(mvgeo::cutPolygon(kSquare, westOf10, kTolerance).inside, kSquare);
    EXPECT_THAT(mvgeo::cutPolygon(kSquare, westOf10, kTolerance).outside, IsEmpty());
}

TEST(ConvexPolygon, CornersWithinTheToleranceLieOnThePlane)
{
    const HalfSpace almostEastOf10{{10 - 0.5 * kTolerance, 0, 0}, {1, 0, 0}};
    EXPECT_EQ(mvgeo::cutPolygon(kSquare, almostEastOf10, kTolerance).outside, kSquare);
    const HalfSpace clearlyEastOf10{{10 - 2.0 * kTolerance, 0, 0}, {1, 0, 0}};
    EXPECT_THAT(mvgeo::cutPolygon(kSquare, clearlyEastOf10, kTolerance).inside, SizeIs(4));
}

TEST(ConvexPolygon, IsInsideIfItLiesInThePlane)
{
    const ConvexPolygon wall{{4, 0, 0}, {4, 10, 0}, {4, 10, 5}};
    EXPECT_EQ(mvgeo::cutPolygon(wall, kEastOf4, kTolerance).inside, wall);
    EXPECT_THAT(mvgeo::cutPolygon(wall, kEastOf4, kTolerance).outside, IsEmpty());
}

// Two areas with a common edge share out every point, so the depths must be opposite to the last bit.
TEST(ConvexPolygon, BothSidesOfAnEdgeHaveOppositeDepths)
{
    const osg::Vec3d from(0.1, 0.7, 3);
    const osg::Vec3d to(123.4, -56.7, 9);
    const HalfSpace left = mvgeo::halfSpaceLeftOf(from, to);
    const HalfSpace right = mvgeo::halfSpaceLeftOf(to, from);
    for (const osg::Vec3d& point : {osg::Vec3d(1.3, 8.9, 0), osg::Vec3d(-4e6, 77.1, 5), osg::Vec3d(61.75, -28, 0)})
        EXPECT_EQ(left.depthOf(point), -right.depthOf(point));
    EXPECT_GT(left.depthOf({0, 100, 0}), 0.0);
}

// The triangle under the diagonal of the square from 5 to 15 has its corner from 5 to 10 in the square: 12.5.
TEST(ConvexPolygon, IsClippedToATriangle)
{
    std::vector<ConvexPolygon> outside{kSquare}; // what is there stays
    const ConvexPolygon inside =
        mvgeo::clipToTriangle(kSquare, triangle({5, 5, 0}, {15, 5, 0}, {15, 15, 0}), kTolerance, outside);
    EXPECT_NEAR(areaOf(inside), 12.5, 1e-12);
    for (const osg::Vec3d& corner : inside)
        EXPECT_EQ(corner.z(), 5.0);
    EXPECT_EQ(outside.front(), kSquare);
    EXPECT_NEAR(areaOf(outside), 100.0 + 87.5, 1e-12);
}

TEST(ConvexPolygon, IsClippedToATriangleThoughItIsUpright)
{
    const ConvexPolygon wall{{-5, 3, 0}, {15, 3, 0}, {15, 3, 2}, {-5, 3, 2}};
    std::vector<ConvexPolygon> outside;
    const ConvexPolygon inside =
        mvgeo::clipToTriangle(wall, triangle({0, 0, 0}, {10, 0, 0}, {10, 10, 0}), kTolerance, outside);
    EXPECT_NEAR(areaOf(inside), 7.0 * 2.0, 1e-12); // from x = 3 to 10
    EXPECT_NEAR(areaOf(outside), 13.0 * 2.0, 1e-12);
}

// It reaches into two of the half spaces and passes the corner between them: it must come back in one piece.
TEST(ConvexPolygon, ComesBackUncutIfNothingIsInside)
{
    const ConvexPolygon strip{{10, -3, 0}, {14, 1, 0}, {13, 2, 0}, {9, -2, 0}};
    const auto area = triangle({0, 0, 0}, {10, 0, 0}, {0, 10, 0});
    for (const HalfSpace& side : {area[0], area[1]})
        ASSERT_THAT(mvgeo::cutPolygon(strip, side, kTolerance).inside, testing::Not(IsEmpty()));
    std::vector<ConvexPolygon> outside;
    EXPECT_THAT(mvgeo::clipToTriangle(strip, area, kTolerance, outside), IsEmpty());
    EXPECT_THAT(outside, ElementsAre(strip));
}
