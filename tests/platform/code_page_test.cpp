#include "platform/CodePage.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace
{

using namespace mvgeo::platform;
using Units = std::vector<unsigned>;

Units unitsOf(const WideString& wide)
{
    return Units(wide.begin(), wide.end());
}

WideString fromUnits(const Units& units)
{
    WideString wide;
    for (const unsigned unit : units)
        wide += static_cast<WideChar>(unit);
    return wide;
}

struct Text
{
    const char* name;
    std::string utf8;
    Units utf16;
};

// Both columns from the code charts, by hand. Bytes that are no UTF-8 stand for themselves as U+DC00 plus the byte.
const std::vector<Text> kTexts = {
    {"Empty", "", {}},
    {"Ascii", "d:/a.osgb", {'d', ':', '/', 'a', '.', 'o', 's', 'g', 'b'}},
    {"ZeroInside", std::string("a\0b", 3), {'a', 0, 'b'}},
    {"LastOfOneByte", "\x7F", {0x7F}},
    {"FirstOfTwoBytes", "\xC2\x80", {0x80}},
    {"LastOfTwoBytes", "\xDF\xBF", {0x7FF}},
    {"FirstOfThreeBytes", "\xE0\xA0\x80", {0x800}},
    {"Chinese", "\xE5\x80\xBE\xE6\x96\x9C", {0x503E, 0x659C}},
    {"LastBeforeTheSurrogates", "\xED\x9F\xBF", {0xD7FF}},
    {"FirstAfterTheSurrogates", "\xEE\x80\x80", {0xE000}},
    {"LastOfThreeBytes", "\xEF\xBF\xBF", {0xFFFF}},
    {"FirstOfFourBytes", "\xF0\x90\x80\x80", {0xD800, 0xDC00}},
    {"Emoji", "\xF0\x9F\x98\x80", {0xD83D, 0xDE00}}, // U+1F600
    {"LastOfUnicode", "\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
    {"ContinuationAlone", "a\x80z", {'a', 0xDC80, 'z'}},
    {"NeverALead", "\xFF", {0xDCFF}},
    {"CutOffTwo", "\xC3", {0xDCC3}},
    {"CutOffThree", "x\xE5\x80", {'x', 0xDCE5, 0xDC80}},
    {"CutOffFour", "\xF0\x9F\x98", {0xDCF0, 0xDC9F, 0xDC98}},
    {"CutOffBeforeAscii", "\xE5\x80/", {0xDCE5, 0xDC80, '/'}},
    {"OverlongSlash", "\xC0\xAF", {0xDCC0, 0xDCAF}},
    {"OverlongThree", "\xE0\x9F\xBF", {0xDCE0, 0xDC9F, 0xDCBF}},
    {"OverlongFour", "\xF0\x8F\xBF\xBF", {0xDCF0, 0xDC8F, 0xDCBF, 0xDCBF}},
    {"EncodedSurrogate", "\xED\xA0\x80", {0xDCED, 0xDCA0, 0xDC80}},
    {"EncodedByteEscape", "\xED\xB2\x80", {0xDCED, 0xDCB2, 0xDC80}},
    {"AboveUnicode", "\xF4\x90\x80\x80", {0xDCF4, 0xDC90, 0xDC80, 0xDC80}},
    {"BrokenThenChinese", "\xE5\xE5\x80\xBE", {0xDCE5, 0x503E}},
};

// Else the test's name would carry the bytes of the struct, addresses among them.
void PrintTo(const Text& text, std::ostream* out)
{
    *out << text.name;
}

std::string nameOf(const testing::TestParamInfo<Text>& info)
{
    return info.param.name;
}

class CodePageText : public testing::TestWithParam<Text>
{
};

TEST_P(CodePageText, ReadsUtf8AsUtf16)
{
    EXPECT_EQ(unitsOf(utf8ToUtf16(GetParam().utf8)), GetParam().utf16);
}

TEST_P(CodePageText, WritesUtf16AsUtf8)
{
    EXPECT_EQ(utf16ToUtf8(fromUnits(GetParam().utf16)), GetParam().utf8);
}

TEST_P(CodePageText, TakesAnsiTextForUtf8OffWindows)
{
#if defined(_WIN32)
    GTEST_SKIP() << "the code page of this process need not be UTF-8";
#endif
    EXPECT_EQ(unitsOf(ansiToUtf16(GetParam().utf8)), GetParam().utf16);
    EXPECT_EQ(utf16ToAnsi(fromUnits(GetParam().utf16)), GetParam().utf8);
    EXPECT_EQ(ansiToUtf8(GetParam().utf8), GetParam().utf8);
    EXPECT_EQ(utf8ToAnsi(GetParam().utf8), GetParam().utf8);
}

INSTANTIATE_TEST_SUITE_P(All, CodePageText, testing::ValuesIn(kTexts), nameOf);

TEST(CodePage, EveryPairOfBytesSurvivesTheRoundTrip)
{
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second)
        {
            const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(utf16ToUtf8(utf8ToUtf16(bytes)), bytes) << "bytes " << first << ' ' << second;
        }
}

TEST(CodePage, EveryCharacterSurvivesTheRoundTrip)
{
    for (unsigned codePoint = 0; codePoint <= 0x10FFFF; ++codePoint)
    {
        if (codePoint >= 0xD800 && codePoint <= 0xDFFF) continue;
        const WideString wide =
            codePoint < 0x10000
                ? fromUnits({codePoint})
                : fromUnits({0xD800 + ((codePoint - 0x10000) >> 10), 0xDC00 + ((codePoint - 0x10000) & 0x3FF)});
        ASSERT_EQ(utf8ToUtf16(utf16ToUtf8(wide)), wide) << "code point " << codePoint;
    }
}

// 0xDC7F and 0xDD00 are the neighbours of the range that stands for bytes.
TEST(CodePage, WritesASurrogateThatStandsForNoByteAsAQuestionMark)
{
    EXPECT_EQ(utf16ToUtf8(fromUnits({'a', 0xD83D})), "a?");
    EXPECT_EQ(utf16ToUtf8(fromUnits({0xD83D, 'b'})), "?b");
    EXPECT_EQ(utf16ToUtf8(fromUnits({0xD83D, 0xD83D, 0xDE00})), "?\xF0\x9F\x98\x80");
    EXPECT_EQ(utf16ToUtf8(fromUnits({0xDC7F})), "?");
    EXPECT_EQ(utf16ToUtf8(fromUnits({0xDD00})), "?");
    EXPECT_EQ(utf16ToUtf8(fromUnits({0xDE00, 0xD83D})), "??");
}

TEST(CodePage, AsciiIsTheSameInEveryCodePage)
{
    EXPECT_EQ(utf16ToAnsi(ansiToUtf16("Tile_+000_+000.osgb")), "Tile_+000_+000.osgb");
    EXPECT_EQ(ansiToUtf8("Tile_+000_+000.osgb"), "Tile_+000_+000.osgb");
    EXPECT_EQ(utf8ToAnsi("Tile_+000_+000.osgb"), "Tile_+000_+000.osgb");
}

} // namespace
