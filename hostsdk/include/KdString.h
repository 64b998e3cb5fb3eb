#pragma once

#include "HostSdkExport.h"

#include <cstddef>
#include <string>

/** One 16-bit unit of UTF-16 text, on every platform. */
#if defined(_WIN32)
using KdChar = wchar_t;
#else
using KdChar = char16_t;
#endif

static_assert(sizeof(KdChar) == 2, "host text is made of 16-bit units");

/** The host's string: UTF-16 text that can also be read as ANSI text or as UTF-8.
 *
 * ANSI means the process's code page on Windows and UTF-8 elsewhere. Bytes that are not valid in the code page survive
 * a round trip on platforms whose file names are plain bytes: each becomes one unpaired surrogate U+DC80..U+DCFF and
 * turns back into the same byte. A character that the code page lacks becomes '?' in ansiPtr().
 *
 * Thread: like std::string; const operations may run at once on one object. The pointers stay valid until the object is
 * changed or destroyed.
 */
class HOSTSDK_API KdString
{
public:
    KdString() = default;
    /** From ANSI text; null makes the empty string. */
    KdString(const char* ansi);
    /** From UTF-16 text; null makes the empty string. */
    KdString(const KdChar* wide);

    static KdString fromUtf8(const char* utf8);

    KdString& operator=(const char* ansi);
    KdString& operator=(const KdChar* wide);
    KdString& operator+=(const KdString& tail);

    [[nodiscard]] const KdChar* kwszPtr() const { return _wide.c_str(); }
    [[nodiscard]] const char* ansiPtr() const { return _ansi.c_str(); }
    [[nodiscard]] const char* utf8Ptr() const { return _utf8.c_str(); }

    /** Number of 16-bit units, the terminating zero not counted. */
    [[nodiscard]] std::size_t length() const { return _wide.size(); }
    [[nodiscard]] bool isEmpty() const { return _wide.empty(); }
    void setEmpty();

    /** Less than, equal to or greater than 0, by the 16-bit units in order; case counts. */
    [[nodiscard]] int compare(const KdString& other) const;

private:
    void assign(std::basic_string<KdChar> wide);

    std::basic_string<KdChar> _wide;
    std::string _ansi; // _wide in the code page, kept beside it so that const operations never write
    std::string _utf8;
};

[[nodiscard]] inline bool operator==(const KdString& a, const KdString& b)
{
    return a.compare(b) == 0;
}
[[nodiscard]] inline bool operator!=(const KdString& a, const KdString& b)
{
    return a.compare(b) != 0;
}
[[nodiscard]] inline bool operator<(const KdString& a, const KdString& b)
{
    return a.compare(b) < 0;
}
[[nodiscard]] inline KdString operator+(KdString a, const KdString& b)
{
    return a += b;
}
