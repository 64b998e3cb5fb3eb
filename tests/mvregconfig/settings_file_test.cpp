#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/FakeHost.h"
#include "mvregconfig/OwnSettings.h"
#include "mvregconfig/RawValues.h"
#include "platform/posix/SettingsNames.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// The file that stands in for the registry: where it lies, and what happens when it is in a bad way.

namespace
{

using namespace MvRegConfig;
using mvgeo::platform::WideString;
namespace fs = std::filesystem;

std::string contentOf(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

/** Runs `work` in a process of its own, as somebody who is not allowed everything; true if it gave true. */
bool inProcess(const std::function<bool()>& work, bool asNobody = false)
{
    const pid_t child = fork();
    if (child == 0)
    {
        constexpr uid_t kNobody = 65534;
        if (asNobody && geteuid() == 0 && setuid(kNobody) != 0) _exit(2);
        _exit(work() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class SettingsFilePlace : public testing::Test
{
protected:
    ~SettingsFilePlace() override
    {
        restore("HOME", home);
        restore("XDG_CONFIG_HOME", configHome);
    }
    static std::string valueOf(const char* name) { return std::getenv(name) ? std::getenv(name) : ""; }
    static void restore(const char* name, const std::string& value)
    {
        if (value.empty())
            unsetenv(name);
        else
            setenv(name, value.c_str(), 1);
    }
    void unsetPlace() { unsetenv("MVGEO_SETTINGS_FILE"); } // its owner sets it back

    const std::string home = valueOf("HOME");
    const std::string configHome = valueOf("XDG_CONFIG_HOME");
    OwnSettings settings;
    RunningHost host;
};

TEST_F(SettingsFilePlace, IsBelowTheConfigurationFolder)
{
    unsetPlace();
    restore("XDG_CONFIG_HOME", settings.folder() / "config");
    ASSERT_TRUE(setRegDWordVal("key", "name", 1));
    EXPECT_TRUE(fs::exists(settings.folder() / "config/mvgeothirdparty/settings.sqlite"));
}

TEST_F(SettingsFilePlace, IsBelowTheHomeFolderOtherwise)
{
    unsetPlace();
    restore("HOME", settings.folder() / "home");
    for (const char* none : {"", "relative/config"})
    {
        restore("XDG_CONFIG_HOME", none);
        ASSERT_TRUE(setRegDWordVal("key", "name", 1));
        EXPECT_TRUE(fs::exists(settings.folder() / "home/.config/mvgeothirdparty/settings.sqlite"));
        fs::remove_all(settings.folder() / "home");
    }
}

TEST_F(SettingsFilePlace, FoldersThatAreMadeAreForTheUserAlone)
{
    unsetPlace();
    restore("XDG_CONFIG_HOME", settings.folder() / "config");
    ASSERT_TRUE(setRegDWordVal("key", "name", 1));
    EXPECT_EQ(fs::status(settings.folder() / "config").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(settings.folder() / "config/mvgeothirdparty").permissions(), fs::perms::owner_all);
}

TEST_F(SettingsFilePlace, WithoutOneEverythingIsFalse)
{
    unsetPlace();
    restore("HOME", "");
    restore("XDG_CONFIG_HOME", "");
    int number = 7;
    EXPECT_FALSE(setRegDWordVal("key", "name", 1));
    EXPECT_FALSE(getRegDWordVal("key", "name", number));
    EXPECT_EQ(number, 7);
}

// SQLite gives some of them another meaning where no folder stands in front.
TEST_F(SettingsFilePlace, MayHaveAnyName)
{
    for (const char* name : {":memory:", "file:x?mode=memory", "with space \xE5\x80\xBE"})
    {
        EXPECT_TRUE(inProcess(
            [this, name]
            {
                setenv("MVGEO_SETTINGS_FILE", name, 1);
                int number = 0;
                return chdir(settings.folder().c_str()) == 0 && setRegDWordVal("key", "name", 5) &&
                       getRegDWordVal("key", "name", number) && number == 5;
            }))
            << name;
        EXPECT_TRUE(fs::exists(settings.folder() / name)) << name;
    }
}

TEST_F(SettingsFilePlace, ReadingMakesNoFile)
{
    int number = 7;
    setenv("MVGEO_SETTINGS_FILE", (settings.folder() / "new/settings").c_str(), 1);
    EXPECT_FALSE(getRegDWordVal("key", "name", number));
    EXPECT_FALSE(fs::exists(settings.folder() / "new"));
}

class SettingsFileTrouble : public testing::Test
{
protected:
    void expectNothingWorks() const
    {
        int number = 7;
        std::vector<KdString> names = {"before"};
        OrloVariant value;
        EXPECT_FALSE(getRegDWordVal(settings.key(), "number", number));
        EXPECT_FALSE(ReadValFromReg(settings.key(), "number", value));
        EXPECT_FALSE(listRegKey(settings.key(), names, names));
        EXPECT_FALSE(setRegDWordVal(settings.key(), "number", 1));
        EXPECT_FALSE(WriteValToReg(settings.key(), "number", value));
        EXPECT_EQ(number, 7);
        EXPECT_EQ(names, std::vector<KdString>{"before"});
    }
    int number() const
    {
        int number = -1;
        return getRegDWordVal(settings.key(), "number", number) ? number : -1;
    }

    OwnSettings settings;
    RunningHost host;
};

TEST_F(SettingsFileTrouble, WhatIsNoSettingsFileIsLeftAsItIs)
{
    for (const std::string& content :
         {std::string("my own notes"), std::string(100000, '\0'), std::string("SQLite format 3\0x", 17)})
    {
        write(settings.file(), content);
        expectNothingWorks();
        EXPECT_TRUE(contentOf(settings.file()) == content);
    }
}

TEST_F(SettingsFileTrouble, ADatabaseOfAnotherProgramIsLeftAsItIs)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(settings.file().c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "CREATE TABLE notes(id)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    const std::string before = contentOf(settings.file());
    expectNothingWorks();
    EXPECT_TRUE(contentOf(settings.file()) == before);
}

TEST_F(SettingsFileTrouble, ALaterLayoutIsLeftAsItIs)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(settings.file().c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "PRAGMA user_version = 2", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    const std::string before = contentOf(settings.file());
    expectNothingWorks();
    EXPECT_TRUE(contentOf(settings.file()) == before);
}

TEST_F(SettingsFileTrouble, AFileCutOffAnywhereIsNeverBegunAnew)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    const std::string whole = contentOf(settings.file());
    for (std::size_t length = 1; length < whole.size(); length += 509)
    {
        write(settings.file(), whole.substr(0, length));
        const bool isWritten = setRegDWordVal(settings.key(), "number", 6);
        EXPECT_FALSE(isWritten) << length;
        EXPECT_TRUE(contentOf(settings.file()) == whole.substr(0, length)) << length;
    }
    write(settings.file(), whole);
    EXPECT_EQ(number(), 5);
}

// Each byte of the header and, further on, one in 61 turned over. Whatever SQLite makes of it: no crash.
TEST_F(SettingsFileTrouble, DamagedBytesAreNoCrash)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    const std::string whole = contentOf(settings.file());
    int failures = 0;
    for (std::size_t at = 0; at < whole.size(); at += at < 100 ? 1 : 61)
    {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(~damaged[at]);
        write(settings.file(), damaged);
        OrloVariant value;
        const bool isRead = ReadValFromReg(settings.key(), "number", value);
        failures += !isRead;
        std::vector<KdString> names;
        static_cast<void>(listRegKey(settings.key(), names, names));
    }
    EXPECT_GT(failures, 10); // the header's magic words at least
}

TEST_F(SettingsFileTrouble, AnEmptyFileHoldsNothingToLose)
{
    write(settings.file(), "");
    EXPECT_EQ(number(), -1);
    EXPECT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    EXPECT_EQ(number(), 5);
}

TEST_F(SettingsFileTrouble, AFolderInItsPlaceIsFalse)
{
    fs::create_directory(settings.file());
    expectNothingWorks();
    EXPECT_TRUE(fs::is_directory(settings.file()));
}

TEST_F(SettingsFileTrouble, AFileInPlaceOfItsFolderIsFalse)
{
    write(settings.file(), "a file");
    const std::string below = settings.file() + "/settings";
    setenv("MVGEO_SETTINGS_FILE", below.c_str(), 1);
    expectNothingWorks();
    EXPECT_EQ(contentOf(settings.file()), "a file");
}

TEST_F(SettingsFileTrouble, WhatMayNotBeWrittenCanStillBeRead)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    chmod(settings.file().c_str(), 0444);
    chmod(settings.folder().c_str(), 0555);
    EXPECT_TRUE(inProcess([this] { return number() == 5; }, true));
    EXPECT_TRUE(inProcess([this] { return !setRegDWordVal(settings.key(), "number", 6); }, true));
    EXPECT_TRUE(inProcess([this] { return !setRegDWordVal(settings.keyBelow("new"), "number", 6); }, true));
    // Nothing would be written, but the key cannot be opened for writing either.
    OrloVariant unknown;
    unknown.adopt(static_cast<OrloVariant::Tag>(99), nullptr);
    EXPECT_TRUE(inProcess([&] { return !WriteValToReg(settings.key(), "number", unknown); }, true));
    chmod(settings.folder().c_str(), 0755);
    chmod(settings.file().c_str(), 0644);
    EXPECT_EQ(number(), 5);
    EXPECT_TRUE(setRegDWordVal(settings.key(), "number", 6));
}

TEST_F(SettingsFileTrouble, WhatMayNotBeReadIsFalseAndLeftAsItIs)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    const std::string before = contentOf(settings.file());
    chmod(settings.file().c_str(), 0000);
    EXPECT_TRUE(inProcess([this] { return number() == -1 && !setRegDWordVal(settings.key(), "number", 6); }, true));
    chmod(settings.file().c_str(), 0644);
    EXPECT_TRUE(contentOf(settings.file()) == before);
    EXPECT_EQ(number(), 5);
}

// Nobody writes to the pipe: whoever waits for it would wait for ever.
TEST_F(SettingsFileTrouble, APipeInItsPlaceIsFalse)
{
    ASSERT_EQ(mkfifo(settings.file().c_str(), 0600), 0);
    expectNothingWorks();
    EXPECT_TRUE(fs::is_fifo(settings.file()));
}

// It takes all that is written, and keeps nothing.
TEST_F(SettingsFileTrouble, ADeviceInItsPlaceIsFalse)
{
    setenv("MVGEO_SETTINGS_FILE", "/dev/null", 1);
    expectNothingWorks();
}

TEST_F(SettingsFileTrouble, AFolderThatMayNotBeWrittenIsFalse)
{
    chmod(settings.folder().c_str(), 0555);
    EXPECT_TRUE(inProcess([this] { return !setRegDWordVal(settings.key(), "number", 6); }, true));
    chmod(settings.folder().c_str(), 0755);
    EXPECT_FALSE(fs::exists(settings.file()));
}

// No more than 64 kB go into a file: as on a full disk, writing fails in the middle of a transaction.
TEST_F(SettingsFileTrouble, AFullDiskIsFalseAndLosesNothing)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    EXPECT_TRUE(inProcess(
        [this]
        {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{65536, 65536};
            setrlimit(RLIMIT_FSIZE, &limit);
            OrloVariant large;
            large.setBlob(std::string(200000, 'x').data(), 200000);
            return !WriteValToReg(settings.key(), "large", large) && number() == 5 &&
                   setRegDWordVal(settings.key(), "small", 6);
        }));
    EXPECT_EQ(number(), 5);
    EXPECT_EQ(storedAt(settings.key(), "large"), std::nullopt);
    EXPECT_NE(storedAt(settings.key(), "small"), std::nullopt);
}

TEST_F(SettingsFileTrouble, MovedAwayItBeginsAnew)
{
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 5));
    fs::rename(settings.file(), settings.file() + ".old");
    EXPECT_EQ(number(), -1);
    EXPECT_TRUE(setRegDWordVal(settings.key(), "number", 6));
    EXPECT_EQ(number(), 6);
}

// The new file numbers its keys anew: a value under the old number would turn up in whichever key gets it.
TEST_F(SettingsFileTrouble, AKeyOfAFileThatIsGoneTakesNothing)
{
    using namespace mvgeo::platform;
    SettingsKey key = SettingsKey::openForWriting(settings.key().kwszPtr());
    ASSERT_TRUE(key.write(u"before", setting_type::kBinary, "x", 1));
    fs::remove(settings.file());
    EXPECT_FALSE(key.write(u"after", setting_type::kBinary, "x", 1));
    EXPECT_FALSE(keyExists(settings.key()));
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 6));
    EXPECT_EQ(storedAt(settings.key(), "after"), std::nullopt);
}

TEST(SettingsFileThreads, FourWriteAtOnce)
{
    const OwnSettings settings;
    const RunningHost host;
    std::vector<std::thread> threads;
    std::array<int, 4> written{};
    for (std::size_t i = 0; i < written.size(); ++i)
        threads.emplace_back(
            [&, i]
            {
                for (int turn = 0; turn < 20; ++turn)
                    written[i] += setRegDWordVal(settings.keyBelow(std::to_string(i).c_str()),
                                                 std::to_string(turn).c_str(), turn);
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(written, (std::array<int, 4>{20, 20, 20, 20}));
    std::vector<KdString> keys;
    std::vector<KdString> values;
    ASSERT_TRUE(listRegKey(settings.key(), keys, values));
    EXPECT_EQ(keys.size(), 4u);
    ASSERT_TRUE(listRegKey(settings.keyBelow("3"), keys, values));
    EXPECT_EQ(values.size(), 20u);
}

TEST(SettingsNames, PathsAreSplitAtTheSeparator)
{
    using mvgeo::platform::splitKeyPath;
    using Names = std::vector<WideString>;
    EXPECT_EQ(splitKeyPath(u"a\\b"), (Names{u"a", u"b"}));
    EXPECT_EQ(splitKeyPath(u"a\\\\b\\"), (Names{u"a", u"b"}));
    EXPECT_EQ(splitKeyPath(u"a/b"), (Names{u"a/b"}));
    EXPECT_EQ(splitKeyPath(u""), Names());
    EXPECT_EQ(splitKeyPath(u"\\"), Names());
    EXPECT_EQ(splitKeyPath(u"\\a"), Names());
}

TEST(SettingsNames, PathsKeepTheRegistrysLimits)
{
    using mvgeo::platform::splitKeyPath;
    EXPECT_EQ(splitKeyPath(WideString(255, u'k')).size(), 1u);
    EXPECT_EQ(splitKeyPath(WideString(256, u'k')).size(), 0u);
    WideString path = u"k";
    for (int depth = 2; depth <= 512; ++depth)
        path += u"\\k";
    EXPECT_EQ(splitKeyPath(path).size(), 512u);
    EXPECT_EQ(splitKeyPath(path + u"\\").size(), 512u);
    EXPECT_EQ(splitKeyPath(path + u"\\k").size(), 0u);
}

TEST(SettingsNames, ValueNamesKeepTheRegistrysLimit)
{
    const OwnSettings settings;
    const RunningHost host;
    const std::basic_string<KdChar> longest(16383, u'n');
    EXPECT_TRUE(setRegDWordVal(settings.key(), longest.c_str(), 1));
    EXPECT_FALSE(setRegDWordVal(settings.key(), (longest + u'n').c_str(), 1));
}

TEST(SettingsNames, OnlyPairsOfLettersAreFolded)
{
    using mvgeo::platform::foldCase;
    EXPECT_EQ(foldCase(u"az AZ [`{@ 09"), u"AZ AZ [`{@ 09");
    EXPECT_EQ(foldCase(u"\u00E4\u00FF\u0436\u03B4\uFF41"), u"\u00C4\u0178\u0416\u0394\uFF21");
    // Sharp s has no single capital, dotless i, long s and the micro sign share one with another letter.
    EXPECT_EQ(foldCase(u"\u00DF\u0131\u017F\u00B5"), u"\u00DF\u0131\u017F\u00B5");
    EXPECT_EQ(foldCase(u"\U00010428\u503E"), u"\U00010428\u503E");
    const WideString unpaired = {char16_t(0xD800), u'a', char16_t(0xDCFF)};
    EXPECT_EQ(foldCase(unpaired), (WideString{char16_t(0xD800), u'A', char16_t(0xDCFF)}));
}

} // namespace
