#include "support/HostConversions.h"

namespace mvgeo
{

osg::Matrixd toOsg(const KdGeMatrix3d& matrix)
{
    osg::Matrixd result;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            result(column, row) = matrix.entry[row][column];
    return result;
}

KdGeMatrix3d toHost(const osg::Matrixd& matrix)
{
    KdGeMatrix3d result;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            result.entry[row][column] = matrix(column, row);
    return result;
}

} // namespace mvgeo
