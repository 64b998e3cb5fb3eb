#include "platform/SettingsStore.h"

#include "mvregconfig/OwnSettings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

// What both halves promise alike: the registry, and the file that stands in for it.

namespace
{

using namespace mvgeo::platform;

class SettingsStore : public testing::Test
{
protected:
    SettingsKey opened() const { return SettingsKey::openForWriting(settings.key().kwszPtr()); }

    OwnSettings settings;
};

TEST_F(SettingsStore, ReadingOpensOnlyWhatIsThere)
{
    EXPECT_FALSE(SettingsKey::openForReading(settings.key().kwszPtr()).isOpen());
    EXPECT_TRUE(opened().isOpen());
    EXPECT_TRUE(SettingsKey::openForReading(settings.key().kwszPtr()).isOpen());
}

TEST_F(SettingsStore, AMovedKeyIsOpenInOnePlace)
{
    SettingsKey first = opened();
    const SettingsKey second(std::move(first));
    EXPECT_FALSE(first.isOpen()); // NOLINT(bugprone-use-after-move): the state is promised
    EXPECT_TRUE(second.isOpen());
}

TEST_F(SettingsStore, AKeyThatIsLeftIsNotOpenHere)
{
    SettingsKey key = opened();
    key.leaveOpen();
    EXPECT_FALSE(key.isOpen());
}

TEST_F(SettingsStore, KeepsTypeAndBytes)
{
    SettingsKey key = opened();
    const std::string bytes("a\0\xFF", 3);
    for (const std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 11u, 99u})
    {
        ASSERT_TRUE(key.write(HOST_TEXT("name"), type, bytes.data(), 3));
        const auto header = SettingsKey::openForReading(settings.key().kwszPtr()).query(HOST_TEXT("name"));
        ASSERT_TRUE(header.has_value()) << type;
        EXPECT_EQ(header->type, type);
        EXPECT_EQ(header->byteCount, 3u);
        std::string buffer(3, '\0');
        const auto fetched =
            SettingsKey::openForReading(settings.key().kwszPtr()).read(HOST_TEXT("name"), buffer.data(), 3);
        ASSERT_TRUE(fetched.has_value()) << type;
        EXPECT_EQ(fetched->type, type);
        EXPECT_EQ(fetched->byteCount, 3u);
        EXPECT_EQ(buffer, bytes);
    }
}

TEST_F(SettingsStore, MoreRoomThanNeededIsLeftAlone)
{
    SettingsKey key = opened();
    ASSERT_TRUE(key.write(HOST_TEXT("name"), setting_type::kBinary, "ab", 2));
    std::string buffer = "-----";
    const auto fetched = SettingsKey::openForReading(settings.key().kwszPtr())
                             .read(HOST_TEXT("name"), buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    ASSERT_TRUE(fetched.has_value());
    EXPECT_EQ(fetched->byteCount, 2u);
    EXPECT_EQ(buffer, "ab---");
}

TEST_F(SettingsStore, TooLittleRoomIsAFailure)
{
    SettingsKey key = opened();
    ASSERT_TRUE(key.write(HOST_TEXT("name"), setting_type::kBinary, "abc", 3));
    const SettingsKey reader = SettingsKey::openForReading(settings.key().kwszPtr());
    std::string buffer(3, '-');
    EXPECT_FALSE(reader.read(HOST_TEXT("name"), buffer.data(), 2).has_value());
    EXPECT_FALSE(reader.read(HOST_TEXT("name"), buffer.data(), 0).has_value());
}

TEST_F(SettingsStore, AValueMayHaveNoBytes)
{
    SettingsKey key = opened();
    ASSERT_TRUE(key.write(HOST_TEXT("name"), setting_type::kBinary, nullptr, 0));
    const SettingsKey reader = SettingsKey::openForReading(settings.key().kwszPtr());
    const auto header = reader.query(HOST_TEXT("name"));
    ASSERT_TRUE(header.has_value());
    EXPECT_EQ(header->byteCount, 0u);
    const auto fetched = reader.read(HOST_TEXT("name"), nullptr, 0);
    ASSERT_TRUE(fetched.has_value());
    EXPECT_EQ(fetched->byteCount, 0u);
}

TEST_F(SettingsStore, AMissingValueIsNothing)
{
    const SettingsKey key = opened();
    char buffer = 0;
    const SettingsKey reader = SettingsKey::openForReading(settings.key().kwszPtr());
    EXPECT_FALSE(reader.query(HOST_TEXT("name")).has_value());
    EXPECT_FALSE(reader.read(HOST_TEXT("name"), &buffer, 1).has_value());
}

TEST_F(SettingsStore, LargeValuesComeBack)
{
    std::string bytes(3 << 20, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 >> 3);
    const auto byteCount = static_cast<std::uint32_t>(bytes.size());
    SettingsKey key = opened();
    ASSERT_TRUE(key.write(HOST_TEXT("name"), setting_type::kBinary, bytes.data(), byteCount));
    std::string buffer(bytes.size(), '\0');
    const SettingsKey reader = SettingsKey::openForReading(settings.key().kwszPtr());
    ASSERT_TRUE(reader.read(HOST_TEXT("name"), buffer.data(), byteCount).has_value());
    EXPECT_TRUE(buffer == bytes);
}

TEST_F(SettingsStore, ListsKeysAndValues)
{
    SettingsKey key = opened();
    ASSERT_TRUE(key.write(HOST_TEXT("a"), setting_type::kBinary, "x", 1));
    ASSERT_TRUE(key.write(HOST_TEXT(""), setting_type::kBinary, "x", 1));
    ASSERT_TRUE(SettingsKey::openForWriting(settings.keyBelow("k\\deeper").kwszPtr()).isOpen());
    const SettingsKey reader = SettingsKey::openForReading(settings.key().kwszPtr());
    EXPECT_EQ(reader.keyNames(), std::vector<WideString>{HOST_TEXT("k")});
    std::vector<WideString> values = reader.valueNames().value_or(std::vector<WideString>());
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, (std::vector<WideString>{HOST_TEXT(""), HOST_TEXT("a")}));
}

} // namespace
