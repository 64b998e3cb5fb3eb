#include "ProgramRunner.h"
#include "commands/SettingText.h"

#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
TEST(SettingsCommand, IsTestedOnPosixOnly)
{
    GTEST_SKIP() << "here it would change the user's own registry";
}
#else

#include <sqlite3.h>

namespace
{

using namespace mvgeo::host;

/** The programs that are run keep their settings in a file of the test. */
class SettingsCommand : public testing::Test
{
protected:
    SettingsCommand() { setenv("MVGEO_SETTINGS_FILE", folder.path("settings").c_str(), 1); }
    ~SettingsCommand() override { unsetenv("MVGEO_SETTINGS_FILE"); }

    static void set(const std::string& arguments)
    {
        const Outcome outcome = run("settings set " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
    static std::string get(const std::string& arguments)
    {
        const Outcome outcome = run("settings get " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
    }

    TempFolder folder;
};

TEST_F(SettingsCommand, GivesBackWhatWasSet)
{
    set("'profiles\\Default' level -3 --type dword");
    EXPECT_EQ(get("'profiles\\Default' level"), "dword  -3\n");
}

TEST_F(SettingsCommand, KnowsEveryType)
{
    set("key a 0xFFFFFFFF --type dword");
    EXPECT_EQ(get("key a"), "dword  -1\n");
    set("key a 5000000000 --type qword");
    EXPECT_EQ(get("key a"), "qword  5000000000\n");
    set("key a 'some text \xE5\x80\xBE'");
    EXPECT_EQ(get("key a"), "string  some text \xE5\x80\xBE\n");
    set("key a 00ff10 --type blob");
    EXPECT_EQ(get("key a"), "blob  00ff10\n");
    set("key a 1.5 --type double");
    EXPECT_EQ(get("key a"), "blob  000000000000f83f (as a double 1.5)\n");
}

TEST_F(SettingsCommand, PrintsJson)
{
    set("key a 7 --type dword");
    set("key b text");
    set("'key\\deeper' c abcd --type blob");
    EXPECT_EQ(Json::parse(get("key a --json")), (Json{{"name", "a"}, {"type", "dword"}, {"value", 7}}));
    const Outcome listed = run("settings list key --json");
    EXPECT_EQ(Json::parse(listed.out), (Json{{"key", "Software\\MvGeoThirdparty\\mvgeo\\1.0\\en-US\\key"},
                                             {"keys", {"deeper"}},
                                             {"values",
                                              {{{"name", "a"}, {"type", "dword"}, {"value", 7}},
                                               {{"name", "b"}, {"type", "string"}, {"value", "text"}}}}}));
}

// REG_MULTI_SZ, as another program may store it in the registry; the file gets it past the library.
TEST_F(SettingsCommand, TellsThatATypeIsNotRead)
{
    constexpr const char* kMakeItMultiString = "UPDATE settings SET type = 7";
    set("key a text");
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(folder.path("settings").c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, kMakeItMultiString, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);

    const Json asJson{{"name", "a"}, {"type", "other"}, {"value", nullptr}};
    EXPECT_EQ(get("key a"), "other  (of a type that is not read)\n");
    EXPECT_EQ(Json::parse(get("key a --json")), asJson);
    EXPECT_EQ(run("settings list key").out, "Software\\MvGeoThirdparty\\mvgeo\\1.0\\en-US\\key\n"
                                            "  a  other  (of a type that is not read)\n");
    EXPECT_EQ(Json::parse(run("settings list key --json").out)["values"], Json::array({asJson}));
}

TEST_F(SettingsCommand, ListsTheRootByDefault)
{
    set("'' own text");
    set("key a 7 --type dword");
    const Outcome listed = run("settings list");
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.out, "Software\\MvGeoThirdparty\\mvgeo\\1.0\\en-US\n"
                          "  key\\\n"
                          "  own  string  text\n");
}

TEST_F(SettingsCommand, SaysWhatIsNotThere)
{
    expectOneSentence("settings get key name", "no setting 'name'");
    expectOneSentence("settings list key", "no key");
    EXPECT_FALSE(std::filesystem::exists(folder.path("settings")));
}

TEST_F(SettingsCommand, RefusesWhatIsNoValue)
{
    expectOneSentence("settings set key a one --type dword", "'one' is not a value of the type dword");
    expectOneSentence("settings set key a 4294967296 --type dword", "dword");
    expectOneSentence("settings set key a 1x --type qword", "qword");
    expectOneSentence("settings set key a nan --type double", "double");
    expectOneSentence("settings set key a abc --type blob", "blob");
    expectOneSentence("settings set key a xy --type blob", "blob");
    expectOneSentence("settings set key a '' --type blob", "empty blob");
    expectOneSentence("settings set key a 1 --type multi", "--type");
    expectOneSentence("settings set key a", "VALUE");
    expectOneSentence("settings", "subcommand");
    EXPECT_FALSE(std::filesystem::exists(folder.path("settings")));
}

TEST_F(SettingsCommand, SaysThatItCannotWrite)
{
    folder.write("settings", "not a settings file");
    expectOneSentence("settings set key a text", "Cannot write the setting 'a'");
    EXPECT_EQ(readFile(folder.path("settings")), "not a settings file");
}

TEST(SettingText, ABlobToStoreCountsItsBytesAlone)
{
    const std::optional<OrloVariant> blob = settingFromText("blob", "0102");
    ASSERT_TRUE(blob.has_value());
    std::uint32_t size = 0;
    std::memcpy(&size, blob->payload(), sizeof(size));
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(std::memcmp(blob->payload() + 4, "\1\2", 2), 0);
}

TEST(SettingText, ABlobWithoutABlockIsEmpty)
{
    OrloVariant blob;
    blob.adopt(OrloVariant::kBlob, nullptr);
    EXPECT_EQ(settingText(blob), "");
    EXPECT_EQ(settingJson(blob), "");
    EXPECT_EQ(settingType(OrloVariant()), "other");
    EXPECT_TRUE(settingJson(OrloVariant()).is_null());
}

} // namespace
#endif
