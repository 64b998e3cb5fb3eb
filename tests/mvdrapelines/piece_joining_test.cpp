#include "mvdrapelines/PieceJoining.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Line = std::vector<KdGePoint3d>;
using Lines = std::vector<Line>;

/** The same numbers exactly. */
bool isSame(const Line& a, const Line& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const KdGePoint3d& p, const KdGePoint3d& q)
                      { return p.x == q.x && p.y == q.y && p.z == q.z; });
}

std::string text(const Lines& lines)
{
    std::ostringstream result;
    result.precision(12);
    for (const Line& line : lines)
    {
        result << "\n  ";
        for (const KdGePoint3d& point : line)
            result << " (" << point.x << ' ' << point.y << ' ' << point.z << ')';
    }
    return result.str();
}

void expectLines(const Lines& found, const Lines& expected)
{
    const bool isEqual = std::equal(found.begin(), found.end(), expected.begin(), expected.end(), isSame);
    EXPECT_TRUE(isEqual) << "found" << text(found) << "\nexpected" << text(expected);
}

Lines joined(Lines pieces)
{
    mvgeo::joinPieces(pieces);
    return pieces;
}

void expectUnchanged(const Lines& pieces)
{
    expectLines(joined(pieces), pieces);
}

/** A level line along x. */
Line along(const std::vector<double>& xs, double y = 0.0, double z = 0.0)
{
    Line line;
    for (const double x : xs)
        line.emplace_back(x, y, z);
    return line;
}

} // namespace

TEST(PieceJoining, HasNothingToDoWithoutPieces)
{
    expectLines(joined({}), {});
}

TEST(PieceJoining, LeavesASinglePieceAsItIs)
{
    expectUnchanged({{{0, 0, 1}, {1, 0, 3}, {2, 0.5, 2}}});
}

TEST(PieceJoining, JoinsThePiecesOfAdjoiningTiles)
{
    expectLines(joined({along({0, 3, 10}), along({10, 12, 20})}), {along({0, 3, 10, 12, 20})});
}

TEST(PieceJoining, DoesNotMindTheOrderOfTheTiles)
{
    const Line whole = along({0, 10, 20, 30, 40});
    Lines tiles{along({0, 10}), along({10, 20}), along({20, 30}), along({30, 40})};
    std::vector<std::size_t> order{0, 1, 2, 3};
    do
        expectLines(joined({tiles[order[0]], tiles[order[1]], tiles[order[2]], tiles[order[3]]}), {whole});
    while (std::next_permutation(order.begin(), order.end()));
}

TEST(PieceJoining, StandsInTheOrderOfEachLinesFirstPiece)
{
    expectLines(joined({along({10, 20}, 5), along({10, 20}, 7), along({0, 10}, 7), along({0, 10}, 5)}),
                {along({0, 10, 20}, 5), along({0, 10, 20}, 7)});
}

TEST(PieceJoining, HasTheCornerOfALineOnce)
{
    expectLines(joined({{{0, 0, 0}, {10, 0, 0}}, {{10, 0, 0}, {10, 5, 0}}}), {{{0, 0, 0}, {10, 0, 0}, {10, 5, 0}}});
}

// A sharp corner turns back, yet the second segment starts where the first one ends.
TEST(PieceJoining, GoesRoundASharpCorner)
{
    expectLines(joined({{{0, 0, 0}, {10, 0, 0}}, {{10, 0, 0}, {0, 0.1, 0}}}), {{{0, 0, 0}, {10, 0, 0}, {0, 0.1, 0}}});
}

// Two millimetres from the corner the legs are 0.07 mm apart: as near as two tiles of one cut may be.
TEST(PieceJoining, GoesRoundASharpCornerBesideWhichItsLegsAlmostTouch)
{
    for (const double degrees : {0.5, 1.0, 2.0, 5.0})
        for (const double nearest : {0.00005, 0.0002, 0.0004, 0.002, 0.02})
        {
            SCOPED_TRACE(testing::Message() << degrees << " degrees, points at " << nearest);
            const double angle = degrees * std::acos(-1.0) / 180.0;
            const auto onSecond = [angle](double distance)
            { return KdGePoint3d(10.0 - distance * std::cos(angle), distance * std::sin(angle), 0.0); };
            const Line first = along({0, 10.0 - nearest, 10});
            const Line second{{10, 0, 0}, onSecond(1.3 * nearest), onSecond(10)};
            const Lines result = joined({first, second});
            ASSERT_EQ(result.size(), 1U) << text(result);
            const Line& line = result[0];
            EXPECT_TRUE(isSame({line.front(), line.back()}, {first.front(), second.back()})) << text(result);
            double length = 0.0;
            for (std::size_t i = 1; i < line.size(); ++i)
                length += line[i - 1].distanceTo(line[i]);
            EXPECT_NEAR(length, 20.0, 2e-4);
        }
}

// The same with both legs cut by many tiles, here and there at the same distance from the corner.
TEST(PieceJoining, GoesRoundASharpCornerOfManyTiles)
{
    for (const double degrees : {0.2, 1.0, 5.0})
        for (const double share : {1.0, 1.1})
        {
            SCOPED_TRACE(testing::Message() << degrees << " degrees, " << share);
            const double angle = degrees * std::acos(-1.0) / 180.0;
            Line first;
            Line second;
            for (const double distance : {10.0, 1.0, 0.1, 0.006, 0.0055, 0.003, 0.0025, 0.001, 0.0005, 0.0003, 0.0})
            {
                first.emplace_back(10.0 - distance, 0, 0);
                second.emplace_back(10.0 - share * distance * std::cos(angle), share * distance * std::sin(angle), 0);
            }
            Lines pieces;
            for (std::size_t i = 1; i < first.size(); ++i)
                pieces.push_back({first[i - 1], first[i]});
            for (std::size_t i = second.size() - 1; i > 0; --i)
                pieces.push_back({second[i], second[i - 1]});
            const Lines result = joined(pieces);
            ASSERT_EQ(result.size(), 1U) << text(result);
            EXPECT_TRUE(isSame({result[0].front(), result[0].back()}, {first.front(), second.front()})) << text(result);
        }
}

TEST(PieceJoining, ClosesARing)
{
    expectLines(joined({along({0, 10}), {{10, 0, 0}, {10, 10, 0}}, {{10, 10, 0}, {0, 0, 0}}}),
                {{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 0, 0}}});
}

TEST(PieceJoining, ClosesARingThatWasCutWithinASegment)
{
    expectLines(joined({along({5, 10}), {{10, 0, 0}, {10, 10, 0}}, {{10, 10, 0}, {0, 0, 0}}, along({0, 5})}),
                {{{5, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 0, 0}, {5, 0, 0}}});
}

TEST(PieceJoining, LeavesARingOfOnePieceClosed)
{
    expectUnchanged({{{0, 0, 0}, {10, 0, 0}, {10, 0, 10}, {0, 0, 0}}});
}

// Its first and last points differ by less than the tolerance; a closed line ends with its very first point.
TEST(PieceJoining, ClosesARingExactly)
{
    expectLines(joined({{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {1e-7, 0, 0}}}),
                {{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 0, 0}}});
}

// ---- how near is near

TEST(PieceJoining, JoinsEndsWithinAMillionth)
{
    expectLines(joined({along({0, 10}), along({10 + 9e-7, 20})}), {along({0, 10, 20})});
}

TEST(PieceJoining, LeavesAGapOfAThousandth)
{
    expectUnchanged({along({0, 10}), along({10.001, 20})});
    expectUnchanged({along({0, 10}), along({10, 20}, 0.001)});
    expectUnchanged({along({0, 10}), along({10, 20}, 0, 0.001)});
}

TEST(PieceJoining, LeavesASmallGapThatNoSegmentCovers)
{
    expectUnchanged({along({0, 10}), along({10 + 5e-5, 20})});
}

// Neighbouring tiles whose common edge differs by the rounding of floats: a step up, to the side, or an overlap.
TEST(PieceJoining, JoinsAnEndWithinATenthOfAMillimetreOfASegment)
{
    expectLines(joined({along({0, 10}), along({10, 20}, 0, 9e-5)}), {{{0, 0, 0}, {10, 0, 0}, {20, 0, 9e-5}}});
    expectLines(joined({along({0, 10}), along({10, 20}, 9e-5)}), {{{0, 0, 0}, {10, 0, 0}, {20, 9e-5, 0}}});
    expectLines(joined({along({0, 10}), along({10 - 5e-5, 20})}), {along({0, 10, 20})});
    expectUnchanged({along({0, 10}), along({10, 20}, 0, 1.1e-4)});
}

TEST(PieceJoining, JoinsAFloorToTheWallThatStartsATinyBitLower)
{
    expectLines(joined({{{0, 0, 5e-5}, {10, 0, 5e-5}}, {{10, 0, 0}, {10, 0, 8}, {12, 0, 8}}}),
                {{{0, 0, 5e-5}, {10, 0, 5e-5}, {10, 0, 8}, {12, 0, 8}}});
}

// Exactly at the limits, which belong to what is near.
TEST(PieceJoining, CountsWhatIsExactlyAtALimitAsNear)
{
    expectLines(joined({along({-10, 0}), along({1e-6, 20})}), {along({-10, 0, 20})});
    expectLines(joined({along({0, 10}), along({10, 20}, 0, 1e-4)}), {{{0, 0, 0}, {10, 0, 0}, {20, 0, 1e-4}}});
    expectUnchanged({along({0, 10}), along({10, 20}, 0, std::nextafter(1e-4, 1.0))});
    expectUnchanged({along({-10, 0}), along({1.1e-6, 20})});
    expectLines(joined({along({0, 10}), along({-10, 1e-4})}), {along({-10, 1e-4, 10})});
    expectLines(joined({along({-10, 0, 10}), along({-10, 1e-6, 10})}), {along({-10, 0, 10})});
}

// Two points of one piece that are exactly a millionth apart are two points.
TEST(PieceJoining, KeepsPointsThatAreExactlyAMillionthApart)
{
    expectUnchanged({along({0, 1e-6, 10})});
    expectLines(joined({along({0, std::nextafter(1e-6, 0.0), 10})}), {along({0, 10})});
}

TEST(PieceJoining, MeasuresInThreeDimensions)
{
    expectUnchanged({along({0, 10}, 0, 0), along({10, 20}, 0, 0.5)});
}

TEST(PieceJoining, KeepsToItsTolerancesAtLargeCoordinates)
{
    const auto far = [](double x, double z) { return KdGePoint3d(5e5 + x, 4e6 + 0.5 * x, 1e3 + z); };
    expectLines(joined({{far(20, 1), far(40, 2)}, {far(0, 0), far(20, 1 + 5e-7)}}),
                {{far(0, 0), far(20, 1 + 5e-7), far(40, 2)}});
    expectUnchanged({{far(20, 1.001), far(40, 2)}, {far(0, 0), far(20, 1)}});
}

// ---- covered twice

// The line runs along the border of two tiles, and both give it.
TEST(PieceJoining, HasABorderLineOnce)
{
    expectLines(joined({along({0, 3, 10}), along({0, 3, 10})}), {along({0, 3, 10})});
}

TEST(PieceJoining, HasABorderLineWithThePointsOfBothTiles)
{
    expectLines(joined({along({0, 3, 10}), along({0, 5, 8, 10})}), {along({0, 3, 5, 8, 10})});
    expectLines(joined({along({0, 10}), along({0, 5, 10})}), {along({0, 5, 10})});
    expectLines(joined({along({0, 5, 10}), along({0, 10})}), {along({0, 5, 10})});
}

TEST(PieceJoining, HasABorderLineOnceThoughItsHalvesComeFromOtherTiles)
{
    expectLines(joined({along({0, 4}), along({6, 10}), along({4, 6}), along({0, 5}), along({5, 10})}),
                {along({0, 4, 5, 6, 10})});
}

TEST(PieceJoining, HasTheOverlapOfTilesOnce)
{
    expectLines(joined({along({0, 10}), along({7, 17})}), {along({0, 7, 10, 17})});
    expectLines(joined({along({7, 17}), along({0, 10})}), {along({0, 7, 10, 17})});
    expectLines(joined({along({0, 20}), along({5, 15})}), {along({0, 5, 15, 20})});
    expectLines(joined({along({5, 15}), along({0, 20})}), {along({0, 5, 15, 20})});
}

TEST(PieceJoining, HasTheOverlapOfManyTilesOnce)
{
    expectLines(joined({along({0, 10}), along({2, 12}), along({4, 14}), along({6, 16})}),
                {along({0, 2, 4, 6, 10, 12, 14, 16})});
}

TEST(PieceJoining, HasAStretchThatTheLineRevisitsOnce)
{
    expectLines(joined({along({0, 3, 10}), along({10, 3, 0})}), {along({0, 3, 10})});
}

// A - B - A - C: the way back is gone, so what follows meets the first piece's start, and that piece says the
// direction.
TEST(PieceJoining, GoesOnFromWhereAStretchWasRevisited)
{
    expectLines(joined({along({0, 10}), along({10, 0}), {{0, 0, 0}, {0, 5, 0}}}), {{{0, 5, 0}, {0, 0, 0}, {10, 0, 0}}});
}

// Under an overhang the first piece found may run against the others.
TEST(PieceJoining, RunsAsMostOfItDoes)
{
    expectLines(joined({{{12, 0, 0}, {10, 0, 0}}, along({0, 10})}), {along({0, 10, 12})});
    expectLines(joined({along({10, 12}), {{10, 0, 0}, {0, 0, 0}}}), {along({12, 10, 0})});
}

// Only what other pieces cover goes; here another one ends where the first piece comes by twice.
TEST(PieceJoining, LeavesAPieceThatRunsBackOverItself)
{
    expectUnchanged({along({0, 5, 10, 5, 2})});
    const Line side{{5, -5, 0}, {5, 0, 0}};
    expectUnchanged({along({0, 5, 10, 5, 2}), side});
    expectUnchanged({along({0, 5, 10, 5, 0}), side});
    expectUnchanged({side, along({0, 5, 10, 5, 2})});
}

TEST(PieceJoining, HasAStretchOnceThatTheLineRevisitsInPart)
{
    expectLines(joined({along({0, 10}), along({10, 4})}), {along({0, 4, 10})});
    expectLines(joined({along({5, 10}), along({10, 0})}), {along({0, 5, 10})});
}

TEST(PieceJoining, HasAPieceOnceHoweverOftenItIsFound)
{
    const Line piece{{0, 0, 1}, {4, 0, 2}, {7, 0, 1}};
    Lines pieces;
    for (int i = 0; i < 1000; ++i)
        pieces.push_back(i % 2 == 0 ? piece : Line(piece.rbegin(), piece.rend()));
    expectLines(joined(pieces), {piece});
}

TEST(PieceJoining, HasARingOnceThatIsFoundTwice)
{
    const Line ring{{0, 0, 0}, {10, 0, 0}, {10, 0, 10}, {0, 0, 10}, {0, 0, 0}};
    const Line fromAnotherCorner{{10, 0, 10}, {0, 0, 10}, {0, 0, 0}, {10, 0, 0}, {10, 0, 10}};
    expectLines(joined({ring, fromAnotherCorner}), {ring});
    expectLines(joined({ring, Line(ring.rbegin(), ring.rend())}), {ring});
}

// A box stands on the ground: its ring shares the stretch from 4 to 6 with the ground's line, which stays whole.
TEST(PieceJoining, HasTheGroundUnderABoxOnce)
{
    expectLines(joined({along({0, 10}), {{4, 0, 0}, {6, 0, 0}, {6, 0, 3}, {4, 0, 3}, {4, 0, 0}}}),
                {along({0, 4, 6, 10}), {{6, 0, 0}, {6, 0, 3}, {4, 0, 3}, {4, 0, 0}}});
}

// Between 2 and 4 the tiles agree, elsewhere not.
TEST(PieceJoining, KeepsBothWhereTilesDisagree)
{
    const Line lower{{0, 0, 0}, {2, 0, 1}, {4, 0, 1}, {6, 0, 0}};
    expectLines(joined({lower, {{0, 0, 0.5}, {2, 0, 1}, {4, 0, 1}, {6, 0, 0.5}}}),
                {lower, {{0, 0, 0.5}, {2, 0, 1}}, {{4, 0, 1}, {6, 0, 0.5}}});
}

// ---- above each other

TEST(PieceJoining, KeepsABridgeApartFromTheGround)
{
    expectLines(joined({along({0, 10}, 0, 0), along({0, 10}, 0, 8), along({10, 20}, 0, 8), along({10, 20}, 0, 0)}),
                {along({0, 10, 20}, 0, 0), along({0, 10, 20}, 0, 8)});
}

// The eaves: the upper and the lower surface end at the same place.
TEST(PieceJoining, KeepsARoofApartFromItsUnderside)
{
    expectUnchanged({{{0, 0, 8}, {10, 0, 7}}, {{0, 0, 6}, {10, 0, 7}}});
    expectUnchanged({{{10, 0, 7}, {0, 0, 8}}, {{10, 0, 7}, {0, 0, 6}}});
}

TEST(PieceJoining, KeepsFloorsApartThatTouchTheSameWall)
{
    const Line wall{{10, 0, 0}, {10, 0, 20}};
    expectUnchanged({wall, along({0, 10}, 0, 5), along({0, 10}, 0, 12)});
    expectUnchanged({{{10, 0, 0}, {10, 0, 5}, {10, 0, 12}, {10, 0, 20}}, along({0, 10}, 0, 5), along({0, 10}, 0, 12)});
}

// The wall between two floors is cut at both: it may go on with one of them, but must not turn the line round.
TEST(PieceJoining, DoesNotTurnRoundAtAWallBetweenFloors)
{
    expectLines(joined({along({0, 10}, 0, 5), {{10, 0, 5}, {10, 0, 12}}, along({0, 10}, 0, 12)}),
                {{{0, 0, 5}, {10, 0, 5}, {10, 0, 12}}, along({0, 10}, 0, 12)});
    expectLines(
        joined({along({0, 10}, 0, 5), {{10, 0, 12}, {10, 0, 9}}, {{10, 0, 5}, {10, 0, 9}}, along({0, 10}, 0, 12)}),
        {{{0, 0, 5}, {10, 0, 5}, {10, 0, 9}, {10, 0, 12}}, along({0, 10}, 0, 12)});
}

// A wall has no direction along the line, so it may come either way round, and in parts.
TEST(PieceJoining, GoesUpAWallOntoTheRoof)
{
    const Line whole{{0, 0, 0}, {10, 0, 0}, {10, 0, 4}, {10, 0, 9}, {20, 0, 9}};
    const Line ground = along({0, 10});
    const Line roof = along({10, 20}, 0, 9);
    const Line lowerWall{{10, 0, 0}, {10, 0, 4}};
    const Line upperWall{{10, 0, 9}, {10, 0, 4}};
    expectLines(joined({ground, lowerWall, upperWall, roof}), {whole});
    expectLines(joined({ground, {lowerWall.rbegin(), lowerWall.rend()}, upperWall, roof}), {whole});
    expectLines(joined({roof, upperWall, lowerWall, ground}), {whole});
}

// A line that goes over an edge, down its wall and back below it, in the pieces of three tiles; what lies below is
// given in the direction of the cut.
TEST(PieceJoining, GoesDownAWallAndReturnsBelowIt)
{
    const Line whole{{0, 0, 9}, {5, 0, 9}, {10, 0, 9}, {10, 0, 4}, {5, 0, 4}, {1, 0, 4}};
    const Line top{whole[0], whole[1]};
    const Line edge{whole[1], whole[2], whole[3], whole[4]};
    const Line below{whole[5], whole[4]};
    expectLines(joined({whole}), {whole});
    expectLines(joined({top, edge, below}), {whole});
    expectLines(joined({edge, below, top}), {whole});
}

// The wall is a piece of its own: it ends the upper line, and the lower one does not turn round at it.
TEST(PieceJoining, KeepsWhatReturnsBelowAWallApart)
{
    const Line top = along({0, 10}, 0, 9);
    const Line wall{{10, 0, 9}, {10, 0, 4}};
    const Line below = along({1, 10}, 0, 4);
    expectLines(joined({top, wall, below}), {{{0, 0, 9}, {10, 0, 9}, {10, 0, 4}}, below});
}

// ---- more than two ends

TEST(PieceJoining, EndsALineAtTheLineThatItRunsInto)
{
    expectUnchanged({along({0, 10}), {{4, -5, 0}, {4, 0, 0}}});
    expectUnchanged({along({0, 4, 10}), {{4, -5, 0}, {4, 0, 0}}});
    expectUnchanged({{{4, -5, 0}, {4, 0, 0}}, along({0, 10})});
}

TEST(PieceJoining, TakesTheStraightestWayWhereThreeEndsMeet)
{
    const Line side{{10, -10, 0}, {10, 0, 0}};
    expectLines(joined({side, along({0, 10}), along({10, 20})}), {side, along({0, 10, 20})});
}

// A line crosses itself exactly where four tiles meet.
TEST(PieceJoining, GoesStraightOnWhereTheLineCrossesItself)
{
    expectLines(joined({along({10, 20}), along({0, 10}), {{10, 0, 0}, {10, 10, 0}}, {{10, -10, 0}, {10, 0, 0}}}),
                {along({0, 10, 20}), {{10, -10, 0}, {10, 0, 0}, {10, 10, 0}}});
}

// Seen from above both go straight on, though the ground is rough: each goes up where the other one does.
TEST(PieceJoining, GoesStraightOnSeenFromAboveOnRoughGround)
{
    expectLines(joined({{{0, 0, 9}, {10, 0, 0}},
                        {{10, 0, 0}, {20, 0, 9}},
                        {{10, -10, -9}, {10, 0, 0}},
                        {{10, 0, 0}, {10, 10, -9}}}),
                {{{0, 0, 9}, {10, 0, 0}, {20, 0, 9}}, {{10, -10, -9}, {10, 0, 0}, {10, 10, -9}}});
}

// All four turns are right angles.
TEST(PieceJoining, PrefersTheNextPieceWhereAllWaysTurnAlike)
{
    expectLines(joined({{{0, 10, 0}, {10, 10, 0}},
                        {{10, 10, 0}, {10, 20, 0}},
                        {{20, 10, 0}, {10, 10, 0}},
                        {{10, 10, 0}, {10, 0, 0}}}),
                {{{0, 10, 0}, {10, 10, 0}, {10, 20, 0}}, {{20, 10, 0}, {10, 10, 0}, {10, 0, 0}}});
}

TEST(PieceJoining, JoinsNothingWhereLinesCrossInTheMiddle)
{
    expectUnchanged({along({0, 10}), {{5, -5, 0}, {5, 5, 0}}});
    expectUnchanged({along({0, 5, 10}), {{5, -5, 0}, {5, 0, 0}, {5, 5, 0}}});
}

TEST(PieceJoining, JoinsPiecesThatRunTowardsEachOther)
{
    expectLines(joined({along({0, 10}), along({20, 10})}), {along({0, 10, 20})});
    expectLines(joined({along({10, 0}), along({10, 20})}), {along({20, 10, 0})});
}

// 1,000 ends at one place: all pairs would be half a million comparisons, yet each must find a partner.
TEST(PieceJoining, PairsAllEndsOfAStar)
{
    Lines star;
    for (int i = 0; i < 1000; ++i)
    {
        const double angle = 0.006 * i;
        const KdGePoint3d tip(std::cos(angle), std::sin(angle), 0.001 * i);
        if (i % 2 == 0)
            star.push_back({tip, {0, 0, 0}});
        else
            star.push_back({{0, 0, 0}, tip});
    }
    EXPECT_EQ(joined(star).size(), 500U);
}

// ---- bad input

TEST(PieceJoining, DropsPiecesThatAreNowhere)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    expectLines(joined({{{nan, 0, 0}, {1, 0, 0}},
                        along({0, 10}),
                        {{10, 0, 0}, {11, infinity, 0}},
                        {{10, 0, -infinity}, {11, 0, 0}},
                        along({10, 20}),
                        {{nan, nan, nan}}}),
                {along({0, 10, 20})});
}

TEST(PieceJoining, DropsPiecesWithoutLength)
{
    expectLines(joined({{}, {{10, 0, 0}}, along({0, 10}), {{10, 0, 0}, {10, 0, 0}}, {{10, 0, 0}, {10, 0, 5e-7}}}),
                {along({0, 10})});
    expectLines(joined({{}, {{10, 0, 0}}, {{10, 0, 0}, {10, 0, 0}}}), {});
}

TEST(PieceJoining, DropsPointsThatFollowThemselves)
{
    expectLines(joined({along({0, 0, 5, 5, 5, 10}), along({10, 10, 20, 20})}), {along({0, 5, 10, 20})});
}

TEST(PieceJoining, BearsHugeCoordinates)
{
    const double huge = std::numeric_limits<double>::max();
    const Lines result = joined(
        {{{-huge, huge, huge}, {huge, huge, huge}}, along({0, 10}), {{huge, huge, huge}, {0, 0, 0}}, along({10, 20})});
    EXPECT_TRUE(std::any_of(result.begin(), result.end(),
                            [](const Line& line)
                            { return std::any_of(line.begin(), line.end(), [](auto& p) { return p.x == 20.0; }); }))
        << text(result);
}
