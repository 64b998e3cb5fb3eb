#pragma once

#include <string>

namespace mvgeo::platform
{

#if defined(_WIN32)
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif
using WideString = std::basic_string<WideChar>;

/** Conversions between the process's ANSI code page, UTF-8 and UTF-16. Off Windows the ANSI code page is UTF-8.
 *
 *  Bytes that are not valid UTF-8 become unpaired surrogates U+DC80..U+DCFF on the way to UTF-16 and the same bytes
 * again on the way back, so that any POSIX file name survives. A character that the code page lacks becomes '?'.
 *  Thread: any. */
[[nodiscard]] WideString ansiToUtf16(const std::string& ansi);
[[nodiscard]] std::string utf16ToAnsi(const WideString& wide);
[[nodiscard]] WideString utf8ToUtf16(const std::string& utf8);
[[nodiscard]] std::string utf16ToUtf8(const WideString& wide);
[[nodiscard]] std::string ansiToUtf8(const std::string& ansi);
[[nodiscard]] std::string utf8ToAnsi(const std::string& utf8);

} // namespace mvgeo::platform
