#include "mvosggeomesh/ClipGeometry.h"
#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/Geode>
#include <osg/MatrixTransform>
#include <osg/PagedLOD>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace
{

using namespace clipgeometry;

constexpr int kInside = 0;
constexpr int kOutside = 1;
constexpr int kInMemory = 0;
constexpr int kFinest = 1;
constexpr unsigned int kAll = 0xFFFFFFFFU;

Points rectangle(double west, double south, double east, double north)
{
    return {{west, south, 0}, {east, south, 0}, {east, north, 0}, {west, north, 0}};
}

osg::ref_ptr<osg::Geometry> geometryOf(const std::vector<osg::Vec3>& vertices, osg::PrimitiveSet* set)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(new osg::Vec3Array(vertices.begin(), vertices.end()));
    geometry->addPrimitiveSet(set);
    return geometry;
}

/** Stands for bounds that were reckoned before the damage: the toolkit itself trusts indices when it does that. */
struct KnownBox : public osg::Drawable::ComputeBoundingBoxCallback
{
    osg::BoundingBox computeBound(const osg::Drawable&) const override { return {0, 0, 0, 10, 10, 0}; }
};

/** Triangles that share nothing. */
osg::ref_ptr<osg::Geometry> soupOf(const std::vector<osg::Vec3>& vertices)
{
    return geometryOf(vertices, new osg::DrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(vertices.size())));
}

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
    return soupOf(vertices);
}

/** A grid of cells from (0, 0) to (100, 100), at the heights z(x, y). */
template <typename Height>
osg::ref_ptr<osg::Geometry> grid(int cells, Height z)
{
    std::vector<osg::Vec3> vertices;
    const auto vertex = [&](int column, int row)
    {
        const double x = 100.0 * column / cells;
        const double y = 100.0 * row / cells;
        vertices.push_back(osg::Vec3(osg::Vec3d(x, y, z(x, y))));
    };
    for (int row = 0; row < cells; ++row)
        for (int column = 0; column < cells; ++column)
            for (const auto& [right, up] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}})
                vertex(column + right, row + up);
    return soupOf(vertices);
}

/** One clip after another on what hangs under the root. */
struct Clip : public TiledModelFixture
{
    Points found;
    KdGeMatrix3d placement;
    const double* heights = nullptr;
    int options = kInMemory;
    unsigned int file = kAll;

    /** A model file of its own, by its id. */
    void hang(const osg::ref_ptr<osg::Node>& node)
    {
        node->setUserValue("root_nodeid", model().root().getNumChildren());
        model().root().addChild(node);
    }
    bool clip(int mode, const Points& boundary)
    {
        return model().clip(mode, file, &placement, &boundary, heights, options, &found);
    }
    Points clipped(int mode, const Points& boundary)
    {
        found.clear();
        EXPECT_TRUE(clip(mode, boundary));
        EXPECT_EQ(badTriangles(found), 0);
        return found;
    }
    double planInside(const Points& boundary) { return planArea(clipped(kInside, boundary)); }
    double planOutside(const Points& boundary) { return planArea(clipped(kOutside, boundary)); }
    double surfaceInside(const Points& boundary) { return surfaceArea(clipped(kInside, boundary)); }
    double surfaceOutside(const Points& boundary) { return surfaceArea(clipped(kOutside, boundary)); }

    void expectRefused(const std::string& reason, int mode, const Points& boundary)
    {
        log.clear();
        found = {{1, 2, 3}};
        EXPECT_FALSE(clip(mode, boundary));
        EXPECT_EQ(found.size(), 1U);
        EXPECT_EQ(log.count(osg::WARN, "cannot clip: " + reason), 1) << reason;
        EXPECT_EQ(log.lines().size(), 1U);
    }
};

const double kNan = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST_F(Clip, GivesWhatLiesInsideOrOutsideASquare)
{
    hang(makeSquare(0, 0, 7, 100));
    EXPECT_NEAR(planInside(rectangle(20, 30, 60, 50)), 800, 1e-9);
    for (const KdGePoint3d& point : found)
        EXPECT_DOUBLE_EQ(point.z, 7.0);
    EXPECT_NEAR(planOutside(rectangle(20, 30, 60, 50)), 9200, 1e-9);
    EXPECT_EQ(misplacedTriangles(found, rectangle(20, 30, 60, 50), false, 1e-9), 0);
}

TEST_F(Clip, TakesAnElbowClosedOrNotInEitherWinding)
{
    hang(makeSquare(0, 0, 0, 100));
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
    hang(grid(10, [](double, double) { return 0.0; }));
    const Points boundary{{15, 15, 0}, {75, 15, 0}, {75, 75, 0}, {55, 75, 0},
                          {55, 35, 0}, {35, 35, 0}, {35, 75, 0}, {15, 75, 0}};
    EXPECT_NEAR(planInside(boundary), 2800, 1e-9);
    EXPECT_EQ(misplacedTriangles(found, boundary, true, 1e-9), 0);
    EXPECT_NEAR(planOutside(boundary), 7200, 1e-9);
}

TEST_F(Clip, ABowTieIsItsTwoWings)
{
    hang(grid(7, [](double, double) { return 0.0; }));
    const Points bowTie{{10, 10, 0}, {90, 90, 0}, {90, 10, 0}, {10, 90, 0}};
    EXPECT_NEAR(planInside(bowTie), 3200, 1e-9);
    EXPECT_EQ(misplacedTriangles(found, bowTie, true, 1e-9), 0);
}

TEST_F(Clip, WhatIsEnclosedTwiceIsAHole)
{
    hang(makeSquare(0, 0, 0, 100));
    const Points boundary{{10, 10, 0}, {90, 10, 0}, {90, 90, 0}, {10, 90, 0}, {10, 10, 0},
                          {30, 30, 0}, {70, 30, 0}, {70, 70, 0}, {30, 70, 0}, {30, 30, 0}};
    EXPECT_NEAR(planInside(boundary), 6400 - 1600, 1e-9);
    EXPECT_NEAR(planOutside(boundary), 3600 + 1600, 1e-9);
}

// The boundary runs along the mesh's lines and through its points: 10 by 10 cells of 10.
TEST_F(Clip, CutsNothingWhereTheBoundaryFollowsTheMesh)
{
    hang(grid(10, [](double, double) { return 0.0; }));
    EXPECT_EQ(clipped(kInside, rectangle(20, 30, 60, 50)).size(), 3U * 2 * 8);
    EXPECT_EQ(clipped(kOutside, rectangle(20, 30, 60, 50)).size(), 3U * 2 * 92);
    const Points alongDiagonals{{20, 20, 0}, {50, 50, 0}, {20, 50, 0}}; // the cells' diagonals rise to the north-east
    EXPECT_EQ(clipped(kInside, alongDiagonals).size(), 3U * 9);
}

TEST_F(Clip, ABoundaryAroundEverythingGivesTheTrianglesAsTheyAre)
{
    hang(makeSquare(0, 0, 0, 100));
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
    hang(makeSquare(0, 0, 0, 100));
    EXPECT_TRUE(clipped(kInside, rectangle(200, 0, 300, 100)).empty());
    EXPECT_EQ(clipped(kOutside, rectangle(200, 0, 300, 100)).size(), 6U);
}

TEST_F(Clip, AppendsToWhatIsThere)
{
    hang(makeSquare(0, 0, 0, 100));
    found = {{1, 2, 3}};
    ASSERT_TRUE(clip(kInside, rectangle(-10, -10, 110, 110)));
    ASSERT_EQ(found.size(), 7U);
    EXPECT_EQ(found[0].z, 3.0);
}

// The western half of a cube: half of top, bottom and two walls, and the western wall: 4 * 50 + 100.
TEST_F(Clip, CutsWalls)
{
    hang(cube());
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 25, 100)), 300, 1e-9);
    EXPECT_NEAR(surfaceOutside(rectangle(0, 0, 25, 100)), 300, 1e-9);
}

// Along the western wall: what lies on the boundary is inside, and no less for there being nothing else.
TEST_F(Clip, AWallOnTheBoundaryCountsOnceAndInside)
{
    hang(cube());
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 20, 100)), 100, 1e-9);
    EXPECT_NEAR(surfaceOutside(rectangle(0, 0, 20, 100)), 500, 1e-9);
    EXPECT_NEAR(surfaceInside(rectangle(20, 20, 30, 30)), 600, 1e-9);
    EXPECT_NEAR(surfaceOutside(rectangle(20, 20, 30, 30)), 0, 1e-9);
}

TEST_F(Clip, TakesEverySurfaceOfAnOverhang)
{
    hang(makeSquare(0, 0, 0, 100));
    hang(makeSquare(40, 0, 10, 60));
    EXPECT_NEAR(planInside(rectangle(30, 10, 50, 20)), 200 + 100, 1e-9);
}

// A slope that rises by 1 in 2: between the heights 10 and 20 lie x = 20 to 40.
TEST_F(Clip, KeepsBetweenTwoHeightsInEitherOrder)
{
    hang(grid(7, [](double x, double) { return 0.5 * x; }));
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
    hang(cube());
    const double range[] = {2.5, 5.0};
    heights = range;
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 100, 100)), 4 * 25, 1e-9);
    EXPECT_NEAR(surfaceInside(rectangle(0, 0, 25, 100)), 25 + 2 * 12.5, 1e-9);
}

TEST_F(Clip, TheHeightsThemselvesBelongToTheRange)
{
    hang(makeSquare(0, 0, 10, 100));
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

TEST_F(Clip, LooksAtTheModelFileThatIsAskedFor)
{
    const TilePyramid data = pyramid({1, 2});
    ASSERT_EQ(driver.add(data.rootFile(0)), 0);
    ASSERT_EQ(driver.add(data.rootFile(1)), 1); // from x = 100
    const Points boundary = rectangle(90, 0, 130, 10);
    file = 0;
    EXPECT_NEAR(planInside(boundary), 100, 1e-9);
    file = 1;
    EXPECT_NEAR(planInside(boundary), 300, 1e-9);
    file = kAll;
    EXPECT_NEAR(planInside(boundary), 400, 1e-9);
    file = 2;
    expectRefused("there is no model file 2", kInside, boundary);
}

// The host transform lifts by 10; the placement doubles, turns (x, y) to (-y, x) and shifts. The model's square from
// (20, 30) to (60, 50) is then the square from (-100, 40) to (-60, 120), at height 20, shifted.
TEST_F(Clip, FollowsTransformAndPlacementAtLargeCoordinates)
{
    hang(makeSquare(0, 0, 0, 100));
    model().setTransform(KdGeMatrix3d::translation({0, 0, 10}));
    placement = KdGeMatrix3d::translation({500000, 4000000, 100}) * KdGeMatrix3d::rotation(std::acos(0.0), {0, 0, 1}) *
                KdGeMatrix3d::scaling(2.0);
    const Points boundary = rectangle(499900, 4000040, 499940, 4000120);
    EXPECT_NEAR(planInside(boundary), 3200, 1e-5);
    for (const KdGePoint3d& point : found)
    {
        EXPECT_NEAR(point.z, 120.0, 1e-6);
        EXPECT_GE(point.x, 499900 - 1e-6);
        EXPECT_LE(point.y, 4000120 + 1e-6);
    }
    EXPECT_NEAR(planOutside(boundary), 40000 - 3200, 1e-5);
}

// Tilted by 60 degrees about the x axis the square is half as deep in plan; a strip of 10 in plan is 20 of surface.
TEST_F(Clip, CutsATiltedModelByWhatIsSeenFromAbove)
{
    hang(makeSquare(0, 0, 0, 100));
    placement = KdGeMatrix3d::rotation(std::acos(0.5), {1, 0, 0});
    EXPECT_NEAR(surfaceInside(rectangle(0, 10, 100, 20)), 2000, 1e-6);
    EXPECT_NEAR(surfaceOutside(rectangle(0, 10, 100, 20)), 8000, 1e-6);
}

TEST_F(Clip, AMirroredModelKeepsTheOrderOfItsCorners)
{
    hang(makeSquare(0, 0, 0, 100));
    placement.entry[0][0] = -1.0;
    EXPECT_NEAR(planInside(rectangle(-60, 30, -20, 50)), 800, 1e-9);
    for (std::size_t i = 0; i < found.size(); i += 3)
        EXPECT_LT(crossOf(found[i], found[i + 1], found[i + 2]).z(), 0.0);
}

TEST_F(Clip, KeepsTheWinding)
{
    hang(grid(9, [](double x, double y) { return 0.1 * x + 0.2 * y; }));
    const Points elbow{{13, 11, 0}, {88, 17, 0}, {81, 29, 0}, {34, 31, 0}, {29, 92, 0}, {9, 87, 0}};
    for (const int mode : {kInside, kOutside})
    {
        clipped(mode, elbow);
        for (std::size_t i = 0; i < found.size(); i += 3)
            EXPECT_GT(crossOf(found[i], found[i + 1], found[i + 2]).z(), 0.0);
    }
}

TEST_F(Clip, FollowsTransformsWithinTheModel)
{
    const osg::ref_ptr<osg::MatrixTransform> outer = new osg::MatrixTransform(osg::Matrixd::translate(1000, 0, 0));
    const osg::ref_ptr<osg::MatrixTransform> inner = new osg::MatrixTransform(osg::Matrixd::scale(2, 1, 1));
    inner->addChild(makeSquare(0, 0, 5, 10));
    outer->addChild(inner);
    hang(outer);
    EXPECT_NEAR(planInside(rectangle(1015, 5, 1100, 100)), 25, 1e-9);
    EXPECT_DOUBLE_EQ(found.front().z, 5.0);
}

// The same square of 10 by 10 in every way that the toolkit knows.
TEST_F(Clip, TakesEveryKindOfPrimitive)
{
    const std::vector<osg::Vec3> around{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    const std::vector<osg::Vec3> zigzag{{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {10, 10, 0}};
    const std::vector<osg::Vec3> threes{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    const auto inOrder = [](osg::DrawElements* indices, unsigned int count)
    {
        for (unsigned int i = 0; i < count; ++i)
            indices->addElement(i);
        return indices;
    };
    const osg::ref_ptr<osg::DrawArrayLengths> lengths = new osg::DrawArrayLengths(GL_TRIANGLE_STRIP, 0);
    lengths->push_back(4);
    const osg::ref_ptr<osg::Geometry> inDoubles = new osg::Geometry;
    inDoubles->setVertexArray(new osg::Vec3dArray(around.begin(), around.end()));
    inDoubles->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_FAN, 0, 4));

    std::vector<osg::ref_ptr<osg::Geometry>> ways{
        soupOf(threes),
        geometryOf(threes, inOrder(new osg::DrawElementsUByte(GL_TRIANGLES), 6)),
        geometryOf(zigzag, new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 4)),
        geometryOf(zigzag, inOrder(new osg::DrawElementsUShort(GL_TRIANGLE_STRIP), 4)),
        geometryOf(around, new osg::DrawArrays(GL_TRIANGLE_FAN, 0, 4)),
        geometryOf(around, inOrder(new osg::DrawElementsUInt(GL_TRIANGLE_FAN), 4)),
        geometryOf(around, new osg::DrawArrays(GL_QUADS, 0, 4)),
        geometryOf(zigzag, lengths),
        inDoubles};
    for (std::size_t way = 0; way < ways.size(); ++way)
    {
        SCOPED_TRACE(way);
        model().clear();
        hang(ways[way]);
        EXPECT_NEAR(planInside(rectangle(-1, -1, 3, 11)), 30, 1e-9);
        EXPECT_NEAR(planOutside(rectangle(-1, -1, 3, 11)), 70, 1e-9);
    }
}

TEST_F(Clip, PassesLinesAndPointsOver)
{
    const std::vector<osg::Vec3> around{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    for (const GLenum mode : {GL_POINTS, GL_LINES, GL_LINE_STRIP, GL_LINE_LOOP})
        hang(geometryOf(around, new osg::DrawArrays(mode, 0, 4)));
    hang(new osg::Geometry);
    EXPECT_TRUE(clipped(kInside, rectangle(-1, -1, 20, 20)).empty());
}

TEST_F(Clip, DamagedIndicesAreNoCrash)
{
    const std::vector<osg::Vec3> vertices{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    const auto elements = [](GLenum mode, std::initializer_list<unsigned int> indices)
    { return new osg::DrawElementsUInt(mode, indices.begin(), indices.end()); };
    const auto hangDamaged = [&](osg::PrimitiveSet* set)
    {
        const osg::ref_ptr<osg::Geometry> geometry = geometryOf(vertices, set);
        geometry->setComputeBoundingBoxCallback(new KnownBox);
        hang(geometry);
    };
    hangDamaged(elements(GL_TRIANGLES, {0, 1, 2, 0, 2, 4, 4000000000U, 1, 2}));
    hangDamaged(elements(GL_TRIANGLES, {0, 2}));
    hangDamaged(elements(GL_TRIANGLES, {0, 2, 3, 1}));
    hangDamaged(elements(GL_TRIANGLE_FAN, {7}));
    hangDamaged(elements(GL_TRIANGLE_STRIP, {}));
    hangDamaged(new osg::DrawArrays(GL_TRIANGLES, 0, 2000000000));
    hangDamaged(new osg::DrawArrays(GL_TRIANGLES, -3, 3));
    hangDamaged(new osg::DrawArrays(GL_TRIANGLES, 0, -3));
    EXPECT_NEAR(planInside(rectangle(-1, -1, 20, 20)), 100, 1e-9); // 0 1 2 and 0 2 3 are sound
}

TEST_F(Clip, VerticesThatAreNoNumbersAndTrianglesWithoutAreaDropOut)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    hang(soupOf({{0, 0, 0},
                 {10, 0, 0},
                 {nan, 10, 0},
                 {0, 0, 0},
                 {10, infinity, 0},
                 {0, 10, 0},
                 {0, 0, 0},
                 {10, 0, nan},
                 {0, 10, 0},
                 {1, 1, 1},
                 {5, 5, 5},
                 {9, 9, 9},
                 {2, 2, 2},
                 {2, 2, 2},
                 {3, 7, 2},
                 {0, 0, 0},
                 {10, 0, 0},
                 {10, 10, 0}}));
    for (const int mode : {kInside, kOutside})
        EXPECT_NEAR(planArea(clipped(mode, rectangle(-1, -1, 5, 20))), mode == kInside ? 12.5 : 37.5, 1e-9);
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
    hang(soupOf(soup));
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
    hang(grid(37, [](double x, double y) { return 3.0 * std::sin(0.1 * x) + 2.0 * std::cos(0.2 * y); }));
    for (const int corners : {3, 5, 12, 77, 400})
    {
        SCOPED_TRACE(testing::Message() << corners << " corners, seed 99");
        const Points boundary = starShape(random, corners, 50, 50, 10, 49);
        const double area = enclosedArea(boundary);
        EXPECT_NEAR(planInside(boundary), area, 1e-9 * area);
        EXPECT_NEAR(planOutside(boundary), 10000 - area, 1e-9 * 10000);
    }
}

TEST_F(Clip, TakesTheTilesInMemoryWithoutReadingAny)
{
    ASSERT_EQ(driver.add(pyramid().rootFile()), 0);
    EXPECT_NEAR(planInside(rectangle(10, 10, 90, 90)), 6400, 1e-9);
    for (const KdGePoint3d& point : found)
        EXPECT_EQ(point.z, 0.0); // level 0
    EXPECT_EQ(driver.statistics().tilesLoaded, 1U);

    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    EXPECT_NEAR(planInside(rectangle(10, 10, 90, 90)), 6400, 1e-9);
    const double top = std::max_element(found.begin(), found.end(),
                                        [](const KdGePoint3d& a, const KdGePoint3d& b) { return a.z < b.z; })
                           ->z;
    EXPECT_GT(top, 0.5);
}

TEST_F(Clip, TakesTheFinestTilesIfAsked)
{
    options = kFinest;
    for (const auto mode : {TilePyramidOptions::RangeMode::PixelSize, TilePyramidOptions::RangeMode::Distance})
    {
        model().clear();
        TilePyramidOptions wanted;
        wanted.rangeMode = mode;
        ASSERT_EQ(driver.add(pyramid(wanted, mode == wanted.rangeMode ? "a" : "b").rootFile()), 0);
        EXPECT_NEAR(planInside(rectangle(10, 10, 90, 90)), 6400, 1e-9);
        for (const KdGePoint3d& point : found)
            EXPECT_EQ(point.z, 2.0); // level 2 of 3
        EXPECT_NEAR(planOutside(rectangle(10, 10, 90, 90)), 3600, 1e-9);
        EXPECT_EQ(driver.statistics().tilesHeld, 1U) << "nothing enters the scene";
    }
}

TEST_F(Clip, AMissingFineTileIsReplacedByTheCoarserOne)
{
    const TilePyramid data = pyramid();
    ASSERT_EQ(driver.add(data.rootFile()), 0);
    std::remove(data.file("_L2_3").c_str());
    options = kFinest;
    EXPECT_NEAR(planInside(rectangle(0, 0, 100, 100)), 10000, 1e-9);
    const Points quarter = rectangle(60, 60, 90, 90);
    EXPECT_NEAR(planInside(quarter), 900, 1e-9);
    for (const KdGePoint3d& point : found)
        EXPECT_EQ(point.z, 1.0);
}

// Four finer tiles are missing, and for each of them the visitors fall back to the one that is there.
TEST_F(Clip, ATileThatStandsInForSeveralCountsOnce)
{
    const osg::ref_ptr<osg::PagedLOD> paged = new osg::PagedLOD;
    paged->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    paged->addChild(makeSquare(0, 0, 0, 100), 0.F, 200.F);
    for (unsigned int i = 1; i <= 4; ++i)
    {
        paged->setFileName(i, "missing_" + std::to_string(i) + ".osgb");
        paged->setRange(i, 200.F, 1e30F);
    }
    hang(paged);
    for (const int option : {kInMemory, kFinest})
    {
        options = option;
        EXPECT_NEAR(planInside(rectangle(0, 0, 50, 50)), 2500, 1e-9) << option;
    }
}

TEST_F(Clip, RefusesWithAMessageAndLeavesTheListAlone)
{
    hang(makeSquare(0, 0, 0, 100));
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
    hang(makeSquare(0, 0, 0, 100));
    const osg::ref_ptr<osg::Geometry> damaged = makeSquare(0, 0, 0, 100);
    damaged->setComputeBoundingBoxCallback(new Torn);
    hang(damaged);
    found = {{1, 2, 3}};
    EXPECT_FALSE(clip(kInside, rectangle(0, 0, 10, 10)));
    EXPECT_EQ(found.size(), 1U);
    EXPECT_EQ(log.count(osg::FATAL, "torn"), 1);
}
