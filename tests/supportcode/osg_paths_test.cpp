#include "support/OsgPaths.h"

#include <gtest/gtest.h>

namespace
{

using namespace mvgeo;

const char* const kChineseUtf8 = "D:/\xE5\x80\xBE\xE6\x96\x9C/Tile_+000_+001.osgb"; // U+503E U+659C: "oblique"

TEST(OsgPaths, ChinesePathComesBackFromOsg)
{
    const KdString path = KdString::fromUtf8(kChineseUtf8);
    EXPECT_EQ(hostPath(osgPath(path)), path);
}

#if !defined(_WIN32)
TEST(OsgPaths, PathIsUtf8WhereTheCodePageIs)
{
    EXPECT_EQ(osgPath(KdString::fromUtf8(kChineseUtf8)), kChineseUtf8);
    EXPECT_EQ(filePath(kChineseUtf8).native(), kChineseUtf8);
}

TEST(OsgPaths, HostPathHoldsSixteenBitUnits)
{
    const KdString path = hostPath("\xE5\x80\xBE\xE6\x96\x9C");
    ASSERT_EQ(path.length(), 2U);
    EXPECT_EQ(path.kwszPtr()[0], 0x503E);
    EXPECT_EQ(path.kwszPtr()[1], 0x659C);
}

TEST(OsgPaths, FileNameThatIsNoUtf8Survives)
{
    const std::string gbk = "/data/\xC7\xE3\xD0\xB1.osgb";
    EXPECT_EQ(osgPath(hostPath(gbk)), gbk);
    EXPECT_EQ(filePath(gbk).native(), gbk);
}
#endif

TEST(OsgPaths, EmptyStaysEmpty)
{
    EXPECT_TRUE(filePath("").empty());
    EXPECT_EQ(osgPath(KdString()), "");
    EXPECT_TRUE(hostPath("").isEmpty());
}

} // namespace
