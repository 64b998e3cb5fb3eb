#include "mvosggeomesh/ClipFixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <tuple>

namespace
{

using namespace clipgeometry;

const double kNan = std::numeric_limits<double>::quiet_NaN();

/** A cube of 10 on the ground from (20, 20), with all six faces: 600. */
osg::ref_ptr<osg::Geometry> cube()
{
    std::vector<osg::Vec3> corners;
    for (int i = 0; i < 8; ++i)
        corners.emplace_back(i & 1 ? 30.F : 20.F, i & 2 ? 30.F : 20.F, i & 4 ? 10.F : 0.F);
    constexpr int kFaces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    std::vector<osg::Vec3> vertices;
    for (const auto& face : kFaces)
        for (const int corner : {0, 1, 2, 0, 2, 3})
            vertices.push_back(corners[static_cast<std::size_t>(face[corner])]);
    return Clip::soupOf(vertices);
}

} // namespace

TEST_F(Clip, GivesWhatLiesInsideOrOutsideASquare)
{
    addFile(makeSquare(0, 0, 7, 100));
    EXPECT_NEAR(planInside(rectangle(20, 30, 60, 50)), 800, 1e-9);
    for (const KdGePoint3d& point : found)
        EXPECT_DOUBLE_EQ(point.z, 7.0);
    EXPECT_NEAR(planOutside(rectangle(20, 30, 60, 50)), 9200, 1e-9);
    EXPECT_EQ(misplacedTriangles(found, rectangle(20, 30, 60, 50), false, 1e-9), 0);
}

TEST_F(Clip, TakesAnElbowClosedOrNotInEitherWinding)
{
    addFile(makeSquare(0, 0, 0, 100));
    const Points elbow{{10, 10, 0}, {90, 10, 0}, {90, 30, 0}, {30, 30, 0}, {30, 90, 0}, {10, 90, 0}};
    for (const bool isTurned : {false, true})
        for (const bool isClosed : {false, true})
        {
            Points boundary = elbow;
            if (isTurned) std::reverse(boundary.begin(), boundary.end());
            if (isClosed) boundary.push_back(boundary.front());
            EXPECT_NEAR(planInside(boundary), 1600 + 1200, 1e-9);
            EXPECT_NEAR(planOutside(boundary), 7200, 1e-9);
        }
}

// A U of 60 by 60 whose opening is 20 wide and 40 deep: 3600 - 800.
TEST_F(Clip, LeavesTheOpeningOfAUOut)
{
    addFile(grid(10, [](double, double) { return 0.0; }));
    const Points boundary{{15, 15, 0}, {75, 15, 0}, {75, 75, 0}, {55, 75, 0},
                          {55, 35, 0}, {35, 35, 0}, {35, 75, 0}, {15, 75, 0}};
    EXPECT_NEAR(planInside(boundary), 2800, 1e-9);
    EXPECT_EQ(misplacedTriangles(found, boundary, true, 1e-9), 0);
    EXPECT_NEAR(planOutside(boundary), 7200, 1e-9);
}

TEST_F(Clip, ABowTieIsItsTwoWings)
{
    addFile(grid(7, [](double, double) { return 0.0; }));
    const Points bowTie{{10, 10, 0}, {90, 90, 0}, {90, 10, 0}, {10, 90, 0}};
    EXPECT_NEAR(planInside(bowTie), 3200, 1e-9);
    EXPECT_EQ(misplacedTriangles(found, bowTie, true, 1e-9), 0);
}

TEST_F(Clip, WhatIsEnclosedTwiceIsAHole)
{
    addFile(makeSquare(0, 0, 0, 100));
    const Points boundary{{10, 10, 0}, {90, 10, 0}, {90, 90, 0}, {10, 90, 0}, {10, 10, 0},
                          {30, 30, 0}, {70, 30, 0}, {70, 70, 0}, {30, 70, 0}, {30, 30, 0}};
    EXPECT_NEAR(planInside(boundary), 6400 - 1600, 1e-9);
    EXPECT_NEAR(planOutside(boundary), 3600 + 1600, 1e-9);
}

// The boundary runs along the mesh's lines and through its points: 10 by 10 cells of 10.
TEST_F(Clip, CutsNothingWhereTheBoundaryFollowsTheMesh)
{
    addFile(grid(10, [](double, double) { return 0.0; }));
    EXPECT_EQ(clipped(kInside, rectangle(20, 30, 60, 50)).size(), 3U * 2 * 8);
    EXPECT_EQ(clipped(kOutside, rectangle(20, 30, 60, 50)).size(), 3U * 2 * 92);
    const Points alongDiagonals{{20, 20, 0}, {50, 50, 0}, {20, 50, 0}}; // the cells' diagonals rise to the north-east
    EXPECT_EQ(clipped(kInside, alongDiagonals).size(), 3U * 9);
}

TEST_F(Clip, ABoundaryAroundEverythingGivesTheTrianglesAsTheyAre)
{
    addFile(makeSquare(0, 0, 0, 100));
    clipped(kInside, rectangle(-10, -10, 110, 110));
    ASSERT_EQ(found.size(), 6U); // corners 0 1 2 and 0 2 3
    EXPECT_EQ(found[1].x, 100.0);
    EXPECT_EQ(found[1].y, 0.0);
    EXPECT_EQ(found[5].x, 0.0);
    EXPECT_EQ(found[5].y, 100.0);
    EXPECT_TRUE(clipped(kOutside, rectangle(-10, -10, 110, 110)).empty());
}

TEST_F(Clip, ABoundaryBesideEverythingGivesNothing)
{
    addFile(makeSquare(0, 0, 0, 100));
    EXPECT_TRUE(clipped(kInside, rectangle(200, 0, 300, 100)).empty());
    EXPECT_EQ(clipped(kOutside, rectangle(200, 0, 300, 100)).size(), 6U);
}

TEST_F(Clip, AppendsToWhatIsThere)
{
    addFile(makeSquare(0, 0, 0, 100));
    found = {{1, 2, 3}};
    ASSERT_TRUE(clip(kInside, rectangle(-10, -10, 110, 110)));
    ASSERT_EQ(found.size(), 7U);
    EXPECT_EQ(found[0].z, 3.0);
}

// The western half of a cube: half of top, bottom and two walls, and the western wall: 4 * 50 + 100.
TEST_F(Clip, CutsWalls)
{
    addFile(cube());
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 25, 100)), 300, 1e-9);
    EXPECT_NEAR(surfaceOutside(rectangle(0, 0, 25, 100)), 300, 1e-9);
}

// Along the western wall: what lies on the boundary is inside, and no less for there being nothing else.
TEST_F(Clip, AWallOnTheBoundaryCountsOnceAndInside)
{
    addFile(cube());
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 20, 100)), 100, 1e-9);
    EXPECT_NEAR(surfaceOutside(rectangle(0, 0, 20, 100)), 500, 1e-9);
    EXPECT_NEAR(surfaceInside(rectangle(20, 20, 30, 30)), 600, 1e-9);
    EXPECT_NEAR(surfaceOutside(rectangle(20, 20, 30, 30)), 0, 1e-9);
}

TEST_F(Clip, TakesEverySurfaceOfAnOverhang)
{
    addFile(makeSquare(0, 0, 0, 100));
    addFile(makeSquare(40, 0, 10, 60));
    EXPECT_NEAR(planInside(rectangle(30, 10, 50, 20)), 200 + 100, 1e-9);
}

// A slope that rises by 1 in 2: between the heights 10 and 20 lie x = 20 to 40.
TEST_F(Clip, KeepsBetweenTwoHeightsInEitherOrder)
{
    addFile(grid(7, [](double x, double) { return 0.5 * x; }));
    const double rising[] = {10.0, 20.0};
    const double falling[] = {20.0, 10.0};
    for (const double* range : {rising, falling})
    {
        heights = range;
        EXPECT_NEAR(planInside(rectangle(0, 0, 100, 30)), 600, 1e-3);
        for (const KdGePoint3d& point : found)
        {
            EXPECT_GE(point.z, 10.0 - 1e-9);
            EXPECT_LE(point.z, 20.0 + 1e-9);
        }
        EXPECT_NEAR(planOutside(rectangle(0, 0, 100, 30)), 1400, 1e-3);
    }
}

TEST_F(Clip, ACubeBetweenTwoHeightsIsItsWalls)
{
    addFile(cube());
    const double range[] = {2.5, 5.0};
    heights = range;
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 100, 100)), 4 * 25, 1e-9);
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 25, 100)), 25 + 2 * 12.5, 1e-9);
}

TEST_F(Clip, TheHeightsThemselvesBelongToTheRange)
{
    addFile(makeSquare(0, 0, 10, 100));
    for (const auto& [low, high, area] : {std::tuple{10.0, 20.0, 100.0},
                                          {0.0, 10.0, 100.0},
                                          {10.0, 10.0, 100.0},
                                          {10.1, 20.0, 0.0},
                                          {-std::numeric_limits<double>::infinity(), 11.0, 100.0}})
    {
        const double range[] = {low, high};
        heights = range;
        EXPECT_NEAR(planInside(rectangle(20, 20, 30, 30)), area, 1e-9) << low << ' ' << high;
    }
}

TEST_F(Clip, InsideAndOutsideAreTheWholeSurface)
{
    std::mt19937 random(1234);
    std::uniform_real_distribution<float> place(0.F, 100.F);
    std::vector<osg::Vec3> soup;
    for (int i = 0; i < 3 * 150; ++i)
    {
        const float x = place(random);
        const float y = place(random);
        soup.emplace_back(x, y, i % 7 == 0 ? 0.F : place(random));
        if (i % 12 == 2) soup.back() = {soup[soup.size() - 2].x(), soup[soup.size() - 2].y(), 77.F}; // a wall
    }
    addFile(soupOf(soup));
    const double whole = surfaceOutside(rectangle(200, 200, 201, 201));
    for (int round = 0; round < 30; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round << " of seed 1234");
        const int corners = 3 + 2 * round;
        const Points boundary =
            round % 2 == 0 ? starShape(random, corners, 50, 50, 10, 60) : tangle(random, corners, 0, 0, 100);
        const double inside = surfaceInside(boundary);
        EXPECT_EQ(misplacedTriangles(found, boundary, true, 1e-6), 0);
        const double outside = surfaceOutside(boundary);
        EXPECT_EQ(misplacedTriangles(found, boundary, false, 1e-6), 0);
        EXPECT_NEAR(inside + outside, whole, 1e-9 * whole);
        EXPECT_GT(inside, 0.0);
    }
}

TEST_F(Clip, InsideHasTheBoundarysAreaWhereTheModelCoversItOnce)
{
    std::mt19937 random(99);
    addFile(grid(37, [](double x, double y) { return 3.0 * std::sin(0.1 * x) + 2.0 * std::cos(0.2 * y); }));
    for (const int corners : {3, 5, 12, 77, 400})
    {
        SCOPED_TRACE(testing::Message() << corners << " corners, seed 99");
        const Points boundary = starShape(random, corners, 50, 50, 10, 49);
        const double area = enclosedArea(boundary);
        EXPECT_NEAR(planInside(boundary), area, 1e-9 * area);
        EXPECT_NEAR(planOutside(boundary), 10000 - area, 1e-9 * 10000);
    }
}

TEST_F(Clip, RefusesWithAMessageAndLeavesTheListAlone)
{
    addFile(makeSquare(0, 0, 0, 100));
    const Points sound = rectangle(0, 0, 10, 10);
    expectRefused("there is no mode 2", 2, sound);
    expectRefused("there is no mode -1", -1, sound);
    expectRefused("the boundary has fewer than three distinct points", kInside, {{0, 0, 0}, {1, 1, 0}, {0, 0, 0}});
    expectRefused("the boundary has no area", kInside, {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}});
    expectRefused("the boundary has a coordinate that is no number", kInside, {{0, 0, 0}, {kNan, 1, 0}, {2, 2, 0}});
    const double range[] = {0.0, kNan};
    heights = range;
    expectRefused("a height is no number", kInside, sound);
    heights = nullptr;
    placement = KdGeMatrix3d::scaling(0.0);
    expectRefused("the placement has no inverse", kInside, sound);
}

TEST_F(Clip, RefusesMissingArguments)
{
    const Points sound = rectangle(0, 0, 10, 10);
    EXPECT_FALSE(model().clip(kInside, kAll, nullptr, &sound, nullptr, 0, &found));
    EXPECT_FALSE(model().clip(kInside, kAll, &placement, nullptr, nullptr, 0, &found));
    EXPECT_FALSE(model().clip(kInside, kAll, &placement, &sound, nullptr, 0, nullptr));
    EXPECT_EQ(log.count(osg::WARN, "cannot clip: an argument is missing"), 3);
}

TEST_F(Clip, FindsNothingInAnEmptyModel)
{
    EXPECT_TRUE(clipped(kInside, rectangle(0, 0, 10, 10)).empty());
    EXPECT_TRUE(clipped(kOutside, rectangle(0, 0, 10, 10)).empty());
}

// The second drawable throws: what was found in the first must not stay behind.
TEST_F(Clip, AnExceptionEndsTheClipAndLeavesTheListAlone)
{
    struct Torn : public osg::Drawable::ComputeBoundingBoxCallback
    {
        osg::BoundingBox computeBound(const osg::Drawable&) const override { throw std::runtime_error("torn"); }
    };
    addFile(makeSquare(0, 0, 0, 100));
    const osg::ref_ptr<osg::Geometry> damaged = makeSquare(0, 0, 0, 100);
    damaged->setComputeBoundingBoxCallback(new Torn);
    addFile(damaged);
    found = {{1, 2, 3}};
    EXPECT_FALSE(clip(kInside, rectangle(0, 0, 10, 10)));
    EXPECT_EQ(found.size(), 1U);
    EXPECT_EQ(log.count(osg::FATAL, "torn"), 1);
}
