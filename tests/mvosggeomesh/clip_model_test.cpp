#include "mvosggeomesh/ClipFixture.h"

#include <osg/MatrixTransform>
#include <osg/PagedLOD>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <limits>

namespace
{

using namespace clipgeometry;

/** Stands for bounds that were computed before the damage: OSG itself trusts indices when it does that. */
struct KnownBox : public osg::Drawable::ComputeBoundingBoxCallback
{
    osg::BoundingBox computeBound(const osg::Drawable&) const override { return {0, 0, 0, 10, 10, 0}; }
};

} // namespace

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
    addFile(makeSquare(0, 0, 0, 100));
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
    addFile(makeSquare(0, 0, 0, 100));
    placement = KdGeMatrix3d::rotation(std::acos(0.5), {1, 0, 0});
    EXPECT_NEAR(surfaceInside(rectangle(0, 10, 100, 20)), 2000, 1e-6);
    EXPECT_NEAR(surfaceOutside(rectangle(0, 10, 100, 20)), 8000, 1e-6);
}

TEST_F(Clip, AMirroredModelKeepsTheOrderOfItsCorners)
{
    addFile(makeSquare(0, 0, 0, 100));
    placement.entry[0][0] = -1.0;
    EXPECT_NEAR(planInside(rectangle(-60, 30, -20, 50)), 800, 1e-9);
    for (std::size_t i = 0; i < found.size(); i += 3)
        EXPECT_LT(crossOf(found[i], found[i + 1], found[i + 2]).z(), 0.0);
}

TEST_F(Clip, KeepsTheWinding)
{
    addFile(grid(9, [](double x, double y) { return 0.1 * x + 0.2 * y; }));
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
    addFile(outer);
    EXPECT_NEAR(planInside(rectangle(1015, 5, 1100, 100)), 25, 1e-9);
    EXPECT_DOUBLE_EQ(found.front().z, 5.0);
}

// The same square of 10 by 10 in every way that OSG knows.
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
        addFile(ways[way]);
        EXPECT_NEAR(planInside(rectangle(-1, -1, 3, 11)), 30, 1e-9);
        EXPECT_NEAR(planOutside(rectangle(-1, -1, 3, 11)), 70, 1e-9);
    }
}

TEST_F(Clip, PassesLinesAndPointsOver)
{
    const std::vector<osg::Vec3> around{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    for (const GLenum mode : {GL_POINTS, GL_LINES, GL_LINE_STRIP, GL_LINE_LOOP})
        addFile(geometryOf(around, new osg::DrawArrays(mode, 0, 4)));
    addFile(new osg::Geometry);
    EXPECT_TRUE(clipped(kInside, rectangle(-1, -1, 20, 20)).empty());
}

TEST_F(Clip, DamagedIndicesAreNoCrash)
{
    const std::vector<osg::Vec3> vertices{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    const auto elements = [](GLenum mode, std::initializer_list<unsigned int> indices)
    { return new osg::DrawElementsUInt(mode, indices.begin(), indices.end()); };
    const auto addDamagedFile = [&](osg::PrimitiveSet* set)
    {
        const osg::ref_ptr<osg::Geometry> geometry = geometryOf(vertices, set);
        geometry->setComputeBoundingBoxCallback(new KnownBox);
        addFile(geometry);
    };
    addDamagedFile(elements(GL_TRIANGLES, {0, 1, 2, 0, 2, 4, 4000000000U, 1, 2}));
    addDamagedFile(elements(GL_TRIANGLES, {0, 2}));
    addDamagedFile(elements(GL_TRIANGLES, {0, 2, 3, 1}));
    addDamagedFile(elements(GL_TRIANGLE_FAN, {7}));
    addDamagedFile(elements(GL_TRIANGLE_STRIP, {}));
    addDamagedFile(new osg::DrawArrays(GL_TRIANGLES, 0, 2000000000));
    addDamagedFile(new osg::DrawArrays(GL_TRIANGLES, -3, 3));
    addDamagedFile(new osg::DrawArrays(GL_TRIANGLES, 0, -3));
    EXPECT_NEAR(planInside(rectangle(-1, -1, 20, 20)), 100, 1e-9); // 0 1 2 and 0 2 3 are sound
}

TEST_F(Clip, VerticesThatAreNoNumbersAndTrianglesWithoutAreaDropOut)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    addFile(soupOf({{0, 0, 0},
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
    for (const auto mode : {TilePyramidOptions::RangeMode::pixelSize, TilePyramidOptions::RangeMode::distance})
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
    addFile(paged);
    for (const int option : {kInMemory, kFinest})
    {
        options = option;
        EXPECT_NEAR(planInside(rectangle(0, 0, 50, 50)), 2500, 1e-9) << option;
    }
}
