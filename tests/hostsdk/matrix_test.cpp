#include "KdGeMatrix3d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

constexpr double kHalfPi = 1.5707963267948966;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Rows = double[4][4];

KdGeMatrix3d fromRows(const Rows& rows)
{
    KdGeMatrix3d matrix;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            matrix.entry[row][column] = rows[row][column];
    return matrix;
}

void expectRows(const KdGeMatrix3d& actual, const Rows& expected, double tolerance = 1e-12)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            EXPECT_NEAR(actual.entry[row][column], expected[row][column], tolerance)
                << "row " << row << ", column " << column;
}

constexpr Rows kUnit = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

TEST(KdGeMatrix3d, IsTheIdentityByDefault)
{
    expectRows(KdGeMatrix3d(), kUnit, 0.0);
    expectRows(KdGeMatrix3d::kIdentity, kUnit, 0.0);
}

TEST(KdGeMatrix3d, TranslationStandsInTheLastColumn)
{
    expectRows(KdGeMatrix3d::translation(KdGeVector3d(10.0, 20.0, 30.0)),
               {{1, 0, 0, 10}, {0, 1, 0, 20}, {0, 0, 1, 30}, {0, 0, 0, 1}}, 0.0);
}

TEST(KdGeMatrix3d, ScalingLeavesTheFourthComponentAlone)
{
    expectRows(KdGeMatrix3d::scaling(3.0), {{3, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 3, 0}, {0, 0, 0, 1}}, 0.0);
}

TEST(KdGeMatrix3d, QuarterTurnAboutZTakesXToY)
{
    expectRows(KdGeMatrix3d::rotation(kHalfPi, KdGeVector3d(0.0, 0.0, 5.0)),
               {{0, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}});
}

TEST(KdGeMatrix3d, QuarterTurnAboutXTakesYToZ)
{
    expectRows(KdGeMatrix3d::rotation(kHalfPi, KdGeVector3d(1.0, 0.0, 0.0)),
               {{1, 0, 0, 0}, {0, 0, -1, 0}, {0, 1, 0, 0}, {0, 0, 0, 1}});
}

TEST(KdGeMatrix3d, QuarterTurnAboutYTakesZToX)
{
    expectRows(KdGeMatrix3d::rotation(kHalfPi, KdGeVector3d(0.0, 1.0, 0.0)),
               {{0, 0, 1, 0}, {0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}});
}

// A third of a turn about the diagonal moves x to y, y to z and z to x.
TEST(KdGeMatrix3d, ThirdOfATurnAboutTheDiagonalPermutesTheAxes)
{
    expectRows(KdGeMatrix3d::rotation(4.0 / 3.0 * kHalfPi, KdGeVector3d(1.0, 1.0, 1.0)),
               {{0, 0, 1, 0}, {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 0, 1}});
}

TEST(KdGeMatrix3d, RotationAboutNoAxisIsTheIdentity)
{
    expectRows(KdGeMatrix3d::rotation(1.0, KdGeVector3d()), kUnit, 0.0);
    expectRows(KdGeMatrix3d::rotation(1.0, KdGeVector3d(kNan, 0.0, 0.0)), kUnit, 0.0);
    expectRows(KdGeMatrix3d::rotation(1.0, KdGeVector3d(kInfinity, 0.0, 0.0)), kUnit, 0.0);
}

TEST(KdGeMatrix3d, ProductTakesRowsTimesColumns)
{
    const KdGeMatrix3d left = fromRows({{1, 2, 0, 0}, {0, 1, 3, 0}, {0, 0, 1, 4}, {5, 0, 0, 1}});
    const KdGeMatrix3d right = fromRows({{1, 0, 0, 2}, {0, 1, 0, 0}, {3, 0, 1, 0}, {0, 0, 4, 1}});
    expectRows(left * right, {{1, 2, 0, 2}, {9, 1, 3, 0}, {3, 0, 17, 4}, {5, 0, 4, 11}}, 0.0);
}

TEST(KdGeMatrix3d, TheRightFactorActsFirst)
{
    const KdGeMatrix3d move = KdGeMatrix3d::translation(KdGeVector3d(10.0, 0.0, 0.0));
    const KdGeMatrix3d grow = KdGeMatrix3d::scaling(2.0);
    EXPECT_EQ(KdGePoint3d(1.0, 0.0, 0.0).transformBy(move * grow).x, 12.0);
    EXPECT_EQ(KdGePoint3d(1.0, 0.0, 0.0).transformBy(grow * move).x, 22.0);
}

TEST(KdGeMatrix3d, EqualityLooksAtEveryEntry)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
        {
            KdGeMatrix3d other;
            EXPECT_TRUE(other == KdGeMatrix3d::kIdentity);
            other.entry[row][column] += 0.5;
            EXPECT_TRUE(other != KdGeMatrix3d::kIdentity) << "row " << row << ", column " << column;
        }
}

// Expanded along the first column: 2 * (3*5*7) - 1 * (1*5*7) = 210 - 35.
TEST(KdGeMatrix3d, DeterminantOfAFullMatrix)
{
    EXPECT_DOUBLE_EQ(fromRows({{2, 1, 9, 4}, {1, 3, 8, 6}, {0, 0, 5, 2}, {0, 0, 0, 7}}).determinant(), 175.0);
}

TEST(KdGeMatrix3d, DeterminantChangesSignWithSwappedRows)
{
    EXPECT_EQ(fromRows({{0, 1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}).determinant(), -1.0);
    EXPECT_EQ(fromRows({{0, 0, 0, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {1, 0, 0, 0}}).determinant(), -1.0);
    EXPECT_EQ(fromRows({{0, 0, 1, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}, {0, 0, 0, 1}}).determinant(), -1.0);
}

TEST(KdGeMatrix3d, InverseOfATranslationGoesBack)
{
    expectRows(KdGeMatrix3d::translation(KdGeVector3d(10.0, -20.0, 30.0)).inverse(),
               {{1, 0, 0, -10}, {0, 1, 0, 20}, {0, 0, 1, -30}, {0, 0, 0, 1}}, 0.0);
}

// Forwards x' = -2y + 5, y' = 2x + 7, z' = 2z; so x = (y' - 7) / 2, y = (5 - x') / 2, z = z' / 2.
TEST(KdGeMatrix3d, InverseOfATurnWithScaleAndOffset)
{
    expectRows(fromRows({{0, -2, 0, 5}, {2, 0, 0, 7}, {0, 0, 2, 0}, {0, 0, 0, 1}}).inverse(),
               {{0, 0.5, 0, -3.5}, {-0.5, 0, 0, 2.5}, {0, 0, 0.5, 0}, {0, 0, 0, 1}});
}

TEST(KdGeMatrix3d, MatrixTimesItsInverseIsTheIdentity)
{
    const KdGeMatrix3d matrix = fromRows({{4, -2, 1, 9}, {0.5, 3, -7, 2}, {1, 1, 6, -5}, {0.1, 0, 0.2, 1}});
    expectRows(matrix * matrix.inverse(), kUnit, 1e-14);
    expectRows(matrix.inverse() * matrix, kUnit, 1e-14);
}

TEST(KdGeMatrix3d, MapCoordinatesAreNotSingular)
{
    const KdGeMatrix3d matrix = KdGeMatrix3d::translation(KdGeVector3d(40500000.0, 4400000.0, 1200.0)) *
                                KdGeMatrix3d::rotation(0.3, KdGeVector3d(1.0, 2.0, 3.0)) * KdGeMatrix3d::scaling(0.001);
    EXPECT_FALSE(matrix.isSingular());
    KdGePoint3d point(12.0, 34.0, 56.0);
    point.transformBy(matrix).transformBy(matrix.inverse());
    EXPECT_NEAR(point.x, 12.0, 1e-4); // the map's last digit, 7e-9 m, is 7e-6 in thousandths of a metre
    EXPECT_NEAR(point.y, 34.0, 1e-4);
    EXPECT_NEAR(point.z, 56.0, 1e-4);
}

TEST(KdGeMatrix3d, TinyAndHugeScalesAreNotSingular)
{
    EXPECT_FALSE(KdGeMatrix3d::scaling(1e-120).isSingular()); // its determinant underflows to 0
    EXPECT_FALSE(KdGeMatrix3d::scaling(1e120).isSingular());  // and this one's is infinite
    EXPECT_DOUBLE_EQ(KdGeMatrix3d::scaling(1e-308).inverse().entry[0][0], 1e308);
    EXPECT_DOUBLE_EQ(KdGeMatrix3d::scaling(1e307).inverse().entry[0][0], 1e-307);
    EXPECT_FALSE(KdGeMatrix3d::translation(KdGeVector3d(1e18, 0.0, 0.0)).isSingular());
}

TEST(KdGeMatrix3d, DependentRowsAreSingular)
{
    EXPECT_TRUE(fromRows({{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}, {0, 0, 0, 1}}).isSingular());
    EXPECT_TRUE(fromRows({{0.1, 0.2, 0.3, 0}, {0.4, 0.5, 0.6, 0}, {0.7, 0.8, 0.9, 0}, {0, 0, 0, 1}}).isSingular());
    EXPECT_TRUE(fromRows({{1e6, 2e6, 3e6, 0}, {4e6, 5e6, 6e6, 0}, {7e6, 8e6, 9e6, 0}, {0, 0, 0, 1}}).isSingular());
}

TEST(KdGeMatrix3d, AZeroRowOrColumnIsSingular)
{
    for (int i = 0; i < 4; ++i)
    {
        KdGeMatrix3d noRow = fromRows({{4, 1, 0, 1}, {1, 5, 1, 0}, {0, 1, 6, 1}, {1, 0, 1, 3}});
        KdGeMatrix3d noColumn = noRow;
        EXPECT_FALSE(noRow.isSingular());
        for (int k = 0; k < 4; ++k)
        {
            noRow.entry[i][k] = 0.0;
            noColumn.entry[k][i] = 0.0;
        }
        EXPECT_TRUE(noRow.isSingular()) << "row " << i;
        EXPECT_TRUE(noColumn.isSingular()) << "column " << i;
    }
}

TEST(KdGeMatrix3d, AnEntryThatIsNotFiniteIsSingular)
{
    for (const double value : {kNan, kInfinity, -kInfinity})
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 4; ++column)
            {
                KdGeMatrix3d matrix;
                matrix.entry[row][column] = value;
                EXPECT_TRUE(matrix.isSingular()) << value << " in row " << row << ", column " << column;
            }
}

TEST(KdGeMatrix3d, AnInverseBeyondTheRangeOfDoubleIsSingular)
{
    EXPECT_TRUE(KdGeMatrix3d::scaling(1e-310).isSingular()); // 1e310 is no double
}

TEST(KdGeMatrix3d, TheInverseOfASingularMatrixIsTheIdentity)
{
    expectRows(KdGeMatrix3d::scaling(0.0).inverse(), kUnit, 0.0);
    expectRows(KdGeMatrix3d::scaling(kNan).inverse(), kUnit, 0.0);
}

} // namespace
