#pragma once

#include <cstddef>
#include <string>

namespace mvgeo
{

/** What stops libktx from being given these bytes: empty if nothing does.
 *
 * libktx trusts a header in many places: it reads a descriptor by the sizes that the descriptor names, allocates what a
 * level claims to become, and goes on transcoding after code tables that it could not read. So everything that it uses
 * as a size, an offset or a count is checked here first, against the number of bytes there are and against what the
 * header declares. What remains to libktx are values: which format, which transfer function, whether compressed data is
 * intact.
 *
 * Thread: any. */
[[nodiscard]] std::string ktxHeaderFault(const unsigned char* bytes, std::size_t size);

} // namespace mvgeo
