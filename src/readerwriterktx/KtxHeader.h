#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace mvgeo
{

/** The largest image that is read, with all its levels, layers and faces: 16384 x 16384 pixels of 4 bytes, the largest
 *  texture of common graphics hardware, with its mipmaps (4/3 GiB), and a little more. Still below 2 GiB, where the
 * toolkit's sizes end. Basis data counts as what it becomes: 4 bytes a pixel. */
constexpr std::uint64_t kLargestImage = 3ULL << 29;

/** The longest side and the most layers; also twice and four times what common graphics hardware takes. libktx counts
 *  blocks with floats, which are exact up to here and far beyond. */
constexpr std::uint32_t kLongestSide = 65536;
constexpr std::uint32_t kMostLayers = 8192;

/** What stops libktx from being given these bytes: empty if nothing does.
 *
 *  libktx trusts a header in many places: it reads a descriptor by the sizes that the descriptor names, allocates what
 * a level claims to become, and goes on transcoding after code tables that it could not read. So everything that it
 * uses as a size, an offset or a count is checked here first, against the number of bytes there are and against what
 * the header declares. What remains to libktx are values: which format, which transfer function, whether compressed
 * data is intact.
 *
 *  Thread: any. */
[[nodiscard]] std::string ktxHeaderFault(const unsigned char* bytes, std::size_t size);

} // namespace mvgeo
