#include "platform/Environment.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <unistd.h>
#if defined(__linux__)
#include <sys/syscall.h>
#else
#include <cstdint>
#include <pthread.h>
#endif

namespace mvgeo::platform
{
namespace
{

// The system's folder, or the C library's own choice if that is not there.
std::string systemTemporaryDirectory()
{
    std::error_code error;
    std::string folder = std::filesystem::temp_directory_path(error).string();
    if (error || folder.empty()) folder = P_tmpdir;
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return folder;
}

} // namespace

std::optional<std::string> environmentVariable(const std::string& name)
{
    const char* value = std::getenv(name.c_str());
    if (!value) return std::nullopt;
    return value;
}

std::string temporaryDirectory()
{
    const std::optional<std::string> chosen = environmentVariable("TEMP");
    return chosen && !chosen->empty() ? *chosen : systemTemporaryDirectory();
}

std::tm localTime(std::time_t seconds)
{
    std::tm result{};
    if (!localtime_r(&seconds, &result)) result = {};
    return result;
}

unsigned long long currentThreadId()
{
#if defined(__linux__)
    return static_cast<unsigned long long>(syscall(SYS_gettid));
#else
    return static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pthread_self()));
#endif
}

unsigned long currentProcessId()
{
    return static_cast<unsigned long>(getpid());
}

} // namespace mvgeo::platform
