#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/FakeHost.h"
#include "mvregconfig/FakeSettingsStore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

// What only a store can bring about that changes between two queries, fails in the middle, or states sizes that no real
// one on this machine can hold.

namespace
{
bool isMemoryExhausted = false; // for buffers; payload blocks have their allocator
}

// The library's buffers come from here; what they are freed with stays the standard library's.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    if (isMemoryExhausted) return nullptr;
    try
    {
        return ::operator new[](size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

namespace
{

using namespace MvRegConfig;
using mvgeo::platform::SettingHeader;
namespace type = mvgeo::platform::setting_type;

class StoreFaults : public testing::Test
{
protected:
    StoreFaults() { store = FakeSettingsStore(); }
    ~StoreFaults() override { isMemoryExhausted = false; }

    /** The status that reading raises; 0 if it raises nothing. */
    int statusRaised(OrloVariant& value)
    {
        try
        {
            static_cast<void>(ReadValFromReg("key", "name", value));
        }
        catch (const MvErrorStatus& error)
        {
            return error.status();
        }
        return 0;
    }

    FakeSettingsStore& store = fakeSettings();
    RunningHost host;
};

TEST_F(StoreFaults, ASecondQueryThatFailsIsFalseForEveryType)
{
    for (const std::uint32_t stored : {type::kString, type::kBinary, type::kDword, type::kQword})
    {
        store.first = SettingHeader{stored, 4};
        store.secondFails = true;
        OrloVariant value;
        value.setDouble(2.5);
        EXPECT_FALSE(ReadValFromReg("key", "name", value)) << stored;
        EXPECT_EQ(value.real(), 2.5);
    }
    int number = 7;
    KdString text("before");
    EXPECT_FALSE(getRegDWordVal("key", "name", number));
    EXPECT_FALSE(getRegStringVal("key", "name", text));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, KdString("before"));
}

// The second query would find a value: the first alone decides whether there is one.
TEST_F(StoreFaults, WhatTheFirstQueryDoesNotFindIsNotThere)
{
    int number = 7;
    KdString text("before");
    OrloVariant value;
    store.setValue(type::kDword, "abcd");
    store.first.reset();
    EXPECT_FALSE(getRegDWordVal("key", "name", number));
    EXPECT_FALSE(ReadValFromReg("key", "name", value));
    store.setValue(type::kString, std::string("A\0\0\0", 4));
    store.first.reset();
    EXPECT_FALSE(getRegStringVal("key", "name", text));
    EXPECT_FALSE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, KdString("before"));
    EXPECT_EQ(value.tag(), OrloVariant::kEmpty);
}

TEST_F(StoreFaults, EveryKeyIsClosedOnceHoweverItEnds)
{
    OrloVariant value;
    int number = 0;
    KdString text;
    store.setValue(type::kDword, "abcd");
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    EXPECT_TRUE(getRegDWordVal("key", "name", number));
    EXPECT_FALSE(getRegStringVal("key", "name", text));
    EXPECT_TRUE(WriteValToReg("key", "name", value));
    EXPECT_TRUE(setRegDWordVal("key", "name", 1));
    EXPECT_TRUE(setRegStringVal("key", "name", "x"));
    store.canWrite = false;
    EXPECT_FALSE(WriteValToReg("key", "name", value));
    EXPECT_FALSE(setRegDWordVal("key", "name", 1));
    EXPECT_FALSE(setRegStringVal("key", "name", "x"));
    value.adopt(static_cast<OrloVariant::Tag>(99), nullptr);
    EXPECT_TRUE(WriteValToReg("key", "name", value)); // nothing to write, so nothing can fail
    store.first.reset();
    EXPECT_FALSE(ReadValFromReg("key", "name", value));
    std::vector<KdString> names;
    EXPECT_FALSE(listRegKey("key", names, names));
    EXPECT_EQ(store.opened, 12);
    EXPECT_EQ(store.closed, 12);
}

TEST_F(StoreFaults, AKeyThatCanNeitherBeOpenedNorMadeIsFalse)
{
    store.hasKey = store.canCreate = false;
    EXPECT_FALSE(setRegDWordVal("key", "name", 1));
    EXPECT_FALSE(setRegStringVal("key", "name", "x"));
    EXPECT_FALSE(WriteValToReg("key", "name", OrloVariant()));
    EXPECT_EQ(store.opened, 0);
}

TEST_F(StoreFaults, TheRoomForTextIsTwiceItsSizeAndTwoBytes)
{
    store.setValue(type::kString, "A");
    OrloVariant value;
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(store.capacitySeen, 4u);
    store.setValue(type::kString, std::string("A\0B\0\0\0", 6));
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(store.capacitySeen, 14u);
}

TEST_F(StoreFaults, TextThatFillsTheRoomMeanwhileStillEnds)
{
    store.first = SettingHeader{type::kString, 2};
    store.secondType = type::kString;
    store.secondFillsTheRoom = true;
    OrloVariant value;
    EXPECT_TRUE(ReadValFromReg("key", "name", value)); // (2 + 1) * 2 bytes: two characters and room for the zero
    EXPECT_EQ(value.string().length(), 2u);
    EXPECT_EQ(value.string().kwszPtr()[0], KdChar(0x7878));
}

TEST_F(StoreFaults, TextThatBecameAnotherTypeMeanwhileIsTrueAndNotRead)
{
    store.first = SettingHeader{type::kString, 4};
    store.secondType = type::kBinary;
    store.secondBytes = "abcd";
    OrloVariant value;
    value.setInt32(5);
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(value.int32(), 5);
}

TEST_F(StoreFaults, OtherValuesThatBecameAnotherTypeMeanwhileAreReadAsTheOldOne)
{
    OrloVariant value;
    store.setValue(type::kBinary, "abcd");
    store.secondType = type::kString;
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    ASSERT_EQ(value.tag(), OrloVariant::kBlob);
    EXPECT_EQ(std::memcmp(value.payload() + 4, "abcd", 4), 0);
    store.setValue(type::kDword, std::string("\2\1\0\0", 4));
    store.secondType = type::kBinary;
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(value.tag(), OrloVariant::kInt32);
    EXPECT_EQ(value.int32(), 0x102);
    store.setValue(type::kQword, std::string("\3\1\0\0\0\0\0\0", 8));
    store.secondType = type::kString;
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(value.tag(), OrloVariant::kInt64);
    EXPECT_EQ(value.int64(), 0x103);
}

TEST_F(StoreFaults, ABlobThatShrankMeanwhileHasItsNewSize)
{
    store.first = SettingHeader{type::kBinary, 100};
    store.secondType = type::kBinary;
    store.secondBytes = "abc";
    OrloVariant value;
    EXPECT_TRUE(ReadValFromReg("key", "name", value));
    std::uint32_t size = 0;
    std::memcpy(&size, value.payload(), sizeof(size));
    EXPECT_EQ(size, 7u);
}

TEST_F(StoreFaults, ABlobThatGrewMeanwhileIsFalse)
{
    store.first = SettingHeader{type::kBinary, 2};
    store.secondType = type::kBinary;
    store.secondBytes = "abc";
    OrloVariant value;
    EXPECT_FALSE(ReadValFromReg("key", "name", value));
    EXPECT_EQ(value.tag(), OrloVariant::kEmpty);
}

// Twice 0x40000000 is the first size that a signed number of 32 bits cannot hold, and becomes negative in it.
TEST_F(StoreFaults, ANegativeSizeOfTextIsRaisedAfterTheRecorderSawIt)
{
    for (const std::uint32_t byteCount : {0x3FFFFFFFu, 0x7FFFFFFFu, 0xFFFFFFFFu})
    {
        ListeningRecorder recorder;
        store.first = SettingHeader{type::kString, byteCount};
        store.secondType = type::kString;
        OrloVariant value;
        value.setInt32(5);
        EXPECT_EQ(statusRaised(value), 3) << byteCount;
        EXPECT_EQ(recorder.seen, std::vector<int>{3});
        EXPECT_EQ(value.int32(), 5);
    }
}

TEST_F(StoreFaults, ABlobThatNoSizeFieldCanTellIsRaisedToo)
{
    ListeningRecorder recorder;
    store.first = SettingHeader{type::kBinary, 0xFFFFFFFCu};
    OrloVariant value;
    EXPECT_EQ(statusRaised(value), 3);
    EXPECT_EQ(recorder.seen, std::vector<int>{3});
}

// 0x7FFFFFFE bytes of buffer, and a block of 0xFFFFFFFF: what is missing for these is memory.
TEST_F(StoreFaults, OneLessIsNoFaultOfTheSize)
{
    for (const SettingHeader& largest :
         {SettingHeader{type::kString, 0x3FFFFFFEu}, SettingHeader{type::kBinary, 0xFFFFFFFBu}})
    {
        store.first = largest;
        OrloVariant value;
        isMemoryExhausted = true;
        EXPECT_EQ(statusRaised(value), 6) << largest.type;
        isMemoryExhausted = false;
    }
}

TEST_F(StoreFaults, NoMemoryForTheBufferIsRaisedAfterTheRecorderSawIt)
{
    for (const std::uint32_t stored : {type::kString, type::kBinary})
    {
        ListeningRecorder recorder;
        store.setValue(stored, "abcd");
        OrloVariant value;
        value.setInt32(5);
        isMemoryExhausted = true;
        EXPECT_EQ(statusRaised(value), 6) << stored;
        isMemoryExhausted = false;
        EXPECT_EQ(recorder.seen, std::vector<int>{6});
        EXPECT_EQ(value.int32(), 5);
    }
}

TEST_F(StoreFaults, TheKeyStaysOpenWhereThereIsNoBlock)
{
    CountingAllocator blocks;
    blocks.isExhausted = true;
    for (const std::uint32_t stored : {type::kString, type::kBinary, type::kDword, type::kQword})
    {
        store = FakeSettingsStore();
        store.setValue(stored, "abcd");
        OrloVariant value;
        EXPECT_EQ(statusRaised(value), 6) << stored;
        EXPECT_EQ(store.opened, 1) << stored;
        EXPECT_EQ(store.closed, 0) << stored;
    }
}

TEST_F(StoreFaults, TheKeyStaysOpenWhereThereIsNoBuffer)
{
    for (const std::uint32_t stored : {type::kString, type::kBinary})
    {
        store = FakeSettingsStore();
        store.setValue(stored, "abcd");
        OrloVariant value;
        isMemoryExhausted = true;
        EXPECT_EQ(statusRaised(value), 6) << stored;
        isMemoryExhausted = false;
        EXPECT_EQ(store.opened, 1) << stored;
        EXPECT_EQ(store.closed, 0) << stored;
    }
}

TEST_F(StoreFaults, TheKeyStaysOpenWhereASizeIsNegative)
{
    for (const std::uint32_t stored : {type::kString, type::kBinary})
    {
        store = FakeSettingsStore();
        store.first = SettingHeader{stored, 0xFFFFFFFFu};
        OrloVariant value;
        EXPECT_EQ(statusRaised(value), 3) << stored;
        EXPECT_EQ(store.opened, 1) << stored;
        EXPECT_EQ(store.closed, 0) << stored;
    }
}

} // namespace
