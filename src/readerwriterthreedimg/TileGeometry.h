#pragma once

#include "readerwriterthreedimg/OrthoSampler.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"
#include "readerwriterthreedimg/TileSurface.h"

#include <osg/Geometry>
#include <osg/Image>
#include <osg/ref_ptr>

namespace mvgeo
{

/** The tile's texture image over the pixels, which it takes; rows north first. It is written inside a tile's file, so
 * that a tile that is read back shows the very same pixels.
 * @param name becomes the image's file name */
[[nodiscard]] osg::ref_ptr<osg::Image> makeTileImage(RgbPixels pixels, const TerrainTileInfo& info,
                                                     const std::string& name);

/** The mesh of a tile: a vertex for each post inside the DEM's real extent, two triangles a cell, and skirts that hang
 * down from the tile's borders and hide gaps between tiles of different depth. Fills info.minZ and info.maxZ with the
 * range of its elevations, -1 and 1 if it has no vertex. A post without data is at elevation 0.
 *
 * Frame: relative to the local origin (info.offsetX, info.offsetY, 0); texture coordinates run east and south. */
[[nodiscard]] osg::ref_ptr<osg::Geometry> buildTileGeometry(const TileSurface& surface, float demNoData,
                                                            TerrainTileInfo& info);

/** Lays the image over a geometry as the texture of unit 0. */
void setTileTexture(osg::Geometry& geometry, osg::Image* image);

} // namespace mvgeo
