#pragma once

#include "sample/TileAtlas.h"

#include <osg/Geometry>

namespace mvgeo::sample
{
/** The tile's triangles: terrain with its skirt, walls, roofs, tree crowns, cars. Positions are the city's own metres;
 * there are texture coordinates, but no normals and no colours. */
[[nodiscard]] osg::ref_ptr<osg::Geometry> makeTileMesh(const CityPlan& plan, const TileContent& content,
                                                       const TileAtlas& atlas);
} // namespace mvgeo::sample
