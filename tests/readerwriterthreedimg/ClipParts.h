#pragma once

#include "readerwriterthreedimg/MeshClipByRasterOverlay.h"

#include <osg/Geometry>
#include <osg/Image>

#include <array>
#include <cmath>
#include <vector>

/** Small meshes to clip, and what a test asks of the result. */
namespace cliptest
{

using Mesh = osg::ref_ptr<osg::Geometry>;
using Corners = std::array<osg::Vec3, 3>;

struct Rectangle
{
    double xmin, xmax, ymin, ymax;

    [[nodiscard]] double area() const { return (xmax - xmin) * (ymax - ymin); }
};

inline osg::ref_ptr<osg::Vec3Array> vectors(const std::vector<osg::Vec3>& values)
{
    return new osg::Vec3Array(values.begin(), values.end());
}

/** Triangles as a terrain tile has them; normals upwards unless given. */
inline Mesh makeMesh(const std::vector<osg::Vec3>& vertices, const std::vector<GLuint>& elements,
                     std::vector<osg::Vec3> normals = {})
{
    if (normals.empty()) normals.assign(vertices.size(), osg::Vec3(0, 0, 1));
    Mesh mesh = new osg::Geometry;
    mesh->setVertexArray(vectors(vertices));
    mesh->setNormalArray(vectors(normals), osg::Array::BIND_PER_VERTEX);
    mesh->setTexCoordArray(0, new osg::Vec2Array(static_cast<unsigned int>(vertices.size())),
                           osg::Array::BIND_PER_VERTEX);
    mesh->addPrimitiveSet(new osg::DrawElementsUInt(GL_TRIANGLES, elements.begin(), elements.end()));
    return mesh;
}

inline Mesh makeTriangle(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c)
{
    return makeMesh({a, b, c}, {0, 1, 2});
}

/** Posts one unit apart, the south-west one at the origin; each cell is split from its south-east to its north-west
 * corner. `height(column, row)` counts rows from the south. */
template <typename Height>
Mesh makeGrid(GLuint columns, GLuint rows, const Height& height)
{
    std::vector<osg::Vec3> vertices;
    std::vector<GLuint> elements;
    for (GLuint row = 0; row < rows; ++row)
        for (GLuint column = 0; column < columns; ++column)
        {
            const GLuint sw = row * columns + column;
            vertices.emplace_back(column, row, height(column, row));
            if (row + 1 < rows && column + 1 < columns)
                elements.insert(elements.end(), {sw, sw + 1, sw + columns, sw + 1, sw + columns + 1, sw + columns});
        }
    return makeMesh(vertices, elements);
}

inline Mesh makeFlatGrid(GLuint columns, GLuint rows)
{
    return makeGrid(columns, rows, [](GLuint, GLuint) { return 0.0F; });
}

inline osg::ref_ptr<MeshClipByRasterOverlay> makeClipper(const Rectangle& rectangle)
{
    osg::ref_ptr<MeshClipByRasterOverlay> clipper = new MeshClipByRasterOverlay;
    clipper->setRectangle(rectangle.xmin, rectangle.xmax, rectangle.ymin, rectangle.ymax);
    return clipper;
}

inline Mesh clipMesh(const Mesh& parent, const Rectangle& rectangle, double skirtDepth = 1.0)
{
    Mesh result;
    makeClipper(rectangle)->clip(parent, skirtDepth, new osg::Image, result);
    return result;
}

inline const osg::Vec3Array& verticesOf(const Mesh& mesh)
{
    return dynamic_cast<const osg::Vec3Array&>(*mesh->getVertexArray());
}

inline const osg::Vec3Array& normalsOf(const Mesh& mesh)
{
    return dynamic_cast<const osg::Vec3Array&>(*mesh->getNormalArray());
}

inline const osg::Vec2Array& textureCoordinatesOf(const Mesh& mesh)
{
    return dynamic_cast<const osg::Vec2Array&>(*mesh->getTexCoordArray(0));
}

inline std::vector<GLuint> elementsOf(const Mesh& mesh)
{
    const auto& elements = dynamic_cast<const osg::DrawElementsUInt&>(*mesh->getPrimitiveSet(0));
    return {elements.begin(), elements.end()};
}

/** True of skirts: they hang straight down. */
inline bool hangs(const Corners& corners)
{
    for (std::size_t i = 0; i < 3; ++i)
    {
        const osg::Vec3 edge = corners[(i + 1) % 3] - corners[i];
        if (edge.x() == 0.0F && edge.y() == 0.0F) return true;
    }
    return false;
}

/** The triangles, skirts or else surface only. */
inline std::vector<Corners> trianglesOf(const Mesh& mesh, bool skirts)
{
    std::vector<Corners> result;
    const std::vector<GLuint> elements = elementsOf(mesh);
    for (std::size_t i = 0; i + 2 < elements.size(); i += 3)
    {
        const osg::Vec3Array& vertices = verticesOf(mesh);
        const Corners corners = {vertices.at(elements[i]), vertices.at(elements[i + 1]), vertices.at(elements[i + 2])};
        if (hangs(corners) == skirts) result.push_back(corners);
    }
    return result;
}

inline std::vector<Corners> surfaceOf(const Mesh& mesh)
{
    return trianglesOf(mesh, false);
}

inline std::vector<Corners> skirtsOf(const Mesh& mesh)
{
    return trianglesOf(mesh, true);
}

/** Twice the area times the direction from which the corners run counter-clockwise. */
inline osg::Vec3d crossOf(const Corners& corners)
{
    const osg::Vec3d a = corners[0];
    return (osg::Vec3d(corners[1]) - a) ^ (osg::Vec3d(corners[2]) - a);
}

/** Of the surface, seen from above; a triangle seen from behind counts negatively. */
inline double planArea(const Mesh& mesh)
{
    double area = 0.0;
    for (const Corners& corners : surfaceOf(mesh))
        area += crossOf(corners).z() / 2.0;
    return area;
}

} // namespace cliptest
