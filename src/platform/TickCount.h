#pragma once

#include <cstdint>

namespace mvgeo::platform
{

/** Milliseconds since the system was started; wraps to 0 after 49.7 days. Thread: any. */
[[nodiscard]] std::uint32_t tickCountMs();

} // namespace mvgeo::platform
