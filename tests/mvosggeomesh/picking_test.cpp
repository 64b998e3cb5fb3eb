#include "mvosggeomesh/PickRay.h"
#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/KdTree>
#include <osg/NodeVisitor>

#include <cmath>
#include <limits>

namespace
{

void expectPoint(const KdGePoint3d& point, double x, double y, double z, double tolerance = 1e-6)
{
    EXPECT_NEAR(point.x, x, tolerance);
    EXPECT_NEAR(point.y, y, tolerance);
    EXPECT_NEAR(point.z, z, tolerance);
}

/** Counts the geometries that have a tree of their triangles. */
struct FoundTrees : public osg::NodeVisitor
{
    FoundTrees() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::Geometry& geometry) override
    {
        if (dynamic_cast<const osg::KdTree*>(geometry.getShape())) ++count;
    }
    int count = 0;
};

/** One square from (0, 0, 0) to (100, 100, 0). */
struct Picking : public TiledModelFixture
{
    KdGePoint3d hit{-1, -2, -3};
    std::vector<KdGePoint3d> triangle{{-1, -2, -3}};

    void SetUp() override
    {
        ASSERT_EQ(driver.add(pyramid({1}).rootFile()), 0);
        driver.view = fromAbove();
        driver.update();
    }
    void look(const HostView& view)
    {
        driver.view = view;
        ASSERT_TRUE(driver.update());
    }
    bool pick(const KdGePoint3d& point, const KdGeMatrix3d& placement = KdGeMatrix3d())
    {
        return model().pickPoint(&placement, &point, &hit);
    }
    bool pickTriangle(const KdGePoint3d& point, const KdGeMatrix3d& placement = KdGeMatrix3d())
    {
        return model().pickTriangle(&placement, &point, &triangle);
    }
    void expectMiss(const KdGePoint3d& point, const KdGeMatrix3d& placement = KdGeMatrix3d())
    {
        EXPECT_FALSE(pick(point, placement));
        expectPoint(hit, -1, -2, -3);
        EXPECT_FALSE(pickTriangle(point, placement));
        EXPECT_EQ(triangle.size(), 1U);
    }
};

} // namespace

// A sheet of 13 x 13 cells that does not lie level; rays along its edges and diagonals, some of which OSG's
// intersector lets through between two triangles.
TEST_F(Picking, HasNoGapsBetweenTriangles)
{
    constexpr unsigned int kSide = 14;
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    const osg::ref_ptr<osg::DrawElementsUInt> corners = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (unsigned int i = 0; i < kSide * kSide; ++i)
    {
        const double x = 7.3 * (i % kSide);
        const double y = 7.3 * (i / kSide);
        vertices->push_back(osg::Vec3d(x, y, 0.37 * x + 0.11 * y));
        if (i % kSide + 1 == kSide || i / kSide + 1 == kSide) continue;
        for (const unsigned int corner : {i, i + 1, i + kSide, i + 1, i + kSide + 1, i + kSide})
            corners->push_back(corner);
    }
    const osg::ref_ptr<osg::Geometry> sheet = new osg::Geometry;
    sheet->setVertexArray(vertices);
    sheet->addPrimitiveSet(corners);
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(sheet);
    const std::string file = folder / "sheet.osgb";
    writeTile(*geode, file);
    model().clear();
    ASSERT_EQ(driver.add(file), 0);
    look(fromAbove(1000.0));
    int missed = 0;
    int tried = 0;
    for (unsigned int i = 0; i < corners->size(); ++i) // each edge, at a third of its way
    {
        const osg::Vec3d from((*vertices)[(*corners)[i]]);
        const osg::Vec3d to((*vertices)[(*corners)[i % 3 == 2 ? i - 2 : i + 1]]);
        const osg::Vec3d point = from + (to - from) / 3.0;
        const bool isInside = point.x() > 0.1 && point.y() > 0.1 && point.x() < 94.8 && point.y() < 94.8;
        if (!isInside) continue;
        ++tried;
        if (!pick({point.x(), point.y(), point.z()}) || std::abs(hit.z - point.z()) > 1e-3) ++missed;
    }
    EXPECT_EQ(missed, 0);
    EXPECT_EQ(tried, 6 * 13 * 13 - 4 * 13); // those of two triangles a cell, without the border
    FoundTrees trees;
    model().root().accept(trees);
    EXPECT_EQ(trees.count, 0) << "so few triangles are tried one by one";
}

// 60 x 60 cells of a valley, z = |x - 50| / 10: large enough that picking makes itself a tree of the triangles.
TEST_F(Picking, HitsALargeTileAlikeEachTime)
{
    constexpr unsigned int kSide = 61;
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    const osg::ref_ptr<osg::DrawElementsUInt> corners = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (unsigned int i = 0; i < kSide * kSide; ++i)
    {
        const double x = 100.0 * (i % kSide) / (kSide - 1);
        vertices->push_back(osg::Vec3d(x, 100.0 * (i / kSide) / (kSide - 1), std::abs(x - 50.0) / 10.0));
        if (i % kSide + 1 == kSide || i / kSide + 1 == kSide) continue;
        for (const unsigned int corner : {i, i + 1, i + kSide, i + 1, i + kSide + 1, i + kSide})
            corners->push_back(corner);
    }
    const osg::ref_ptr<osg::Geometry> valley = new osg::Geometry;
    valley->setVertexArray(vertices);
    valley->addPrimitiveSet(corners);
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(valley);
    const std::string file = folder / "valley.osgb";
    writeTile(*geode, file);
    model().clear();
    ASSERT_EQ(driver.add(file), 0);
    look(fromAbove(1000.0));
    for (int round = 0; round < 2; ++round)
        for (const double x : {3.21, 40.3, 50.01, 77.7, 99.9})
        {
            SCOPED_TRACE(x);
            const KdGePoint3d point(x, 61.3, std::abs(x - 50.0) / 10.0);
            ASSERT_TRUE(pick(point));
            expectPoint(hit, point.x, point.y, point.z, 1e-5);
            ASSERT_TRUE(pickTriangle(point));
            ASSERT_EQ(triangle.size(), 3U);
            for (const KdGePoint3d& corner : triangle)
            {
                EXPECT_NEAR(corner.z, std::abs(corner.x - 50.0) / 10.0, 1e-5);
                EXPECT_LT(corner.distanceTo(hit), 3.0);
            }
        }
    EXPECT_FALSE(pick({100.2, 61.3, 5.0}));
    FoundTrees trees;
    model().root().accept(trees);
    EXPECT_EQ(trees.count, 1) << "made once, and kept";
}

// From (50, 50, 100) through (55, 48, 90) the ray moves by (0.5, -0.2, -1) a metre down: (100, 30, 0) at the ground -
// but that is the edge, so half as steep: through (52.5, 49, 90) it comes down at (75, 40, 0).
TEST_F(Picking, RunsFromTheEyeThroughThePointInPerspective)
{
    ASSERT_TRUE(pick({52.5, 49, 90}));
    expectPoint(hit, 75, 40, 0);
}

TEST_F(Picking, RunsOnThroughAPointBelowTheSurface)
{
    ASSERT_TRUE(pick({75 + 12.5, 40 - 5, -50}));
    expectPoint(hit, 75, 40, 0);
}

TEST_F(Picking, RunsAlongTheViewDirectionInParallelProjection)
{
    // Looks down along (1, 0, -1).
    look(orthographicView({0, 50, 50}, {50, 50, 0}, 100, {0, 1, 0}));
    ASSERT_TRUE(pick({20, 30, 10}));
    expectPoint(hit, 30, 30, 0);
    ASSERT_TRUE(pick({40, 30, -10})); // behind the surface: the ray starts before the whole model
    expectPoint(hit, 30, 30, 0);
    ASSERT_TRUE(pick({-970, 30, 1000}));
    expectPoint(hit, 30, 30, 0);
}

TEST_F(Picking, LeavesEverythingAloneOnAMiss)
{
    expectMiss({500, 500, 0});
    look(orthographicView({50, 50, 100}, {50, 50, 0}, 100));
    expectMiss({150, 50, 0});
    expectMiss({101.5, 50, 0}); // inside the widened box, beside the model
    EXPECT_EQ(log.count(osg::FATAL, ""), 0);
}

TEST_F(Picking, MissesWhatLiesBehindTheEye)
{
    look(perspectiveView({50, 50, 100}, {50, 50, 200}));
    expectMiss({50, 50, 150});
}

TEST_F(Picking, FollowsTheModelsPlacement)
{
    model().setTransform(KdGeMatrix3d::translation({1000, 0, 7}));
    look(perspectiveView({1050, 50, 107}, {1050, 50, 7}));
    ASSERT_TRUE(pick({1052.5, 49, 97}));
    expectPoint(hit, 1075, 40, 7);
}

// The placement doubles, turns by 90 degrees about z ((x, y) to (-y, x)) and shifts. The model's point (75, 40, 0) is
// then at (-80, 150, 0) + (500000, 2500000, 100).
TEST_F(Picking, FollowsAPlacementWithRotationScaleAndLargeCoordinates)
{
    const KdGeMatrix3d placement = KdGeMatrix3d::translation({500000, 2500000, 100}) *
                                   KdGeMatrix3d::rotation(std::acos(0.0), {0, 0, 1}) * KdGeMatrix3d::scaling(2.0);
    const osg::Vec3d target(499920, 2500150, 100);
    look(perspectiveView(target + osg::Vec3d(30, 20, 200), {499900, 2500100, 100}));
    ASSERT_TRUE(pick({target.x(), target.y(), target.z()}, placement));
    expectPoint(hit, 499920, 2500150, 100, 1e-5);

    look(orthographicView({499900, 2500100, 400}, {499900, 2500100, 100}, 200));
    ASSERT_TRUE(pick({499920, 2500150, 333}, placement));
    expectPoint(hit, 499920, 2500150, 100, 1e-5);
}

TEST_F(Picking, HitsTheNearestSurface)
{
    const TilePyramid upper = pyramid({2}, "upper"); // its finer level lies at z = 1
    driver.add(upper.rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    ASSERT_TRUE(pick({50.1, 50.1, 90}));
    EXPECT_NEAR(hit.z, 1.0, 1e-6);
    look(perspectiveView({50, 50, -100}, {50, 50, 0}));
    ASSERT_TRUE(pick({50.1, 50.1, -90}));
    EXPECT_NEAR(hit.z, 0.0, 1e-6);
}

TEST_F(Picking, GivesTheCornersOfTheTriangle)
{
    ASSERT_TRUE(pickTriangle({52.5, 49, 90})); // (75, 40): below the diagonal, so triangle 0 1 2
    ASSERT_EQ(triangle.size(), 3U);
    expectPoint(triangle[0], 0, 0, 0);
    expectPoint(triangle[1], 100, 0, 0);
    expectPoint(triangle[2], 100, 100, 0);
}

TEST_F(Picking, GivesTheCornersInTheHostsFrame)
{
    model().setTransform(KdGeMatrix3d::translation({0, 0, 10}));
    const KdGeMatrix3d placement = KdGeMatrix3d::translation({1000, 2000, 3000}) * KdGeMatrix3d::scaling(2.0);
    look(orthographicView({1100, 2100, 4000}, {1100, 2100, 3000}, 300));
    ASSERT_TRUE(
        pickTriangle({1080, 2150, 3500}, placement)); // the model's (40, 75): above the diagonal, triangle 0 2 3
    ASSERT_EQ(triangle.size(), 3U);
    expectPoint(triangle[0], 1000, 2000, 3020);
    expectPoint(triangle[1], 1200, 2200, 3020);
    expectPoint(triangle[2], 1000, 2200, 3020);
}

TEST_F(Picking, RefusesAPlacementWithoutInverse)
{
    KdGeMatrix3d flat;
    flat.entry[2][2] = 0.0;
    KdGeMatrix3d undefined;
    undefined.entry[1][3] = std::numeric_limits<double>::quiet_NaN();
    for (const KdGeMatrix3d& placement : {flat, KdGeMatrix3d::scaling(0.0), undefined})
        expectMiss({52.5, 49, 90}, placement);
}

TEST_F(Picking, RefusesAPointThatIsNowhere)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    expectMiss({nan, 49, 90});
    expectMiss({52.5, infinity, 90});
    expectMiss({50, 50, 100}); // the eye itself: no direction
}

TEST_F(Picking, RefusesMissingArguments)
{
    const KdGeMatrix3d identity;
    const KdGePoint3d point(52.5, 49, 90);
    EXPECT_FALSE(model().pickPoint(nullptr, &point, &hit));
    EXPECT_FALSE(model().pickPoint(&identity, nullptr, &hit));
    EXPECT_FALSE(model().pickPoint(&identity, &point, nullptr));
    EXPECT_FALSE(model().pickTriangle(nullptr, &point, &triangle));
    EXPECT_FALSE(model().pickTriangle(&identity, nullptr, &triangle));
    EXPECT_FALSE(model().pickTriangle(&identity, &point, nullptr));
}

TEST_F(Picking, FindsNothingInAnEmptyModel)
{
    model().clear();
    expectMiss({52.5, 49, 90});
}

// There is no view yet but the identity: parallel, straight down.
TEST_F(Picking, BeforeTheFirstUpdateLooksStraightDown)
{
    ModelDriver fresh;
    ASSERT_EQ(fresh.add(folder / "data/Tile_0/Tile_0.osgb"), 0);
    const KdGeMatrix3d identity;
    const KdGePoint3d point(30, 60, 500);
    ASSERT_TRUE(fresh.model().pickPoint(&identity, &point, &hit));
    expectPoint(hit, 30, 60, 0);
    const KdGePoint3d beside(130, 60, 0);
    EXPECT_FALSE(fresh.model().pickPoint(&identity, &beside, &hit));
    EXPECT_EQ(log.count(osg::FATAL, ""), 0);
}

namespace
{

osg::Matrixd lookFrom(const osg::Vec3d& eye, const osg::Vec3d& centre, const osg::Vec3d& up)
{
    return osg::Matrixd::lookAt(eye, centre, up);
}

mvgeo::Placement atOrigin()
{
    const KdGeMatrix3d identity;
    return *mvgeo::Placement::make(&identity);
}

const osg::BoundingBoxd kUnitBox(0, 0, 0, 1, 1, 1);
const osg::Matrixd kPerspective = osg::Matrixd::perspective(45, 1, 0.1, 100);
const osg::Matrixd kParallel = osg::Matrixd::ortho(-1, 1, -1, 1, 0.1, 100);

} // namespace

// The box is widened by 1 % of its diagonal, 0.0173.
TEST(PickRay, KeepsThePartInsideTheBox)
{
    const osg::Matrixd view = lookFrom({0.5, 0.5, 10}, {0.5, 0.5, 0}, {0, 1, 0});
    const auto ray = mvgeo::pickRay(view, kPerspective, atOrigin(), {0.5, 0.5, 5}, kUnitBox);
    ASSERT_TRUE(ray);
    EXPECT_NEAR(ray->start.z(), 1.0173, 1e-3);
    EXPECT_NEAR(ray->end.z(), -0.0173, 1e-3);
    EXPECT_NEAR(ray->start.x(), 0.5, 1e-9);
}

TEST(PickRay, StartsAtAnEyeInsideTheBox)
{
    const osg::Matrixd view = lookFrom({0.5, 0.5, 0.5}, {0.5, 0.5, 0}, {0, 1, 0});
    const auto ray = mvgeo::pickRay(view, kPerspective, atOrigin(), {0.5, 0.5, 0.4}, kUnitBox);
    ASSERT_TRUE(ray);
    EXPECT_NEAR(ray->start.z(), 0.5, 1e-9);
}

TEST(PickRay, SpansTheModelWhereverTheEyeStandsInParallelProjection)
{
    for (const double eyeHeight : {0.5, 10.0, -1000.0})
    {
        const osg::Matrixd view = lookFrom({0.5, 0.5, eyeHeight}, {0.5, 0.5, eyeHeight - 1}, {0, 1, 0});
        const auto ray = mvgeo::pickRay(view, kParallel, atOrigin(), {0.2, 0.3, eyeHeight}, kUnitBox);
        ASSERT_TRUE(ray) << eyeHeight;
        EXPECT_NEAR(ray->start.z(), 1.0173, 1e-3);
        EXPECT_NEAR(ray->end.z(), -0.0173, 1e-3);
        EXPECT_NEAR(ray->start.x(), 0.2, 1e-9);
    }
}

TEST(PickRay, HasNothingForAnEmptyBox)
{
    const osg::Matrixd view = lookFrom({0.5, 0.5, 10}, {0.5, 0.5, 0}, {0, 1, 0});
    EXPECT_FALSE(mvgeo::pickRay(view, kPerspective, atOrigin(), {0.5, 0.5, 5}, osg::BoundingBoxd()));
}
