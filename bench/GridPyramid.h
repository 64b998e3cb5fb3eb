#pragma once

#include <string>

namespace mvgeo::bench
{

/** Writes one ".osgb" file: a group of side x side paged nodes, each with one inline geode of two triangles that is
 * shown up to any size on the screen, 10 m apart on the plane z = 0. @return the file's path; throws if it cannot be
 * written */
std::string writeGrid(int side);

} // namespace mvgeo::bench
