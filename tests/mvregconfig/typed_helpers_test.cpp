#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/FakeHost.h"
#include "mvregconfig/OwnSettings.h"
#include "mvregconfig/RawValues.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{

using namespace MvRegConfig;
namespace type = mvgeo::platform::setting_type;

KdString textOf(std::size_t length)
{
    return KdString(std::basic_string<KdChar>(length, KdChar('x')).c_str());
}

TEST(RegPaths, AreEmptyWithoutAHost)
{
    EXPECT_TRUE(getRegRootPath().isEmpty());
    EXPECT_TRUE(getRegCfgPath().isEmpty());
}

TEST(RegPaths, AreWhatTheHostSays)
{
    const RunningHost host;
    EXPECT_EQ(getRegRootPath(), KdString("Software\\Maker\\Product\\1.0\\en-US"));
    EXPECT_EQ(getRegCfgPath(), KdString("Software\\Maker\\Product\\1.0\\en-US\\profiles\\Default\\Config"));
}

TEST(RegPaths, TakeANullRootForAnEmptyOne)
{
    const RunningHost host(nullptr);
    EXPECT_TRUE(getRegRootPath().isEmpty());
    EXPECT_EQ(getRegCfgPath(), KdString("\\profiles\\Default\\Config"));
}

class TypedHelpers : public testing::Test
{
protected:
    OwnSettings settings;
    RunningHost host;
};

TEST_F(TypedHelpers, AreFalseWithoutAHost)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 1));
    ASSERT_TRUE(setRegStringVal(settings.key(), "text", "one"));
    kddbSetHostApplicationServices(nullptr);
    int number = 7;
    KdString text("seven");
    EXPECT_FALSE(setRegDWordVal(settings.key(), "number", 2));
    EXPECT_FALSE(getRegDWordVal(settings.key(), "number", number));
    EXPECT_FALSE(setRegStringVal(settings.key(), "text", "two"));
    EXPECT_FALSE(getRegStringVal(settings.key(), "text", text));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, KdString("seven"));
    EXPECT_EQ(storedAt(settings.key(), "number"), (RawValue{type::kDword, std::string("\1\0\0\0", 4)}));
    EXPECT_EQ(storedAt(settings.key(), "text"), (RawValue{type::kString, std::string("o\0n\0e\0\0\0", 8)}));
}

TEST_F(TypedHelpers, AreFalseForAnEmptySubKey)
{
    int number = 7;
    KdString text("seven");
    EXPECT_FALSE(setRegDWordVal("", "name", 1));
    EXPECT_FALSE(getRegDWordVal("", "name", number));
    EXPECT_FALSE(setRegStringVal("", "name", "one"));
    EXPECT_FALSE(getRegStringVal("", "name", text));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, KdString("seven"));
}

TEST_F(TypedHelpers, ADWordIsFourBytesLowestFirst)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 0x01020304));
    EXPECT_EQ(storedAt(settings.key(), "number"), (RawValue{type::kDword, "\4\3\2\1"}));
}

TEST_F(TypedHelpers, DWordsComeBack)
{
    for (const int written : {0, 1, -1, INT_MAX, INT_MIN})
    {
        int number = 7;
        ASSERT_TRUE(setRegDWordVal(settings.key(), "number", written));
        EXPECT_TRUE(getRegDWordVal(settings.key(), "number", number));
        EXPECT_EQ(number, written);
    }
}

TEST_F(TypedHelpers, WritingCreatesTheWholePath)
{
    const KdString deep = settings.keyBelow("a\\b\\c");
    ASSERT_FALSE(keyExists(settings.key()));
    EXPECT_TRUE(setRegDWordVal(deep, "number", 3));
    EXPECT_TRUE(keyExists(settings.key()));
    EXPECT_TRUE(keyExists(settings.keyBelow("a")));
    EXPECT_TRUE(keyExists(settings.keyBelow("a\\b")));
    int number = 0;
    EXPECT_TRUE(getRegDWordVal(deep, "number", number));
    EXPECT_EQ(number, 3);
}

TEST_F(TypedHelpers, ReadingCreatesNothing)
{
    int number = 7;
    KdString text("seven");
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_FALSE(getRegStringVal(settings.key(), "name", text));
    EXPECT_FALSE(keyExists(settings.key()));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, KdString("seven"));
}

TEST_F(TypedHelpers, AMissingValueLeavesTheOutputAlone)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "other", 1));
    int number = 7;
    KdString text("seven");
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_FALSE(getRegStringVal(settings.key(), "name", text));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, KdString("seven"));
}

// "A" and its zero take four bytes, as many as a DWORD: only the type tells them apart.
TEST_F(TypedHelpers, ADWordIsNotReadFromText)
{
    ASSERT_TRUE(setRegStringVal(settings.key(), "name", "A"));
    int number = 7;
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_EQ(number, 7);
}

TEST_F(TypedHelpers, ADWordIsNotReadFromFourBytesOfAnotherType)
{
    ASSERT_TRUE(storeRaw(settings.key(), "name", {type::kBinary, "abcd"}));
    int number = 7;
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_EQ(number, 7);
}

TEST_F(TypedHelpers, ADWordIsNotReadFromEightBytes)
{
    ASSERT_TRUE(storeRaw(settings.key(), "name", {type::kQword, "abcdefgh"}));
    int number = 7;
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    ASSERT_TRUE(storeRaw(settings.key(), "name", {type::kDword, "abcdefgh"}));
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_EQ(number, 7);
}

TEST_F(TypedHelpers, ADWordOfTooFewBytesIsFilledWithZeros)
{
    ASSERT_TRUE(storeRaw(settings.key(), "name", {type::kDword, "\5\1"}));
    int number = 7;
    EXPECT_TRUE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_EQ(number, 0x105);
}

TEST_F(TypedHelpers, TextIsStoredWithItsZero)
{
    ASSERT_TRUE(setRegStringVal(settings.key(), "text", "AB"));
    EXPECT_EQ(storedAt(settings.key(), "text"), (RawValue{type::kString, std::string("A\0B\0\0\0", 6)}));
    ASSERT_TRUE(setRegStringVal(settings.key(), "text", ""));
    EXPECT_EQ(storedAt(settings.key(), "text"), (RawValue{type::kString, std::string("\0\0", 2)}));
}

TEST_F(TypedHelpers, TextComesBack)
{
    const KdString texts[] = {"", "x", HOST_TEXT("\u503E\u659C\U0001F600"), HOST_TEXT("a\\b/c\r\n\"'")};
    for (const KdString& written : texts)
    {
        KdString text("before");
        ASSERT_TRUE(setRegStringVal(settings.key(), "text", written));
        EXPECT_TRUE(getRegStringVal(settings.key(), "text", text));
        EXPECT_EQ(text, written);
    }
}

TEST_F(TypedHelpers, TextOf255CharactersStillComesBack)
{
    KdString text;
    ASSERT_TRUE(setRegStringVal(settings.key(), "text", textOf(255)));
    EXPECT_TRUE(getRegStringVal(settings.key(), "text", text));
    EXPECT_EQ(text, textOf(255));
}

// 256 characters and the zero take 514 bytes, two more than there is room for.
TEST_F(TypedHelpers, LongerTextIsStoredButDoesNotComeBack)
{
    for (const std::size_t length : {256, 300})
    {
        KdString text("before");
        ASSERT_TRUE(setRegStringVal(settings.key(), "text", textOf(length)));
        EXPECT_FALSE(getRegStringVal(settings.key(), "text", text)) << length;
        EXPECT_EQ(text, KdString("before"));
        OrloVariant value;
        EXPECT_TRUE(ReadValFromReg(settings.key(), "text", value));
        EXPECT_EQ(value.string(), textOf(length));
    }
}

TEST_F(TypedHelpers, TextWithoutItsZeroMayFillTheRoom)
{
    const std::basic_string<KdChar> units(256, KdChar('x'));
    ASSERT_TRUE(storeRaw(settings.key(), "text", {type::kString, utf16Bytes(units)}));
    KdString text;
    EXPECT_TRUE(getRegStringVal(settings.key(), "text", text));
    EXPECT_EQ(text, textOf(256));
}

TEST_F(TypedHelpers, TextEndsAtTheFirstZero)
{
    ASSERT_TRUE(storeRaw(settings.key(), "text", {type::kString, std::string("A\0\0\0B\0\0\0", 8)}));
    KdString text;
    EXPECT_TRUE(getRegStringVal(settings.key(), "text", text));
    EXPECT_EQ(text, KdString("A"));
}

TEST_F(TypedHelpers, TextIsNotReadFromOtherTypes)
{
    const std::uint32_t others[] = {type::kExpandString, type::kMultiString, type::kBinary, type::kDword};
    for (const std::uint32_t other : others)
    {
        ASSERT_TRUE(storeRaw(settings.key(), "text", {other, std::string("A\0\0\0", 4)}));
        KdString text("before");
        EXPECT_FALSE(getRegStringVal(settings.key(), "text", text)) << other;
        EXPECT_EQ(text, KdString("before"));
    }
}

TEST_F(TypedHelpers, AValueIsReplacedWithItsType)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "name", 1));
    ASSERT_TRUE(setRegStringVal(settings.key(), "name", "one"));
    int number = 7;
    KdString text;
    EXPECT_FALSE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_TRUE(getRegStringVal(settings.key(), "name", text));
    EXPECT_EQ(text, KdString("one"));
}

TEST_F(TypedHelpers, TheEmptyNameIsAValueToo)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "", 12));
    int number = 0;
    EXPECT_TRUE(getRegDWordVal(settings.key(), "", number));
    EXPECT_EQ(number, 12);
}

} // namespace
