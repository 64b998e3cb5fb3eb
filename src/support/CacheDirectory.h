#pragma once

#include <string>

namespace mvgeo
{

/** Makes the folder of cacheDirectory() (OsgPaths.h) and its parents. What killed processes left half written in it
 * goes.
 * @param dir  its path, written in any case
 * @return whether it is there afterwards
 * Thread: any. */
[[nodiscard]] bool makeCacheDirectory(const std::string& kind, const std::string& sourceAnsi, std::string& dir);

} // namespace mvgeo
