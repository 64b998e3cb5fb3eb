#include "platform/Environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <limits>
#include <thread>

#if defined(_WIN32)
TEST(Environment, IsTestedOnPosixOnly)
{
    GTEST_SKIP() << "the tests change the environment with setenv";
}
#else

namespace
{

using namespace mvgeo::platform;

/** Sets one environment variable, or removes it with null, and puts the old state back. */
class EnvironmentScope
{
public:
    EnvironmentScope(const char* name, const char* value) : _name(name), _before(environmentVariable(name))
    {
        change(value);
    }
    ~EnvironmentScope() { change(_before ? _before->c_str() : nullptr); }
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
    void change(const char* value)
    {
        if (value)
            setenv(_name, value, 1);
        else
            unsetenv(_name);
        tzset();
    }

    const char* _name;
    std::optional<std::string> _before;
};

TEST(Environment, TellsUnsetFromEmpty)
{
    {
        const EnvironmentScope unset("MVGEO_TEST_VARIABLE", nullptr);
        EXPECT_EQ(environmentVariable("MVGEO_TEST_VARIABLE"), std::nullopt);
    }
    const EnvironmentScope empty("MVGEO_TEST_VARIABLE", "");
    EXPECT_EQ(environmentVariable("MVGEO_TEST_VARIABLE"), "");
}

TEST(Environment, GivesTheValueAsItStands)
{
    const EnvironmentScope scope("MVGEO_TEST_VARIABLE", "\xE5\x80\xBE \xFF/");
    EXPECT_EQ(environmentVariable("MVGEO_TEST_VARIABLE"), "\xE5\x80\xBE \xFF/");
}

TEST(Environment, ANameThatNoVariableCanHaveIsNotSet)
{
    EXPECT_EQ(environmentVariable(""), std::nullopt);
    EXPECT_EQ(environmentVariable("PATH="), std::nullopt);
}

TEST(TemporaryDirectory, IsTempAsItStands)
{
    const EnvironmentScope scope("TEMP", "/no/such folder/");
    EXPECT_EQ(temporaryDirectory(), "/no/such folder/");
}

TEST(TemporaryDirectory, IsTheSystemsOwnWithoutTemp)
{
    const EnvironmentScope system("TMPDIR", "/usr/");
    {
        const EnvironmentScope unset("TEMP", nullptr);
        EXPECT_EQ(temporaryDirectory(), "/usr");
    }
    const EnvironmentScope empty("TEMP", "");
    EXPECT_EQ(temporaryDirectory(), "/usr");
}

TEST(TemporaryDirectory, TheRootKeepsItsSeparator)
{
    const EnvironmentScope temp("TEMP", nullptr);
    const EnvironmentScope system("TMPDIR", "//");
    EXPECT_EQ(temporaryDirectory(), "/");
}

TEST(TemporaryDirectory, FallsBackWhenTheSystemsOwnIsMissing)
{
    const EnvironmentScope temp("TEMP", nullptr);
    const EnvironmentScope system("TMPDIR", "/no/such/folder");
    EXPECT_EQ(temporaryDirectory(), P_tmpdir);
}

// 1e9 s after the epoch is 2001-09-09 01:46:40 UTC, a Sunday, day 251 of the year counted from 0.
TEST(LocalTime, FollowsTheTimeZone)
{
    const EnvironmentScope zone("TZ", "CST-8"); // eight hours ahead of UTC, no daylight saving
    const std::tm time = localTime(1000000000);
    EXPECT_EQ(time.tm_year, 101);
    EXPECT_EQ(time.tm_mon, 8);
    EXPECT_EQ(time.tm_mday, 9);
    EXPECT_EQ(time.tm_hour, 9);
    EXPECT_EQ(time.tm_min, 46);
    EXPECT_EQ(time.tm_sec, 40);
    EXPECT_EQ(time.tm_wday, 0);
    EXPECT_EQ(time.tm_yday, 251);
}

TEST(LocalTime, CrossesMidnightWithTheTimeZone)
{
    const EnvironmentScope zone("TZ", "AAA3"); // three hours behind UTC: 22:46:40 on the day before
    const std::tm time = localTime(1000000000);
    EXPECT_EQ(time.tm_mday, 8);
    EXPECT_EQ(time.tm_hour, 22);
}

TEST(LocalTime, ATimeBeyondTheCalendarIsAllZero)
{
    const std::tm time = localTime(std::numeric_limits<std::time_t>::max());
    EXPECT_EQ(time.tm_year, 0);
    EXPECT_EQ(time.tm_mday, 0);
}

TEST(ThreadId, IsTheSameForOneThread)
{
    EXPECT_EQ(currentThreadId(), currentThreadId());
    EXPECT_NE(currentThreadId(), 0u);
}

// The numbers of threads that have ended may be used again, so both threads wait for each other.
TEST(ThreadId, DiffersBetweenRunningThreads)
{
    std::promise<void> finish;
    const std::shared_future<void> mayEnd = finish.get_future().share();
    std::promise<unsigned long long> ids[2];
    std::thread first([&] { ids[0].set_value(currentThreadId()), mayEnd.wait(); });
    std::thread second([&] { ids[1].set_value(currentThreadId()), mayEnd.wait(); });
    const unsigned long long firstId = ids[0].get_future().get();
    const unsigned long long secondId = ids[1].get_future().get();
    finish.set_value();
    first.join();
    second.join();

    EXPECT_NE(firstId, secondId);
    EXPECT_NE(firstId, currentThreadId());
    EXPECT_NE(secondId, currentThreadId());
}

} // namespace
#endif
