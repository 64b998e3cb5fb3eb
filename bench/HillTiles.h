#pragma once

#include <string>

namespace mvgeo::bench
{

/** Writes one ".osgb" file: side x side paged nodes (a power of two) in groups of four, and groups of groups, each with
 * one inline geode of cells x cells x 2 triangles that is shown up to any size on the screen. Together they are a hilly
 * square from (0, 0) to (1000, 1000), within 20 m of z = 0. @return the file's path; throws if it cannot be written */
std::string writeHills(int side, int cells);

} // namespace mvgeo::bench
