#include "hosting/HostMesh.h"

#include "hosting/MatrixConversion.h"
#include "view/SceneStyle.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
namespace
{
// Neighbouring tiles overlap by a fraction of a texel; only coordinates further outside mean a repeated texture.
constexpr float kRepeatTolerance = 0.05F;

/** How far one point lies straight below the other; 0 if it does not. */
float dropBetween(const osg::Vec3& a, const osg::Vec3& b)
{
    return a.x() == b.x() && a.y() == b.y() ? std::abs(a.z() - b.z()) : 0.0F;
}

/** The extents that came with the mesh: they spare a pass over the vertices. */
class GivenBound : public osg::Drawable::ComputeBoundingBoxCallback
{
public:
    explicit GivenBound(const osg::BoundingBox& box) : _box(box) {}
    osg::BoundingBox computeBound(const osg::Drawable&) const override { return _box; }

private:
    osg::BoundingBox _box;
};
} // namespace

HostMesh::HostMesh(TextureCache& textures)
    : _textures(textures), _transform(new osg::MatrixTransform), _geometry(new osg::Geometry)
{
    _geometry->setUseDisplayList(false);
    _geometry->setUseVertexBufferObjects(true);
    _transform->addChild(_geometry);
}

void HostMesh::setVertices(unsigned int count, const float* vertices, const float* normals, const float* texCoords)
{
    _vertices = new osg::Vec3Array(count, reinterpret_cast<const osg::Vec3*>(vertices));
    _geometry->setVertexArray(_vertices);
    if (normals)
        _geometry->setNormalArray(new osg::Vec3Array(count, reinterpret_cast<const osg::Vec3*>(normals)),
                                  osg::Array::BIND_PER_VERTEX);
    if (!texCoords) return;
    _texCoords = new osg::Vec2Array(count, reinterpret_cast<const osg::Vec2*>(texCoords));
    _geometry->setTexCoordArray(0, _texCoords);
}

void HostMesh::setIndices(unsigned int count, const unsigned int* indices)
{
    _indices = new osg::DrawElementsUInt(GL_TRIANGLES, count, indices);
    _geometry->addPrimitiveSet(_indices);
}

void HostMesh::setTransform(const KdGeMatrix3d& xform)
{
    _transform->setMatrix(toOsgMatrix(xform));
}

void HostMesh::setTexture(KdGiGeoMeshImage* image)
{
    _texture = _textures.adopt(std::unique_ptr<KdGiGeoMeshImage>(image));
}

void HostMesh::setExtents(const double* min, const double* max)
{
    const osg::BoundingBox box(osg::Vec3d(min[0], min[1], min[2]), osg::Vec3d(max[0], max[1], max[2]));
    _geometry->setComputeBoundingBoxCallback(new GivenBound(box));
}

std::string HostMesh::finish()
{
    std::string fault = findFault();
    if (!fault.empty())
    {
        _transform->removeChildren(0, _transform->getNumChildren());
        _indices = nullptr;
        return fault;
    }
    osg::Texture2D* texture = _texture && _texCoords ? _texture->texture() : nullptr;
    if (texture && coordinatesRepeat()) _texture->repeat();
    styleMesh(*_geometry->getOrCreateStateSet(), texture, _geometry->getNormalArray() != nullptr);
    return {};
}

void HostMesh::leaveOutBelow(float height)
{
    if (!findFault().empty()) return; // finish() will tell
    std::size_t kept = 0;
    for (std::size_t first = 0; first + 2 < _indices->size(); first += 3)
    {
        const osg::Vec3& a = (*_vertices)[(*_indices)[first]];
        const osg::Vec3& b = (*_vertices)[(*_indices)[first + 1]];
        const osg::Vec3& c = (*_vertices)[(*_indices)[first + 2]];
        // A skirt's foot may hang below, by its depth: a skirt is kept with the ground that it hangs from.
        const float skirtDepth = std::max({dropBetween(a, b), dropBetween(b, c), dropBetween(c, a)});
        if (std::min({a.z(), b.z(), c.z()}) < height - skirtDepth) continue;
        for (std::size_t corner = 0; corner < 3; ++corner)
            (*_indices)[kept++] = (*_indices)[first + corner];
    }
    _indices->resize(kept);
}

std::string HostMesh::findFault() const
{
    if (!_vertices) return "a mesh came without vertices";
    if (!_indices) return "a mesh came without indices";
    if (_indices->size() % 3 != 0) return "a mesh came with " + std::to_string(_indices->size()) + " indices";
    const auto largest = std::max_element(_indices->begin(), _indices->end());
    if (largest != _indices->end() && *largest >= _vertices->size())
        return "a mesh of " + std::to_string(_vertices->size()) + " vertices came with the index " +
               std::to_string(*largest);
    return {};
}

bool HostMesh::coordinatesRepeat() const
{
    const auto outside = [](float value) { return value < -kRepeatTolerance || value > 1.0F + kRepeatTolerance; };
    return std::any_of(_texCoords->begin(), _texCoords->end(),
                       [outside](const osg::Vec2& uv) { return outside(uv.x()) || outside(uv.y()); });
}
} // namespace mvgeo::host
