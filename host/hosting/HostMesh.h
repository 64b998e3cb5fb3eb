#pragma once

#include "hosting/TextureCache.h"

#include <mvgeothirdparty/KdGiGeoMesh.h>

#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/ref_ptr>

#include <memory>
#include <string>

namespace mvgeo::host
{
/** One mesh of a tile as OSG draws it. The library fills it; finish() is called once after that update. */
class HostMesh : public KdGiGeoMesh
{
public:
    /** @param textures  must live longer */
    explicit HostMesh(TextureCache& textures);

    void setVertices(unsigned int count, const float* vertices, const float* normals, const float* texCoords) override;
    void setIndices(unsigned int count, const unsigned int* indices) override;
    void setTransform(const KdGeMatrix3d& xform) override;
    void setTexture(KdGiGeoMeshImage* image) override;
    void setExtents(const double* min, const double* max) override;

    /** Chooses how it is drawn, now that the texture's pixels are there or are not going to come. A mesh that must not
     * be drawn is emptied, and the sentence says why. */
    [[nodiscard]] std::string finish();

    /** Leaves out the triangles that lead below this height, and the skirts that hang from there. Call it before
     * finish(). */
    void leaveOutBelow(float height);

    [[nodiscard]] osg::Node* node() const { return _transform.get(); }
    [[nodiscard]] std::size_t triangleCount() const { return _indices ? _indices->size() / 3 : 0; }
    [[nodiscard]] const HostTexture* texture() const { return _texture.get(); }

private:
    [[nodiscard]] std::string findFault() const;
    [[nodiscard]] bool coordinatesRepeat() const;

    TextureCache& _textures;
    std::shared_ptr<HostTexture> _texture;
    osg::ref_ptr<osg::MatrixTransform> _transform;
    osg::ref_ptr<osg::Geometry> _geometry;
    osg::ref_ptr<osg::Vec3Array> _vertices;
    osg::ref_ptr<osg::Vec2Array> _texCoords;
    osg::ref_ptr<osg::DrawElementsUInt> _indices;
};
} // namespace mvgeo::host
