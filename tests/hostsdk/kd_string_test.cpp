#include "KdString.h"

#include "HostText.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace
{

using Units = std::vector<unsigned>;

Units unitsOf(const KdString& text)
{
    return Units(text.kwszPtr(), text.kwszPtr() + text.length());
}

KdString fromUnits(const Units& units)
{
    std::basic_string<KdChar> wide;
    for (const unsigned unit : units)
        wide += static_cast<KdChar>(unit);
    return KdString(wide.c_str());
}

struct Text
{
    const char* name;
    const char* utf8;
    Units utf16;
};

// Both columns from the code charts, by hand.
const std::vector<Text> kValidTexts = {
    {"Ascii", "d:/a.osgb", {'d', ':', '/', 'a', '.', 'o', 's', 'g', 'b'}},
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
};

// Bytes that are no UTF-8: each stands for itself as U+DC00 plus the byte.
const std::vector<Text> kBrokenTexts = {
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

class KdStringText : public testing::TestWithParam<Text>
{
};

TEST_P(KdStringText, ReadsUtf8AsUtf16)
{
    EXPECT_EQ(unitsOf(KdString::fromUtf8(GetParam().utf8)), GetParam().utf16);
}

TEST_P(KdStringText, WritesUtf16AsUtf8)
{
    EXPECT_STREQ(fromUnits(GetParam().utf16).utf8Ptr(), GetParam().utf8);
}

TEST_P(KdStringText, TakesAnsiTextForUtf8OffWindows)
{
#if defined(_WIN32)
    GTEST_SKIP() << "the code page of this process need not be UTF-8";
#endif
    const KdString text(GetParam().utf8);
    EXPECT_EQ(unitsOf(text), GetParam().utf16);
    EXPECT_STREQ(text.ansiPtr(), GetParam().utf8);
}

INSTANTIATE_TEST_SUITE_P(Valid, KdStringText, testing::ValuesIn(kValidTexts), nameOf);
INSTANTIATE_TEST_SUITE_P(Broken, KdStringText, testing::ValuesIn(kBrokenTexts), nameOf);

TEST(KdString, EveryPairOfBytesSurvivesTheRoundTrip)
{
    for (int first = 1; first < 256; ++first)
    {
        for (int second = 1; second < 256; ++second)
        {
            const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
            const KdString wide = fromUnits(unitsOf(KdString::fromUtf8(bytes.c_str())));
            ASSERT_EQ(wide.utf8Ptr(), bytes) << "bytes " << first << ' ' << second;
        }
    }
}

TEST(KdString, EveryCharacterSurvivesTheRoundTrip)
{
    for (unsigned codePoint = 1; codePoint <= 0x10FFFF; ++codePoint)
    {
        if (codePoint >= 0xD800 && codePoint <= 0xDFFF) continue;
        const KdString wide =
            codePoint < 0x10000
                ? fromUnits({codePoint})
                : fromUnits({0xD800 + ((codePoint - 0x10000) >> 10), 0xDC00 + ((codePoint - 0x10000) & 0x3FF)});
        ASSERT_EQ(KdString::fromUtf8(wide.utf8Ptr()), wide) << "code point " << codePoint;
    }
}

// 0xDC7F and 0xDD00 are the neighbours of the range that stands for bytes.
TEST(KdString, WritesASurrogateThatStandsForNoByteAsAQuestionMark)
{
    EXPECT_STREQ(fromUnits({'a', 0xD83D}).utf8Ptr(), "a?");
    EXPECT_STREQ(fromUnits({0xD83D, 'b'}).utf8Ptr(), "?b");
    EXPECT_STREQ(fromUnits({0xD83D, 0xD83D, 0xDE00}).utf8Ptr(), "?\xF0\x9F\x98\x80");
    EXPECT_STREQ(fromUnits({0xDC7F}).utf8Ptr(), "?");
    EXPECT_STREQ(fromUnits({0xDD00}).utf8Ptr(), "?");
    EXPECT_STREQ(fromUnits({0xDE00, 0xD83D}).ansiPtr(), "??");
}

TEST(KdString, AsciiIsTheSameInEveryCodePage)
{
    EXPECT_STREQ(KdString(KdString("Tile_+000_+000.osgb").kwszPtr()).ansiPtr(), "Tile_+000_+000.osgb");
    EXPECT_STREQ(KdString("Tile_+000_+000.osgb").utf8Ptr(), "Tile_+000_+000.osgb");
    EXPECT_STREQ(KdString::fromUtf8("Tile_+000_+000.osgb").ansiPtr(), "Tile_+000_+000.osgb");
}

TEST(KdString, IsEmptyByDefault)
{
    const KdString text;
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(text.length(), 0u);
    EXPECT_EQ(text.kwszPtr()[0], KdChar(0));
    EXPECT_STREQ(text.ansiPtr(), "");
    EXPECT_STREQ(text.utf8Ptr(), "");
}

TEST(KdString, TakesNullForTheEmptyString)
{
    EXPECT_TRUE(KdString(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_TRUE(KdString(static_cast<const KdChar*>(nullptr)).isEmpty());
    EXPECT_TRUE(KdString::fromUtf8(nullptr).isEmpty());
}

TEST(KdString, AssigningNullEmptiesAllThreeTexts)
{
    KdString text("abc");
    text = static_cast<const char*>(nullptr);
    EXPECT_TRUE(text.isEmpty());
    text = HOST_TEXT("abc");
    text = static_cast<const KdChar*>(nullptr);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_STREQ(text.ansiPtr(), "");
    EXPECT_STREQ(text.utf8Ptr(), "");
}

TEST(KdString, SetEmptyEmptiesAllThreeTexts)
{
    KdString text("abc");
    text.setEmpty();
    EXPECT_TRUE(text.isEmpty());
    EXPECT_STREQ(text.ansiPtr(), "");
    EXPECT_STREQ(text.utf8Ptr(), "");
}

TEST(KdString, AppendsInAllThreeTexts)
{
    KdString text("C:/T");
    text += KdString("/mesh");
    EXPECT_EQ(text.length(), 9u);
    EXPECT_STREQ(text.ansiPtr(), "C:/T/mesh");
    EXPECT_STREQ(text.utf8Ptr(), "C:/T/mesh");
}

TEST(KdString, AppendsItself)
{
    KdString text("ab");
    text += text;
    EXPECT_STREQ(text.ansiPtr(), "abab");
}

TEST(KdString, MayBeAssignedItsOwnText)
{
    KdString text("a longer text than fits into a small string");
    text = text.ansiPtr() + 2;
    EXPECT_STREQ(text.ansiPtr(), "longer text than fits into a small string");
    text = text.kwszPtr() + 7;
    EXPECT_STREQ(text.ansiPtr(), "text than fits into a small string");
}

TEST(KdString, PlusLeavesBothSidesAlone)
{
    const KdString left("a");
    const KdString right("b");
    const KdString sum = left + right;
    EXPECT_STREQ(sum.ansiPtr(), "ab");
    EXPECT_STREQ(left.ansiPtr(), "a");
    EXPECT_STREQ(right.ansiPtr(), "b");
}

TEST(KdString, LengthCountsSixteenBitUnits)
{
    EXPECT_EQ(KdString::fromUtf8("\xF0\x9F\x98\x80").length(), 2u); // one character outside the basic plane
    EXPECT_EQ(KdString::fromUtf8("\xE5\x80\xBE").length(), 1u);
}

TEST(KdString, ComparesUnitByUnit)
{
    EXPECT_EQ(KdString("abc").compare(KdString("abc")), 0);
    EXPECT_LT(KdString("abc").compare(KdString("abd")), 0);
    EXPECT_GT(KdString("abd").compare(KdString("abc")), 0);
    EXPECT_LT(KdString("ab").compare(KdString("abc")), 0);
    EXPECT_LT(KdString().compare(KdString("a")), 0);
}

TEST(KdString, ComparesWithCase)
{
    EXPECT_LT(KdString("A").compare(KdString("a")), 0); // 0x41 < 0x61
    EXPECT_NE(KdString("Tile"), KdString("tile"));
}

// By code point the emoji would be the greater; its first unit, 0xD83D, is the smaller.
TEST(KdString, ComparesUnitsRatherThanCharacters)
{
    EXPECT_LT(fromUnits({0xD83D, 0xDE00}).compare(fromUnits({0xFF5E})), 0);
    EXPECT_GT(fromUnits({0x8000}).compare(fromUnits({0x7FFF})), 0);
}

TEST(KdString, OperatorsFollowCompare)
{
    const KdString a("a");
    const KdString b("b");
    EXPECT_TRUE(a == KdString(HOST_TEXT("a")));
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a < a);
}

} // namespace
