#include "KdGeMatrix3d.h"
#include "KdGePoint3d.h"
#include "KdGeVector3d.h"

#include <gtest/gtest.h>

namespace
{

void expectPoint(const KdGePoint3d& actual, double x, double y, double z)
{
    EXPECT_DOUBLE_EQ(actual.x, x);
    EXPECT_DOUBLE_EQ(actual.y, y);
    EXPECT_DOUBLE_EQ(actual.z, z);
}

TEST(KdGeVector3d, IsZeroByDefault)
{
    EXPECT_EQ(KdGeVector3d().length(), 0.0);
}

TEST(KdGeVector3d, LengthIsEuclidean)
{
    EXPECT_DOUBLE_EQ(KdGeVector3d(2.0, 3.0, 6.0).length(), 7.0); // 4 + 9 + 36 = 49
}

TEST(KdGeVector3d, LengthNeitherOverflowsNorUnderflows)
{
    EXPECT_DOUBLE_EQ(KdGeVector3d(3e200, 4e200, 0.0).length(), 5e200);
    EXPECT_DOUBLE_EQ(KdGeVector3d(3e-200, 0.0, 4e-200).length(), 5e-200);
}

TEST(KdGeVector3d, DotProductSumsTheProducts)
{
    EXPECT_DOUBLE_EQ(KdGeVector3d(1.0, 2.0, 3.0).dotProduct(KdGeVector3d(4.0, -5.0, 6.0)), 12.0); // 4 - 10 + 18
}

TEST(KdGeVector3d, CrossProductIsRightHanded)
{
    const KdGeVector3d z = KdGeVector3d(1.0, 0.0, 0.0).crossProduct(KdGeVector3d(0.0, 1.0, 0.0));
    EXPECT_EQ(z.x, 0.0);
    EXPECT_EQ(z.y, 0.0);
    EXPECT_EQ(z.z, 1.0);

    // (2*6 - 3*5, 3*4 - 1*6, 1*5 - 2*4)
    const KdGeVector3d product = KdGeVector3d(1.0, 2.0, 3.0).crossProduct(KdGeVector3d(4.0, 5.0, 6.0));
    EXPECT_EQ(product.x, -3.0);
    EXPECT_EQ(product.y, 6.0);
    EXPECT_EQ(product.z, -3.0);
}

TEST(KdGeVector3d, AddsSubtractsAndScales)
{
    const KdGeVector3d result =
        (KdGeVector3d(1.0, 2.0, 3.0) + KdGeVector3d(10.0, 20.0, 30.0)) * 2.0 - KdGeVector3d(1.0, 1.0, 1.0);
    EXPECT_EQ(result.x, 21.0);
    EXPECT_EQ(result.y, 43.0);
    EXPECT_EQ(result.z, 65.0);
}

TEST(KdGePoint3d, DistanceIsTheLengthOfTheDifference)
{
    EXPECT_DOUBLE_EQ(KdGePoint3d(1.0, 1.0, 1.0).distanceTo(KdGePoint3d(3.0, 4.0, 7.0)), 7.0);
}

TEST(KdGePoint3d, MovesByAVector)
{
    expectPoint(KdGePoint3d(1.0, 2.0, 3.0) + KdGeVector3d(1.0, 1.0, 1.0), 2.0, 3.0, 4.0);
    expectPoint(KdGePoint3d(1.0, 2.0, 3.0) - KdGeVector3d(1.0, 1.0, 1.0), 0.0, 1.0, 2.0);
}

TEST(KdGePoint3d, TransformTakesTheTranslationFromTheLastColumn)
{
    KdGeMatrix3d matrix;
    matrix.entry[0][3] = 10.0;
    matrix.entry[1][3] = 20.0;
    matrix.entry[2][3] = 30.0;
    KdGePoint3d point(1.0, 2.0, 3.0);
    expectPoint(point.transformBy(matrix), 11.0, 22.0, 33.0);
    expectPoint(point, 11.0, 22.0, 33.0);
}

TEST(KdGePoint3d, TransformMultipliesRowsByThePoint)
{
    KdGeMatrix3d matrix;
    const double rows[3][4] = {{1.0, 2.0, 3.0, 4.0}, {5.0, 6.0, 7.0, 8.0}, {9.0, 10.0, 11.0, 12.0}};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            matrix.entry[row][column] = rows[row][column];
    // 1 + 4 + 9 + 4; 5 + 12 + 21 + 8; 9 + 20 + 33 + 12
    expectPoint(KdGePoint3d(1.0, 2.0, 3.0).transformBy(matrix), 18.0, 46.0, 74.0);
}

TEST(KdGePoint3d, TransformDividesByTheFourthComponent)
{
    KdGeMatrix3d matrix;
    matrix.entry[3][0] = 1.0; // w = x + 1
    expectPoint(KdGePoint3d(3.0, 8.0, 12.0).transformBy(matrix), 0.75, 2.0, 3.0);
}

} // namespace
