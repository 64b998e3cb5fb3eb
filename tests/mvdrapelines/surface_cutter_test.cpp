#include "mvdrapelines/SurfaceCutter.h"

#include "support/TilePyramid.h"

#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osgUtil/IntersectionVisitor>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace
{

using mvgeo::SurfaceCutter;
using testing::IsEmpty;
using testing::SizeIs;

using Line = std::vector<osg::Vec3d>;

MATCHER_P(IsLine, points, "")
{
    for (const osg::Vec3d& point : arg)
        *result_listener << '(' << point.x() << ' ' << point.y() << ' ' << point.z() << ") ";
    const auto isNear = [](const osg::Vec3d& a, const osg::Vec3d& b) { return (a - b).length() < 1e-9; };
    return std::equal(arg.begin(), arg.end(), points.begin(), points.end(), isNear);
}

std::vector<osgUtil::PlaneIntersector::Intersection> cut(osg::Node& scene, const osg::Vec3d& start,
                                                         const osg::Vec3d& end, bool leavesOutSkirts = false)
{
    const auto cutter = SurfaceCutter::between(start, end, leavesOutSkirts);
    osgUtil::IntersectionVisitor visitor(cutter);
    scene.accept(visitor);
    const auto& found = cutter->getIntersections();
    return {found.begin(), found.end()};
}

/** Upright, along x = 5, from y = 0 to 10 and z = 0 to -10. */
osg::ref_ptr<osg::Geometry> wall()
{
    const osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    for (const osg::Vec3& corner :
         {osg::Vec3(5, 0, 0), osg::Vec3(5, 10, 0), osg::Vec3(5, 10, -10), osg::Vec3(5, 0, -10)})
        corners->push_back(corner);
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(corners);
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_FAN, 0, 4));
    return geometry;
}

} // namespace

TEST(SurfaceCutter, NeedsTwoPointsThatLieBesideEachOther)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(SurfaceCutter::between({0, 0, 0}, {1, 0, 0}, false));
    EXPECT_FALSE(SurfaceCutter::between({3, 4, 0}, {3, 4, 100}, false));
    EXPECT_FALSE(SurfaceCutter::between({0, 0, 0}, {nan, 0, 0}, false));
    EXPECT_FALSE(SurfaceCutter::between({-1e308, 0, 0}, {1e308, 0, 0}, false));
}

TEST(SurfaceCutter, RunsFromStartToEndAndLooksAtNoHeights)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 7, 100);
    const auto found = cut(*square, {90, 50, -1e4}, {10, 50, 1e5});
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].polyline, IsLine(Line{{90, 50, 7}, {50, 50, 7}, {10, 50, 7}}));
}

// Along the square's border and through its corners: the corners are points of the line.
TEST(SurfaceCutter, TakesCornersAndEdgesThatLieOnThePlane)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 7, 100);
    for (const Line& line : {Line{{0, 0, 7}, {100, 0, 7}}, Line{{0, 0, 7}, {100, 100, 7}}})
    {
        const auto found = cut(*square, line[0], line[1]);
        ASSERT_THAT(found, SizeIs(1));
        EXPECT_EQ(found[0].polyline, line);
    }
}

// The transform lifts by 10 and doubles: what is found is the tile's, with the matrix that leads out of it.
TEST(SurfaceCutter, FindsLinesInTheFrameOfTheirGeometry)
{
    const osg::ref_ptr<osg::MatrixTransform> lifted =
        new osg::MatrixTransform(osg::Matrixd::scale(2, 2, 2) * osg::Matrixd::translate(0, 0, 10));
    lifted->addChild(makeSquare(0, 0, 7, 100));
    const auto found = cut(*lifted, {120, 100, 0}, {180, 100, 0});
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].polyline, IsLine(Line{{60, 50, 7}, {90, 50, 7}}));
    ASSERT_TRUE(found[0].matrix);
    EXPECT_LT((found[0].polyline.front() * *found[0].matrix - osg::Vec3d(120, 100, 24)).length(), 1e-9);
}

TEST(SurfaceCutter, LeavesWallsOutOnlyIfTheyAreSkirts)
{
    const osg::ref_ptr<osg::Geometry> geometry = wall();
    const auto found = cut(*geometry, {0, 2, 0}, {10, 2, 0}, false);
    ASSERT_THAT(found, SizeIs(1));
    for (const osg::Vec3d& point : found[0].polyline)
        EXPECT_NEAR((point - osg::Vec3d(5, 2, point.z())).length(), 0.0, 1e-12);
    EXPECT_NEAR(std::abs(found[0].polyline.front().z() - found[0].polyline.back().z()), 10.0, 1e-12);
    EXPECT_THAT(cut(*geometry, {0, 2, 0}, {10, 2, 0}, true), IsEmpty());
}

// A triangle at the border of a tile, and one beside it that is only as wide as a float is rounded by.
TEST(SurfaceCutter, LeavesSliversOutAsClipsDo)
{
    const osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    for (const osg::Vec3& corner : {osg::Vec3(0.0F, 5.0F, 0.0F), osg::Vec3(-3.87096786F, 5.0F, -76.2831688F),
                                    osg::Vec3(-2.0F, 9.0F, -30.0F), osg::Vec3(-3.87096405F, 5.0F, -76.2830811F)})
        corners->push_back(corner);
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(corners);
    const osg::ref_ptr<osg::DrawElementsUInt> triangles = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (const unsigned int corner : {0U, 1U, 2U, 0U, 3U, 1U})
        triangles->push_back(corner);
    geometry->addPrimitiveSet(triangles);
    for (const bool leavesOutSkirts : {true, false})
    {
        const auto found = cut(*geometry, {-1, 0, 0}, {-1, 10, 0}, leavesOutSkirts);
        ASSERT_THAT(found, SizeIs(1));
        EXPECT_THAT(found[0].polyline, SizeIs(leavesOutSkirts ? 2 : 3));
    }
}

TEST(SurfaceCutter, EndsWhereTheCutEnds)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 7, 100);
    EXPECT_THAT(cut(*square, {-50, 30, 0}, {-10, 30, 0}), IsEmpty());
    const auto found = cut(*square, {60, 30, 0}, {1000, 30, 0});
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].polyline, IsLine(Line{{60, 30, 7}, {100, 30, 7}}));
}
