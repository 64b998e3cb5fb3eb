#pragma once

#include <osg/Node>

#include <string>

namespace mvgeo
{

/** Why a freshly read tile must not be used; empty if it may. OSG and the host trust a tile's indices and would read
 * beyond its vertices when a damaged file leads them there.
 * Thread: any, on a tile that no other thread knows yet. */
[[nodiscard]] std::string faultIn(osg::Node& tile);

/** Makes lists of triangles end with a whole one: OSG takes corners three at a time and would read those that are
 * missing from behind the list. Comes before faultIn(), which then looks at what is left. Thread: as above. */
void trimTriangles(osg::Node& tile);

/** Turns vertices of double precision into single ones: hosts take nothing else, and OSG's intersector fails on them.
 * Thread: as above. */
void useSinglePrecisionVertices(osg::Node& tile);

} // namespace mvgeo
