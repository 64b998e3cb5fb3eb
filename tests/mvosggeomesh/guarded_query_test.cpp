#define MVGEO_MODULE_PATH "tests/mvosggeomesh"
#include "mvosggeomesh/GuardedQuery.h"

#include "support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using testing::MatchesRegex;

struct GuardedQuery : public testing::Test
{
    LogRecorder log;

    void expectOneLine(const std::string& text)
    {
        ASSERT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.lines()[0].severity, osg::FATAL);
        EXPECT_THAT(log.lines()[0].text, MatchesRegex("tests/mvosggeomesh [0-9]+" + text));
    }
};

} // namespace

TEST_F(GuardedQuery, IsWhatTheQuerySays)
{
    EXPECT_TRUE(mvgeo::guardedQuery([] { return true; }));
    EXPECT_FALSE(mvgeo::guardedQuery([] { return false; }));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(GuardedQuery, ThatThrowsIsFalseAndLogsTheExceptionsOwnText)
{
    EXPECT_FALSE(mvgeo::guardedQuery([]() -> bool { throw std::runtime_error("no such plane"); }));
    expectOneLine("no such plane");
}

// The blank at its beginning belongs to it.
TEST_F(GuardedQuery, ThatThrowsSomethingElseIsFalseAndSaysSo)
{
    EXPECT_FALSE(mvgeo::guardedQuery([]() -> bool { throw 5; }));
    expectOneLine(" Unknown Exception caught\\.");
}
