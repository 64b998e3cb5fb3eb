#include "platform/CodePage.h"

// The ANSI code page is UTF-8 here, and a file name is any sequence of bytes: text is handed on untouched.

namespace mvgeo::platform
{

WideString ansiToUtf16(const std::string& ansi)
{
    return utf8ToUtf16(ansi);
}

std::string utf16ToAnsi(const WideString& wide)
{
    return utf16ToUtf8(wide);
}

std::string ansiToUtf8(const std::string& ansi)
{
    return ansi;
}

std::string utf8ToAnsi(const std::string& utf8)
{
    return utf8;
}

} // namespace mvgeo::platform
