#include "readerwriterthreedimg/MeshClipByRasterOverlay.h"

#include "readerwriterthreedimg/TileGeometry.h"
#include "support/TerrainTileFacts.h"

#include <osg/StateSet>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace
{

using Polygon = std::vector<osg::Vec3d>;
using Corners = std::array<osg::Vec3d, 3>;

constexpr GLuint kNone = std::numeric_limits<GLuint>::max();
constexpr double kSmallestCrossProduct = 1e-10; // twice a triangle's area, in square units of the local frame
constexpr double kBorderTolerance = 0.001;
constexpr double kBorderPart = 0.001; // of a side: in degrees a thousandth is a hundred metres
constexpr double kCutRounding = 1e-9; // how far, in rectangles, rounding may put a vertex of the cut off its border
const osg::Vec3 kUp(0.0F, 0.0F, 1.0F);

double crossLength(const osg::Vec3d& a, const osg::Vec3d& b)
{
    return (a ^ b).length();
}

/** The parent's skirts, and triangles without area, which is to be more than `smallest` (twice an area). */
bool isLeftOut(const Corners& corners, double smallest)
{
    const auto& [a, b, c] = corners;
    if (mvgeo::isSkirtTriangle(a, b, c)) return true;
    const double length = crossLength(b - a, c - a);
    return !(length > smallest) || std::isinf(length); // a corner that is not a number fails the first
}

/** From a float to the next: how far the parent's vertices may lie off a border that they mean. */
double floatStep(double value)
{
    const auto rounded = static_cast<float>(std::abs(value));
    return std::nextafter(rounded, std::numeric_limits<float>::infinity()) - rounded;
}

/** What each corner contributes at a point of the triangle: the area of the part opposite to it, as a share. */
std::array<double, 3> cornerWeights(const Corners& corners, const osg::Vec3d& point)
{
    const osg::Vec3d toA = corners[0] - point;
    const osg::Vec3d toB = corners[1] - point;
    const osg::Vec3d toC = corners[2] - point;
    const std::array<double, 3> areas = {crossLength(toB, toC), crossLength(toC, toA), crossLength(toA, toB)};
    const double sum = areas[0] + areas[1] + areas[2]; // at least the triangle's own, which is not degenerate
    return {areas[0] / sum, areas[1] / sum, areas[2] / sum};
}

/** Cuts a closed ring at one plane into `result`, which is closed unless fewer than three points are left. */
void clipRing(const osg::Plane& plane, const Polygon& ring, Polygon& result)
{
    result.clear();
    double distance = plane.distance(ring.front());
    for (std::size_t i = 0; i + 1 < ring.size(); ++i)
    {
        const double nextDistance = plane.distance(ring[i + 1]);
        if (distance >= 0.0) result.push_back(ring[i]);
        if (distance * nextDistance < 0.0)
        {
            const double t = distance / (distance - nextDistance);
            result.push_back(ring[i] * (1.0 - t) + ring[i + 1] * t);
        }
        distance = nextDistance;
    }
    if (distance >= 0.0) result.push_back(ring.back());
    if (result.size() >= 3 && result.back() != result.front()) result.push_back(result.front());
}

/** See clipPolygon(); `spare` is room for the ring that is being written. */
bool clipAtPlanes(const osg::Polytope& planes, Polygon& polygon, Polygon& spare)
{
    if (polygon.empty()) return false;
    polygon.push_back(osg::Vec3d(polygon.front()));
    for (const osg::Plane& plane : planes.getPlaneList())
    {
        clipRing(plane, polygon, spare);
        polygon.swap(spare);
        if (polygon.size() < 3) return false;
    }
    if (polygon.back() == polygon.front()) polygon.pop_back();
    return true;
}

/** Where a value lies between two bounds, from 0 to 1; 0 where the bounds leave no room. */
double shareOf(double value, double low, double high)
{
    if (!(high > low)) return 0.0;
    const double share = (value - low) / (high - low);
    if (share > 1.0 - kCutRounding) return 1.0;
    return share > kCutRounding ? share : 0.0; // what is not a number is 0 as well
}

} // namespace

/** One clip under way: the parent's arrays, borrowed, and the mesh that grows from them.
 *
 * In this order: addTriangle() for each triangle of the parent, hangSkirts(), writeTo(). Positions stay double up to
 * writeTo(), so that the vertices made on the cut lie on the border wherever the rectangle is. */
class MeshClipByRasterOverlay::Cut
{
public:
    /** `normals` may be null or too short: a vertex without one points upwards. */
    Cut(const MeshClipByRasterOverlay& clipper, const osg::Vec3Array& vertices, const osg::Vec3Array* normals)
        : _clipper(clipper),
          _vertices(vertices),
          _normals(normals),
          _newIndices(vertices.size(), kNone),
          _borderTolerance(clipper.borderTolerance()),
          _smallestCrossProduct(kSmallestCrossProduct * std::max(0.0, std::min(1.0, clipper.area())))
    {
    }

    /** Adds what the rectangle leaves of the triangle; nothing if an index has no vertex. */
    void addTriangle(const std::array<GLuint, 3>& indices);
    void hangSkirts(double depth);
    void writeTo(osg::Geometry& geometry) const;

private:
    [[nodiscard]] bool isInside(const osg::Vec3d& point) const;
    [[nodiscard]] bool isBeyondOneSide(const Corners& corners) const;
    [[nodiscard]] osg::Vec3 parentNormal(GLuint index) const;
    [[nodiscard]] osg::Vec2 textureCoordinate(const osg::Vec3d& position) const;

    void copyTriangle(const std::array<GLuint, 3>& indices, const Corners& corners);
    void clipTriangle(const std::array<GLuint, 3>& indices, const Corners& corners);
    GLuint cutVertex(const std::array<GLuint, 3>& indices, const Corners& corners, const osg::Vec3d& point);
    void hangSkirt(GLuint from, GLuint to, double depth);
    GLuint addVertex(const osg::Vec3d& position, const osg::Vec3& normal);

    const MeshClipByRasterOverlay& _clipper;
    const osg::Vec3Array& _vertices;
    const osg::Vec3Array* _normals;
    std::vector<GLuint> _newIndices; // by the parent's index; kNone: not copied yet
    double _borderTolerance;
    double _smallestCrossProduct; // a rectangle in degrees is small, and so are the pieces of it

    Polygon _newPositions;
    std::vector<osg::Vec3> _newNormals;
    std::vector<GLuint> _newElements;

    // Room for the triangle at hand, kept from one to the next.
    Polygon _polygon;
    Polygon _spare;
    std::vector<GLuint> _fan;
};

void MeshClipByRasterOverlay::Cut::addTriangle(const std::array<GLuint, 3>& indices)
{
    for (const GLuint index : indices)
        if (index >= _vertices.size()) return;

    const Corners corners = {_vertices[indices[0]], _vertices[indices[1]], _vertices[indices[2]]};
    // What lies beside the rectangle goes first: that is most of the parent, and cheaper to find than a small area.
    if (isBeyondOneSide(corners) || isLeftOut(corners, _smallestCrossProduct)) return;
    if (isInside(corners[0]) && isInside(corners[1]) && isInside(corners[2]))
        copyTriangle(indices, corners);
    else
        clipTriangle(indices, corners);
}

bool MeshClipByRasterOverlay::Cut::isInside(const osg::Vec3d& point) const
{
    return point.x() >= _clipper._xmin && point.x() <= _clipper._xmax && point.y() >= _clipper._ymin &&
           point.y() <= _clipper._ymax;
}

bool MeshClipByRasterOverlay::Cut::isBeyondOneSide(const Corners& corners) const
{
    const auto& [a, b, c] = corners;
    return std::max({a.x(), b.x(), c.x()}) < _clipper._xmin || std::min({a.x(), b.x(), c.x()}) > _clipper._xmax ||
           std::max({a.y(), b.y(), c.y()}) < _clipper._ymin || std::min({a.y(), b.y(), c.y()}) > _clipper._ymax;
}

osg::Vec3 MeshClipByRasterOverlay::Cut::parentNormal(GLuint index) const
{
    return _normals && index < _normals->size() ? (*_normals)[index] : kUp;
}

void MeshClipByRasterOverlay::Cut::copyTriangle(const std::array<GLuint, 3>& indices, const Corners& corners)
{
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        GLuint& newIndex = _newIndices[indices[i]];
        if (newIndex == kNone) newIndex = addVertex(corners[i], parentNormal(indices[i]));
        _newElements.push_back(newIndex);
    }
}

void MeshClipByRasterOverlay::Cut::clipTriangle(const std::array<GLuint, 3>& indices, const Corners& corners)
{
    _polygon.assign(corners.begin(), corners.end());
    if (!clipAtPlanes(_clipper._clippingPlanes, _polygon, _spare) || _polygon.size() < 3) return;

    _fan.clear();
    for (const osg::Vec3d& point : _polygon)
        _fan.push_back(cutVertex(indices, corners, point));
    for (std::size_t i = 2; i < _fan.size(); ++i)
        _newElements.insert(_newElements.end(), {_fan[0], _fan[i - 1], _fan[i]});
}

// What is made here is not entered in the map: each triangle on the border has cut vertices of its own.
GLuint MeshClipByRasterOverlay::Cut::cutVertex(const std::array<GLuint, 3>& indices, const Corners& corners,
                                               const osg::Vec3d& point)
{
    for (std::size_t i = 0; i < corners.size(); ++i)
        if (point == corners[i] && _newIndices[indices[i]] != kNone) return _newIndices[indices[i]];

    const std::array<double, 3> weights = cornerWeights(corners, point);
    osg::Vec3d normal;
    for (std::size_t i = 0; i < corners.size(); ++i)
        normal += osg::Vec3d(parentNormal(indices[i])) * weights[i];
    return addVertex(point, normal);
}

GLuint MeshClipByRasterOverlay::Cut::addVertex(const osg::Vec3d& position, const osg::Vec3& normal)
{
    _newPositions.push_back(position);
    _newNormals.push_back(normal);
    return static_cast<GLuint>(_newPositions.size() - 1);
}

void MeshClipByRasterOverlay::Cut::hangSkirts(double depth)
{
    const std::size_t surfaceEnd = _newElements.size();
    for (std::size_t first = 0; first < surfaceEnd; first += 3)
    {
        const std::array<GLuint, 3> corners = {_newElements[first], _newElements[first + 1], _newElements[first + 2]};
        for (std::size_t i = 0; i < corners.size(); ++i)
            hangSkirt(corners[i], corners[(i + 1) % corners.size()], depth);
    }
}

void MeshClipByRasterOverlay::Cut::hangSkirt(GLuint from, GLuint to, double depth)
{
    const osg::Vec3d start = _newPositions[from];
    const osg::Vec3d end = _newPositions[to];
    if (!_clipper.isOnBorder((start + end) * 0.5, _borderTolerance)) return;

    const osg::Vec3d down(0.0, 0.0, -depth);
    const GLuint lowFrom = addVertex(start + down, osg::Vec3(_newNormals[from]));
    const GLuint lowTo = addVertex(end + down, osg::Vec3(_newNormals[to]));
    // The surface runs along the edge forwards, so the skirt runs along it backwards: both show the same side.
    _newElements.insert(_newElements.end(), {to, from, lowFrom, to, lowFrom, lowTo});
}

osg::Vec2 MeshClipByRasterOverlay::Cut::textureCoordinate(const osg::Vec3d& position) const
{
    // The image's first row is at the north edge.
    const double s = shareOf(position.x(), _clipper._xmin, _clipper._xmax);
    const double t = 1.0 - shareOf(position.y(), _clipper._ymin, _clipper._ymax);
    return {static_cast<float>(s), static_cast<float>(t)};
}

void MeshClipByRasterOverlay::Cut::writeTo(osg::Geometry& geometry) const
{
    const auto count = static_cast<unsigned int>(_newPositions.size());
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array(count);
    const osg::ref_ptr<osg::Vec3Array> normals = new osg::Vec3Array(count, _newNormals.data());
    const osg::ref_ptr<osg::Vec2Array> textureCoordinates = new osg::Vec2Array(count);
    for (unsigned int i = 0; i < count; ++i)
    {
        (*vertices)[i] = _newPositions[i]; // float from here on
        (*textureCoordinates)[i] = textureCoordinate(_newPositions[i]);
    }
    const osg::ref_ptr<osg::DrawElementsUInt> elements =
        new osg::DrawElementsUInt(GL_TRIANGLES, static_cast<unsigned int>(_newElements.size()), _newElements.data());

    geometry.setVertexArray(vertices);
    geometry.setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
    geometry.setTexCoordArray(0, textureCoordinates, osg::Array::BIND_PER_VERTEX);
    geometry.removePrimitiveSet(0, geometry.getNumPrimitiveSets());
    geometry.addPrimitiveSet(elements);
}

void MeshClipByRasterOverlay::setRectangle(double xmin, double xmax, double ymin, double ymax)
{
    _xmin = xmin;
    _xmax = xmax;
    _ymin = ymin;
    _ymax = ymax;

    const double xMiddle = (xmin + xmax) / 2.0;
    const double yMiddle = (ymin + ymax) / 2.0;
    _clippingPlanes.add(osg::Plane(osg::Vec3d(1.0, 0.0, 0.0), osg::Vec3d(xmin, yMiddle, 0.0)));
    _clippingPlanes.add(osg::Plane(osg::Vec3d(0.0, 1.0, 0.0), osg::Vec3d(xMiddle, ymin, 0.0)));
    _clippingPlanes.add(osg::Plane(osg::Vec3d(-1.0, 0.0, 0.0), osg::Vec3d(xmax, yMiddle, 0.0)));
    _clippingPlanes.add(osg::Plane(osg::Vec3d(0.0, -1.0, 0.0), osg::Vec3d(xMiddle, ymax, 0.0)));
}

void MeshClipByRasterOverlay::clip(osg::ref_ptr<osg::Geometry> parentGeometry, double skirtDepth,
                                   osg::ref_ptr<osg::Image> image, osg::ref_ptr<osg::Geometry>& resultGeometry)
{
    if (!parentGeometry || parentGeometry->getNumPrimitiveSets() == 0) return;
    const auto* elements = dynamic_cast<const osg::DrawElementsUInt*>(parentGeometry->getPrimitiveSet(0));
    const auto* vertices = dynamic_cast<const osg::Vec3Array*>(parentGeometry->getVertexArray());
    if (!elements || !vertices) return;

    Cut cut(*this, *vertices, dynamic_cast<const osg::Vec3Array*>(parentGeometry->getNormalArray()));
    for (std::size_t i = 0; i + 2 < elements->size(); i += 3)
        cut.addTriangle({(*elements)[i], (*elements)[i + 1], (*elements)[i + 2]});
    // A parent with an infinite vertex has an infinite radius, from which the caller takes the depth.
    cut.hangSkirts(std::isfinite(skirtDepth) ? skirtDepth : 0.0);

    if (!resultGeometry) resultGeometry = new osg::Geometry;
    cut.writeTo(*resultGeometry);
    mvgeo::setTileTexture(*resultGeometry, image);
}

bool MeshClipByRasterOverlay::isOnBorder(const osg::Vec3d& point, double tolerance) const
{
    return std::abs(point.x() - _xmin) < tolerance || std::abs(point.x() - _xmax) < tolerance ||
           std::abs(point.y() - _ymin) < tolerance || std::abs(point.y() - _ymax) < tolerance;
}

double MeshClipByRasterOverlay::area() const
{
    return (_xmax - _xmin) * (_ymax - _ymin);
}

double MeshClipByRasterOverlay::borderTolerance() const
{
    const double side = std::min(_xmax - _xmin, _ymax - _ymin);
    const double farthest = std::max({std::abs(_xmin), std::abs(_xmax), std::abs(_ymin), std::abs(_ymax)});
    return std::max(std::min(kBorderTolerance, kBorderPart * side), floatStep(farthest));
}

bool MeshClipByRasterOverlay::clipPolygon(std::vector<osg::Vec3d>& polygon) const
{
    std::vector<osg::Vec3d> spare;
    return clipAtPlanes(_clippingPlanes, polygon, spare);
}
