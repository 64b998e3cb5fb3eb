#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"

#include <osg/BoundingBox>
#include <osg/Node>

namespace mvgeo
{

/** The box of a terrain: in x and y the raster's extent, in z all elevations of the root tile's surface, without its
 * skirts, and of the DEM. Elevations are sampled where the DEM is large; the finest tile may then stand a little out of
 * the box.
 * @param outline the raster whose extent the terrain has @param dem null if there is none
 * Thread: the calling thread's own dataset handle is used. */
[[nodiscard]] osg::BoundingBoxd terrainExtents(const ImageHeader& outline, ImageHeader* dem, osg::Node& rootTile);

} // namespace mvgeo
