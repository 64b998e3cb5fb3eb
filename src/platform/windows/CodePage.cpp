#include "platform/CodePage.h"

#include "platform/windows/WindowsApi.h"

#include <climits>

namespace mvgeo::platform
{
namespace
{

// Code pages that hold every character accept neither flags nor a replacement character.
bool isUnicodeCodePage(UINT codePage)
{
    constexpr UINT kGb18030 = 54936;
    return codePage == CP_UTF8 || codePage == kGb18030;
}

} // namespace

WideString ansiToUtf16(const std::string& ansi)
{
    if (ansi.empty() || ansi.size() > INT_MAX) return {};
    const int byteCount = static_cast<int>(ansi.size());
    const int unitCount = MultiByteToWideChar(CP_ACP, 0, ansi.data(), byteCount, nullptr, 0);
    if (unitCount <= 0) return {};
    WideString wide(static_cast<std::size_t>(unitCount), L'\0');
    MultiByteToWideChar(CP_ACP, 0, ansi.data(), byteCount, wide.data(), unitCount);
    return wide;
}

std::string utf16ToAnsi(const WideString& wide)
{
    if (wide.empty() || wide.size() > INT_MAX) return {};
    const bool isUnicode = isUnicodeCodePage(GetACP());
    const DWORD flags = isUnicode ? 0 : WC_NO_BEST_FIT_CHARS;
    const char* replacement = isUnicode ? nullptr : "?";
    const int unitCount = static_cast<int>(wide.size());
    const int byteCount = WideCharToMultiByte(CP_ACP, flags, wide.data(), unitCount, nullptr, 0, replacement, nullptr);
    if (byteCount <= 0) return {};
    std::string ansi(static_cast<std::size_t>(byteCount), '\0');
    WideCharToMultiByte(CP_ACP, flags, wide.data(), unitCount, ansi.data(), byteCount, replacement, nullptr);
    return ansi;
}

std::string ansiToUtf8(const std::string& ansi)
{
    return utf16ToUtf8(ansiToUtf16(ansi));
}

std::string utf8ToAnsi(const std::string& utf8)
{
    return utf16ToAnsi(utf8ToUtf16(utf8));
}

} // namespace mvgeo::platform
