#pragma once

#include <osg/Node>

#include <cstddef>
#include <functional>
#include <string>

namespace mvgeo
{

/** Makes sure that the textures of a freshly read tile have as many bytes as their sides and formats mean: the tile's
 * file says both, and whoever draws goes by the sides.
 *
 * OSG writes too few bytes where a side is no multiple of a block; there zeros are added. Other images that lack bytes
 * are a damage.
 * @param bytesAt  how many bytes of the file lie at this place in memory, which has room for the second number of bytes
 *                 or for just those; 0 for pixels that come from elsewhere
 * @return why the tile must not be used; empty if it may
 * Thread: any, on a tile that no other thread knows yet. */
[[nodiscard]] std::string completeImages(osg::Node& tile,
                                         const std::function<std::size_t(const void*, std::size_t)>& bytesAt);

} // namespace mvgeo
