#include <hosting/MatrixConversion.h>

#include <gtest/gtest.h>

using namespace mvgeo::host;

TEST(HostMatrixConversion, PutsTheTranslationIntoTheLastColumn)
{
    const KdGeMatrix3d host = toHostMatrix(osg::Matrixd::translate(1.0, 2.0, 3.0));
    EXPECT_EQ(host.entry[0][3], 1.0);
    EXPECT_EQ(host.entry[1][3], 2.0);
    EXPECT_EQ(host.entry[2][3], 3.0);
    EXPECT_EQ(host.entry[3][0], 0.0);
}

// Scaled by 2, then moved by 10 along x: (1, 1, 1) goes to (12, 2, 2) in both worlds.
TEST(HostMatrixConversion, KeepsWhereAPointGoes)
{
    const osg::Matrixd scene = osg::Matrixd::scale(2.0, 2.0, 2.0) * osg::Matrixd::translate(10.0, 0.0, 0.0);
    KdGePoint3d point(1.0, 1.0, 1.0);
    point.transformBy(toHostMatrix(scene));
    EXPECT_EQ(point.x, 12.0);
    EXPECT_EQ(point.y, 2.0);
    EXPECT_EQ(point.z, 2.0);
    EXPECT_EQ(toOsgMatrix(toHostMatrix(scene)), scene);
}

TEST(HostMatrixConversion, MakesAnEmptyBoxOfEmptyExtents)
{
    EXPECT_FALSE(toOsgBox(KdDbExtents()).valid());
    EXPECT_EQ(toOsgBox(KdDbExtents({1.0, 2.0, 3.0}, {4.0, 5.0, 6.0})).yMax(), 5.0);
}
