#include "hosting/MatrixConversion.h"

namespace mvgeo::host
{
KdGeMatrix3d toHostMatrix(const osg::Matrixd& matrix)
{
    KdGeMatrix3d result;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            result.entry[row][column] = matrix(column, row);
    return result;
}

osg::Matrixd toOsgMatrix(const KdGeMatrix3d& matrix)
{
    osg::Matrixd result;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            result(column, row) = matrix.entry[row][column];
    return result;
}

osg::BoundingBoxd toOsgBox(const KdDbExtents& extents)
{
    if (!extents.isValid()) return {};
    return {toOsgPoint(extents.minPoint()), toOsgPoint(extents.maxPoint())};
}
} // namespace mvgeo::host
