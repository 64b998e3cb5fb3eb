#include "updatescenegraph/FailedReads.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using mvgeo::FailedReads;
using std::chrono::milliseconds;
using std::chrono::seconds;

/** A clock that only moves when told to. */
class FailedReadsTest : public testing::Test
{
protected:
    FailedReads::Clock::time_point now{};
    FailedReads reads{[this] { return now; }};
};

TEST_F(FailedReadsTest, UnknownFileDoesNotRest)
{
    EXPECT_FALSE(reads.isResting("a.osgb"));
    EXPECT_EQ(reads.count(), 0U);
}

TEST_F(FailedReadsTest, FirstFailureRestsOneSecond)
{
    EXPECT_TRUE(reads.noteFailure("a.osgb"));
    EXPECT_TRUE(reads.isResting("a.osgb"));
    now += milliseconds(999);
    EXPECT_TRUE(reads.isResting("a.osgb"));
    now += milliseconds(1);
    EXPECT_FALSE(reads.isResting("a.osgb"));
    EXPECT_EQ(reads.count(), 1U) << "still unread";
}

TEST_F(FailedReadsTest, EachFurtherFailureRestsTwiceAsLongUpToAMinute)
{
    reads.noteFailure("a.osgb");
    now += seconds(1);
    for (const int rest : {2, 4, 8, 16, 32, 60, 60, 60})
    {
        SCOPED_TRACE(rest);
        EXPECT_FALSE(reads.noteFailure("a.osgb")) << "not the first one";
        now += seconds(rest) - milliseconds(1);
        EXPECT_TRUE(reads.isResting("a.osgb"));
        now += milliseconds(1);
        EXPECT_FALSE(reads.isResting("a.osgb"));
    }
}

TEST_F(FailedReadsTest, FilesRestEachForItself)
{
    reads.noteFailure("a.osgb");
    EXPECT_FALSE(reads.isResting("b.osgb"));
    EXPECT_TRUE(reads.noteFailure("b.osgb"));
    EXPECT_EQ(reads.count(), 2U);
}

TEST_F(FailedReadsTest, SuccessForgetsEverything)
{
    reads.noteFailure("a.osgb");
    reads.noteFailure("a.osgb");
    reads.noteSuccess("a.osgb");
    EXPECT_FALSE(reads.isResting("a.osgb"));
    EXPECT_EQ(reads.count(), 0U);

    EXPECT_TRUE(reads.noteFailure("a.osgb"));
    now += seconds(1);
    EXPECT_FALSE(reads.isResting("a.osgb")) << "one second again";
}

TEST_F(FailedReadsTest, ClearForgetsEveryFile)
{
    reads.noteFailure("a.osgb");
    reads.noteFailure("b.osgb");
    reads.clear();
    EXPECT_FALSE(reads.isResting("a.osgb"));
    EXPECT_EQ(reads.count(), 0U);
}

} // namespace
