#include "mvclipregions/ClipGeometry.h"
#include "mvclipregions/ClipRegion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace
{

using namespace clipgeometry;
using mvgeo::ClipRegion;
using mvgeo::ConvexPolygon;
using mvgeo::Side;

std::unique_ptr<ClipRegion> regionOf(const Points& boundary)
{
    std::string refusal;
    auto region = ClipRegion::make(boundary, refusal);
    EXPECT_TRUE(region) << refusal;
    return region;
}

std::string refusalOf(const Points& boundary)
{
    std::string refusal;
    EXPECT_FALSE(ClipRegion::make(boundary, refusal));
    return refusal;
}

double areaOf(const Points& boundary)
{
    const auto region = regionOf(boundary);
    return region ? region->area() : -1.0;
}

/** Three points a triangle, in the host's frame. */
Points fansOf(const std::vector<ConvexPolygon>& pieces, const osg::Vec3d& origin)
{
    Points triangles;
    for (const ConvexPolygon& piece : pieces)
        for (std::size_t i = 2; i < piece.size(); ++i)
            for (const std::size_t corner : {std::size_t{0}, i - 1, i})
            {
                const osg::Vec3d point = piece[corner] + origin;
                triangles.emplace_back(point.x(), point.y(), point.z());
            }
    return triangles;
}

struct Cut
{
    Points inside;
    Points outside;
};

Cut cut(const ClipRegion& region, const KdGePoint3d& a, const KdGePoint3d& b, const KdGePoint3d& c)
{
    ConvexPolygon polygon;
    for (const KdGePoint3d& point : {a, b, c})
        polygon.push_back(osg::Vec3d(point.x, point.y, point.z) - region.origin());
    std::vector<ConvexPolygon> inside;
    std::vector<ConvexPolygon> outside;
    region.cut(polygon, inside, outside);
    return {fansOf(inside, region.origin()), fansOf(outside, region.origin())};
}

Side sideOf(const ClipRegion& region, const KdGePoint3d& a, const KdGePoint3d& b, const KdGePoint3d& c)
{
    const auto local = [&](const KdGePoint3d& point)
    { return osg::Vec3d(point.x, point.y, point.z) - region.origin(); };
    return region.sideOf(local(a), local(b), local(c));
}

const Points kSquare{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
const Points kElbow{{0, 0, 0}, {10, 0, 0}, {10, 4, 0}, {4, 4, 0}, {4, 10, 0}, {0, 10, 0}};
const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

} // namespace

TEST(ClipRegion, TakesTheBoundaryClosedOrNotInEitherWinding)
{
    for (const bool isClosed : {false, true})
        for (const bool isTurned : {false, true})
        {
            Points boundary = kElbow;
            if (isClosed) boundary.push_back(boundary.front());
            if (isTurned) std::reverse(boundary.begin(), boundary.end());
            EXPECT_DOUBLE_EQ(areaOf(boundary), 64.0) << isClosed << isTurned;
        }
}

TEST(ClipRegion, OverlooksRepeatedPoints)
{
    EXPECT_DOUBLE_EQ(areaOf({{0, 0, 1}, {0, 0, 2}, {10, 0, 3}, {10, 10, 4}, {10, 10, 4}, {0, 0, 7}, {0, 0, 1}}), 50.0);
}

TEST(ClipRegion, NeverLooksAtHeights)
{
    EXPECT_DOUBLE_EQ(areaOf({{0, 0, kNan}, {10, 0, kInfinity}, {10, 10, 1e300}}), 50.0);
}

// Two triangles of width 10 and height 5 whose tips meet in the middle.
TEST(ClipRegion, ABowTieIsItsTwoWings)
{
    const auto region = regionOf({{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {10, 10, 0}});
    EXPECT_DOUBLE_EQ(region->area(), 50.0);
    EXPECT_EQ(sideOf(*region, {5, 1, 0}, {6, 2, 0}, {5, 2, 0}), Side::inside);
    EXPECT_EQ(sideOf(*region, {5, 9, 0}, {6, 8, 0}, {5, 8, 0}), Side::inside);
    EXPECT_EQ(sideOf(*region, {1, 5, 0}, {2, 5, 0}, {1, 6, 0}), Side::outside);
}

// Round a square of 10 and, by a way that is used there and back, round one of 4 within it.
TEST(ClipRegion, WhatIsEnclosedTwiceIsAHole)
{
    const Points boundary{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}, {0, 0, 0},
                          {3, 3, 0}, {7, 3, 0},  {7, 7, 0},   {3, 7, 0},  {3, 3, 0}};
    const auto region = regionOf(boundary);
    EXPECT_DOUBLE_EQ(region->area(), 84.0);
    EXPECT_EQ(sideOf(*region, {4, 4, 0}, {6, 4, 0}, {4, 6, 0}), Side::outside);
    EXPECT_EQ(sideOf(*region, {1, 4, 0}, {2, 4, 0}, {1, 6, 0}), Side::inside);
}

TEST(ClipRegion, AWayThereAndBackEnclosesNothing)
{
    EXPECT_DOUBLE_EQ(areaOf({{0, 0, 0}, {10, 0, 0}, {20, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}}), 100.0);
}

TEST(ClipRegion, RefusesFewerThanThreeDistinctPoints)
{
    for (const Points& boundary : {Points{}, Points{{1, 2, 3}}, Points{{1, 2, 3}, {4, 5, 6}, {1, 2, 9}, {4, 5, 6}}})
        EXPECT_EQ(refusalOf(boundary), "the boundary has fewer than three distinct points");
}

TEST(ClipRegion, RefusesPointsOnALine)
{
    EXPECT_EQ(refusalOf({{0, 0, 0}, {5, 5, 0}, {10, 10, 0}}), "the boundary has no area");
    EXPECT_EQ(refusalOf({{0.1, 0.1, 0}, {0.3, 0.3, 5}, {0.7, 0.7, 0}, {0.2, 0.2, 0}}), "the boundary has no area");
    // Along (3, 7) in tenths, which no double holds exactly at such coordinates.
    EXPECT_EQ(refusalOf({{500000.3, 4000000.7, 0}, {500000.6, 4000001.4, 0}, {500001.2, 4000002.8, 0}}),
              "the boundary has no area");
}

TEST(ClipRegion, TakesANarrowStripAtLargeCoordinates)
{
    EXPECT_NEAR(
        areaOf({{500000, 4000000, 0}, {501000, 4000000, 0}, {501000, 4000000.001, 0}, {500000, 4000000.001, 0}}), 1.0,
        1e-6);
}

TEST(ClipRegion, RefusesCoordinatesThatAreNoNumbers)
{
    for (const double value : {kNan, kInfinity, -kInfinity})
    {
        EXPECT_EQ(refusalOf({{0, 0, 0}, {value, 0, 0}, {10, 10, 0}}),
                  "the boundary has a coordinate that is no number");
        EXPECT_EQ(refusalOf({{0, 0, 0}, {10, value, 0}, {10, 10, 0}}),
                  "the boundary has a coordinate that is no number");
    }
}

TEST(ClipRegion, SaysWhyItRefusesCoordinatesTooLargeToMultiply)
{
    EXPECT_NE(refusalOf({{-1e308, -1e308, 0}, {1e308, -1e308, 0}, {1e308, 1e308, 0}}), "");
}

TEST(ClipRegion, TellsTheSideOfATriangle)
{
    const auto region = regionOf(kElbow);
    EXPECT_EQ(sideOf(*region, {1, 1, 0}, {3, 1, 5}, {1, 9, 9}), Side::inside);
    EXPECT_EQ(sideOf(*region, {0, 0, 0}, {10, 0, 0}, {10, 4, 0}), Side::inside) << "corners and edges on the outline";
    EXPECT_EQ(sideOf(*region, {5, 5, 0}, {9, 5, 0}, {5, 9, 0}), Side::outside) << "in the elbow's bend";
    EXPECT_EQ(sideOf(*region, {1, 9, 0}, {9, 1, 0}, {9, 2, 0}), Side::straddling) << "corners inside, middle outside";
}

TEST(ClipRegion, TellsTheSideOfAnUprightTriangle)
{
    const auto region = regionOf(kElbow);
    EXPECT_EQ(sideOf(*region, {1, 1, 0}, {3, 3, 5}, {1, 1, 9}), Side::inside);
    EXPECT_EQ(sideOf(*region, {2, 0, 0}, {8, 0, 0}, {2, 0, 9}), Side::inside) << "on the outline";
    EXPECT_EQ(sideOf(*region, {5, 9, 0}, {9, 5, 0}, {9, 5, 7}), Side::outside);
    EXPECT_EQ(sideOf(*region, {1, 9, 0}, {9, 1, 0}, {5, 5, 7}), Side::straddling);
}

TEST(ClipRegion, TellsTheSideOfABox)
{
    const auto region = regionOf(kSquare); // whose origin is (5, 5)
    EXPECT_EQ(region->origin(), osg::Vec3d(5, 5, 0));
    EXPECT_EQ(region->sideOf(mvgeo::PlanBox{-1, -1, 1, 1}), Side::inside);
    EXPECT_EQ(region->sideOf(mvgeo::PlanBox{6, -1, 7, 1}), Side::outside);
    EXPECT_EQ(region->sideOf(mvgeo::PlanBox{4, -1, 6, 1}), Side::straddling);
    EXPECT_EQ(region->sideOf(mvgeo::PlanBox{-9, -9, 9, 9}), Side::straddling);
    EXPECT_EQ(region->sideOf(mvgeo::PlanBox{kNan, kNan, kNan, kNan}), Side::outside);
}

// The triangle under the diagonal of a square from 5 to 15; of its 50, the corner from 5 to 10 is inside: 12.5.
TEST(ClipRegion, CutsATriangleInTwo)
{
    const auto region = regionOf(kSquare);
    const Cut pieces = cut(*region, {5, 5, 3}, {15, 5, 3}, {15, 15, 3});
    EXPECT_NEAR(planArea(pieces.inside), 12.5, 1e-12);
    EXPECT_NEAR(planArea(pieces.outside), 37.5, 1e-12);
    for (const KdGePoint3d& point : pieces.inside)
        EXPECT_DOUBLE_EQ(point.z, 3.0);
}

// A roof that rises by 1 a metre eastwards: sqrt(2) times its plan.
TEST(ClipRegion, CutsAlongTheSlope)
{
    const auto region = regionOf(kSquare);
    const Cut pieces = cut(*region, {5, 5, 5}, {15, 5, 15}, {15, 15, 15});
    EXPECT_NEAR(surfaceArea(pieces.inside), 12.5 * std::sqrt(2.0), 1e-12);
    for (const KdGePoint3d& point : pieces.inside)
        EXPECT_NEAR(point.z, point.x, 1e-12);
}

// A wall of 20 by 6 across the square along y = 5, in two triangles of 60 each; the lower one has its right angle at
// x = -5. Inside are x = 0 to 10, where it is 4.5 to 1.5 high: 30.
TEST(ClipRegion, CutsAWall)
{
    const auto region = regionOf(kSquare);
    const Cut lower = cut(*region, {-5, 5, 0}, {15, 5, 0}, {-5, 5, 6});
    EXPECT_NEAR(surfaceArea(lower.inside), 30.0, 1e-12);
    EXPECT_NEAR(surfaceArea(lower.outside), 30.0, 1e-12);
    EXPECT_NEAR(planArea(lower.inside), 0.0, 1e-12);
}

// The same wall on the square's southern edge: on the outline is inside, and only once.
TEST(ClipRegion, AWallOnTheOutlineIsInside)
{
    const auto region = regionOf(kSquare);
    const Cut lower = cut(*region, {-5, 0, 0}, {15, 0, 0}, {-5, 0, 6});
    EXPECT_NEAR(surfaceArea(lower.inside), 30.0, 1e-12);
    EXPECT_NEAR(surfaceArea(lower.outside), 30.0, 1e-12);
}

TEST(ClipRegion, ATriangleThatOnlyTouchesStaysWholeAndOutside)
{
    const auto region = regionOf(kSquare);
    const Cut pieces = cut(*region, {10, 2, 0}, {15, 2, 0}, {10, 8, 0});
    EXPECT_EQ(pieces.inside.size(), 0U);
    ASSERT_EQ(pieces.outside.size(), 3U);
    EXPECT_EQ(pieces.outside[0].x, 10.0);
    EXPECT_EQ(pieces.outside[1].x, 15.0);
    EXPECT_EQ(pieces.outside[2].y, 8.0);
}

TEST(ClipRegion, KeepsTheWinding)
{
    const auto region = regionOf(kElbow);
    for (const bool isTurned : {false, true})
    {
        const KdGePoint3d right{14, -3, 2};
        const KdGePoint3d upper{-2, 13, 4};
        const Cut pieces = cut(*region, {-3, -3, 0}, isTurned ? upper : right, isTurned ? right : upper);
        for (const Points& triangles : {pieces.inside, pieces.outside})
            for (std::size_t i = 0; i < triangles.size(); i += 3)
            {
                const double up = crossOf(triangles[i], triangles[i + 1], triangles[i + 2]).z();
                EXPECT_GE(isTurned ? -up : up, -1e-9);
            }
    }
}

// The law, on any boundary: inside and outside are the whole, and each is where it belongs.
TEST(ClipRegion, InsideAndOutsideAreTheWholeForAnyBoundary)
{
    std::mt19937 random(4711);
    std::uniform_real_distribution<double> place(-20.0, 120.0);
    const auto point = [&]
    {
        const double x = place(random);
        const double y = place(random);
        return KdGePoint3d(500000 + x, 4000000 + y, place(random));
    };
    for (int round = 0; round < 60; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round << " of seed 4711");
        const int corners = 4 + round % 13;
        const Points boundary = round % 2 == 0 ? starShape(random, corners, 500050, 4000050, 5, 60)
                                               : tangle(random, corners, 500000, 4000000, 100);
        const auto region = regionOf(boundary);
        ASSERT_TRUE(region);
        for (int i = 0; i < 20; ++i)
        {
            const Points whole{point(), point(), point()};
            const Cut pieces = cut(*region, whole[0], whole[1], whole[2]);
            const double area = surfaceArea(whole);
            ASSERT_NEAR(surfaceArea(pieces.inside) + surfaceArea(pieces.outside), area, 1e-9 * area + 1e-6);
            ASSERT_EQ(misplacedTriangles(pieces.inside, boundary, true, 1e-7), 0);
            ASSERT_EQ(misplacedTriangles(pieces.outside, boundary, false, 1e-7), 0);
        }
    }
}

TEST(ClipRegion, InsideOfACoverIsTheBoundarysArea)
{
    std::mt19937 random(815);
    for (const int corners : {3, 4, 7, 50, 1000})
    {
        SCOPED_TRACE(testing::Message() << corners << " corners, seed 815");
        const Points boundary = starShape(random, corners, 50, 50, 20, 60);
        const auto region = regionOf(boundary);
        ASSERT_TRUE(region);
        const double area = enclosedArea(boundary);
        EXPECT_NEAR(region->area(), area, 1e-9 * area);
        const Cut pieces = cut(*region, {-500, -500, 0}, {900, -500, 0}, {0, 1000, 0});
        EXPECT_NEAR(planArea(pieces.inside), area, 1e-9 * area);
        EXPECT_NEAR(planArea(pieces.inside) + planArea(pieces.outside), 1050000, 1050000 * 1e-9);
    }
}

// Coordinates of which GEOS may make no rectangle; with few triangles and with so many that they have a tree.
TEST(ClipRegion, BearsPolygonsThatAreNowhere)
{
    std::mt19937 random(3);
    for (const Points& boundary : {kSquare, starShape(random, 200, 5, 5, 1, 5)})
    {
        const auto region = regionOf(boundary);
        ASSERT_TRUE(region);
        for (const double value : {kNan, kInfinity, -kInfinity, 1e308})
            for (const Points& corners :
                 {Points{{value, 0, 0}, {1, 0, 0}, {0, 1, 0}}, Points{{0, value, 0}, {1, 0, 0}, {0, 1, 0}},
                  Points{{value, value, 0}, {-value, value, 0}, {0, -value, 0}}})
            {
                const Cut pieces = cut(*region, corners[0], corners[1], corners[2]);
                EXPECT_EQ(pieces.inside.size() % 3, 0U);
                EXPECT_EQ(pieces.outside.size() % 3, 0U);
            }
    }
}
