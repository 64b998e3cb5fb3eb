#include "KdString.h"

#include "Utf.h"

#include <utility>

#if defined(_WIN32)
#include "WindowsApi.h"

#include <climits>
#endif

namespace
{

using hostsdk::WideString;

#if defined(_WIN32)

// Code pages that hold every character accept neither flags nor a replacement character.
bool isUnicodeCodePage(UINT codePage)
{
    constexpr UINT kGb18030 = 54936;
    return codePage == CP_UTF8 || codePage == kGb18030;
}

WideString ansiToUtf16(std::string_view ansi)
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

#else

WideString ansiToUtf16(std::string_view ansi)
{
    return hostsdk::utf8ToUtf16(ansi);
}

std::string utf16ToAnsi(const WideString& wide)
{
    return hostsdk::utf16ToUtf8(wide);
}

#endif

} // namespace

KdString::KdString(const char* ansi)
{
    *this = ansi;
}

KdString::KdString(const KdChar* wide)
{
    *this = wide;
}

KdString KdString::fromUtf8(const char* utf8)
{
    KdString text;
    if (utf8) text.assign(hostsdk::utf8ToUtf16(utf8));
    return text;
}

KdString& KdString::operator=(const char* ansi)
{
    assign(ansi ? ansiToUtf16(ansi) : WideString());
    return *this;
}

KdString& KdString::operator=(const KdChar* wide)
{
    assign(wide ? WideString(wide) : WideString());
    return *this;
}

KdString& KdString::operator+=(const KdString& tail)
{
    assign(_wide + tail._wide);
    return *this;
}

void KdString::setEmpty()
{
    _wide.clear();
    _ansi.clear();
    _utf8.clear();
}

int KdString::compare(const KdString& other) const
{
    return _wide.compare(other._wide);
}

void KdString::assign(std::basic_string<KdChar> wide)
{
    std::string ansi = utf16ToAnsi(wide);
    std::string utf8 = hostsdk::utf16ToUtf8(wide);
    // Nothing below throws, so the three texts never disagree.
    _wide = std::move(wide);
    _ansi = std::move(ansi);
    _utf8 = std::move(utf8);
}
