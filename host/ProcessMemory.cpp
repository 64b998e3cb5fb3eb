#include "ProcessMemory.h"

#if defined(_WIN32)
#include <windows.h>

#include <psapi.h>
#else
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace mvgeo::host
{
#if defined(_WIN32)
std::uint64_t peakResidentBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.PeakWorkingSetSize : 0;
}

std::uint64_t processId()
{
    return GetCurrentProcessId();
}
#else
std::uint64_t peakResidentBytes()
{
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
#if defined(__APPLE__)
    return static_cast<std::uint64_t>(usage.ru_maxrss);
#else
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024; // Linux counts in kilobytes
#endif
}

std::uint64_t processId()
{
    return static_cast<std::uint64_t>(getpid());
}
#endif
} // namespace mvgeo::host
