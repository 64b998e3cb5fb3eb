#include <common/TextParsing.h>

#include <gtest/gtest.h>

#include <clocale>

using namespace mvgeo::host;

TEST(TextParsing, ReadAPointOfThreeNumbers)
{
    EXPECT_EQ(parsePoint("1,-2.5,3e2"), osg::Vec3d(1.0, -2.5, 300.0));
    for (const char* text :
         {"", "1", "1,2", "1,2,", "1,2,3,4", "1,2,x", "1,2,3 ", "nan,0,0", "inf,0,0", "1,,3", "1e999,0,0"})
        EXPECT_FALSE(parsePoint(text)) << text;
}

TEST(TextParsing, ReadASizeWithinItsLimit)
{
    EXPECT_EQ(parsePair("640x480", 1000), std::make_pair(640, 480));
    EXPECT_EQ(parsePair("1X1000", 1000), std::make_pair(1, 1000));
    for (const char* text :
         {"", "x", "640", "640x", "x480", "0x5", "-1x5", "1001x5", "5x1001", "5x5x5", "99999999999x5"})
        EXPECT_FALSE(parsePair(text, 1000)) << text;
}

TEST(TextParsing, ReadAColour)
{
    const auto colour = parseColour("#ff0080");
    ASSERT_TRUE(colour);
    EXPECT_FLOAT_EQ(colour->x(), 1.0F);
    EXPECT_FLOAT_EQ(colour->y(), 0.0F);
    EXPECT_FLOAT_EQ(colour->z(), 128.0F / 255.0F);
    for (const char* text : {"", "ff0080", "#ff008", "#ff00800", "#ff00zz", "#ff00-1"})
        EXPECT_FALSE(parseColour(text)) << text;
}

TEST(TextParsing, KeepThePointAsDecimalSignInEveryLocale)
{
    const char* const locale = std::setlocale(LC_ALL, "de_DE.UTF-8");
    const std::optional<double> number = parseNumber("1.5");
    const bool comma = parseNumber("1,5").has_value();
    std::setlocale(LC_ALL, "C");
    if (!locale) GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
    EXPECT_EQ(number, 1.5);
    EXPECT_FALSE(comma);
}

TEST(TextParsing, SplitAtAnySeparatorAndLeaveEmptyPiecesOut)
{
    const std::vector<std::string_view> pieces = splitText(" a,,b ;c ", " ,;");
    EXPECT_EQ(pieces, (std::vector<std::string_view>{"a", "b", "c"}));
}
