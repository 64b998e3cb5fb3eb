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
