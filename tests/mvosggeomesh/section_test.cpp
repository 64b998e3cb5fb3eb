#include "mvosggeomesh/SectionFixture.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

using testing::IsEmpty;
using testing::SizeIs;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/** The six sides of the box from (40, 40, 10) to (60, 60, 30). */
osg::ref_ptr<osg::Geometry> box()
{
    std::vector<osg::Vec3> corners;
    for (const float z : {10.0F, 30.0F})
        for (const auto& [x, y] : {std::pair{40.0F, 40.0F}, {60.0F, 40.0F}, {60.0F, 60.0F}, {40.0F, 60.0F}})
            corners.emplace_back(x, y, z);
    return Section::triangles(corners, {0, 2, 1, 0, 3, 2, 4, 5, 6, 4, 6, 7, 0, 1, 5, 0, 5, 4,
                                        1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7});
}

} // namespace

TEST_F(Section, OfAPlaneHasAPointAtEachEdgeThatItCrosses)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{10, 50, 0}, {90, 50, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{10, 50, 7}, {50, 50, 7}, {90, 50, 7}})); // the diagonal in the middle
}

TEST_F(Section, RunsFromItsStartToItsEndWhicheverWayThatIs)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{90, 50, 0}, {10, 50, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{90, 50, 7}, {50, 50, 7}, {10, 50, 7}}));
}

TEST_F(Section, DoesNotLookAtTheHeightsOfTheLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{10, 50, -1e4}, {90, 50, 1e5}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{10, 50, 7}, {50, 50, 7}, {90, 50, 7}}));
}

TEST_F(Section, OfAPyramidHasItsKnownHeights)
{
    addMesh(triangles({{0, 0, 0}, {100, 0, 0}, {100, 100, 0}, {0, 100, 0}, {50, 50, 50}},
                      {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4}));
    const Lines lines = drape({{-10, 25, 0}, {110, 25, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 25, 0}, {25, 25, 25}, {75, 25, 25}, {100, 25, 0}}));

    const Lines overTheTop = drape({{-10, 50, 0}, {110, 50, 0}}); // exactly through the top
    ASSERT_THAT(overTheTop, SizeIs(1));
    EXPECT_THAT(overTheTop[0], isLine({{0, 50, 0}, {50, 50, 50}, {100, 50, 0}}));

    const Lines alongEdges = drape({{-10, -10, 0}, {110, 110, 0}}); // along two of its edges
    ASSERT_THAT(alongEdges, SizeIs(1));
    EXPECT_THAT(alongEdges[0], isLine({{0, 0, 0}, {50, 50, 50}, {100, 100, 0}}));
}

TEST_F(Section, AlongARidgeIsTheRidge)
{
    addMesh(triangles({{0, 0, 0}, {0, 100, 0}, {50, 0, 20}, {50, 100, 20}, {100, 0, 0}, {100, 100, 0}},
                      {0, 2, 3, 0, 3, 1, 2, 4, 5, 2, 5, 3}));
    const Lines lines = drape({{50, 10, 0}, {50, 90, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{50, 10, 20}, {50, 90, 20}}));
}

// A line that leaves through a corner of the mesh only touches it there.
TEST_F(Section, TouchingACornerOnlyIsNoLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{-50, 50, 0}, {50, -50, 0}}), IsEmpty());
}

TEST_F(Section, SurfacesAboveEachOtherEachGiveALine)
{
    addMesh(makeSquare(0, 0, 0, 100));
    addMesh(makeSquare(20, 20, 50, 60)); // a bridge
    const Lines lines = drape({{0, 30, 0}, {100, 30, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{0, 30, 0}, {30, 30, 0}, {100, 30, 0}}));
    EXPECT_THAT(lines[1], isLine({{20, 30, 50}, {30, 30, 50}, {80, 30, 50}}));
}

// Real walls are part of the surface, and a line runs round a box: forward above, back below.
TEST_F(Section, OfABoxRunsRoundIt)
{
    addMesh(box());
    const Lines lines = drape({{0, 45, 0}, {100, 45, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const Line& line = lines[0];
    EXPECT_EQ(line.size(), 9U); // four sides of two triangles each, and the first point again
    double length = 0.0;
    double top = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        length += line[i - 1].distanceTo(line[i]);
        if (line[i - 1].z == 30.0 && line[i].z == 30.0) top += line[i].x - line[i - 1].x;
        EXPECT_NEAR(line[i].y, 45.0, 1e-9);
    }
    EXPECT_NEAR(length, 80.0, 1e-6);
    EXPECT_NEAR(top, 20.0, 1e-6);
}

// A line exactly along a wall sees it edge-on: the wall's border.
TEST_F(Section, AlongAWallIsTheWallsBorder)
{
    addMesh(box());
    const Lines lines = drape({{0, 40, 0}, {100, 40, 0}});
    double length = 0.0;
    for (const Line& line : lines)
        for (std::size_t i = 1; i < line.size(); ++i)
            length += line[i - 1].distanceTo(line[i]);
    EXPECT_NEAR(length, 80.0, 1e-6);
}

TEST_F(Section, AKinkIsAPointOfTheOneLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{60, 10, 0}, {90, 20, 0}, {60, 40, 0}}); // all in one triangle
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{60, 10, 7}, {90, 20, 7}, {60, 40, 7}}));
}

TEST_F(Section, APolylineMayLeaveAndComeBack)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{50, 10, 0}, {150, 10, 0}, {150, 20, 0}, {50, 20, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{50, 10, 7}, {100, 10, 7}}));
    EXPECT_THAT(lines[1], isLine({{100, 20, 7}, {50, 20, 7}}));
}

TEST_F(Section, BesideTheModelFindsNothingAndIsTrue)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{-50, 150, 0}, {150, 150, 0}}), IsEmpty());
    EXPECT_THAT(drape({{150, 50, 0}, {250, 50, 0}}), IsEmpty()); // its plane meets the model, its length does not
}

TEST_F(Section, WithoutAModelFindsNothing)
{
    EXPECT_THAT(drape({{0, 0, 0}, {1, 1, 0}}), IsEmpty());
}

TEST_F(Section, AppendsToWhatIsThere)
{
    addMesh(makeSquare(0, 0, 7, 100));
    Lines lines{{{1, 2, 3}}};
    const Line line{{10, 50, 0}, {20, 50, 0}};
    const KdGeMatrix3d placement;
    EXPECT_TRUE(model().section(&placement, &line, &lines));
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{1, 2, 3}}));
}

TEST_F(Section, OfOnePointOrNoneIsEmptyAndTrue)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{50, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({}), IsEmpty());
}

TEST_F(Section, NeedsItsArgumentsAndAPlacementThatCanBeInverted)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const KdGeMatrix3d placement;
    const KdGeMatrix3d flat = hostMatrix(osg::Matrixd::scale(1.0, 1.0, 0.0));
    const Line line{{10, 50, 0}, {20, 50, 0}};
    Lines lines{{{1, 2, 3}}};
    EXPECT_FALSE(model().section(nullptr, &line, &lines));
    EXPECT_FALSE(model().section(&placement, nullptr, &lines));
    EXPECT_FALSE(model().section(&placement, &line, nullptr));
    EXPECT_FALSE(model().section(&flat, &line, &lines));
    EXPECT_THAT(lines, SizeIs(1));
}

TEST_F(Section, PointsThatAreNoNumbersContributeNothing)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_THAT(drape({{kNan, 0, 0}, {50, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({{infinite, 0, 0}, {50, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({{-1e308, 50, 0}, {1e308, 50, 0}}), IsEmpty());
    const Lines lines = drape({{10, 50, 0}, {20, 50, 0}, {0, kNan, 0}, {30, 50, 0}, {40, 50, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{10, 50, 7}, {20, 50, 7}}));
    EXPECT_THAT(lines[1], isLine({{30, 50, 7}, {40, 50, 7}}));
}

TEST_F(Section, AVerticalSegmentReadsNothingAndFindsNothing)
{
    addPyramid();
    EXPECT_THAT(drape({{50, 50, 0}, {50, 50, 100}, {50, 50, 100}}), IsEmpty());
    EXPECT_EQ(driver.statistics().tilesLoaded, 1U); // the root
}

TEST_F(Section, TwoPointsThatCoincideAreNoLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{10, 50, 0}, {10.0000005, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({{10, 50, 0}, {10.000002, 50, 0}}), SizeIs(1));
}

TEST_F(Section, AGridOfSeparateTrianglesGivesOneLineToo)
{
    std::vector<osg::Vec3> corners;
    std::vector<unsigned int> indices;
    const auto height = [](float x, float y) { return 0.01F * x * x + std::sin(y); };
    for (int x = 0; x < 50; ++x)
        for (int y = 0; y < 50; ++y)
            for (const auto& [i, j] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}})
            {
                const auto cornerX = static_cast<float>(x + i);
                const auto cornerY = static_cast<float>(y + j);
                indices.push_back(static_cast<unsigned int>(corners.size()));
                corners.emplace_back(cornerX, cornerY, height(cornerX, cornerY)); // no corner is shared
            }
    addMesh(triangles(corners, indices));
    const Lines lines = drape({{-1, 3.3, 0}, {51, 47.1, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_GT(lines[0].size(), 100U);
    const Lines alongRow = drape({{-1, 7, 0}, {51, 7, 0}});
    ASSERT_THAT(alongRow, SizeIs(1));
    ASSERT_THAT(alongRow[0], SizeIs(51));
    for (int x = 0; x <= 50; ++x)
        EXPECT_NEAR(alongRow[0][static_cast<std::size_t>(x)].z, height(static_cast<float>(x), 7.0F), 1e-6);
}

TEST_F(Section, ARepeatedPointOfTheLineIsThereOnce)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines =
        drape({{60, 10, 0}, {60, 10, 0}, {90, 20, 0}, {90, 20, 5}, {90, 20, 0}, {60, 40, 0}, {60, 40, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{60, 10, 7}, {90, 20, 7}, {60, 40, 7}}));
}

// It goes on over what it has left already, which is there once.
TEST_F(Section, ALineThatTurnsStraightBackIsThereOnce)
{
    addMesh(makeSquare(0, 0, 7, 100));
    for (const double end : {70.0, 60.0, 20.0})
    {
        SCOPED_TRACE(end);
        const Lines lines = drape({{60, 10, 0}, {90, 10, 0}, {end, 10, 0}});
        double length = 0.0;
        for (const Line& line : lines)
            for (std::size_t i = 1; i < line.size(); ++i)
                length += line[i - 1].distanceTo(line[i]);
        EXPECT_THAT(lines, SizeIs(1));
        EXPECT_NEAR(length, 90.0 - std::min(end, 60.0), 1e-6);
    }
}

namespace
{

/** Terrain in cells of 2 cm, rough enough to tell where a line runs. */
osg::ref_ptr<osg::Geometry> fineMesh()
{
    constexpr int kSide = 120;
    std::vector<osg::Vec3> corners;
    std::vector<unsigned int> indices;
    for (int row = 0; row <= kSide; ++row)
        for (int column = 0; column <= kSide; ++column)
        {
            corners.emplace_back(0.02F * static_cast<float>(column), 0.02F * static_cast<float>(row),
                                 0.01F * static_cast<float>(std::sin(1.7 * column) * std::cos(2.3 * row)));
            if (column == kSide || row == kSide) continue;
            const auto corner = static_cast<unsigned int>(row * (kSide + 1) + column);
            for (const unsigned int offset : {0U, 1U, kSide + 1U, 1U, kSide + 2U, kSide + 1U})
                indices.push_back(corner + offset);
        }
    return Section::triangles(corners, indices);
}

} // namespace

// Beside a sharp corner both legs are nearer to each other than the tiles of one cut may be.
TEST_F(Section, GoesRoundSharpCornersInOneLine)
{
    addMesh(fineMesh());
    for (const double degrees : {0.2, 0.5, 1.0, 2.0, 4.0, 5.0, 10.0})
        for (int i = 0; i < 40; ++i)
        {
            SCOPED_TRACE(testing::Message() << degrees << " degrees, corner " << i);
            const double turn = 0.157 * i;
            const KdGePoint3d corner(1.2 + 0.00137 * i, 1.2 - 0.00071 * i, 0.0);
            const auto leg = [&corner](double angle)
            { return KdGePoint3d(corner.x + std::cos(angle), corner.y + std::sin(angle), 0.0); };
            const KdGePoint3d first = leg(turn);
            const KdGePoint3d last = leg(turn + degrees * std::acos(-1.0) / 180.0);
            const Lines lines = drape({first, corner, last});
            ASSERT_THAT(lines, SizeIs(1));
            double length = 0.0;
            for (std::size_t j = 1; j < lines[0].size(); ++j)
                length += std::hypot(lines[0][j].x - lines[0][j - 1].x, lines[0][j].y - lines[0][j - 1].y);
            EXPECT_NEAR(length, 2.0, 1e-3);
            EXPECT_LT(std::hypot(lines[0].front().x - first.x, lines[0].front().y - first.y), 1e-4);
            EXPECT_LT(std::hypot(lines[0].back().x - last.x, lines[0].back().y - last.y), 1e-4);
        }
}

// Over the edge of a cliff, down its wall and back below: the surface is one sheet, and so is the line.
TEST_F(Section, GoesDownAWallAndReturnsBelowIt)
{
    addMesh(triangles({{0, 0, 9}, {10, 0, 9}, {10, 0, 4}, {3, 0, 4}, {0, 20, 9}, {10, 20, 9}, {10, 20, 4}, {3, 20, 4}},
                      {0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6}));
    const Lines lines = drape({{-5, 8, 0}, {15, 8, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const Line& line = lines[0];
    double length = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i)
        length += line[i - 1].distanceTo(line[i]);
    EXPECT_NEAR(length, 10.0 + 5.0 + 7.0, 1e-6);
    EXPECT_NEAR(line.front().x, 0.0, 1e-6);
    EXPECT_NEAR(line.back().x, 3.0, 1e-6);
    EXPECT_NEAR(line.back().z, 4.0, 1e-6);
}
