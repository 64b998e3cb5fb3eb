#include "Utf.h"

namespace hostsdk
{
namespace
{

constexpr char32_t kByteEscape = 0xDC00; // plus the byte, which is at least 0x80

struct Sequence
{
    char32_t codePoint;
    std::size_t length; // in bytes; 0 if no valid sequence begins here
};

std::size_t sequenceLength(unsigned char lead)
{
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

bool isSurrogate(char32_t codePoint)
{
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

Sequence sequenceAt(std::string_view utf8, std::size_t at)
{
    constexpr char32_t kLeastOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
    constexpr Sequence kInvalid = {0, 0};

    const auto lead = static_cast<unsigned char>(utf8[at]);
    const std::size_t length = sequenceLength(lead);
    if (length == 1) return {lead, 1};
    if (length == 0 || length > utf8.size() - at) return kInvalid;

    char32_t codePoint = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        const auto next = static_cast<unsigned char>(utf8[at + i]);
        if ((next & 0xC0u) != 0x80u) return kInvalid;
        codePoint = (codePoint << 6) | (next & 0x3Fu);
    }
    const bool isOverlong = codePoint < kLeastOfLength[length];
    if (isOverlong || isSurrogate(codePoint) || codePoint > 0x10FFFF) return kInvalid;
    return {codePoint, length};
}

void appendUtf16(WideString& wide, char32_t codePoint)
{
    if (codePoint < 0x10000)
    {
        wide += static_cast<KdChar>(codePoint);
        return;
    }
    const char32_t offset = codePoint - 0x10000;
    wide += static_cast<KdChar>(0xD800 + (offset >> 10));
    wide += static_cast<KdChar>(0xDC00 + (offset & 0x3FF));
}

void appendUtf8(std::string& utf8, char32_t codePoint)
{
    const auto tail = [codePoint](int shift) { return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F)); };
    if (codePoint < 0x80)
        utf8 += static_cast<char>(codePoint);
    else if (codePoint < 0x800)
        utf8 += {static_cast<char>(0xC0 | (codePoint >> 6)), tail(0)};
    else if (codePoint < 0x10000)
        utf8 += {static_cast<char>(0xE0 | (codePoint >> 12)), tail(6), tail(0)};
    else
        utf8 += {static_cast<char>(0xF0 | (codePoint >> 18)), tail(12), tail(6), tail(0)};
}

void appendUnpairedSurrogate(std::string& utf8, char32_t unit)
{
    const bool isByteEscape = unit >= kByteEscape + 0x80 && unit <= kByteEscape + 0xFF;
    utf8 += isByteEscape ? static_cast<char>(unit - kByteEscape) : '?';
}

bool isPairAt(const WideString& wide, std::size_t at)
{
    return at + 1 < wide.size() && wide[at] >= 0xD800 && wide[at] <= 0xDBFF && wide[at + 1] >= 0xDC00 &&
           wide[at + 1] <= 0xDFFF;
}

} // namespace

WideString utf8ToUtf16(std::string_view utf8)
{
    WideString wide;
    wide.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();)
    {
        const Sequence sequence = sequenceAt(utf8, at);
        if (sequence.length == 0)
        {
            wide += static_cast<KdChar>(kByteEscape + static_cast<unsigned char>(utf8[at]));
            ++at;
            continue;
        }
        appendUtf16(wide, sequence.codePoint);
        at += sequence.length;
    }
    return wide;
}

std::string utf16ToUtf8(const WideString& wide)
{
    std::string utf8;
    utf8.reserve(wide.size());
    for (std::size_t at = 0; at < wide.size(); ++at)
    {
        const char32_t unit = wide[at];
        if (isPairAt(wide, at))
        {
            ++at;
            appendUtf8(utf8, 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(wide[at]) - 0xDC00));
        }
        else if (isSurrogate(unit))
            appendUnpairedSurrogate(utf8, unit);
        else
            appendUtf8(utf8, unit);
    }
    return utf8;
}

} // namespace hostsdk
