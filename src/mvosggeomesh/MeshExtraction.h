#pragma once

#include "mvosggeomesh/TextureReading.h"

#include <KdGeMatrix3d.h>

#include <osg/Geometry>
#include <osg/Matrixd>

#include <cstdint>

class GeoMeshTileContainer;

namespace mvgeo
{

/** What the meshes of one update have in common. */
struct ExtractionContext
{
    std::uint32_t modelId;
    KdGeMatrix3d hostTransform;
    bool withTextures;
};

/** Replaces primitive set 0, if it is a GL_TRIANGLES element list of 8 or 16 bits, by one of 32 bits with the same
 * indices. */
void widenIndices(osg::Geometry& geometry);

/** Hands one triangle geometry over as a host mesh. Only primitive set 0 counts, and it must be a GL_TRIANGLES element
 * list; anything else is left out with a warning. If the texture's pixels are still to be read from their cached file,
 * `item` is filled. */
void extractGeometry(osg::Geometry& geometry, const osg::Matrixd& matrix, const ExtractionContext& context,
                     GeoMeshTileContainer& container, TextureWorkItem& item);

} // namespace mvgeo
