#include "TestPager.h"

#include "SceneParts.h"
#include "support/LogRecorder.h"
#include "support/TilePyramid.h"
#include "updatescenegraph/PagedLODEx.h"

#include <osg/ProxyNode>
#include <osgDB/Registry>

#include <gtest/gtest.h>

#include <functional>

namespace
{

using Names = std::vector<std::string>;

class PagerMerge : public testing::Test
{
protected:
    PagerMerge()
    {
        pager->refreshCallback = [] { return true; };
    }

    osg::ref_ptr<TestPager> pager = new TestPager(3);
    osg::ref_ptr<osg::Group> parent = new osg::Group;
    osg::ref_ptr<osg::FrameStamp> stamp = frame(7, 10.0);
};

/** Puts a manager into the registry for the length of a test; what it is shown goes to `seen`. */
class SharedStates
{
public:
    explicit SharedStates(std::function<void(osg::Node&)> seen)
    {
        osgDB::Registry::instance()->setSharedStateManager(new Manager(std::move(seen)));
    }
    ~SharedStates() { osgDB::Registry::instance()->setSharedStateManager(nullptr); }
    SharedStates(const SharedStates&) = delete;
    SharedStates& operator=(const SharedStates&) = delete;

private:
    class Manager : public osgDB::SharedStateManager
    {
    public:
        explicit Manager(std::function<void(osg::Node&)> seen) : _seen(std::move(seen)) {}
        using osgDB::SharedStateManager::apply;
        void apply(osg::Node& node) override { _seen(node); }

    private:
        std::function<void(osg::Node&)> _seen;
    };
};

TEST_F(PagerMerge, PutsTilesIntoTheSceneInTheOrderOfTheQueue)
{
    const osg::ref_ptr<osg::Node> first = new osg::Group;
    const osg::ref_ptr<osg::Node> second = new osg::Group;
    const auto requestOne = pager->addLoaded(*parent, "z.osgb", first);
    const auto requestTwo = pager->addLoaded(*parent, "a.osgb", second);
    pager->mergeLoadedTiles(*stamp);

    ASSERT_EQ(parent->getNumChildren(), 2U);
    EXPECT_EQ(parent->getChild(0), first);
    EXPECT_EQ(parent->getChild(1), second);
    EXPECT_EQ(identitiesOf(pager->loadedContentNodes), (Names{"3_z.osgb_0", "3_a.osgb_0"}));
    EXPECT_EQ(pager->getDataToMergeListSize(), 0U);
    EXPECT_FALSE(requestOne->_loadedModel) << "the request lets go of its model";
    EXPECT_FALSE(requestTwo->_loadedModel);
    EXPECT_EQ(pager->mergedCount, 2U);
    EXPECT_EQ(pager->heldTiles.count(), 2U);
}

TEST_F(PagerMerge, AppendsToWhatTheModelHasNotReadYet)
{
    pager->loadedContentNodes.push_back(content("earlier"));
    pager->addLoaded(*parent, "b.osgb", new osg::Group);
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(identitiesOf(pager->loadedContentNodes), (Names{"earlier", "3_b.osgb_0"}));
}

TEST_F(PagerMerge, TileIsNamedByItsFileWithoutFolder)
{
    const osg::ref_ptr<osg::Node> tile = new osg::Group;
    pager->addLoaded(*parent, "D:/data/Tile_1/b.osgb", tile);
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(tile->getName(), "b.osgb");
    EXPECT_EQ(identityOf(tile), "3_b.osgb_0");
}

TEST_F(PagerMerge, ContentOfPagedTilesIsTheirInlineChildren)
{
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    tile->addChild(pagedNode(new osg::Group, "c0.osgb"));
    tile->addChild(pagedNode(new osg::Group, "c1.osgb"));
    pager->addLoaded(*parent, "b.osgb", tile);
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(identitiesOf(pager->loadedContentNodes), (Names{"3_b.osgb_0", "3_b.osgb_1"}));
    EXPECT_EQ(identityOf(tile), "-");
}

TEST_F(PagerMerge, PagedNodesOfTheTileBecomeOurs)
{
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    tile->addChild(pagedNode(new osg::Group, "c.osgb"));
    pager->addLoaded(*parent, "b.osgb", tile);
    pager->addLoaded(*parent, "root.osgb", pagedNode(new osg::Group, "d.osgb"));
    pager->mergeLoadedTiles(*stamp);

    ASSERT_EQ(parent->getNumChildren(), 2U);
    EXPECT_TRUE(dynamic_cast<PagedLODEx*>(tile->getChild(0)));
    ASSERT_TRUE(dynamic_cast<PagedLODEx*>(parent->getChild(1)));
    EXPECT_EQ(parent->getChild(1)->getName(), "root.osgb");
    EXPECT_EQ(identityOf(parent->getChild(1)->asGroup()->getChild(0)), "3_root.osgb_0");
}

// A paged root and its copy share their children until the root is gone: its inner paged nodes must not seem to have
// two parents when they are tagged.
TEST_F(PagerMerge, InnerPagedNodesOfAPagedRootHaveOneParentWhenTagged)
{
    const osg::ref_ptr<osg::Group> inner = new osg::Group;
    inner->addChild(pagedNode(new osg::Group, "c.osgb"));
    const LogRecorder log;
    pager->addLoaded(*parent, "root.osgb", pagedNode(inner, "d.osgb"));
    pager->mergeLoadedTiles(*stamp);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(inner->getNumParents(), 1U);
}

TEST_F(PagerMerge, RequestWithoutModelIsSkipped)
{
    pager->addLoaded(*parent, "b.osgb", nullptr);
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(parent->getNumChildren(), 0U);
    EXPECT_EQ(pager->mergedCount, 0U);
    EXPECT_EQ(pager->mergeCountOfStatistics(), 0U);
}

TEST_F(PagerMerge, ExpiredGroupsTileIsDropped)
{
    osg::observer_ptr<osg::Group> tile;
    {
        const osg::ref_ptr<osg::Group> made = new osg::Group;
        tile = made;
        pager->addLoaded(*parent, "b.osgb", made)->_groupExpired = true;
    }
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(parent->getNumChildren(), 0U);
    EXPECT_TRUE(pager->loadedContentNodes.empty());
    EXPECT_FALSE(tile.valid()) << "nobody keeps it";
}

TEST_F(PagerMerge, TileWhoseParentIsGoneIsDroppedWithoutAWord)
{
    const LogRecorder log;
    osg::ref_ptr<osg::Group> shortLived = new osg::Group;
    const auto request = pager->addLoaded(*shortLived, "b.osgb", new osg::Group);
    shortLived = nullptr;
    pager->mergeLoadedTiles(*stamp);
    EXPECT_TRUE(pager->loadedContentNodes.empty());
    EXPECT_FALSE(request->_loadedModel);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(PagerMerge, PagedParentGetsItsStampsAndLosesItsRequest)
{
    const osg::ref_ptr<osg::PagedLOD> paged = pagedNode(new osg::Group, "b.osgb");
    const auto request = pager->addLoaded(*paged, "b.osgb", new osg::Group);
    paged->getDatabaseRequest(1) = request;
    pager->mergeLoadedTiles(*stamp);

    ASSERT_EQ(paged->getNumChildren(), 2U);
    EXPECT_EQ(paged->getTimeStamp(1), 10.0);
    EXPECT_EQ(paged->getFrameNumber(1), 7U);
    EXPECT_FALSE(paged->getDatabaseRequest(1));
    EXPECT_EQ(paged->getTimeStamp(0), 0.0) << "the other child is left alone";
}

TEST_F(PagerMerge, ProxyParentLosesItsRequest)
{
    const osg::ref_ptr<osg::ProxyNode> proxy = new osg::ProxyNode;
    proxy->setFileName(0, "b.osgb");
    const auto request = pager->addLoaded(*proxy, "b.osgb", new osg::Group);
    proxy->getDatabaseRequest(0) = request;
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(proxy->getNumChildren(), 1U);
    EXPECT_FALSE(proxy->getDatabaseRequest(0));
}

// OSG does not check the index: this used to write behind the proxy's list.
TEST_F(PagerMerge, ProxyParentWithMoreChildrenThanFilesTakesTheTile)
{
    const osg::ref_ptr<osg::ProxyNode> proxy = new osg::ProxyNode;
    proxy->setFileName(0, "b.osgb");
    proxy->addChild(new osg::Group);
    pager->addLoaded(*proxy, "b.osgb", new osg::Group);
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(proxy->getNumChildren(), 2U);
}

TEST_F(PagerMerge, SharesTheTilesState)
{
    std::vector<const osg::Node*> shared;
    const SharedStates states([&shared](osg::Node& node) { shared.push_back(&node); });
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    pager->addLoaded(*parent, "b.osgb", tile);
    pager->addLoaded(*parent, "dropped.osgb", new osg::Group)->_groupExpired = true;
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(shared, std::vector<const osg::Node*>{tile});
}

TEST_F(PagerMerge, LostModelWarnsAndTheParentStaysAsItWas)
{
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    const auto request = pager->addLoaded(*parent, "b.osgb", tile);
    const SharedStates states([&request](osg::Node&) { request->_loadedModel = nullptr; });
    const osg::ref_ptr<osg::Node> next = new osg::Group;

    const LogRecorder log;
    pager->mergeLoadedTiles(*stamp);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].severity, osg::WARN);
    EXPECT_EQ(log.lines()[0].text, "src/updatescenegraph 261replace pagedlod failed");
    EXPECT_EQ(parent->getNumChildren(), 0U);
    EXPECT_TRUE(pager->loadedContentNodes.empty());
    EXPECT_EQ(pager->mergeCountOfStatistics(), 0U);
}

TEST_F(PagerMerge, NewPagedParentIsRegisteredWithEverythingBelowIt)
{
    const osg::ref_ptr<osg::PagedLOD> paged = pagedNode(new osg::Group, "b.osgb");
    pager->addLoaded(*paged, "b.osgb", pagedNode(new osg::Group, "c.osgb"));
    pager->mergeLoadedTiles(*stamp);

    EXPECT_EQ(pager->activeCount(), 2U);
    EXPECT_TRUE(pager->isActive(paged));
    auto* child = dynamic_cast<osg::PagedLOD*>(paged->getChild(1));
    ASSERT_TRUE(child);
    EXPECT_TRUE(pager->isActive(child));
    EXPECT_EQ(paged->getFrameNumberOfLastTraversal(), 7U);
    EXPECT_EQ(child->getFrameNumberOfLastTraversal(), 7U);
}

TEST_F(PagerMerge, KnownPagedParentIsNotRegisteredAgain)
{
    const osg::ref_ptr<osg::PagedLOD> paged = pagedNode(new osg::Group, "b.osgb");
    pager->registerPagedLODs(paged, 5);
    pager->addLoaded(*paged, "b.osgb", pagedNode(new osg::Group, "c.osgb"));
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(pager->activeCount(), 2U);
    EXPECT_EQ(paged->getFrameNumberOfLastTraversal(), 5U);
    auto* child = dynamic_cast<osg::PagedLOD*>(paged->getChild(1));
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getFrameNumberOfLastTraversal(), 7U);
}

TEST_F(PagerMerge, TileBelowAPlainGroupIsRegistered)
{
    pager->addLoaded(*parent, "b.osgb", pagedNode(new osg::Group, "c.osgb"));
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(pager->activeCount(), 1U);
}

TEST_F(PagerMerge, RequestsObjectCacheGoesToTheRegistrys)
{
    osgDB::ObjectCache* registryCache = osgDB::Registry::instance()->getObjectCache();
    ASSERT_TRUE(registryCache);
    const osg::ref_ptr<osg::Group> object = new osg::Group;
    const auto request = pager->addLoaded(*parent, "b.osgb", new osg::Group);
    request->_objectCache = new osgDB::ObjectCache;
    request->_objectCache->addEntryToObjectCache("shared by tiles", object);
    pager->mergeLoadedTiles(*stamp);
    EXPECT_EQ(registryCache->getRefFromObjectCache("shared by tiles"), object);
    registryCache->clear();
}

TEST_F(PagerMerge, StatisticsAreTheTimesSinceTheFirstRequests)
{
    pager->addLoaded(*parent, "a.osgb", new osg::Group, 7.5); // merged at 10: 2.5 s
    pager->addLoaded(*parent, "b.osgb", new osg::Group, 4.0); // 6 s
    pager->addLoaded(*parent, "c.osgb", new osg::Group, 6.5); // 3.5 s
    pager->mergeLoadedTiles(*stamp);
    EXPECT_DOUBLE_EQ(pager->getMinimumTimeToMergeTile(), 2.5);
    EXPECT_DOUBLE_EQ(pager->getMaximumTimeToMergeTile(), 6.0);
    EXPECT_DOUBLE_EQ(pager->getAverageTimeToMergeTiles(), 4.0);
    EXPECT_EQ(pager->mergeCountOfStatistics(), 3U);
}

TEST_F(PagerMerge, EmptyQueueChangesNothing)
{
    pager->mergeLoadedTiles(*stamp);
    EXPECT_TRUE(pager->loadedContentNodes.empty());
    EXPECT_EQ(pager->mergedCount, 0U);
}

} // namespace
