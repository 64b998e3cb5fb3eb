#pragma once

#include <cstdint>

namespace mvgeo::host
{
/** The most memory that this process had resident at once, in bytes; 0 if the system does not tell. */
std::uint64_t peakResidentBytes();
} // namespace mvgeo::host
