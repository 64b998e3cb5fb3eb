#include "platform/TickCount.h"

#include <gtest/gtest.h>

#include <ctime>

#if defined(_WIN32)
#include "platform/windows/WindowsApi.h"
#endif

namespace
{

using mvgeo::platform::tickCountMs;

// The system's own clock in milliseconds, cut to 32 bits.
std::uint32_t systemClockMs()
{
#if defined(_WIN32)
    return static_cast<std::uint32_t>(GetTickCount64());
#else
#if defined(CLOCK_BOOTTIME)
    constexpr clockid_t kClock = CLOCK_BOOTTIME;
#else
    constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
    timespec now{};
    clock_gettime(kClock, &now);
    return static_cast<std::uint32_t>(now.tv_sec * 1000LL + now.tv_nsec / 1000000LL);
#endif
}

// Differences of unsigned numbers stay right when the count wraps in between.
TEST(TickCount, NeverGoesBack)
{
    const std::uint32_t first = tickCountMs();
    const std::uint32_t second = tickCountMs();
    EXPECT_LT(second - first, 0x80000000u);
}

TEST(TickCount, LiesBetweenTwoReadingsOfTheSystemsClock)
{
    const std::uint32_t before = systemClockMs();
    const std::uint32_t tick = tickCountMs();
    const std::uint32_t after = systemClockMs();
    EXPECT_LE(tick - before, after - before);
}

} // namespace
