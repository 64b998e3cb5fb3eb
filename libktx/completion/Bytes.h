#pragma once

#include <cstdint>
#include <vector>

namespace mvgeo
{
using Bytes = std::vector<unsigned char>;

/** Appends the lowest bytes of a number as KTX files hold it, the lowest one first. */
inline void append(Bytes& bytes, int count, std::uint64_t number)
{
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<unsigned char>(number >> (8 * i)));
}
} // namespace mvgeo
