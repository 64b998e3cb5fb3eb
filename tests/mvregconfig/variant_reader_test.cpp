#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/FakeHost.h"
#include "mvregconfig/OwnSettings.h"
#include "mvregconfig/RawValues.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using namespace MvRegConfig;
namespace type = mvgeo::platform::setting_type;

std::uint32_t sizeFieldOf(const OrloVariant& value)
{
    std::uint32_t size = 0;
    std::memcpy(&size, value.payload(), sizeof(size));
    return size;
}

std::string valueBytesOf(const OrloVariant& value)
{
    return std::string(reinterpret_cast<const char*>(value.payload()) + 4, sizeFieldOf(value) - 4);
}

class ReadVariant : public testing::Test
{
protected:
    void store(std::uint32_t valueType, const std::string& bytes) const
    {
        ASSERT_TRUE(storeRaw(settings.key(), "name", {valueType, bytes}));
    }
    bool read(OrloVariant& value) const { return ReadValFromReg(settings.key(), "name", value); }

    OwnSettings settings;
    CountingAllocator blocks; // every test's variants are gone before it
};

TEST_F(ReadVariant, ADWordBecomesTag1InABlockOf8Bytes)
{
    store(type::kDword, "\xFE\xFF\xFF\xFF");
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 1);
    EXPECT_EQ(sizeFieldOf(value), 8u);
    EXPECT_EQ(value.int32(), -2);
}

TEST_F(ReadVariant, AQWordBecomesTag2InABlockOf12Bytes)
{
    store(type::kQword, "\1\2\3\4\5\6\7\x08");
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 2);
    EXPECT_EQ(sizeFieldOf(value), 12u);
    EXPECT_EQ(value.int64(), 0x0807060504030201);
}

TEST_F(ReadVariant, BytesBecomeTag4InABlockOf4BytesMore)
{
    store(type::kBinary, std::string("a\0b", 3));
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 4);
    EXPECT_EQ(sizeFieldOf(value), 7u);
    EXPECT_EQ(valueBytesOf(value), std::string("a\0b", 3));
}

TEST_F(ReadVariant, TextBecomesTag5InABlockOf2BytesACharacterAnd6More)
{
    store(type::kString, std::string("A\0\x3E\x50\0\0", 6));
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 5);
    EXPECT_EQ(sizeFieldOf(value), 10u);
    EXPECT_EQ(valueBytesOf(value), std::string("A\0\x3E\x50\0\0", 6));
    EXPECT_EQ(value.string(), KdString(HOST_TEXT("A\u503E")));
}

TEST_F(ReadVariant, EmptyTextIsABlockOf6Bytes)
{
    for (const std::size_t byteCount : {0, 1, 2, 4})
    {
        store(type::kString, std::string(byteCount, '\0'));
        OrloVariant value;
        ASSERT_TRUE(read(value));
        EXPECT_EQ(value.tag(), 5);
        EXPECT_EQ(sizeFieldOf(value), 6u);
        EXPECT_EQ(valueBytesOf(value), std::string(2, '\0'));
    }
}

TEST_F(ReadVariant, NoBytesAreTag4WithoutABlock)
{
    store(type::kBinary, "");
    OrloVariant value;
    value.setInt64(5);
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 4);
    EXPECT_EQ(value.payload(), nullptr);
    EXPECT_EQ(blocks.freed, 1);
}

TEST_F(ReadVariant, NumbersOfNoBytesAreZero)
{
    OrloVariant value;
    store(type::kDword, "");
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 1);
    EXPECT_EQ(value.int32(), 0);
    store(type::kQword, "");
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 2);
    EXPECT_EQ(value.int64(), 0);
}

TEST_F(ReadVariant, NumbersOfTooManyBytesAreNotRead)
{
    OrloVariant value;
    value.setString("before");
    store(type::kDword, "12345");
    EXPECT_FALSE(read(value));
    store(type::kQword, "123456789");
    EXPECT_FALSE(read(value));
    EXPECT_EQ(value.string(), KdString("before"));
}

// "A", "B" and the first half of a third character, whose other half is taken for zero.
TEST_F(ReadVariant, HalfACharacterAtTheEndIsItsLowByte)
{
    store(type::kString, std::string("A\0B\0C", 5));
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.string(), KdString("ABC"));
    EXPECT_EQ(sizeFieldOf(value), 12u);
}

TEST_F(ReadVariant, TextWithoutItsZeroGetsOne)
{
    store(type::kString, std::string("A\0B\0", 4));
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 10u);
    EXPECT_EQ(valueBytesOf(value), std::string("A\0B\0\0\0", 6));
}

TEST_F(ReadVariant, TextEndsAtItsFirstZero)
{
    store(type::kString, std::string("A\0\0\0B\0\0\0", 8));
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 8u);
    EXPECT_EQ(value.string(), KdString("A"));
}

TEST_F(ReadVariant, TextMayBeOfAnyLength)
{
    for (const std::size_t length : {255, 256, 300, 100000})
    {
        const std::basic_string<KdChar> text(length, KdChar('x'));
        OrloVariant written;
        written.setString(text.c_str());
        ASSERT_TRUE(WriteValToReg(settings.key(), "name", written));
        OrloVariant value;
        ASSERT_TRUE(read(value));
        EXPECT_EQ(sizeFieldOf(value), length * 2 + 6);
        EXPECT_EQ(value.string(), KdString(text.c_str()));
    }
}

TEST_F(ReadVariant, OtherTypesAreTrueAndLeaveTheVariantAlone)
{
    for (const std::uint32_t other : {std::uint32_t(0), type::kExpandString, std::uint32_t(5), type::kMultiString})
    {
        store(other, std::string("A\0\0\0\0\0", 6));
        OrloVariant value;
        value.setInt32(5);
        const unsigned char* before = value.payload();
        EXPECT_TRUE(read(value)) << other;
        EXPECT_EQ(value.payload(), before);
        EXPECT_EQ(value.int32(), 5);
        OrloVariant empty;
        EXPECT_TRUE(read(empty));
        EXPECT_EQ(empty.tag(), OrloVariant::kEmpty);
    }
}

TEST_F(ReadVariant, WhatIsMissingIsFalseAndLeavesTheVariantAlone)
{
    OrloVariant value;
    value.setInt32(5);
    EXPECT_FALSE(ReadValFromReg("", "name", value));
    EXPECT_FALSE(read(value)); // no such key
    EXPECT_FALSE(keyExists(settings.key()));
    ASSERT_TRUE(storeRaw(settings.key(), "other", {type::kDword, "abcd"}));
    EXPECT_FALSE(read(value));
    EXPECT_EQ(value.int32(), 5);
}

TEST_F(ReadVariant, ANumberGoesIntoTheBlockThatIsThere)
{
    OrloVariant value;
    value.setInt32(1);
    const unsigned char* block = value.payload();
    store(type::kDword, std::string("\2\0\0\0", 4));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.payload(), block);
    EXPECT_EQ(value.int32(), 2);

    OrloVariant large;
    large.setInt64(1);
    block = large.payload();
    store(type::kQword, std::string("\3\0\0\0\0\0\0\0", 8));
    ASSERT_TRUE(read(large));
    EXPECT_EQ(large.payload(), block);
    EXPECT_EQ(large.int64(), 3);
    EXPECT_EQ(blocks.made, 2);
    EXPECT_EQ(blocks.freed, 0);
}

TEST_F(ReadVariant, ANumberGetsANewBlockForAnotherTag)
{
    OrloVariant value;
    value.setInt64(1);
    store(type::kDword, std::string("\2\0\0\0", 4));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 8u);
    EXPECT_EQ(value.int32(), 2);
    EXPECT_EQ(blocks.made, 2);
    EXPECT_EQ(blocks.freed, 1);
    store(type::kQword, std::string("\3\0\0\0\0\0\0\0", 8));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 12u);
    EXPECT_EQ(value.int64(), 3);
    EXPECT_EQ(blocks.made, 3);
    EXPECT_EQ(blocks.freed, 2);
}

TEST_F(ReadVariant, ANumberGetsABlockWhereItsTagHasNone)
{
    OrloVariant value;
    value.adopt(OrloVariant::kInt32, nullptr);
    store(type::kDword, std::string("\2\0\0\0", 4));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 8u);
    EXPECT_EQ(value.int32(), 2);
}

TEST_F(ReadVariant, ABlockTooSmallForItsTagIsReplaced)
{
    OrloVariant value;
    value.adopt(OrloVariant::kInt64, OrloVariant::allocatePayload(8));
    store(type::kQword, std::string("\3\0\0\0\0\0\0\0", 8));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 12u);
    EXPECT_EQ(value.int64(), 3);
    EXPECT_EQ(blocks.freed, 1);
}

TEST_F(ReadVariant, TheOldBlockIsFreed)
{
    const RawValue values[] = {{type::kString, std::string("A\0\0\0", 4)},
                               {type::kBinary, "abc"},
                               {type::kDword, "abcd"},
                               {type::kQword, "abcdefgh"}};
    for (const RawValue& stored : values)
    {
        store(stored.type, stored.bytes);
        blocks.made = blocks.freed = 0;
        {
            OrloVariant value;
            value.setDouble(1.0);
            ASSERT_TRUE(read(value));
            EXPECT_EQ(blocks.made, 2) << "type " << stored.type;
            EXPECT_EQ(blocks.freed, 1) << "type " << stored.type;
        }
        EXPECT_EQ(blocks.freed, 2) << "type " << stored.type;
    }
}

TEST_F(ReadVariant, TheSameTextOrBlobGetsANewBlockToo)
{
    store(type::kBinary, "abc");
    OrloVariant value;
    ASSERT_TRUE(read(value));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(blocks.made, 2);
    EXPECT_EQ(blocks.freed, 1);
    EXPECT_EQ(valueBytesOf(value), "abc");
}

TEST_F(ReadVariant, ADoubleComesBackAsABlobOf8Bytes)
{
    OrloVariant written;
    written.setDouble(1.5);
    ASSERT_TRUE(WriteValToReg(settings.key(), "name", written));
    OrloVariant value;
    ASSERT_TRUE(read(value));
    EXPECT_EQ(value.tag(), 4);
    EXPECT_EQ(sizeFieldOf(value), 12u);
    double number = 0.0;
    std::memcpy(&number, value.payload() + 4, sizeof(number));
    EXPECT_EQ(number, 1.5);
}

// 3 bytes; read, its size field is 7, so 7 bytes are written; then 11.
TEST_F(ReadVariant, ABlobThatIsReadAndWrittenIsFourBytesLonger)
{
    store(type::kBinary, "abc");
    OrloVariant value;
    ASSERT_TRUE(read(value));
    ASSERT_TRUE(WriteValToReg(settings.key(), "name", value));
    EXPECT_EQ(storedAt(settings.key(), "name"), (RawValue{type::kBinary, std::string("abc\0\0\0\0", 7)}));
    ASSERT_TRUE(read(value));
    EXPECT_EQ(sizeFieldOf(value), 11u);
    ASSERT_TRUE(WriteValToReg(settings.key(), "name", value));
    EXPECT_EQ(storedAt(settings.key(), "name")->bytes.size(), 11u);
}

TEST_F(ReadVariant, EveryOtherTagComesBackAsItWas)
{
    OrloVariant written;
    OrloVariant value;
    written.setInt32(-123456);
    ASSERT_TRUE(WriteValToReg(settings.key(), "name", written) && read(value));
    EXPECT_EQ(value.int32(), -123456);
    written.setInt64(-5000000000);
    ASSERT_TRUE(WriteValToReg(settings.key(), "name", written) && read(value));
    EXPECT_EQ(value.int64(), -5000000000);
    written.setString(HOST_TEXT("\u503E\u659C \U0001F600"));
    ASSERT_TRUE(WriteValToReg(settings.key(), "name", written) && read(value));
    EXPECT_EQ(value.string(), written.string());
}

TEST_F(ReadVariant, OutOfMemoryIsRaisedAfterTheRecorderSawIt)
{
    const RawValue values[] = {{type::kString, std::string("A\0\0\0", 4)},
                               {type::kBinary, "abc"},
                               {type::kDword, "abcd"},
                               {type::kQword, "abcdefgh"}};
    for (const RawValue& stored : values)
    {
        store(stored.type, stored.bytes);
        ListeningRecorder recorder;
        OrloVariant value;
        value.setDouble(2.5);
        blocks.isExhausted = true;
        try
        {
            static_cast<void>(read(value));
            ADD_FAILURE() << "type " << stored.type << " did not raise";
        }
        catch (const MvErrorStatus& error)
        {
            EXPECT_EQ(error.status(), 6);
        }
        blocks.isExhausted = false;
        EXPECT_EQ(recorder.seen, std::vector<int>{6}) << "type " << stored.type;
        EXPECT_EQ(value.real(), 2.5);
    }
}

TEST_F(ReadVariant, OutOfMemoryIsRaisedWithoutARecorderToo)
{
    store(type::kDword, "abcd");
    OrloVariant value;
    blocks.isExhausted = true;
    EXPECT_THROW(static_cast<void>(read(value)), MvErrorStatus);
    blocks.isExhausted = false;
    EXPECT_EQ(value.tag(), OrloVariant::kEmpty);
}

TEST_F(ReadVariant, WhatNeedsNoBlockNeedsNoMemory)
{
    OrloVariant number;
    number.setInt32(1);
    store(type::kDword, std::string("\2\0\0\0", 4));
    blocks.isExhausted = true;
    EXPECT_TRUE(read(number));
    EXPECT_EQ(number.int32(), 2);
    store(type::kBinary, "");
    OrloVariant blob;
    EXPECT_TRUE(read(blob));
    blocks.isExhausted = false;
}

} // namespace
