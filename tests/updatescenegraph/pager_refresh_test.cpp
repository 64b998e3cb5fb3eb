#include "TestPager.h"

#include "support/LogRecorder.h"

#include <gtest/gtest.h>

namespace
{

/** A pager in its first second whose callback counts. */
class PagerRefresh : public testing::Test
{
protected:
    PagerRefresh()
    {
        pager->stayInFirstSecond();
        pager->refreshCallback = [this] { return ++calls > 1000; };
    }

    osg::ref_ptr<TestPager> pager = new TestPager;
    int calls = 0;
};

TEST_F(PagerRefresh, NewPagerHasOurMergeQueueOneThreadAndALimitOfThirty)
{
    EXPECT_TRUE(pager->mergeQueueIsOurs());
    EXPECT_EQ(pager->getNumDatabaseThreads(), 1U);
    EXPECT_EQ(pager->mergeBacklogLimit, 30U);
    EXPECT_EQ(pager->modelId, 3);
    EXPECT_TRUE(pager->loadedContentNodes.empty());
    EXPECT_TRUE(pager->removedContentNodes.empty());
}

TEST_F(PagerRefresh, NewPagerHasNoCallbackAndTheTickOfItsMaking)
{
    const double before = mvgeo::platform::tickCountMs();
    const osg::ref_ptr<TestPager> other = new TestPager(-1);
    const double after = mvgeo::platform::tickCountMs();
    EXPECT_FALSE(other->refreshCallback);
    EXPECT_LE(before, other->creationTickMs);
    EXPECT_GE(after, other->creationTickMs);
    EXPECT_EQ(other->modelId, -1);
}

TEST_F(PagerRefresh, ThirtyWaitingWhileLoadingGoesOnStayQuietAndThirtyOneDoNot)
{
    pager->addUnread();
    pager->addWaiting(30);
    EXPECT_EQ(calls, 0);
    pager->addWaiting(1);
    EXPECT_EQ(calls, 1);
    pager->addWaiting(1);
    EXPECT_EQ(calls, 2);
}

TEST_F(PagerRefresh, BacklogLimitCanBeChanged)
{
    pager->mergeBacklogLimit = 1;
    pager->addUnread();
    pager->addWaiting(1);
    EXPECT_EQ(calls, 0);
    pager->addWaiting(1);
    EXPECT_EQ(calls, 1);
}

TEST_F(PagerRefresh, TileCallsAtOnceWhenNothingElseIsBeingLoaded)
{
    pager->addWaiting(1);
    EXPECT_EQ(calls, 1);
}

TEST_F(PagerRefresh, EmptyQueueNeverCalls)
{
    pager->updateMergeQueue();
    pager->leaveFirstSecond();
    pager->updateMergeQueue();
    EXPECT_EQ(calls, 0);
}

TEST_F(PagerRefresh, AfterTheFirstSecondEveryTileCalls)
{
    pager->addUnread();
    pager->leaveFirstSecond();
    const double creation = pager->creationTickMs;
    for (int tile = 1; tile <= 5; ++tile)
    {
        pager->addWaiting(1);
        EXPECT_EQ(calls, tile);
    }
    EXPECT_EQ(pager->creationTickMs, creation) << "never renewed";
}

TEST_F(PagerRefresh, ExactlyAThousandMillisecondsAreStillTheFirstSecond)
{
    pager->addUnread();
    pager->addWaiting(1);
    std::uint32_t before = 0;
    std::uint32_t after = 1;
    while (before != after) // until the clock stood still around the question
    {
        before = mvgeo::platform::tickCountMs();
        pager->creationTickMs = before - 1000.0;
        calls = 0;
        pager->updateMergeQueue();
        after = mvgeo::platform::tickCountMs();
    }
    EXPECT_EQ(calls, 0);
    pager->creationTickMs -= 1.0;
    pager->updateMergeQueue();
    EXPECT_EQ(calls, 1);
}

TEST_F(PagerRefresh, CallbacksResultIsIgnored)
{
    int refusals = 0;
    pager->refreshCallback = [&refusals]
    {
        ++refusals;
        return false;
    };
    pager->addWaiting(3);
    EXPECT_EQ(refusals, 3);
}

TEST_F(PagerRefresh, MissingCallbackWarnsAndPagingGoesOn)
{
    pager->refreshCallback = nullptr;
    const LogRecorder log;
    pager->addWaiting(1);
    pager->addWaiting(1);
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].severity, osg::WARN);
    EXPECT_EQ(log.lines()[0].text, "src/updatescenegraph 139callback is null");
    EXPECT_EQ(pager->getDataToMergeListSize(), 2U);
}

TEST_F(PagerRefresh, MissingCallbackIsNotMissedBeforeTheHostMustBeCalled)
{
    pager->refreshCallback = nullptr;
    const LogRecorder log;
    pager->addUnread();
    pager->addWaiting(30);
    EXPECT_TRUE(log.lines().empty());
}

// A root file, or a tile that is measured: no request is lost by it.
TEST_F(PagerRefresh, ReadOnAnotherThreadThatGivesNothingCallsNobody)
{
    pager->addWaiting(1);
    ASSERT_EQ(calls, 1);
    pager->noteEmptyRead();
    EXPECT_EQ(calls, 1);
}

TEST_F(PagerRefresh, QueueWithoutOwnerDoesNothing)
{
    const LogRecorder log;
    const auto queue = TestPager::queueWithoutOwner();
    TestPager::update(*queue);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(calls, 0);
}

} // namespace
