#pragma once

#include <string>
#include <vector>

namespace mvgeo::bench
{

/** The root files of the sample city, written below the build folder on first use. Throws if that fails. */
[[nodiscard]] const std::vector<std::string>& sampleRoots();

/** All tile files of the sample, roots and finer ones, sorted. */
[[nodiscard]] const std::vector<std::string>& sampleTiles();

/** Points TEMP, and with it the texture cache, at a folder below the build folder; an empty one if asked for. */
void useTextureCache(bool empty);

} // namespace mvgeo::bench
