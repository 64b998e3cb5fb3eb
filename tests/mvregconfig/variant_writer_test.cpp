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

// None of them runs inside a host: the variant functions ask for none.
class WriteVariant : public testing::Test
{
protected:
    std::optional<RawValue> written(const OrloVariant& value) const
    {
        if (!WriteValToReg(settings.key(), "name", value)) return std::nullopt;
        return storedAt(settings.key(), "name");
    }

    OwnSettings settings;
};

/** A blob whose size field says how many bytes of value follow, the field itself not counted. */
OrloVariant blobBySizeField(const std::string& bytes)
{
    unsigned char* payload = OrloVariant::allocatePayload(static_cast<std::uint32_t>(bytes.size()) + 4);
    const auto size = static_cast<std::uint32_t>(bytes.size());
    std::memcpy(payload, &size, sizeof(size));
    std::memcpy(payload + 4, bytes.data(), bytes.size());
    OrloVariant blob;
    blob.adopt(OrloVariant::kBlob, payload);
    return blob;
}

TEST_F(WriteVariant, ANumberOf32BitsIsADWord)
{
    OrloVariant value;
    value.setInt32(-2);
    EXPECT_EQ(written(value), (RawValue{type::kDword, "\xFE\xFF\xFF\xFF"}));
}

TEST_F(WriteVariant, ANumberOf64BitsIsAQWord)
{
    OrloVariant value;
    value.setInt64(0x0807060504030201);
    EXPECT_EQ(written(value), (RawValue{type::kQword, "\1\2\3\4\5\6\7\x08"}));
}

// 1.5 is 0x3FF8000000000000.
TEST_F(WriteVariant, ADoubleIsItsEightBytes)
{
    OrloVariant value;
    value.setDouble(1.5);
    EXPECT_EQ(written(value), (RawValue{type::kBinary, std::string("\0\0\0\0\0\0\xF8\x3F", 8)}));
}

TEST_F(WriteVariant, ABlobIsAsManyBytesAsItsSizeFieldSays)
{
    EXPECT_EQ(written(blobBySizeField(std::string("a\0b", 3))), (RawValue{type::kBinary, std::string("a\0b", 3)}));
    EXPECT_EQ(written(blobBySizeField("x")), (RawValue{type::kBinary, "x"}));
}

// Its size field is 4 + 3: four of the seven bytes come from behind the value, and are zero in this SDK.
TEST_F(WriteVariant, ABlobWhoseSizeFieldCountsItselfIsFourBytesLonger)
{
    OrloVariant value;
    value.setBlob("abc", 3);
    EXPECT_EQ(written(value), (RawValue{type::kBinary, std::string("abc\0\0\0\0", 7)}));
}

TEST_F(WriteVariant, TextIsStoredWithItsZero)
{
    OrloVariant value;
    value.setString(HOST_TEXT("A\u503E"));
    EXPECT_EQ(written(value), (RawValue{type::kString, std::string("A\0\x3E\x50\0\0", 6)}));
    value.setString("");
    EXPECT_EQ(written(value), (RawValue{type::kString, std::string("\0\0", 2)}));
}

TEST_F(WriteVariant, TextEndsAtItsFirstZero)
{
    const KdChar units[] = {KdChar('A'), 0, KdChar('B'), 0};
    unsigned char* payload = OrloVariant::allocatePayload(4 + sizeof(units));
    std::memcpy(payload + 4, units, sizeof(units));
    OrloVariant value;
    value.adopt(OrloVariant::kString, payload);
    EXPECT_EQ(written(value), (RawValue{type::kString, std::string("A\0\0\0", 4)}));
}

TEST_F(WriteVariant, WithoutABlockItIsZeroOrEmpty)
{
    const struct
    {
        OrloVariant::Tag tag;
        RawValue stored;
    } cases[] = {{OrloVariant::kInt32, {type::kDword, std::string(4, '\0')}},
                 {OrloVariant::kInt64, {type::kQword, std::string(8, '\0')}},
                 {OrloVariant::kDouble, {type::kBinary, std::string(8, '\0')}},
                 {OrloVariant::kString, {type::kString, std::string(2, '\0')}}};
    for (const auto& one : cases)
    {
        OrloVariant value;
        value.adopt(one.tag, nullptr);
        EXPECT_EQ(written(value), one.stored) << "tag " << one.tag;
    }
}

TEST_F(WriteVariant, AnEmptyBlobIsNotStoredButItsKeyIsMade)
{
    EXPECT_TRUE(WriteValToReg(settings.key(), "name", blobBySizeField("")));
    EXPECT_EQ(storedAt(settings.key(), "name"), std::nullopt);
    EXPECT_TRUE(keyExists(settings.key()));
}

TEST_F(WriteVariant, AnEmptyBlobLeavesTheOldValue)
{
    ASSERT_TRUE(storeRaw(settings.key(), "name", {type::kBinary, "old"}));
    EXPECT_EQ(written(blobBySizeField("")), (RawValue{type::kBinary, "old"}));
}

TEST_F(WriteVariant, ABlobWithoutABlockIsAnEmptyOne)
{
    OrloVariant value;
    value.adopt(OrloVariant::kBlob, nullptr);
    EXPECT_TRUE(WriteValToReg(settings.key(), "name", value));
    EXPECT_EQ(storedAt(settings.key(), "name"), std::nullopt);
}

TEST_F(WriteVariant, AnUnknownTagIsNotStoredAndTrue)
{
    ASSERT_TRUE(storeRaw(settings.key(), "name", {type::kBinary, "old"}));
    for (const int tag : {0, 6, 99, -1})
    {
        OrloVariant value;
        value.setInt32(5);
        value.adopt(static_cast<OrloVariant::Tag>(tag), value.payload());
        EXPECT_EQ(written(value), (RawValue{type::kBinary, "old"})) << "tag " << tag;
        EXPECT_TRUE(WriteValToReg(settings.keyBelow("new"), "name", value));
        EXPECT_EQ(storedAt(settings.keyBelow("new"), "name"), std::nullopt);
    }
    EXPECT_TRUE(keyExists(settings.keyBelow("new")));
}

TEST_F(WriteVariant, IsFalseForAnEmptySubKey)
{
    OrloVariant value;
    EXPECT_FALSE(WriteValToReg("", "name", value));
    value.setInt32(1);
    EXPECT_FALSE(WriteValToReg("", "name", value));
    EXPECT_FALSE(WriteValToReg("", "name", blobBySizeField("")));
}

TEST_F(WriteVariant, IsFalseIfTheKeyCannotBeMade)
{
    OrloVariant value;
    EXPECT_FALSE(WriteValToReg("\\begins with a separator", "name", value));
    value.setInt32(1);
    EXPECT_FALSE(WriteValToReg("\\begins with a separator", "name", value));
}

TEST_F(WriteVariant, LeavesTheVariantAlone)
{
    CountingAllocator blocks;
    {
        OrloVariant value;
        value.setString("text");
        ASSERT_TRUE(WriteValToReg(settings.key(), "name", value));
        EXPECT_EQ(value.string(), KdString("text"));
    }
    EXPECT_EQ(blocks.made, 1);
    EXPECT_EQ(blocks.freed, 1);
}

} // namespace
