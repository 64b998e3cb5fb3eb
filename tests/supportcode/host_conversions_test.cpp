#include "support/HostConversions.h"

#include <gtest/gtest.h>

namespace
{

using namespace mvgeo;

KdGeMatrix3d numberedHostMatrix()
{
    KdGeMatrix3d matrix;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            matrix.entry[row][column] = 10.0 * row + column;
    return matrix;
}

TEST(HostConversions, TransposeOnTheWayToOsg)
{
    const osg::Matrixd matrix = toOsg(numberedHostMatrix());
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            EXPECT_EQ(matrix(row, column), 10.0 * column + row);
}

TEST(HostConversions, TransposeOnTheWayBack)
{
    osg::Matrixd matrix;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            matrix(row, column) = 10.0 * row + column;
    const KdGeMatrix3d host = toHost(matrix);
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            EXPECT_EQ(host.entry[row][column], 10.0 * column + row);
}

TEST(HostConversions, MoveAPointToTheSamePlaceOnBothSides)
{
    // A quarter turn about z, then a shift: (1, 0, 0) -> (0, 1, 0) -> (500000, 4000001, 7).
    KdGeMatrix3d host;
    const double entries[3][4] = {{0, -1, 0, 500000}, {1, 0, 0, 4000000}, {0, 0, 1, 7}};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            host.entry[row][column] = entries[row][column];

    const osg::Vec3d moved = osg::Vec3d(1, 0, 0) * toOsg(host);
    EXPECT_EQ(moved, osg::Vec3d(500000, 4000001, 7));
}

TEST(HostConversions, KeepTheCoordinatesOfAPoint)
{
    EXPECT_EQ(toOsg(KdGePoint3d{1.5, -2.0, 1e9}), osg::Vec3d(1.5, -2.0, 1e9));
    const KdGePoint3d host = toHost(osg::Vec3d(1.5, -2.0, 1e9));
    EXPECT_EQ(host.x, 1.5);
    EXPECT_EQ(host.y, -2.0);
    EXPECT_EQ(host.z, 1e9);
}

} // namespace
