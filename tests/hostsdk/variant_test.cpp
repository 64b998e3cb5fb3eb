#include "OrloVariant.h"

#include "HostText.h"
#include "ListeningRecorder.h"
#include "MvErrorStatus.h"
#include "OrloPayloadAllocator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Bytes = std::vector<int>;

std::uint32_t sizeFieldOf(const OrloVariant& variant)
{
    std::uint32_t size = 0;
    std::memcpy(&size, variant.payload(), sizeof(size));
    return size;
}

// What follows the size field.
Bytes valueBytesOf(const OrloVariant& variant)
{
    return Bytes(variant.payload() + 4, variant.payload() + sizeFieldOf(variant));
}

unsigned char* block(const std::string& value)
{
    unsigned char* payload = OrloVariant::allocatePayload(static_cast<std::uint32_t>(value.size() + 4));
    std::memcpy(payload + 4, value.data(), value.size());
    return payload;
}

TEST(OrloVariant, IsEmptyByDefault)
{
    const OrloVariant variant;
    EXPECT_EQ(variant.tag(), OrloVariant::kEmpty);
    EXPECT_EQ(variant.payload(), nullptr);
}

TEST(OrloVariant, TagAndPointerStandSideBySide)
{
    OrloVariant variant;
    variant.setInt32(7);
    std::int32_t tag = 0;
    unsigned char* payload = nullptr;
    std::memcpy(&tag, &variant, sizeof(tag));
    std::memcpy(&payload, reinterpret_cast<const char*>(&variant) + 4, sizeof(payload));
    EXPECT_EQ(tag, 1);
    EXPECT_EQ(payload, variant.payload());
    EXPECT_EQ(sizeof(OrloVariant), 4 + sizeof(void*));
}

TEST(OrloVariant, Int32TakesABlockOfEightBytes)
{
    OrloVariant variant;
    variant.setInt32(-5);
    EXPECT_EQ(variant.tag(), 1);
    EXPECT_EQ(sizeFieldOf(variant), 8u);
    EXPECT_EQ(variant.int32(), -5);
}

TEST(OrloVariant, Int64TakesABlockOfTwelveBytes)
{
    OrloVariant variant;
    variant.setInt64(-5000000000);
    EXPECT_EQ(variant.tag(), 2);
    EXPECT_EQ(sizeFieldOf(variant), 12u);
    EXPECT_EQ(variant.int64(), -5000000000);
}

TEST(OrloVariant, DoubleTakesABlockOfTwelveBytes)
{
    OrloVariant variant;
    variant.setDouble(0.15625);
    EXPECT_EQ(variant.tag(), 3);
    EXPECT_EQ(sizeFieldOf(variant), 12u);
    EXPECT_EQ(variant.real(), 0.15625);
}

TEST(OrloVariant, BlobFollowsItsSizeField)
{
    OrloVariant variant;
    const unsigned char bytes[] = {9, 0, 255};
    variant.setBlob(bytes, 3);
    EXPECT_EQ(variant.tag(), 4);
    EXPECT_EQ(sizeFieldOf(variant), 7u);
    EXPECT_EQ(valueBytesOf(variant), (Bytes{9, 0, 255}));
}

TEST(OrloVariant, AnEmptyBlobStillHasItsSizeField)
{
    OrloVariant variant;
    variant.setBlob(nullptr, 0);
    EXPECT_EQ(variant.tag(), OrloVariant::kBlob);
    EXPECT_EQ(sizeFieldOf(variant), 4u);
}

TEST(OrloVariant, StringTakesTwoBytesAUnitAndSixMore)
{
    OrloVariant variant;
    variant.setString(KdString("AB"));
    EXPECT_EQ(variant.tag(), 5);
    EXPECT_EQ(sizeFieldOf(variant), 10u); // 4 + 2 * 2 + 2 for the terminating zero
    KdChar units[3] = {};
    std::memcpy(units, variant.payload() + 4, sizeof(units));
    EXPECT_EQ(units[0], KdChar('A'));
    EXPECT_EQ(units[1], KdChar('B'));
    EXPECT_EQ(units[2], KdChar(0));
    EXPECT_EQ(variant.string(), KdString("AB"));
}

TEST(OrloVariant, KeepsTextOutsideAscii)
{
    OrloVariant variant;
    variant.setString(KdString(HOST_TEXT("\u503E\u659C\U0001F600")));
    EXPECT_EQ(variant.string(), KdString(HOST_TEXT("\u503E\u659C\U0001F600")));
    variant.setString(KdString());
    EXPECT_TRUE(variant.string().isEmpty());
}

TEST(OrloVariant, AnotherTagGivesTheDefaultValue)
{
    OrloVariant variant;
    variant.setInt64(12);
    EXPECT_EQ(variant.int32(), 0);
    EXPECT_EQ(variant.real(), 0.0);
    EXPECT_TRUE(variant.string().isEmpty());
    variant.setInt32(12);
    EXPECT_EQ(variant.int64(), 0);
}

TEST(OrloVariant, NoBlockStandsForZeroAndEmptyText)
{
    OrloVariant variant;
    variant.adopt(OrloVariant::kInt32, nullptr);
    EXPECT_EQ(variant.int32(), 0);
    variant.adopt(OrloVariant::kInt64, nullptr);
    EXPECT_EQ(variant.int64(), 0);
    variant.adopt(OrloVariant::kDouble, nullptr);
    EXPECT_EQ(variant.real(), 0.0);
    variant.adopt(OrloVariant::kString, nullptr);
    EXPECT_TRUE(variant.string().isEmpty());
}

TEST(OrloVariant, ABlockTooShortForItsTagStandsForZero)
{
    OrloVariant variant;
    variant.adopt(OrloVariant::kInt32, block("abc"));
    EXPECT_EQ(variant.int32(), 0);
    variant.adopt(OrloVariant::kInt64, block("abcdefg"));
    EXPECT_EQ(variant.int64(), 0);
    variant.adopt(OrloVariant::kString, block("a"));
    EXPECT_TRUE(variant.string().isEmpty());
}

TEST(OrloVariant, ReadsTextWithoutATerminatingZero)
{
    const KdChar units[] = {KdChar('A'), KdChar('B')};
    OrloVariant variant;
    variant.adopt(OrloVariant::kString, block(std::string(reinterpret_cast<const char*>(units), sizeof(units))));
    EXPECT_EQ(variant.string(), KdString("AB"));
}

TEST(OrloVariant, ACopyHasItsOwnBlock)
{
    OrloVariant original;
    original.setInt32(1);
    const OrloVariant copy(original);
    EXPECT_NE(copy.payload(), original.payload());
    original.setInt32(2);
    EXPECT_EQ(copy.int32(), 1);
}

TEST(OrloVariant, CopiesWhatHasNoBlock)
{
    const OrloVariant copy{OrloVariant()};
    EXPECT_EQ(copy.tag(), OrloVariant::kEmpty);
    EXPECT_EQ(copy.payload(), nullptr);
}

TEST(OrloVariant, AMoveLeavesAnEmptyVariantBehind)
{
    OrloVariant original;
    original.setDouble(2.5);
    const unsigned char* payload = original.payload();
    const OrloVariant moved(std::move(original));
    EXPECT_EQ(moved.payload(), payload);
    EXPECT_EQ(moved.real(), 2.5);
    EXPECT_EQ(original.tag(), OrloVariant::kEmpty); // NOLINT(bugprone-use-after-move): the state is promised
    EXPECT_EQ(original.payload(), nullptr);
}

TEST(OrloVariant, AssignmentCopiesOrMoves)
{
    OrloVariant original;
    original.setString(KdString("tile"));
    OrloVariant target;
    target.setInt32(1);
    target = original;
    EXPECT_EQ(target.string(), KdString("tile"));
    EXPECT_NE(target.payload(), original.payload());

    const unsigned char* payload = original.payload();
    target = std::move(original);
    EXPECT_EQ(target.payload(), payload);
}

TEST(OrloVariant, SurvivesAssignmentToItself)
{
    OrloVariant variant;
    variant.setInt64(77);
    OrloVariant& same = variant;
    variant = same;
    EXPECT_EQ(variant.int64(), 77);
    variant = std::move(same);
    EXPECT_EQ(variant.int64(), 77);
}

TEST(OrloVariant, AdoptTakesTheBlockItself)
{
    unsigned char* payload = block("abcd");
    OrloVariant variant;
    variant.setInt32(1);
    variant.adopt(OrloVariant::kBlob, payload);
    EXPECT_EQ(variant.payload(), payload);
    EXPECT_EQ(valueBytesOf(variant), (Bytes{'a', 'b', 'c', 'd'}));
}

TEST(OrloVariant, MayAdoptItsOwnBlockUnderAnotherTag)
{
    OrloVariant variant;
    variant.setInt64(3);
    variant.adopt(OrloVariant::kBlob, variant.payload());
    EXPECT_EQ(sizeFieldOf(variant), 12u);
    EXPECT_EQ(valueBytesOf(variant), (Bytes{3, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(OrloVariant, KeepsATagThatItDoesNotKnow)
{
    OrloVariant variant;
    variant.adopt(static_cast<OrloVariant::Tag>(99), block("xy"));
    const OrloVariant copy(variant);
    EXPECT_EQ(copy.tag(), 99);
    EXPECT_EQ(valueBytesOf(copy), (Bytes{'x', 'y'}));
    EXPECT_EQ(copy.int32(), 0);
}

TEST(OrloVariant, ClearDropsTagAndBlock)
{
    OrloVariant variant;
    variant.setInt32(1);
    variant.clear();
    EXPECT_EQ(variant.tag(), OrloVariant::kEmpty);
    EXPECT_EQ(variant.payload(), nullptr);
}

TEST(OrloVariant, ABlockHasRoomForItsSizeFieldAtLeast)
{
    OrloVariant variant;
    variant.adopt(OrloVariant::kBlob, OrloVariant::allocatePayload(0));
    EXPECT_EQ(sizeFieldOf(variant), 4u);
    OrloVariant::freePayload(nullptr);
}

// The size field counts itself, so the largest blob is four bytes short of 2^32.
TEST(OrloVariant, RefusesABlobThatNoSizeFieldCanTell)
{
    const ListeningRecorder recorder;
    OrloVariant variant;
    variant.setInt32(5);
    const unsigned char byte = 0;
    EXPECT_THROW(variant.setBlob(&byte, 0xFFFFFFFCu), MvErrorStatus);
    EXPECT_THROW(variant.setBlob(nullptr, 1), MvErrorStatus);
    EXPECT_EQ(recorder.seen, (std::vector<int>{3, 3}));
    EXPECT_EQ(variant.int32(), 5);
}

// Whoever takes the size field of a blob for its byte count reads four bytes more than the value has.
TEST(OrloVariant, FourSpareBytesLieBehindEveryBlock)
{
    unsigned char* payload = block("abc");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(payload) + 4, 7), std::string("abc\0\0\0\0", 7));
    std::memcpy(payload + 7, "defg", 4);
    OrloVariant variant;
    variant.adopt(OrloVariant::kBlob, payload);
    const OrloVariant copy(variant);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(copy.payload()) + 4, 7), "abcdefg");
}

TEST(OrloVariant, ACopyKeepsASizeFieldOfZero)
{
    unsigned char* payload = OrloVariant::allocatePayload(4);
    const std::uint32_t none = 0;
    std::memcpy(payload, &none, sizeof(none));
    OrloVariant variant;
    variant.adopt(OrloVariant::kBlob, payload);
    EXPECT_EQ(sizeFieldOf(OrloVariant(variant)), 0u);
}

/** Counts, and fails on demand. */
class TestAllocator : public OrloPayloadAllocator
{
public:
    TestAllocator() { orloSetPayloadAllocator(this); }
    ~TestAllocator() override { orloSetPayloadAllocator(nullptr); }
    unsigned char* allocate(std::size_t byteCount) override
    {
        if (isExhausted) return nullptr;
        ++made;
        return new unsigned char[byteCount];
    }
    void release(unsigned char* payload) override
    {
        ++freed;
        delete[] payload;
    }

    int made = 0;
    int freed = 0;
    bool isExhausted = false;
};

TEST(OrloVariant, FreesEveryBlockOnce)
{
    TestAllocator blocks;
    {
        OrloVariant variant;
        variant.setInt32(1);       // made 1
        variant.setString("text"); // made 2, freed 1
        OrloVariant copy(variant); // made 3
        copy = variant;            // made 4, freed 2
        OrloVariant moved(std::move(copy));
        moved.adopt(OrloVariant::kBlob, moved.payload());
        variant.clear(); // freed 3
        EXPECT_EQ(blocks.made, 4);
        EXPECT_EQ(blocks.freed, 3);
    }
    EXPECT_EQ(blocks.made, 4);
    EXPECT_EQ(blocks.freed, 4);
}

TEST(OrloVariant, OutOfMemoryThrowsAndLeavesItAsItWas)
{
    const ListeningRecorder recorder;
    TestAllocator blocks;
    OrloVariant variant;
    variant.setInt32(5);
    blocks.isExhausted = true;
    EXPECT_EQ(OrloVariant::allocatePayload(8), nullptr);
    EXPECT_THROW(variant.setInt64(6), MvErrorStatus);
    EXPECT_THROW(variant.setString("text"), MvErrorStatus);
    EXPECT_THROW(OrloVariant copy(variant), MvErrorStatus);
    EXPECT_EQ(recorder.seen, (std::vector<int>{6, 6, 6}));
    EXPECT_EQ(variant.int32(), 5);
    blocks.isExhausted = false;
    variant.clear();
    EXPECT_EQ(blocks.freed, blocks.made);
}

} // namespace
