#include "KdGeMatrix3d.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace
{

// Entries of the balanced matrix are about 1; what elimination leaves below this is rounding.
constexpr double kPivotIsZero = 1e-14;

bool isFinite(const KdGeMatrix3d& matrix)
{
    return std::all_of(&matrix.entry[0][0], &matrix.entry[0][0] + 16,
                       [](double value) { return std::isfinite(value); });
}

// The power of two that brings `largest` close to 1; a power of two scales without rounding. At the ends of the range
// of double the factor stops short of infinity.
double balancingFactor(double largest)
{
    return std::ldexp(1.0, std::clamp(-std::ilogb(largest), -1022, 1023));
}

double largestInColumn(const KdGeMatrix3d& matrix, int column)
{
    double largest = 0.0;
    for (const auto& row : matrix.entry)
        largest = std::max(largest, std::abs(row[column]));
    return largest;
}

double largestInRow(const KdGeMatrix3d& matrix, int row)
{
    double largest = 0.0;
    for (const double value : matrix.entry[row])
        largest = std::max(largest, std::abs(value));
    return largest;
}

/** A matrix whose rows and columns were multiplied by powers of two until their largest entries are about 1. Without
 * this step a map's translation of some million metres, or a model in micrometres, would pass for singular. */
struct Balanced
{
    KdGeMatrix3d matrix;
    double rowFactor[4];    // what the row was multiplied by
    double columnFactor[4]; // what the column was multiplied by
};

std::optional<Balanced> balance(const KdGeMatrix3d& matrix)
{
    Balanced result{matrix, {}, {}};
    for (int column = 0; column < 4; ++column)
    {
        const double largest = largestInColumn(result.matrix, column);
        if (largest == 0.0) return std::nullopt;
        result.columnFactor[column] = balancingFactor(largest);
        for (auto& row : result.matrix.entry)
            row[column] *= result.columnFactor[column];
    }
    for (int row = 0; row < 4; ++row)
    {
        const double largest = largestInRow(result.matrix, row);
        if (largest == 0.0) return std::nullopt;
        result.rowFactor[row] = balancingFactor(largest);
        for (double& value : result.matrix.entry[row])
            value *= result.rowFactor[row];
    }
    return result;
}

void subtractRow(double (&from)[4], double factor, const double (&what)[4])
{
    for (int column = 0; column < 4; ++column)
        from[column] -= factor * what[column];
}

int pivotRow(const KdGeMatrix3d& matrix, int column)
{
    int best = column;
    for (int row = column + 1; row < 4; ++row)
        if (std::abs(matrix.entry[row][column]) > std::abs(matrix.entry[best][column])) best = row;
    return best;
}

// Gauss-Jordan elimination with row pivots.
std::optional<KdGeMatrix3d> invertBalanced(KdGeMatrix3d matrix)
{
    KdGeMatrix3d result;
    for (int column = 0; column < 4; ++column)
    {
        const int best = pivotRow(matrix, column);
        const double pivot = matrix.entry[best][column];
        if (std::abs(pivot) < kPivotIsZero) return std::nullopt;

        std::swap(matrix.entry[best], matrix.entry[column]);
        std::swap(result.entry[best], result.entry[column]);
        for (int i = 0; i < 4; ++i)
        {
            matrix.entry[column][i] /= pivot;
            result.entry[column][i] /= pivot;
        }
        for (int row = 0; row < 4; ++row)
        {
            const double factor = matrix.entry[row][column];
            if (row == column || factor == 0.0) continue;
            subtractRow(matrix.entry[row], factor, matrix.entry[column]);
            subtractRow(result.entry[row], factor, result.entry[column]);
        }
    }
    return result;
}

/** Nothing if the matrix is singular, or its inverse is beyond the range of double. */
std::optional<KdGeMatrix3d> invert(const KdGeMatrix3d& matrix)
{
    if (!isFinite(matrix)) return std::nullopt;
    const std::optional<Balanced> balanced = balance(matrix);
    if (!balanced) return std::nullopt;
    std::optional<KdGeMatrix3d> inverse = invertBalanced(balanced->matrix);
    if (!inverse) return std::nullopt;

    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
        {
            inverse->entry[row][column] *= balanced->columnFactor[row];
            inverse->entry[row][column] *= balanced->rowFactor[column];
        }
    if (!isFinite(*inverse)) return std::nullopt;
    return inverse;
}

// Determinant of the 3 x 3 matrix that is left without row 0 and the given column.
double minorOfFirstRow(const KdGeMatrix3d& matrix, int column)
{
    int c[3];
    for (int i = 0; i < 3; ++i)
        c[i] = i < column ? i : i + 1;
    const auto& e = matrix.entry;
    return e[1][c[0]] * (e[2][c[1]] * e[3][c[2]] - e[2][c[2]] * e[3][c[1]]) -
           e[1][c[1]] * (e[2][c[0]] * e[3][c[2]] - e[2][c[2]] * e[3][c[0]]) +
           e[1][c[2]] * (e[2][c[0]] * e[3][c[1]] - e[2][c[1]] * e[3][c[0]]);
}

} // namespace

const KdGeMatrix3d KdGeMatrix3d::kIdentity;

KdGeMatrix3d::KdGeMatrix3d()
    : entry{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}
{
}

KdGeMatrix3d KdGeMatrix3d::translation(const KdGeVector3d& offset)
{
    KdGeMatrix3d matrix;
    matrix.entry[0][3] = offset.x;
    matrix.entry[1][3] = offset.y;
    matrix.entry[2][3] = offset.z;
    return matrix;
}

KdGeMatrix3d KdGeMatrix3d::scaling(double factor)
{
    KdGeMatrix3d matrix;
    for (int i = 0; i < 3; ++i)
        matrix.entry[i][i] = factor;
    return matrix;
}

KdGeMatrix3d KdGeMatrix3d::rotation(double angle, const KdGeVector3d& axis)
{
    KdGeMatrix3d matrix;
    const double length = axis.length();
    if (!std::isnormal(length)) return matrix;

    // Rodrigues' formula: cos * I + (1 - cos) * u u^T + sin * [u]x, u the unit axis.
    const double u[3] = {axis.x / length, axis.y / length, axis.z / length};
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double sinCross[3][3] = {{0.0, -s * u[2], s * u[1]}, {s * u[2], 0.0, -s * u[0]}, {-s * u[1], s * u[0], 0.0}};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            matrix.entry[row][column] =
                (row == column ? c : 0.0) + (1.0 - c) * u[row] * u[column] + sinCross[row][column];
    return matrix;
}

KdGeMatrix3d KdGeMatrix3d::operator*(const KdGeMatrix3d& right) const
{
    KdGeMatrix3d product;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
        {
            double sum = 0.0;
            for (int i = 0; i < 4; ++i)
                sum += entry[row][i] * right.entry[i][column];
            product.entry[row][column] = sum;
        }
    return product;
}

bool KdGeMatrix3d::operator==(const KdGeMatrix3d& other) const
{
    return std::equal(&entry[0][0], &entry[0][0] + 16, &other.entry[0][0]);
}

double KdGeMatrix3d::determinant() const
{
    double sum = 0.0;
    for (int column = 0; column < 4; ++column)
        sum += (column % 2 == 0 ? 1.0 : -1.0) * entry[0][column] * minorOfFirstRow(*this, column);
    return sum;
}

KdGeMatrix3d KdGeMatrix3d::inverse() const
{
    return invert(*this).value_or(kIdentity);
}

bool KdGeMatrix3d::isSingular() const
{
    return !invert(*this);
}
