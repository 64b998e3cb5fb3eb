#include "TempFolder.h"

#include <common/HostError.h>
#include <view/CameraPath.h>

#include <gtest/gtest.h>

using namespace mvgeo::host;

namespace
{
CameraKey key(double x)
{
    return {{x, 0.0, 10.0}, {x, 5.0, 0.0}};
}

std::string errorOf(const std::string& file)
{
    try
    {
        (void)readCameraPath(file);
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return {};
}
} // namespace

TEST(CameraPath, GoesThroughEveryKeyframe)
{
    const CameraPath path({key(0.0), key(8.0), key(4.0)});
    EXPECT_DOUBLE_EQ(path.at(0.0).eye.x(), 0.0);
    EXPECT_DOUBLE_EQ(path.at(0.5).eye.x(), 8.0);
    EXPECT_DOUBLE_EQ(path.at(1.0).eye.x(), 4.0);
    EXPECT_DOUBLE_EQ(path.at(1.0).target.y(), 5.0);
}

// With the end keys doubled, a quarter of the way the spline of Catmull and Rom stands at
// 0.5 * ((1)t + (3)t^2 + (-2)t^3) for keys 0 and 1: 0.5 * (0.25 + 0.1875 - 0.03125) = 0.203125.
TEST(CameraPath, LeavesAndArrivesSlowly)
{
    const CameraPath path({key(0.0), key(1.0)});
    EXPECT_DOUBLE_EQ(path.at(0.25).eye.x(), 0.203125);
    EXPECT_DOUBLE_EQ(path.at(0.5).eye.x(), 0.5);
    EXPECT_DOUBLE_EQ(path.at(0.75).eye.x(), 0.796875);
}

TEST(CameraPath, GoesStraightAtConstantSpeedBetweenEvenKeyframes)
{
    const CameraPath path({key(0.0), key(3.0), key(6.0), key(9.0)});
    EXPECT_NEAR(path.at(0.4).eye.x(), 3.6, 1e-12);
    EXPECT_NEAR(path.at(0.6).eye.x(), 5.4, 1e-12);
}

TEST(CameraPath, StaysAtItsEndsOutsideItsTime)
{
    const CameraPath path({key(1.0), key(2.0)});
    EXPECT_DOUBLE_EQ(path.at(-3.0).eye.x(), 1.0);
    EXPECT_DOUBLE_EQ(path.at(7.0).eye.x(), 2.0);
    EXPECT_DOUBLE_EQ(CameraPath({key(5.0)}).at(0.3).eye.x(), 5.0);
}

TEST(CameraPath, FliesLowOverTheLongerSideAndEndsWhereItBegan)
{
    const osg::BoundingBoxd city(0.0, 0.0, 0.0, 100.0, 1200.0, 40.0);
    const CameraPath path = overviewAndLowPass(ViewCamera(), city);
    EXPECT_EQ(path.keys().front().eye, path.keys().back().eye);
    const CameraKey& lowest = path.keys()[3];
    EXPECT_DOUBLE_EQ(lowest.eye.x(), 50.0);
    EXPECT_DOUBLE_EQ(lowest.eye.y(), 600.0);
    EXPECT_DOUBLE_EQ(lowest.eye.z(), 90.0); // a twelfth of 600 m above the highest roof
    EXPECT_GT(lowest.target.y(), lowest.eye.y());
}

TEST(CameraPathFile, IsReadAsTextWithHeadingAndComments)
{
    const TempFolder folder;
    const std::string file = folder.write("路 径.csv", "eyeX,eyeY,eyeZ,targetX,targetY,targetZ\r\n"
                                                       "1,2,3,4,5,6\r\n"
                                                       "\n"
                                                       "# the second\n"
                                                       "-1.5e2 0 0\t0 ; 0 1 # last\n");
    const CameraPath path = readCameraPath(file);
    ASSERT_EQ(path.keys().size(), 2U);
    EXPECT_EQ(path.keys()[0].target, osg::Vec3d(4.0, 5.0, 6.0));
    EXPECT_EQ(path.keys()[1].eye, osg::Vec3d(-150.0, 0.0, 0.0));
}

TEST(CameraPathFile, IsReadAsJson)
{
    const TempFolder folder;
    const std::string list = R"([{"eye": [1, 2, 3], "target": [4, 5, 6.5]}])";
    for (const std::string& text : {list, " {\"keyframes\": " + list + "}"})
    {
        const CameraPath path = readCameraPath(folder.write("path.json", text));
        ASSERT_EQ(path.keys().size(), 1U);
        EXPECT_EQ(path.keys()[0].target, osg::Vec3d(4.0, 5.0, 6.5));
    }
}

TEST(CameraPathFile, IsRefusedWithTheLineThatIsWrong)
{
    const TempFolder folder;
    EXPECT_NE(errorOf(folder.write("a", "1,2,3,4,5,6\n1,2,3,4,5\n")).find("Line 2"), std::string::npos);
    EXPECT_NE(errorOf(folder.write("b", "1,2,3,4,5,nan\n")).find("Line 1"), std::string::npos);
    EXPECT_NE(errorOf(folder.write("c", "")).find("no keyframe"), std::string::npos);
    EXPECT_NE(errorOf(folder.write("d", "[]")).find("no keyframe"), std::string::npos);
    EXPECT_NE(errorOf(folder.write("e", "[{\"eye\": [1, 2, 3]}]")).find("JSON"), std::string::npos);
    EXPECT_NE(errorOf(folder.write("f", "{\"eye\": ")).find("JSON"), std::string::npos);
    EXPECT_NE(errorOf(folder.path("none")).find("Cannot read"), std::string::npos);
    EXPECT_NE(errorOf(folder.path()).find("Cannot read"), std::string::npos);
}
