#include "platform/Environment.h"

#include "platform/windows/WindowsApi.h"

namespace mvgeo::platform
{
namespace
{

// Ends in no separator, except where it names the root of a drive.
std::string withoutLastSeparator(std::string folder)
{
    while (folder.size() > 1 && (folder.back() == '\\' || folder.back() == '/') && folder[folder.size() - 2] != ':')
        folder.pop_back();
    return folder;
}

std::string systemTemporaryDirectory()
{
    std::string folder(MAX_PATH + 1, '\0');
    const DWORD length = GetTempPathA(static_cast<DWORD>(folder.size()), folder.data());
    // A length beyond the buffer is the size that it would have needed; the system's paths here are short.
    if (length == 0 || length >= folder.size()) return ".";
    folder.resize(length);
    return withoutLastSeparator(folder);
}

} // namespace

std::optional<std::string> environmentVariable(const std::string& name)
{
    std::string value(256, '\0');
    for (;;)
    {
        SetLastError(ERROR_SUCCESS); // an empty value and a missing one both give length 0
        const DWORD length = GetEnvironmentVariableA(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;

        // With too small a buffer the length is the size needed, so it tells both cases apart. The variable may grow
        // between the calls, hence the loop.
        const bool isComplete = length < value.size();
        value.resize(length);
        if (isComplete) return value;
    }
}

std::string temporaryDirectory()
{
    const std::optional<std::string> chosen = environmentVariable("TEMP");
    return chosen && !chosen->empty() ? *chosen : systemTemporaryDirectory();
}

std::tm localTime(std::time_t seconds)
{
    std::tm result{};
    if (localtime_s(&result, &seconds) != 0) result = {};
    return result;
}

unsigned long long currentThreadId()
{
    return GetCurrentThreadId();
}

unsigned long currentProcessId()
{
    return GetCurrentProcessId();
}

} // namespace mvgeo::platform
