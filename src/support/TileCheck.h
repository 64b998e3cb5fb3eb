#pragma once

#include <osg/Node>

#include <string>

namespace mvgeo
{

/** Why a freshly read tile must not be used; empty if it may. OSG and the host trust a tile's indices and would read
 * beyond its vertices when a damaged file leads them there.
 * Thread: any, on a tile that no other thread knows yet. */
[[nodiscard]] std::string faultIn(osg::Node& tile);

/** Turns vertices of double precision into single ones: hosts take nothing else, and OSG's intersector fails on them.
 * Thread: as above. */
void useSinglePrecisionVertices(osg::Node& tile);

} // namespace mvgeo
