#include "platform/TickCount.h"

#include <ctime>

namespace mvgeo::platform
{

std::uint32_t tickCountMs()
{
#if defined(CLOCK_BOOTTIME)
    constexpr clockid_t kClock = CLOCK_BOOTTIME; // counts on while the machine sleeps
#else
    constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
    timespec now{};
    clock_gettime(kClock, &now);
    const auto ms = static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000000;
    return static_cast<std::uint32_t>(ms);
}

} // namespace mvgeo::platform
