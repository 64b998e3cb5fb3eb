#include "readerwriterthreedimg/VertexNormals.h"

namespace mvgeo
{

namespace
{

/** The face normals of one grid cell: south-west, south-east, north-west, and south-east, north-east, north-west. */
struct CellNormals
{
    osg::Vec3d first;
    osg::Vec3d second;
};

class FaceNormals
{
public:
    FaceNormals(const ElevationGrid& grid, float dx, float dy, float noData)
        : _grid(grid), _dx(dx), _dy(dy), _noData(noData), _columns(grid.columns - 1)
    {
        _cells.reserve(static_cast<std::size_t>(_columns) * static_cast<std::size_t>(grid.rows - 1));
        for (int row = 0; row + 1 < grid.rows; ++row)
            for (int column = 0; column < _columns; ++column)
                _cells.push_back(normalsOf(column, row));
    }

    [[nodiscard]] const CellNormals& at(int column, int row) const
    {
        return _cells[static_cast<std::size_t>(row) * static_cast<std::size_t>(_columns) +
                      static_cast<std::size_t>(column)];
    }

private:
    [[nodiscard]] CellNormals normalsOf(int column, int row) const
    {
        const double northWest = _grid.at(column, row);
        const double northEast = _grid.at(column + 1, row);
        const double southWest = _grid.at(column, row + 1);
        const double southEast = _grid.at(column + 1, row + 1);
        CellNormals normals;
        // The two posts of the diagonal belong to both triangles.
        if (isMissing(southEast) || isMissing(northWest)) return normals;
        // Cross products of (dx, 0, a) and (0, dy, b): the edges of each triangle run along the grid's lines.
        if (!isMissing(southWest)) normals.first = upward(southEast - southWest, northWest - southWest);
        if (!isMissing(northEast)) normals.second = upward(northEast - northWest, northEast - southEast);
        return normals;
    }

    [[nodiscard]] osg::Vec3d upward(double riseEast, double riseNorth) const
    {
        return {-riseEast * _dy, -riseNorth * _dx, _dx * _dy};
    }

    [[nodiscard]] bool isMissing(double height) const { return isNoData(static_cast<float>(height), _noData); }

    const ElevationGrid& _grid;
    double _dx;
    double _dy;
    float _noData;
    int _columns;
    std::vector<CellNormals> _cells;
};

/** The normal of an interior post. */
osg::Vec3d normalAt(const FaceNormals& faces, int column, int row)
{
    osg::Vec3d sum;
    bool isAnyCounted = false;
    const auto add = [&](const osg::Vec3d& tested, const osg::Vec3d& added)
    {
        if (tested.z() == 0.0) return;
        sum += added;
        isAnyCounted = true;
    };
    for (const int cellRow : {row - 1, row})
        for (const int cellColumn : {column - 1, column})
        {
            const CellNormals& cell = faces.at(cellColumn, cellRow);
            add(cell.first, cell.first);
            add(cell.second, cell.first); // on purpose: see the header
        }
    if (!isAnyCounted) return {0.0, 0.0, 1.0};
    sum.normalize(); // leaves a sum of zero length as it is
    return sum;
}

} // namespace

std::vector<osg::Vec3d> computeVertexNormals(const ElevationGrid& grid, float dx, float dy, float noData)
{
    std::vector<osg::Vec3d> normals(grid.heights.size(), osg::Vec3d(0.0, 0.0, 1.0));
    if (grid.columns < 2 || grid.rows < 2) return normals;
    const FaceNormals faces(grid, dx, dy, noData);
    for (int row = 1; row + 1 < grid.rows; ++row)
        for (int column = 1; column + 1 < grid.columns; ++column)
            normals[grid.index(column, row)] = normalAt(faces, column, row);
    return normals;
}

} // namespace mvgeo
