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

TEST_F(FailedReadsTest, UnknownFileIsNotPaused)
{
    EXPECT_FALSE(reads.isPaused("a.osgb"));
    EXPECT_EQ(reads.count(), 0U);
}

TEST_F(FailedReadsTest, FirstFailurePausesOneSecond)
{
    EXPECT_TRUE(reads.recordFailure("a.osgb"));
    EXPECT_TRUE(reads.isPaused("a.osgb"));
    now += milliseconds(999);
    EXPECT_TRUE(reads.isPaused("a.osgb"));
    now += milliseconds(1);
    EXPECT_FALSE(reads.isPaused("a.osgb"));
    EXPECT_EQ(reads.count(), 1U) << "still unread";
}

TEST_F(FailedReadsTest, EachFurtherFailurePausesTwiceAsLongUpToAMinute)
{
    reads.recordFailure("a.osgb");
    now += seconds(1);
    for (const int pause : {2, 4, 8, 16, 32, 60, 60, 60})
    {
        SCOPED_TRACE(pause);
        EXPECT_FALSE(reads.recordFailure("a.osgb")) << "not the first one";
        now += seconds(pause) - milliseconds(1);
        EXPECT_TRUE(reads.isPaused("a.osgb"));
        now += milliseconds(1);
        EXPECT_FALSE(reads.isPaused("a.osgb"));
    }
}

TEST_F(FailedReadsTest, FilesArePausedEachForItself)
{
    reads.recordFailure("a.osgb");
    EXPECT_FALSE(reads.isPaused("b.osgb"));
    EXPECT_TRUE(reads.recordFailure("b.osgb"));
    EXPECT_EQ(reads.count(), 2U);
}

TEST_F(FailedReadsTest, SuccessForgetsEverything)
{
    reads.recordFailure("a.osgb");
    reads.recordFailure("a.osgb");
    reads.recordSuccess("a.osgb");
    EXPECT_FALSE(reads.isPaused("a.osgb"));
    EXPECT_EQ(reads.count(), 0U);

    EXPECT_TRUE(reads.recordFailure("a.osgb"));
    now += seconds(1);
    EXPECT_FALSE(reads.isPaused("a.osgb")) << "one second again";
}

TEST_F(FailedReadsTest, ClearForgetsEveryFile)
{
    reads.recordFailure("a.osgb");
    reads.recordFailure("b.osgb");
    reads.clear();
    EXPECT_FALSE(reads.isPaused("a.osgb"));
    EXPECT_EQ(reads.count(), 0U);
}

} // namespace
