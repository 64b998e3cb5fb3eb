#include "mvdrapelines/PieceJoining.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace
{

using Line = std::vector<KdGePoint3d>;
using Lines = std::vector<Line>;

constexpr std::uint32_t kSeed = 20240607;

/** The same on every machine, other than the library's distributions. */
class Random
{
public:
    explicit Random(std::uint32_t seed) : _generator(seed) {}
    double between(double low, double high) { return low + (high - low) * (_generator() / 4294967296.0); }
    std::size_t below(std::size_t count) { return _generator() % count; }

    template <typename T>
    void shuffle(std::vector<T>& values)
    {
        for (std::size_t i = values.size(); i > 1; --i)
            std::swap(values[i - 1], values[below(i)]);
    }

private:
    std::mt19937 _generator;
};

double lengthOf(const Line& line)
{
    double length = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i)
        length += line[i - 1].distanceTo(line[i]);
    return length;
}

double lengthOf(const Lines& lines)
{
    double length = 0.0;
    for (const Line& line : lines)
        length += lengthOf(line);
    return length;
}

/** Runs eastwards over rough ground at large coordinates, so it never meets itself. */
Line randomLine(Random& random, std::size_t pointCount, double northing = 4e6)
{
    Line line;
    KdGePoint3d point(5e5, northing, 1e3);
    for (std::size_t i = 0; i < pointCount; ++i)
    {
        line.push_back(point);
        point = KdGePoint3d(point.x + random.between(0.05, 3.0), point.y + random.between(-1.0, 1.0),
                            point.z + random.between(-2.0, 2.0));
    }
    return line;
}

/** Cuts at about every sixth point. */
Lines cutAtPoints(Random& random, const Line& line)
{
    Lines pieces(1);
    for (std::size_t i = 0; i < line.size(); ++i)
    {
        pieces.back().push_back(line[i]);
        if (i == 0 || i + 1 == line.size() || random.below(6) != 0) continue;
        pieces.push_back({line[i]});
    }
    return pieces;
}

/** Adds a point within about every third segment, which is where tiles cut it. */
Line withPointsBetween(Random& random, const Line& line)
{
    Line result{line.front()};
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        const double share = random.between(0.1, 0.9);
        const KdGeVector3d side = line[i] - line[i - 1];
        if (random.below(3) == 0)
            result.push_back(line[i - 1] + KdGeVector3d(side.x * share, side.y * share, side.z * share));
        result.push_back(line[i]);
    }
    return result;
}

Lines joined(Lines pieces)
{
    mvgeo::joinPieces(pieces);
    return pieces;
}

void expectSame(const Line& found, const Line& expected)
{
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_TRUE(found[i].x == expected[i].x && found[i].y == expected[i].y && found[i].z == expected[i].z)
            << "point " << i;
}

} // namespace

TEST(PieceJoiningLaws, ACutLineComesBackExactly)
{
    Random random(kSeed);
    for (int round = 0; round < 100; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const Line line = withPointsBetween(random, randomLine(random, 2 + random.below(60)));
        Lines pieces = cutAtPoints(random, line);
        random.shuffle(pieces);
        const Lines result = joined(pieces);
        ASSERT_EQ(result.size(), 1U);
        expectSame(result.front(), line);
    }
}

TEST(PieceJoiningLaws, SeveralCutLinesComeBackExactly)
{
    Random random(kSeed);
    Lines lines;
    Lines pieces;
    for (int i = 0; i < 20; ++i)
    {
        lines.push_back(randomLine(random, 200, 4e6 + 1e3 * i));
        for (const Line& piece : cutAtPoints(random, lines.back()))
            pieces.push_back(piece);
    }
    random.shuffle(pieces);
    Lines result = joined(pieces);
    std::sort(result.begin(), result.end(), [](const Line& a, const Line& b) { return a[0].y < b[0].y; });
    ASSERT_EQ(result.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        expectSame(result[i], lines[i]);
}

TEST(PieceJoiningLaws, ACutRingComesBackWithItsLength)
{
    Random random(kSeed);
    for (int round = 0; round < 50; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        Line ring = randomLine(random, 5 + random.below(40));
        ring.emplace_back(ring.front().x, ring.front().y - 50.0, 900.0);
        ring.push_back(ring.front());
        Lines pieces = cutAtPoints(random, ring);
        random.shuffle(pieces);
        const Lines result = joined(pieces);
        ASSERT_EQ(result.size(), 1U);
        EXPECT_EQ(result[0].size(), ring.size());
        EXPECT_EQ(result[0].front().distanceTo(result[0].back()), 0.0);
        EXPECT_NEAR(lengthOf(result), lengthOf(ring), 1e-9 * lengthOf(ring));
    }
}

// Every stretch is given by one to three tiles, with other points on it in each, some of them run backwards.
TEST(PieceJoiningLaws, CoveringTwiceChangesNeitherCourseNorLength)
{
    Random random(kSeed);
    for (int round = 0; round < 50; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const Line line = randomLine(random, 40);
        Lines pieces = cutAtPoints(random, line);
        for (int layer = 0; layer < 2; ++layer)
            for (Line piece : cutAtPoints(random, withPointsBetween(random, line)))
            {
                if (random.below(4) == 0) std::reverse(piece.begin(), piece.end());
                if (random.below(3) != 0) pieces.push_back(piece);
            }
        const Lines result = joined(pieces);
        ASSERT_EQ(result.size(), 1U);
        EXPECT_NEAR(lengthOf(result), lengthOf(line), 1e-6);
        EXPECT_EQ(result[0].front().distanceTo(line.front()), 0.0);
        for (std::size_t i = 1; i < result[0].size(); ++i)
            ASSERT_GT(result[0][i].x, result[0][i - 1].x);
    }
}

// Lines that cross each other and themselves anywhere: whatever is joined to what, no stretch comes or goes. An end
// that comes within 1e-4 of another line by chance may be moved onto it.
TEST(PieceJoiningLaws, TheTotalLengthStaysInATangle)
{
    Random random(kSeed);
    for (int round = 0; round < 50; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        Lines pieces;
        for (int i = 0; i < 60; ++i)
        {
            Line piece;
            for (std::size_t j = 0; j < 2 + random.below(3); ++j)
                piece.emplace_back(random.between(0, 5), random.between(0, 5), std::floor(random.between(0, 3)));
            pieces.push_back(piece);
            if (random.below(2) == 0) pieces.push_back({piece.back(), {random.between(0, 5), 0.0, 1.0}});
        }
        EXPECT_NEAR(lengthOf(joined(pieces)), lengthOf(pieces), 1e-3);
    }
}

// Corners of a coarse grid, so that ends meet in crowds and stretches are covered often.
TEST(PieceJoiningLaws, AGridHasEveryEdgeOnce)
{
    Random random(kSeed);
    for (int round = 0; round < 50; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        constexpr int kSide = 6;
        Lines edges;
        for (int i = 0; i < kSide; ++i)
            for (int j = 0; j + 1 < kSide; ++j)
            {
                edges.push_back({KdGePoint3d(j, i, 0), KdGePoint3d(j + 1, i, 0)});
                edges.push_back({KdGePoint3d(i, j, 0), KdGePoint3d(i, j + 1, 0)});
            }
        Lines pieces = edges;
        for (int i = 0; i < 60; ++i)
            pieces.push_back(edges[random.below(edges.size())]);
        for (Line& piece : pieces)
            if (random.below(2) == 0) std::reverse(piece.begin(), piece.end());
        random.shuffle(pieces);
        const Lines result = joined(pieces);
        std::size_t edgeCount = 0;
        for (const Line& line : result)
            edgeCount += line.size() - 1;
        EXPECT_EQ(edgeCount, edges.size());
        EXPECT_EQ(lengthOf(result), 60.0);
    }
}

TEST(PieceJoiningLaws, AskedTwiceTheAnswerIsTheSame)
{
    Random random(kSeed);
    Lines pieces;
    for (int i = 0; i < 300; ++i)
        pieces.push_back({KdGePoint3d(random.below(5), random.below(5), 0), KdGePoint3d(random.below(5), 7, 1)});
    const Lines first = joined(pieces);
    const Lines second = joined(pieces);
    ASSERT_EQ(first.size(), second.size());
    for (std::size_t i = 0; i < first.size(); ++i)
        expectSame(second[i], first[i]);
}

TEST(PieceJoiningLaws, JoiningWhatIsJoinedChangesNothing)
{
    Random random(kSeed);
    const Line line = randomLine(random, 500);
    const Lines once = joined({line});
    ASSERT_EQ(once.size(), 1U);
    expectSame(once.front(), line);
}

// Slow if every piece were compared with every other: 20,000 times 20,000.
TEST(PieceJoiningLaws, ManySmallPiecesAreOneLine)
{
    Random random(kSeed);
    const Line line = randomLine(random, 20001);
    Lines pieces;
    for (std::size_t i = 0; i + 1 < line.size(); ++i)
        pieces.push_back({line[i], line[i + 1]});
    random.shuffle(pieces);
    const Lines result = joined(pieces);
    ASSERT_EQ(result.size(), 1U);
    expectSame(result.front(), line);
}
