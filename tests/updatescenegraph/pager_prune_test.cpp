#include "TestPager.h"

#include "SceneParts.h"
#include "support/TilePyramid.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using Names = std::vector<std::string>;

constexpr unsigned int kNow = 100;
constexpr double kNowSeconds = 50.0;

/** A pager that may keep no paged node unless a test says so. */
class PagerPrune : public testing::Test
{
protected:
    PagerPrune() { pager->setTargetMaximumNumberOfPageLOD(0); }

    /** A paged node whose fine child, content of this name, was last seen in this frame, the node itself long ago. */
    osg::ref_ptr<osg::PagedLOD> pagedWithFineChild(const std::string& name, unsigned int lastSeen,
                                                   double lastSeenSeconds)
    {
        osg::ref_ptr<osg::PagedLOD> node = pagedNode(new osg::Group, name);
        node->setNumChildrenThatCannotBeExpired(1);
        node->addChild(content(name));
        node->setMinimumExpiryFrames(1, 2);
        node->setFrameNumber(1, lastSeen);
        node->setTimeStamp(1, lastSeenSeconds);
        pager->registerPagedLODs(node, 1);
        return node;
    }
    void prune() { pager->pruneExpiredTiles(*frame(kNow, kNowSeconds)); }

    osg::ref_ptr<TestPager> pager = new TestPager;
};

TEST_F(PagerPrune, ExpiredChildLeavesTheSceneForTheDatabaseThread)
{
    const auto node = pagedWithFineChild("3_b.osgb_0", 10, 5.0);
    const osg::ref_ptr<osg::Node> child = node->getChild(1);
    prune();
    EXPECT_EQ(node->getNumChildren(), 1U);
    EXPECT_EQ(identitiesOf(pager->removedContentNodes), Names{"3_b.osgb_0"});
    ASSERT_EQ(pager->childrenToDelete().size(), 1U);
    EXPECT_EQ(pager->childrenToDelete().front(), child);
}

TEST_F(PagerPrune, NothingInFrameZero)
{
    const auto node = pagedWithFineChild("b", 0, -1.0);
    node->setMinimumExpiryFrames(1, 0);
    pager->pruneExpiredTiles(*frame(0, kNowSeconds));
    EXPECT_EQ(node->getNumChildren(), 2U);
}

TEST_F(PagerPrune, NothingWhileTheTargetIsNotExceeded)
{
    const auto node = pagedWithFineChild("b", 10, 5.0);
    pager->setTargetMaximumNumberOfPageLOD(1);
    prune();
    EXPECT_EQ(node->getNumChildren(), 2U);
    EXPECT_TRUE(pager->removedContentNodes.empty());

    const auto another = pagedWithFineChild("c", kNow, kNowSeconds); // two now, and this one is in use
    prune();
    EXPECT_EQ(node->getNumChildren() + another->getNumChildren(), 3U);
}

// 4294967295 turned into -1 where the surplus was a difference of signed numbers: everything expired.
TEST_F(PagerPrune, LargestTargetMeansNoLimit)
{
    const auto node = pagedWithFineChild("b", 10, 5.0);
    pager->setTargetMaximumNumberOfPageLOD(0xFFFFFFFFU);
    prune();
    EXPECT_EQ(node->getNumChildren(), 2U);
}

TEST_F(PagerPrune, ChildMustHaveMissedMoreThanItsTwoExpiryFrames)
{
    const auto kept = pagedWithFineChild("kept", kNow - 2, 5.0);
    prune();
    EXPECT_EQ(kept->getNumChildren(), 2U);
    kept->setFrameNumber(1, kNow - 3);
    prune();
    EXPECT_EQ(kept->getNumChildren(), 1U);
}

TEST_F(PagerPrune, ChildSeenAMillisecondAgoMayGo)
{
    const auto node = pagedWithFineChild("b", 10, kNowSeconds - 0.001);
    prune();
    EXPECT_EQ(node->getNumChildren(), 1U);
}

TEST_F(PagerPrune, ChildSeenAtThisVeryTimeStays)
{
    const auto node = pagedWithFineChild("b", 10, kNowSeconds);
    prune();
    EXPECT_EQ(node->getNumChildren(), 2U);
}

TEST_F(PagerPrune, InactiveNodesGoFirst)
{
    // Each fine child holds one paged node, so that a surplus of one is settled by one removal.
    const auto inactive = pagedNode(new osg::Group, "i");
    const auto active = pagedNode(new osg::Group, "a");
    for (const auto& node : {inactive, active})
    {
        node->setNumChildrenThatCannotBeExpired(1);
        node->addChild(pagedNode(content(node == active ? "active" : "inactive"), "deeper"));
        node->setMinimumExpiryFrames(1, 2);
        node->setFrameNumber(1, 10);
        node->setTimeStamp(1, 5.0);
        pager->registerPagedLODs(node, 1);
    }
    ASSERT_EQ(pager->activeCount(), 4U);
    active->setFrameNumberOfLastTraversal(kNow + 1); // active is what was traversed after the expiry frame

    pager->setTargetMaximumNumberOfPageLOD(3);
    prune();
    EXPECT_EQ(identitiesOf(pager->removedContentNodes), Names{"inactive"});
    EXPECT_EQ(pager->activeCount(), 3U);
    EXPECT_EQ(active->getNumChildren(), 2U);

    pager->setTargetMaximumNumberOfPageLOD(2);
    prune();
    EXPECT_EQ(identitiesOf(pager->removedContentNodes), (Names{"inactive", "active"})) << "appended";
    EXPECT_EQ(active->getNumChildren(), 1U);
    EXPECT_EQ(pager->activeCount(), 2U);
}

TEST_F(PagerPrune, RemovedSubgraphGivesItsOutermostContent)
{
    const auto node = pagedWithFineChild("outer", 10, 5.0);
    auto* outer = node->getChild(1)->asGroup();
    outer->addChild(content("inner"));
    prune();
    EXPECT_EQ(identitiesOf(pager->removedContentNodes), Names{"outer"});
}

TEST_F(PagerPrune, SeveralRemovedChildrenAreListedOnceEach)
{
    const auto one = pagedWithFineChild("one", 10, 5.0);
    const auto two = pagedWithFineChild("two", 10, 5.0);
    prune();
    Names names = identitiesOf(pager->removedContentNodes);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Names{"one", "two"}));
    EXPECT_EQ(pager->childrenToDelete().size(), 2U);
}

TEST_F(PagerPrune, HeldTilesAreForgotten)
{
    const auto node = pagedWithFineChild("b", 10, 5.0);
    pager->heldTiles.add(*node->getChild(1));
    prune();
    EXPECT_EQ(pager->heldTiles.count(), 0U);
    EXPECT_EQ(pager->expiredCount, 1U);
}

TEST_F(PagerPrune, WithoutDeletionInTheThreadChildrenAreDroppedHere)
{
    const auto node = pagedWithFineChild("b", 10, 5.0);
    const osg::observer_ptr<osg::Node> child = node->getChild(1);
    pager->setDeleteRemovedSubgraphsInDatabaseThread(false);
    prune();
    EXPECT_EQ(node->getNumChildren(), 1U);
    EXPECT_TRUE(pager->removedContentNodes.empty());
    EXPECT_TRUE(pager->childrenToDelete().empty());
    EXPECT_FALSE(child.valid());
}

TEST_F(PagerPrune, ChildrenFromTheTileItselfNeverExpire)
{
    const auto node = pagedNode(content("inline"), "b");
    pager->registerPagedLODs(node, 1);
    prune();
    EXPECT_EQ(node->getNumChildren(), 1U);
    EXPECT_TRUE(pager->removedContentNodes.empty());
}

// The thread has still to delete them, so the pager is at work.
TEST_F(PagerPrune, ChildrenWaitingForDeletionAreWork)
{
    EXPECT_TRUE(pager->isIdle());
    const auto node = pagedWithFineChild("b", 10, 5.0);
    prune();
    EXPECT_FALSE(pager->isIdle());
}

} // namespace
