#include <view/ViewCamera.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace mvgeo::host;

namespace
{
constexpr double kTiny = 1e-9;

void expectNear(const osg::Vec3d& point, double x, double y, double z, double tolerance = kTiny)
{
    EXPECT_NEAR(point.x(), x, tolerance);
    EXPECT_NEAR(point.y(), y, tolerance);
    EXPECT_NEAR(point.z(), z, tolerance);
}

/** From (0, -10, 0) to the north; 90 degrees, so that the picture is as high as it is far. */
ViewCamera lookingNorth()
{
    ViewCamera camera;
    camera.eye = {0.0, -10.0, 0.0};
    camera.target = {0.0, 0.0, 0.0};
    camera.fovDegrees = 90.0;
    camera.width = 200;
    camera.height = 100;
    return camera;
}

const osg::BoundingBoxd kCube(-1.0, -1.0, -1.0, 1.0, 1.0, 1.0);

osg::BoundingBoxd pictureOf(const osg::BoundingBoxd& box, const ViewCamera& camera)
{
    osg::BoundingBoxd picture;
    const osg::Matrixd both = camera.viewMatrix() * camera.projectionMatrix(box);
    for (unsigned int i = 0; i < 8; ++i)
        picture.expandBy(box.corner(i) * both);
    return picture;
}
} // namespace

TEST(ViewCamera, PutsWhatLiesEastOnTheRightAndWhatLiesUpOnTop)
{
    const osg::Matrixd view = lookingNorth().viewMatrix();
    expectNear(osg::Vec3d(0.0, 0.0, 0.0) * view, 0.0, 0.0, -10.0);
    expectNear(osg::Vec3d(3.0, 0.0, 2.0) * view, 3.0, 2.0, -10.0);
}

TEST(ViewCamera, HasNorthOnTopWhenItLooksStraightDown)
{
    ViewCamera camera;
    camera.eye = {5.0, 5.0, 100.0};
    camera.target = {5.0, 5.0, 0.0};
    expectNear(osg::Vec3d(5.0, 6.0, 0.0) * camera.viewMatrix(), 0.0, 1.0, -100.0);
    expectNear(osg::Vec3d(6.0, 5.0, 0.0) * camera.viewMatrix(), 1.0, 0.0, -100.0);
}

// 90 degrees from 10 m away: the upper edge is 10 m up, the right edge of a picture twice as wide 20 m to the right.
TEST(ViewCamera, OpensByTheVerticalAngle)
{
    const ViewCamera camera = lookingNorth();
    const osg::Matrixd both = camera.viewMatrix() * camera.projectionMatrix(kCube);
    const osg::Vec3d corner = osg::Vec3d(20.0, 0.0, 10.0) * both;
    EXPECT_NEAR(corner.x(), 1.0, kTiny);
    EXPECT_NEAR(corner.y(), 1.0, kTiny);
}

TEST(ViewCamera, ShowsAsManyMetresAsTheOrthoHeightSays)
{
    ViewCamera camera = lookingNorth();
    camera.orthoHeight = 8.0;
    const osg::Matrixd both = camera.viewMatrix() * camera.projectionMatrix(kCube);
    const osg::Vec3d corner = osg::Vec3d(8.0, 0.5, 4.0) * both; // half of 8 m up, twice that to the right
    EXPECT_NEAR(corner.x(), 1.0, kTiny);
    EXPECT_NEAR(corner.y(), 1.0, kTiny);
}

// The cube's faces are 9 m and 11 m away; the room for finer tiles is 2 % of its diagonal of 2 * sqrt(3) m.
TEST(ViewCamera, FitsNearAndFarToTheExtents)
{
    const double room = 0.02 * 2.0 * std::sqrt(3.0);
    const DepthRange range = fitDepthRange(lookingNorth().viewMatrix(), kCube, true);
    EXPECT_NEAR(range.nearPlane, 9.0 - room, kTiny);
    EXPECT_NEAR(range.farPlane, 11.0 + room, kTiny);
}

TEST(ViewCamera, KeepsNearAboveZeroInsideTheModelAndWithTheModelBehind)
{
    for (const double south : {0.0, 0.9, -0.9, 1000.0}) // the eye's place; the last has the cube behind it
    {
        SCOPED_TRACE(south);
        ViewCamera camera = lookingNorth();
        camera.eye.y() = south;
        camera.target.y() = south + 1.0;
        const DepthRange range = fitDepthRange(camera.viewMatrix(), kCube, true);
        EXPECT_GT(range.nearPlane, 0.0);
        EXPECT_GT(range.farPlane, range.nearPlane);
        EXPECT_TRUE(camera.projectionMatrix(kCube).valid());
    }
}

TEST(ViewCamera, FillsThePictureWithTheBoxInTheOverview)
{
    const osg::BoundingBoxd city(500000.0, 4000000.0, 10.0, 500400.0, 4000300.0, 60.0);
    for (const auto& [width, height] : {std::pair(1280, 720), std::pair(400, 900)})
    {
        SCOPED_TRACE(width);
        ViewCamera camera;
        camera.width = width;
        camera.height = height;
        fitCameraToBox(camera, city);
        const osg::BoundingBoxd picture = pictureOf(city, camera);
        EXPECT_GE(picture.xMin(), -1.0);
        EXPECT_LE(picture.xMax(), 1.0);
        EXPECT_GE(picture.yMin(), -1.0);
        EXPECT_LE(picture.yMax(), 1.0);
        // One of the two directions is used up to the margin.
        EXPECT_GT(std::max(picture.xMax() - picture.xMin(), picture.yMax() - picture.yMin()), 1.85);
        const osg::Vec3d forward = camera.target - camera.eye;
        EXPECT_NEAR(forward.x(), 0.0, 1e-6); // from the south
        EXPECT_NEAR(std::atan2(-forward.z(), forward.y()) * 180.0 / std::acos(-1.0), 40.0, 1e-6);
    }
}

TEST(ViewCamera, FindsTheOverviewOfAFlatBoxAndOfAPoint)
{
    for (const osg::BoundingBoxd& box : {osg::BoundingBoxd(0, 0, 0, 10, 10, 0), osg::BoundingBoxd(1, 1, 1, 1, 1, 1)})
    {
        ViewCamera camera;
        fitCameraToBox(camera, box);
        EXPECT_GT((camera.target - camera.eye).length(), 0.0);
        EXPECT_TRUE(camera.viewMatrix().valid());
        EXPECT_TRUE(camera.projectionMatrix(box).valid());
    }
}

// A picture of 200 x 100 pixels at 90 degrees: a pixel is 0.2 m at the 10 m distance of the origin, and the middle of
// pixel (100, 50) lies half a pixel right of and below the middle of the picture.
TEST(ViewCamera, FindsThePointUnderAPixel)
{
    const ViewCamera camera = lookingNorth();
    const ViewFrame frame = camera.frame(kCube);
    const auto atOrigin = [&](double column, double row)
    {
        const osg::Vec3d ray = worldPointUnderPixel(frame, column, row) - camera.eye;
        return camera.eye + ray * (10.0 / ray.y());
    };
    expectNear(atOrigin(100.0, 50.0), 0.1, 0.0, -0.1, 1e-7);
    expectNear(atOrigin(0.0, 0.0), -19.9, 0.0, 9.9, 1e-7);
    expectNear(atOrigin(199.0, 99.0), 19.9, 0.0, -9.9, 1e-7);
}
