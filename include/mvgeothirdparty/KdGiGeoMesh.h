#pragma once

#include <KdGeMatrix3d.h>
#include <KdGiGeoMeshImage.h>

/** One triangle mesh on the host's side. The library fills it once, right after GeoMeshTileContainer::createMesh()
 * returned it, and never touches it again.
 *
 * The arrays belong to the library and are valid during the call only: the host copies what it keeps.
 * Thread: the one that called MvGeoMesh::update().
 *
 * Hosts implement it and the library calls it, so it is binary interface: nothing is added, taken out, moved or
 * changed, see MvGeoMesh.
 *
 * It carries the prefix of the host SDK's graphics classes, to which hosts add theirs.
 */
class KdGiGeoMesh
{
public:
    virtual ~KdGiGeoMesh() = default;

    /** `count` vertices of three floats in the mesh's own frame; normals of three floats a vertex, or null; texture
     * coordinates of two floats a vertex, or null. */
    virtual void setVertices(unsigned int count, const float* vertices, const float* normals,
                             const float* texCoords) = 0;

    /** A triangle list: three indices a triangle, `count` indices in all. */
    virtual void setIndices(unsigned int count, const unsigned int* indices) = 0;

    /** From the mesh's frame to the model's host frame (column vectors); the model's placement is in it. */
    virtual void setTransform(const KdGeMatrix3d& xform) = 0;

    /** The host takes the object over and deletes it. Its pixels may be missing until update() returns. Not called for
     * a mesh without texture. */
    virtual void setTexture(KdGiGeoMeshImage* image) = 0;

    /** Corners of the bounding box in the mesh's own frame, three doubles each. */
    virtual void setExtents(const double* min, const double* max) = 0;
};
