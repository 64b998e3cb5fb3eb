#include <measure/ClippedSurface.h>
#include <measure/DrapedLine.h>

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <limits>

using namespace mvgeo::host;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;

namespace
{
const Points kEast{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}};

DrapedLine drape(const Points& given, const std::vector<Points>& pieces)
{
    return makeDrapedLine(given, pieces, std::nullopt);
}
} // namespace

// 100 m east, then 50 m north.
TEST(DrapedLine, MeasuresDistancesRoundACorner)
{
    const Points bent{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {100.0, 50.0, 0.0}};
    const DrapedLine line = drape(bent, {{{80.0, 0.0, 1.0}, {100.0, 0.0, 2.0}, {100.0, 30.0, 3.0}}});
    EXPECT_EQ(line.length(), 150.0);
    EXPECT_THAT(line.corners, ElementsAre(0.0, 100.0, 150.0));
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_THAT(line.pieces[0].distances, ElementsAre(80.0, 100.0, 130.0));
}

TEST(DrapedLine, SortsPiecesByWhereTheyBegin)
{
    const DrapedLine line = drape(kEast, {{{60.0, 0.0, 1.0}, {90.0, 0.0, 1.0}},
                                          {{0.0, 0.0, 2.0}, {20.0, 0.0, 2.0}},
                                          {{10.0, 0.0, 3.0}, {70.0, 0.0, 3.0}}});
    ASSERT_EQ(line.pieces.size(), 3U);
    EXPECT_EQ(line.pieces[0].from(), 0.0);
    EXPECT_EQ(line.pieces[1].from(), 10.0);
    EXPECT_EQ(line.pieces[2].to(), 90.0);
}

// 3 up over 4 along is 5 in space.
TEST(DrapedLine, AddsUpItsPieces)
{
    const DrapedLine line =
        drape(kEast, {{{0.0, 0.0, 10.0}, {4.0, 0.0, 13.0}, {8.0, 0.0, 10.0}}, {{50.0, 0.0, -2.0}, {58.0, 0.0, 4.0}}});
    const LineFigures figures = figuresOf(line);
    EXPECT_DOUBLE_EQ(figures.lengthPlan, 16.0);
    EXPECT_DOUBLE_EQ(figures.lengthSpace, 20.0);
    EXPECT_EQ(figures.lowest, -2.0);
    EXPECT_EQ(figures.highest, 13.0);
}

TEST(DrapedLine, CountsAStretchOnceWhereSurfacesLieAboveEachOther)
{
    const DrapedLine line = drape(kEast, {{{0.0, 0.0, 0.0}, {60.0, 0.0, 0.0}},
                                          {{20.0, 0.0, 9.0}, {40.0, 0.0, 9.0}},
                                          {{50.0, 0.0, 9.0}, {70.0, 0.0, 9.0}},
                                          {{90.0, 0.0, 0.0}, {95.0, 0.0, 0.0}}});
    EXPECT_DOUBLE_EQ(coveredLength(line), 75.0);
    EXPECT_DOUBLE_EQ(figuresOf(line).lengthPlan, 105.0);
}

// Over the crossing at 50, 0 the line comes by again 200 m later.
TEST(DrapedLine, FollowsALineThatCrossesItself)
{
    const Points loop{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {100.0, 50.0, 0.0}, {50.0, 50.0, 0.0}, {50.0, -50.0, 0.0}};
    const DrapedLine line = drape(loop, {{{50.0, 0.0, 1.0}, {50.0, -20.0, 1.0}},
                                         {{50.0, 0.0, 1.0}, {80.0, 0.0, 1.0}},
                                         {{50.0, 20.0, 1.0}, {50.0, 0.0, 1.0}, {50.0, -20.0, 1.0}}});
    EXPECT_THAT(line.pieces[0].distances, Pointwise(DoubleNear(1e-9), {50.0, 80.0}));
    EXPECT_THAT(line.pieces[1].distances, Pointwise(DoubleNear(1e-9), {230.0, 250.0, 270.0}));
    EXPECT_THAT(line.pieces[2].distances, Pointwise(DoubleNear(1e-9), {250.0, 270.0}));
}

TEST(DrapedLine, TellsTheWayThereFromTheWayBack)
{
    const Points thereAndBack{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
    const DrapedLine line =
        drape(thereAndBack, {{{70.0, 0.0, 1.0}, {40.0, 0.0, 1.0}}, {{40.0, 0.0, 1.0}, {70.0, 0.0, 1.0}}});
    EXPECT_THAT(line.pieces[0].distances, ElementsAre(40.0, 70.0));
    EXPECT_THAT(line.pieces[1].distances, ElementsAre(130.0, 160.0));
}

TEST(DrapedLine, TurnsBackWithinAPiece)
{
    const Points thereAndBack{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
    const DrapedLine line = drape(thereAndBack, {{{70.0, 0.0, 1.0}, {100.0, 0.0, 1.0}, {40.0, 0.0, 1.0}}});
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_THAT(line.pieces[0].distances, ElementsAre(70.0, 100.0, 160.0));
}

// A square of 100 m: the surface round its first corner is the last 20 m and the first 30 m of the line.
TEST(DrapedLine, EndsAPieceWhereAClosedLineEnds)
{
    const Points square{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {100.0, 100.0, 0.0}, {0.0, 100.0, 0.0}, {0.0, 0.0, 0.0}};
    const DrapedLine line = drape(square, {{{0.0, 20.0, 7.0}, {0.0, 0.0, 8.0}, {30.0, 0.0, 9.0}}});
    ASSERT_EQ(line.pieces.size(), 2U);
    EXPECT_THAT(line.pieces[0].distances, ElementsAre(0.0, 30.0));
    EXPECT_THAT(line.pieces[0].points, ElementsAre(osg::Vec3d(0.0, 0.0, 8.0), osg::Vec3d(30.0, 0.0, 9.0)));
    EXPECT_THAT(line.pieces[1].distances, ElementsAre(380.0, 400.0));
    EXPECT_DOUBLE_EQ(coveredLength(line), 50.0);
    EXPECT_DOUBLE_EQ(figuresOf(line).lengthPlan, 50.0);
}

// Rows of 1000 m, 1 m apart, in steps of 1 m. Looking at each segment for each piece would take minutes.
TEST(DrapedLine, IsQuickWithManyPointsAndPieces)
{
    constexpr int kRows = 60;
    constexpr int kColumns = 1000;
    Points given;
    for (int row = 0; row < kRows; ++row)
        for (int i = 0; i < kColumns; ++i)
            given.emplace_back(row % 2 == 0 ? i : kColumns - 1 - i, row, 0.0);
    std::vector<Points> pieces;
    std::vector<double> starts;
    for (std::size_t i = 0; i + 1 < given.size(); ++i)
    {
        pieces.push_back({(given[i] * 3.0 + given[i + 1]) / 4.0, (given[i] + given[i + 1] * 3.0) / 4.0});
        starts.push_back(static_cast<double>(i) + 0.25);
    }
    const auto before = std::chrono::steady_clock::now();
    const DrapedLine line = drape(given, pieces);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    std::vector<double> found;
    for (const DrapedPiece& piece : line.pieces)
        found.push_back(piece.from());
    EXPECT_THAT(found, Pointwise(DoubleNear(1e-6), starts));
}

// 2 cm from a corner of 3 degrees, which lies at four million: how far apart the legs are there says nothing of floats.
TEST(DrapedLine, FollowsASharpCornerAtTheCoordinatesOfAMap)
{
    const osg::Vec3d corner(500000.25, 4000000.5, 0.0);
    for (const double degrees : {0.2, 1.0, 3.0, 10.0, 90.0, 170.0})
        for (const double step : {0.001, 0.02, 0.3})
        {
            SCOPED_TRACE(testing::Message() << degrees << " degrees, points every " << step);
            const double angle = degrees * std::acos(-1.0) / 180.0;
            const osg::Vec3d back(std::cos(angle), std::sin(angle), 0.0);
            const Points given{corner + osg::Vec3d(50.0, 0.0, 0.0), corner, corner + back * 50.0};
            Points piece;
            std::vector<double> distances;
            for (int i = -40; i <= 40; ++i)
            {
                piece.push_back(i < 0 ? corner + osg::Vec3d(-i * step, 0.0, 1.0)
                                      : corner + back * (i * step) + osg::Vec3d(0.0, 0.0, 1.0));
                distances.push_back(50.0 + i * step);
            }
            const DrapedLine line = drape(given, {piece});
            ASSERT_EQ(line.pieces.size(), 1U);
            EXPECT_THAT(line.pieces[0].distances, Pointwise(DoubleNear(1e-5), distances));
            EXPECT_NEAR(coveredLength(line), 80.0 * step, 1e-5);
            EXPECT_NEAR(figuresOf(line).lengthPlan, 80.0 * step, 1e-5);
        }
}

// A path that somebody digitised every 5 cm, and turns at right angles.
TEST(DrapedLine, FollowsShortSegmentsAtTheCoordinatesOfAMap)
{
    Points given;
    Points piece;
    std::vector<double> distances;
    for (int i = 0; i <= 200; ++i)
        given.emplace_back(500000.0 + 0.05 * ((i + 1) / 2), 4000000.0 + 0.05 * (i / 2), 0.0);
    for (std::size_t i = 0; i + 1 < given.size(); ++i)
        for (const double share : {0.0, 0.5})
        {
            piece.push_back(given[i] + (given[i + 1] - given[i]) * share);
            distances.push_back(0.05 * (static_cast<double>(i) + share));
        }
    const DrapedLine line = drape(given, {piece});
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_THAT(line.pieces[0].distances, Pointwise(DoubleNear(1e-6), distances));
}

// Where it joined ends, the library may have moved one of them by a tenth of a millimetre.
TEST(DrapedLine, GoesOnAtAJointThatWasMoved)
{
    const Points bent{{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {100.0, 50.0, 0.0}};
    for (const osg::Vec3d& joint : {osg::Vec3d(99.9999, 0.0, 1.0), osg::Vec3d(100.0, 0.0001, 1.0)})
    {
        const DrapedLine line = drape(bent, {{{80.0, 0.0, 1.0}, joint, {100.0, 30.0, 1.0}}});
        ASSERT_EQ(line.pieces.size(), 1U);
        EXPECT_THAT(line.pieces[0].distances, Pointwise(DoubleNear(1.1e-4), {80.0, 100.0, 130.0}));
    }
}

TEST(DrapedLine, PassesOverARepeatedPointOfTheLine)
{
    const Points repeated{{0.0, 0.0, 0.0},  {0.0, 0.0, 0.0},   {60.0, 0.0, 0.0}, {60.0, 0.0, 7.0},
                          {60.0, 0.0, 0.0}, {60.0, 40.0, 0.0}, {60.0, 40.0, 0.0}};
    const DrapedLine line = drape(repeated, {{{0.0, 0.0, 1.0}, {60.0, 0.0, 1.0}, {60.0, 40.0, 1.0}}});
    EXPECT_THAT(line.corners, ElementsAre(0.0, 0.0, 60.0, 60.0, 60.0, 100.0, 100.0));
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_THAT(line.pieces[0].distances, ElementsAre(0.0, 60.0, 100.0));
}

// Under an overhang a piece may run against the line.
TEST(DrapedLine, KnowsFromWhereToWhereAPieceReaches)
{
    const DrapedLine line = drape(kEast, {{{60.0, 0.0, 1.0}, {80.0, 0.0, 1.0}, {20.0, 0.0, 5.0}}});
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_EQ(line.pieces[0].from(), 20.0);
    EXPECT_EQ(line.pieces[0].to(), 80.0);
    EXPECT_DOUBLE_EQ(coveredLength(line), 60.0);
    EXPECT_DOUBLE_EQ(figuresOf(line).lengthPlan, 80.0);
}

TEST(DrapedLine, KeepsTheOrderOfPiecesThatBeginTogether)
{
    const DrapedLine line = drape(kEast, {{{10.0, 0.0, 7.0}, {30.0, 0.0, 7.0}},
                                          {{10.0, 0.0, 9.0}, {20.0, 0.0, 9.0}},
                                          {{10.0, 0.0, 8.0}, {40.0, 0.0, 8.0}}});
    ASSERT_EQ(line.pieces.size(), 3U);
    EXPECT_EQ(line.pieces[0].points[0].z(), 7.0);
    EXPECT_EQ(line.pieces[1].points[0].z(), 9.0);
    EXPECT_EQ(line.pieces[2].points[0].z(), 8.0);
}

// The lowest place is in the second piece and the highest in the first, none of them at an end, and all below 0.
TEST(DrapedLine, FindsTheLowestAndTheHighestPlaceAnywhere)
{
    const DrapedLine line = drape(kEast, {{{0.0, 0.0, -50.0}, {5.0, 0.0, -20.0}, {10.0, 0.0, -60.0}},
                                          {{20.0, 0.0, -70.0}, {25.0, 0.0, -90.0}, {30.0, 0.0, -30.0}}});
    const LineFigures first = figuresOf(line.pieces[0]);
    EXPECT_EQ(first.lowest, -60.0);
    EXPECT_EQ(first.highest, -20.0);
    EXPECT_DOUBLE_EQ(first.lengthPlan, 10.0);
    EXPECT_DOUBLE_EQ(first.lengthSpace, std::hypot(5.0, 30.0) + std::hypot(5.0, 40.0));
    const LineFigures all = figuresOf(line);
    EXPECT_EQ(all.lowest, -90.0);
    EXPECT_EQ(all.highest, -20.0);
    EXPECT_DOUBLE_EQ(all.lengthPlan, 20.0);
    EXPECT_EQ(figuresOf(DrapedPiece()).lengthPlan, 0.0);
}

TEST(DrapedLine, TakesPlacesExactlyAtTheFloorForGround)
{
    const Points level{{0.0, 0.0, 800.0}, {10.0, 0.0, 800.0}, {20.0, 0.0, std::nextafter(800.0, 0.0)}};
    const DrapedLine line = makeDrapedLine(kEast, {level}, 800.0);
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_EQ(line.pieces[0].to(), 10.0);
    EXPECT_DOUBLE_EQ(line.leftOutPlan, 10.0);
    EXPECT_EQ(makeDrapedLine(kEast, {level}, std::nullopt).leftOutPlan, 0.0);
}

// A single place between two pits is no line. What is no number has no length that could be left out.
TEST(DrapedLine, AddsUpWhatItLeavesOut)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Points pits{{0.0, 0.0, 1.0},    {10.0, 0.0, 900.0}, {20.0, 0.0, 2.0}, {30.0, 0.0, 901.0},
                      {40.0, 0.0, 902.0}, {50.0, 0.0, nan},   {60.0, 0.0, 3.0}, {70.0, 0.0, 4.0}};
    const DrapedLine line = makeDrapedLine(kEast, {pits, {{80.0, 0.0, 5.0}, {85.0, 0.0, 6.0}}}, 800.0);
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_THAT(line.pieces[0].distances, ElementsAre(30.0, 40.0));
    EXPECT_DOUBLE_EQ(line.leftOutPlan, 30.0 + 10.0 + 5.0);
}

// Without data the ground is at 0: the cliff down to it and the pit are no ground.
TEST(DrapedLine, LeavesOutWhatLeadsBelowTheFloor)
{
    const Points pit{{0.0, 0.0, 900.0}, {10.0, 0.0, 910.0}, {20.0, 0.0, 0.0},
                     {30.0, 0.0, 0.0},  {40.0, 0.0, 905.0}, {50.0, 0.0, 915.0}};
    const DrapedLine line = makeDrapedLine(kEast, {pit}, 800.0);
    ASSERT_EQ(line.pieces.size(), 2U);
    EXPECT_EQ(line.pieces[0].to(), 10.0);
    EXPECT_EQ(line.pieces[1].from(), 40.0);
    EXPECT_DOUBLE_EQ(line.leftOutPlan, 30.0);
    EXPECT_EQ(figuresOf(line).lowest, 900.0);
}

TEST(DrapedLine, LeavesOutPlacesThatAreNoNumbers)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const DrapedLine line =
        drape(kEast, {{{0.0, 0.0, 1.0}, {5.0, 0.0, 1.0}, {6.0, 0.0, nan}, {7.0, 0.0, 1.0}}, {{nan, 0.0, 0.0}}});
    ASSERT_EQ(line.pieces.size(), 1U);
    EXPECT_EQ(line.pieces[0].to(), 5.0);
}

TEST(DrapedLine, IsAllZeroWithoutPieces)
{
    const DrapedLine line = drape(kEast, {});
    EXPECT_EQ(coveredLength(line), 0.0);
    EXPECT_EQ(figuresOf(line).lengthSpace, 0.0);
    EXPECT_EQ(line.length(), 100.0);
}

// A right triangle with sides of 3 and 4 m lies flat, and one of the same size stands upright.
TEST(ClippedSurface, MeasuresAreasInPlanAndInSpace)
{
    const SurfaceFigures figures = figuresOf(Points{
        {0.0, 0.0, 1.0}, {3.0, 0.0, 1.0}, {0.0, 4.0, 1.0}, {5e5, 4e6, 2.0}, {5e5 + 3.0, 4e6, 2.0}, {5e5, 4e6, 6.0}});
    EXPECT_EQ(figures.triangles, 2U);
    EXPECT_DOUBLE_EQ(figures.areaPlan, 6.0);
    EXPECT_DOUBLE_EQ(figures.areaSpace, 12.0);
    EXPECT_EQ(figures.lowest, 1.0);
    EXPECT_EQ(figures.highest, 6.0);
    EXPECT_EQ(figuresOf(Points()).areaPlan, 0.0);
}

TEST(ClippedSurface, LeavesOutTrianglesThatLeadBelowTheFloor)
{
    Points triangles{{0.0, 0.0, 0.0}, {1.0, 0.0, 9.0}, {0.0, 1.0, 9.0},      {0.0, 0.0, 8.0}, {1.0, 0.0, 9.0},
                     {0.0, 1.0, 9.0}, {0.0, 0.0, 8.0}, {1.0, 0.0, HUGE_VAL}, {0.0, 1.0, 9.0}};
    EXPECT_EQ(leaveOutBelow(triangles, 5.0), 0.5);
    ASSERT_EQ(triangles.size(), 3U);
    EXPECT_EQ(triangles[0].z(), 8.0);
}

// Each corner in turn is the lowest of its triangle.
TEST(ClippedSurface, LooksAtEveryCorner)
{
    const Points wanted{{0.0, 0.0, -9.0}, {2.0, 0.0, -8.0}, {0.0, 2.0, -5.0}};
    Points triangles = wanted;
    for (std::size_t low = 0; low < 3; ++low)
    {
        Points below{{0.0, 0.0, -1.0}, {4.0, 0.0, -2.0}, {0.0, 4.0, -3.0}};
        below[low].z() = -11.0;
        triangles.insert(triangles.end(), below.begin(), below.end());
    }
    const SurfaceFigures all = figuresOf(triangles);
    EXPECT_EQ(all.triangles, 4U);
    EXPECT_DOUBLE_EQ(all.areaPlan, 2.0 + 3 * 8.0);
    EXPECT_EQ(all.lowest, -11.0);
    EXPECT_EQ(all.highest, -1.0);
    EXPECT_DOUBLE_EQ(leaveOutBelow(triangles, -9.0), 3 * 8.0); // the first reaches just down to the floor
    EXPECT_EQ(triangles, wanted);
    EXPECT_EQ(figuresOf(triangles).highest, -5.0);
}

TEST(ClippedSurface, WithoutAFloorLeavesOutOnlyWhatIsNoTriangle)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t bad = 0; bad < 3; ++bad)
    {
        Points triangles{{0.0, 0.0, -1e9}, {1.0, 0.0, 1e9}, {0.0, 1.0, 0.0},
                         {5.0, 0.0, 0.0},  {6.0, 0.0, 0.0}, {5.0, 1.0, 0.0}};
        triangles[bad].y() = nan;
        EXPECT_EQ(leaveOutBelow(triangles, std::nullopt), 0.0);
        ASSERT_EQ(triangles.size(), 3U);
        EXPECT_EQ(triangles[0].x(), 5.0);
    }
}

// The sides of a tilted triangle: (2, 0, 1) and (0, 3, 2), whose product is (-3, -4, 6).
TEST(ClippedSurface, MeasuresATiltedTriangle)
{
    const SurfaceFigures figures = figuresOf(Points{{1.0, 1.0, 1.0}, {3.0, 1.0, 2.0}, {1.0, 4.0, 3.0}});
    EXPECT_DOUBLE_EQ(figures.areaPlan, 3.0);
    EXPECT_DOUBLE_EQ(figures.areaSpace, std::sqrt(61.0) / 2.0);
    const SurfaceFigures turned = figuresOf(Points{{1.0, 1.0, 1.0}, {1.0, 4.0, 3.0}, {3.0, 1.0, 2.0}});
    EXPECT_DOUBLE_EQ(turned.areaPlan, 3.0);
}
