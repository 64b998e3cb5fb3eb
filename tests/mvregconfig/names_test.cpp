#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/FakeHost.h"
#include "mvregconfig/OwnSettings.h"
#include "mvregconfig/RawValues.h"

#include <gtest/gtest.h>

namespace
{

using namespace MvRegConfig;

KdString repeated(const KdString& part, int times)
{
    KdString all;
    for (int i = 0; i < times; ++i)
        all += part;
    return all;
}

class SettingNames : public testing::Test
{
protected:
    int read(const KdString& key, const KdString& name) const
    {
        int number = -1;
        return getRegDWordVal(key, name, number) ? number : -1;
    }

    OwnSettings settings;
    RunningHost host;
};

TEST_F(SettingNames, AreComparedWithoutRegardToCase)
{
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("Profiles\\Default"), "Level", 1));
    EXPECT_EQ(read(settings.keyBelow("PROFILES\\default"), "lEVEL"), 1);
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("profiles\\DEFAULT"), "LEVEL", 2));
    EXPECT_EQ(read(settings.keyBelow("Profiles\\Default"), "Level"), 2);
}

TEST_F(SettingNames, OfOtherAlphabetsAreComparedWithoutRegardToCaseToo)
{
    // Cyrillic, Greek, Latin with diaereses, Fullwidth.
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow(HOST_TEXT("\u0436\u03B4")), HOST_TEXT("\u00E4\u00F6\uFF41"), 3));
    EXPECT_EQ(read(settings.keyBelow(HOST_TEXT("\u0416\u0394")), HOST_TEXT("\u00C4\u00D6\uFF21")), 3);
}

TEST_F(SettingNames, KeepTheCaseTheyWereFirstWrittenIn)
{
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("Profiles"), "Level", 1));
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("PROFILES"), "LEVEL", 2));
    std::vector<KdString> keys;
    std::vector<KdString> values;
    ASSERT_TRUE(listRegKey(settings.key(), keys, values));
    EXPECT_EQ(keys, std::vector<KdString>{"Profiles"});
    ASSERT_TRUE(listRegKey(settings.keyBelow("profiles"), keys, values));
    EXPECT_EQ(values, std::vector<KdString>{"Level"});
}

TEST_F(SettingNames, MayHaveAnyCharacterButTheSeparator)
{
    const KdString names[] = {
        HOST_TEXT("\u503E\u659C"), HOST_TEXT("\U0001F600"), "a/b", "a b", "'; DROP TABLE keys; --", "%_*?", "..", " ",
        HOST_TEXT("\uFEFFbom")};
    int number = 0;
    for (const KdString& name : names)
    {
        ASSERT_TRUE(setRegDWordVal(settings.keyBelow(name), name, ++number)) << name.utf8Ptr();
        EXPECT_EQ(read(settings.keyBelow(name), name), number) << name.utf8Ptr();
    }
    std::vector<KdString> keys;
    std::vector<KdString> values;
    ASSERT_TRUE(listRegKey(settings.key(), keys, values));
    EXPECT_EQ(keys.size(), std::size(names));
}

TEST_F(SettingNames, OfValuesMayHaveTheSeparatorToo)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "a\\b", 4));
    EXPECT_EQ(read(settings.key(), "a\\b"), 4);
    EXPECT_EQ(read(settings.keyBelow("a"), "b"), -1);
}

TEST_F(SettingNames, ThatBeginWithTheOtherAreOthers)
{
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("ab"), "xy", 1));
    EXPECT_FALSE(keyExists(settings.keyBelow("a")));
    EXPECT_EQ(read(settings.keyBelow("ab"), "x"), -1);
    EXPECT_EQ(read(settings.keyBelow("ab"), "xyz"), -1);
}

TEST_F(SettingNames, OfKeysHaveAtMost255Characters)
{
    const KdString longest = repeated("k", 255);
    EXPECT_TRUE(setRegDWordVal(settings.keyBelow(longest), "name", 5));
    EXPECT_EQ(read(settings.keyBelow(longest), "name"), 5);
    EXPECT_FALSE(setRegDWordVal(settings.keyBelow(repeated("k", 300)), "name", 5));
    EXPECT_EQ(read(settings.keyBelow(repeated("k", 300)), "name"), -1);
}

TEST_F(SettingNames, MayStandDeep)
{
    const KdString deep = settings.keyBelow(repeated("level\\", 24) + KdString("last"));
    ASSERT_TRUE(setRegDWordVal(deep, "name", 6));
    EXPECT_EQ(read(deep, "name"), 6);
}

TEST_F(SettingNames, OfValuesMayBeLong)
{
    const KdString name = repeated("0123456789", 1000);
    ASSERT_TRUE(setRegDWordVal(settings.key(), name, 7));
    EXPECT_EQ(read(settings.key(), name), 7);
    EXPECT_FALSE(setRegDWordVal(settings.key(), repeated("0123456789", 1700), 8));
}

TEST_F(SettingNames, AValueDoesNotHideInAnotherKey)
{
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("a"), "name", 1));
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("b"), "name", 2));
    EXPECT_EQ(read(settings.keyBelow("a"), "name"), 1);
    EXPECT_EQ(read(settings.key(), "name"), -1);
}

TEST_F(SettingNames, ASeparatorInFrontIsNoPath)
{
    int number = 7;
    EXPECT_FALSE(setRegDWordVal(KdString("\\") + settings.key(), "name", 1));
    EXPECT_FALSE(getRegDWordVal(KdString("\\") + settings.key(), "name", number));
    EXPECT_FALSE(keyExists(settings.key()));
}

TEST_F(SettingNames, ASeparatorAtTheEndIsIgnored)
{
    ASSERT_TRUE(setRegDWordVal(settings.key() + KdString("\\"), "name", 9));
    EXPECT_EQ(read(settings.key(), "name"), 9);
}

TEST(ListRegKey, TellsKeysAndValues)
{
    const OwnSettings settings;
    const RunningHost host;
    ASSERT_TRUE(setRegDWordVal(settings.key(), "b", 1));
    ASSERT_TRUE(setRegDWordVal(settings.key(), "a", 1));
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("y\\deeper"), "c", 1));
    ASSERT_TRUE(setRegDWordVal(settings.keyBelow("x"), "d", 1));
    std::vector<KdString> keys = {"old"};
    std::vector<KdString> values;
    ASSERT_TRUE(listRegKey(settings.key(), keys, values));
    EXPECT_EQ(keys, (std::vector<KdString>{"x", "y"}));
    EXPECT_EQ(values, (std::vector<KdString>{"a", "b"}));
    ASSERT_TRUE(listRegKey(settings.keyBelow("y"), keys, values));
    EXPECT_EQ(keys, std::vector<KdString>{"deeper"});
    EXPECT_TRUE(values.empty());
}

TEST(ListRegKey, NeedsNoRunningHost)
{
    const OwnSettings settings;
    ASSERT_EQ(kddbHostApplicationServices(), nullptr);
    ASSERT_TRUE(storeRaw(settings.key(), "a", {mvgeo::platform::setting_type::kBinary, "x"}));
    std::vector<KdString> keys = {"old"};
    std::vector<KdString> values;
    EXPECT_TRUE(listRegKey(settings.key(), keys, values));
    EXPECT_TRUE(keys.empty());
    EXPECT_EQ(values, std::vector<KdString>{"a"});
}

TEST(ListRegKey, IsFalseWithoutAKeyAndLeavesTheListsAlone)
{
    const OwnSettings settings;
    std::vector<KdString> keys = {"k"};
    std::vector<KdString> values = {"v"};
    EXPECT_FALSE(listRegKey(settings.key(), keys, values));
    EXPECT_FALSE(listRegKey("", keys, values));
    EXPECT_EQ(keys, std::vector<KdString>{"k"});
    EXPECT_EQ(values, std::vector<KdString>{"v"});
    EXPECT_FALSE(keyExists(settings.key()));
}

} // namespace
