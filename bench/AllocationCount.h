#pragma once

#include <cstdint>

namespace mvgeo::bench
{

/** Calls of operator new in this process so far, on all threads. */
[[nodiscard]] std::uint64_t allocationCount();

} // namespace mvgeo::bench
