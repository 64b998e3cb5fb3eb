#include "OrloSystem.h"

#include <algorithm>
#include <thread>

#if defined(_WIN32)
#include "WindowsApi.h"

#include <vector>
#elif defined(__linux__)
#include <fstream>
#include <set>
#include <string>

#include <unistd.h>
#endif

namespace
{

// Either count is 0 if the system does not tell.
#if defined(_WIN32)

int logicalCoreCount()
{
    return static_cast<int>(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));
}

int physicalCoreCount()
{
    DWORD byteCount = 0;
    GetLogicalProcessorInformationEx(RelationProcessorCore, nullptr, &byteCount);
    std::vector<unsigned char> bytes(byteCount);
    auto* first = reinterpret_cast<SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX*>(bytes.data());
    if (byteCount == 0 || !GetLogicalProcessorInformationEx(RelationProcessorCore, first, &byteCount)) return 0;

    // One record a core, each as long as it says.
    int count = 0;
    for (DWORD at = 0; at < byteCount; ++count)
        at += reinterpret_cast<const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX*>(bytes.data() + at)->Size;
    return count;
}

#else

int logicalCoreCount()
{
    return static_cast<int>(std::thread::hardware_concurrency());
}

int physicalCoreCount()
{
#if defined(__linux__)
    // The hardware threads of a core name the same list of siblings.
    std::set<std::string> cores;
    const long threadCount = sysconf(_SC_NPROCESSORS_CONF);
    for (long i = 0; i < threadCount; ++i)
    {
        std::ifstream file("/sys/devices/system/cpu/cpu" + std::to_string(i) + "/topology/thread_siblings_list");
        std::string siblings;
        if (std::getline(file, siblings)) cores.insert(siblings);
    }
    return static_cast<int>(cores.size());
#else
    return 0;
#endif
}

#endif

} // namespace

int orloGetProcessorCoreCount(bool logical)
{
    const int logicalCount = std::max(1, logicalCoreCount());
    if (logical) return logicalCount;
    // A process may be confined to fewer hardware threads than the machine has cores.
    const int physicalCount = physicalCoreCount();
    return physicalCount > 0 ? std::min(physicalCount, logicalCount) : logicalCount;
}
