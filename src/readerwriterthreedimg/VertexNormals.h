#pragma once

#include "readerwriterthreedimg/ElevationGrid.h"

#include <osg/Vec3d>

#include <vector>

namespace mvgeo
{

/** One normal for each post of a grid, in its order. Posts on the grid's border get (0, 0, 1): their neighbours beyond
 * the border are unknown. `dx` and `dy` are the distances of posts, in the unit of the heights.
 *
 * A normal is the sum of the unnormalised normals of the triangles around the post, so that large faces count more,
 * with this weighting: where a cell's second triangle counts, the first one's normal is added a second time instead of
 * its own. Triangles at a post without data do not count. */
[[nodiscard]] std::vector<osg::Vec3d> computeVertexNormals(const ElevationGrid& grid, float dx, float dy, float noData);

} // namespace mvgeo
