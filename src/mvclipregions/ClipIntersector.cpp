#include "mvclipregions/ClipIntersector.h"

#include "support/BoundReach.h"
#include "support/TerrainTileFacts.h"

#include <osg/TriangleIndexFunctor>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace mvgeo
{

namespace
{

struct TriangleSink
{
    const std::vector<osg::Vec3d>* local = nullptr; // the vertices
    TriangleClip* clip = nullptr;
    const osg::Array* vertices = nullptr; // in the tile's frame, if skirts and slivers are to be left out
    bool (*isLeftOut)(const osg::Array&, unsigned int, unsigned int, unsigned int) = nullptr;

    void operator()(unsigned int a, unsigned int b, unsigned int c) const
    {
        const std::size_t count = local->size();
        if (a >= count || b >= count || c >= count) return; // a damaged tile
        if (isLeftOut && isLeftOut(*vertices, a, b, c)) return;
        clip->add((*local)[a], (*local)[b], (*local)[c]);
    }
};

/** OSG's decomposition of primitives, which trusts what it is given, behind a check of the counts. */
class TriangleReader : public osg::TriangleIndexFunctor<TriangleSink>
{
public:
    using Base = osg::TriangleIndexFunctor<TriangleSink>;

    void drawArrays(GLenum mode, GLint first, GLsizei count) override
    {
        const auto available = static_cast<std::int64_t>(local->size());
        if (first >= 0 && count > 0 && std::int64_t{first} + count <= available) Base::drawArrays(mode, first, count);
    }
    void drawElements(GLenum mode, GLsizei count, const GLubyte* indices) override
    {
        Base::drawElements(mode, usable(mode, count), indices);
    }
    void drawElements(GLenum mode, GLsizei count, const GLushort* indices) override
    {
        Base::drawElements(mode, usable(mode, count), indices);
    }
    void drawElements(GLenum mode, GLsizei count, const GLuint* indices) override
    {
        Base::drawElements(mode, usable(mode, count), indices);
    }

private:
    /** OSG would read the missing corners of a last triangle from behind the list. */
    static GLsizei usable(GLenum mode, GLsizei count) { return mode == GL_TRIANGLES ? count - count % 3 : count; }
};

template <typename Vertices>
bool isLeftOut(const osg::Array& array, unsigned int a, unsigned int b, unsigned int c)
{
    const auto& vertices = static_cast<const Vertices&>(array);
    return isSkirtOrSliver(vertices[a], vertices[b], vertices[c]);
}

template <typename Vertices>
std::vector<osg::Vec3d> transformed(const Vertices& vertices, const osg::Matrixd& matrix)
{
    std::vector<osg::Vec3d> result;
    result.reserve(vertices.size());
    for (const auto& vertex : vertices)
        result.push_back(osg::Vec3d(vertex) * matrix);
    return result;
}

osg::BoundingBoxd transformedBox(const osg::BoundingBox& box, const osg::Matrixd& matrix)
{
    osg::BoundingBoxd result;
    for (unsigned int i = 0; i < 8; ++i)
        result.expandBy(osg::Vec3d(box.corner(i)) * matrix);
    return result;
}

/** Holds what the sphere bounds, however the matrix stretches it. */
osg::BoundingBoxd transformedBox(const osg::BoundingSphere& sphere, const osg::Matrixd& matrix)
{
    const osg::Vec3d centre = osg::Vec3d(sphere.center()) * matrix;
    const double radius = reachOf(sphere);
    osg::Vec3d reach;
    for (int axis = 0; axis < 3; ++axis)
        reach[axis] = radius * std::hypot(matrix(0, axis), matrix(1, axis), matrix(2, axis));
    return {centre - reach, centre + reach};
}

} // namespace

ClipIntersector::ClipIntersector(TriangleClip& clip, const osg::Matrixd& rootToHost, bool skipsSkirts)
    : _clip(clip),
      _rootToLocal(rootToHost * osg::Matrixd::translate(-clip.origin())),
      _toLocal(_rootToLocal),
      _skipsSkirts(skipsSkirts),
      _visits(std::make_shared<Visits>())
{
}

osgUtil::Intersector* ClipIntersector::clone(osgUtil::IntersectionVisitor& visitor)
{
    osg::ref_ptr<ClipIntersector> copy = new ClipIntersector(*this);
    copy->_toLocal = visitor.getModelMatrix() ? *visitor.getModelMatrix() * _rootToLocal : _rootToLocal;
    return copy.release();
}

bool ClipIntersector::enter(const osg::Node& node)
{
    const osg::BoundingSphere& bound = node.getBound();
    return !node.isCullingActive() || !bound.valid() || _clip.mayWant(transformedBox(bound, _toLocal));
}

void ClipIntersector::intersect(osgUtil::IntersectionVisitor& visitor, osg::Drawable* drawable)
{
    const osg::Geometry* geometry = drawable ? drawable->asGeometry() : nullptr;
    if (!geometry || visitor.getDoDummyTraversal()) return;
    const osg::BoundingBox& box = drawable->getBoundingBox();
    if (box.valid() && !_clip.mayWant(transformedBox(box, _toLocal))) return;
    if (markVisited(*drawable)) addTriangles(*geometry);
}

bool ClipIntersector::markVisited(osg::Drawable& drawable)
{
    const auto [first, last] = _visits->equal_range(&drawable);
    const bool isKnown = std::any_of(first, last,
                                     [&](const auto& entry)
                                     { return entry.second.drawable.valid() && entry.second.toLocal == _toLocal; });
    if (!isKnown) _visits->emplace(&drawable, Visit{&drawable, _toLocal});
    return !isKnown;
}

void ClipIntersector::addTriangles(const osg::Geometry& geometry)
{
    const osg::Array* array = geometry.getVertexArray();
    const auto* floats = dynamic_cast<const osg::Vec3Array*>(array);
    const auto* doubles = dynamic_cast<const osg::Vec3dArray*>(array);
    if (!floats && !doubles) return;

    const std::vector<osg::Vec3d> local = floats ? transformed(*floats, _toLocal) : transformed(*doubles, _toLocal);
    TriangleReader reader;
    reader.local = &local;
    reader.clip = &_clip;
    reader.vertices = array;
    if (_skipsSkirts) reader.isLeftOut = floats ? isLeftOut<osg::Vec3Array> : isLeftOut<osg::Vec3dArray>;
    for (unsigned int i = 0; i < geometry.getNumPrimitiveSets(); ++i)
        if (const osg::PrimitiveSet* set = geometry.getPrimitiveSet(i)) set->accept(reader);
}

} // namespace mvgeo
