#include "platform/Environment.h"

#include "platform/windows/WindowsApi.h"

#include <algorithm>
#include <climits>

namespace mvgeo::platform
{
namespace
{

std::string toUtf8(const std::wstring& text)
{
    if (text.empty() || text.size() > INT_MAX) return {};
    const auto length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(std::max(size, 0)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::wstring toUtf16(const std::string& text)
{
    if (text.empty() || text.size() > INT_MAX) return {};
    const auto length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring utf16(static_cast<std::size_t>(std::max(size, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, utf16.data(), size);
    return utf16;
}

/** A text that a system function writes into a buffer: it answers the length, or the size needed if the buffer is too
 * small. What is asked for may grow between two calls, hence the loop. Nothing if it fails. */
template <typename Ask>
std::optional<std::wstring> askForText(const Ask& ask)
{
    std::wstring text(MAX_PATH + 1, L'\0');
    for (;;)
    {
        SetLastError(ERROR_SUCCESS); // an empty text and a failure both give length 0
        const DWORD length = ask(text.data(), static_cast<DWORD>(text.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;
        const bool isComplete = length < text.size();
        text.resize(length);
        if (isComplete) return text;
    }
}

// Ends in no separator, except where it names the root of a drive.
std::string withoutLastSeparator(std::string folder)
{
    while (folder.size() > 1 && (folder.back() == '\\' || folder.back() == '/') && folder[folder.size() - 2] != ':')
        folder.pop_back();
    return folder;
}

std::string systemTemporaryDirectory()
{
    const std::optional<std::wstring> folder =
        askForText([](wchar_t* text, DWORD size) { return GetTempPathW(size, text); });
    return folder && !folder->empty() ? withoutLastSeparator(toUtf8(*folder)) : ".";
}

} // namespace

std::optional<std::string> environmentVariable(const std::string& name)
{
    const std::wstring wideName = toUtf16(name);
    const std::optional<std::wstring> value =
        askForText([&](wchar_t* text, DWORD size) { return GetEnvironmentVariableW(wideName.c_str(), text, size); });
    if (!value) return std::nullopt;
    return toUtf8(*value);
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
