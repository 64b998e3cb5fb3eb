#pragma once

#include <cstdint>
#include <string>

namespace mvgeo
{

/** FNV-1a, 64 bits, over the bytes of the text without a terminator (Fowler, Noll, Vo). */
[[nodiscard]] std::uint64_t pathHash(const std::string& text);

/** The hash in decimal, as it stands in the names of cache directories. */
[[nodiscard]] std::string pathHashText(const std::string& text);

} // namespace mvgeo
