#include "TestPager.h"

#include "SceneParts.h"
#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"
#include "updatescenegraph/PagedLODEx.h"
#include "updatescenegraph/ReadFileCallback.h"
#include "updatescenegraph/SceneViewVisitor.h"

#include <osgDB/ReadFile>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace
{

using Names = std::vector<std::string>;

/** True as soon as the condition holds; false if it does not within ten seconds. */
bool becomesTrue(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline)
    {
        if (condition()) return true;
        std::this_thread::yield();
    }
    return condition();
}

/** Counts the calls of the refresh callback, so that a test can wait for the next one. */
class RefreshLatch
{
public:
    bool call()
    {
        const std::lock_guard<std::mutex> lock(_lock);
        ++_calls;
        _caller = std::this_thread::get_id();
        _called.notify_all();
        return true;
    }
    [[nodiscard]] bool waitFor(int calls)
    {
        std::unique_lock<std::mutex> lock(_lock);
        return _called.wait_for(lock, std::chrono::seconds(10), [&] { return _calls >= calls; });
    }
    [[nodiscard]] int calls()
    {
        const std::lock_guard<std::mutex> lock(_lock);
        return _calls;
    }
    [[nodiscard]] std::thread::id caller()
    {
        const std::lock_guard<std::mutex> lock(_lock);
        return _caller;
    }

private:
    std::mutex _lock;
    std::condition_variable _called;
    int _calls = 0;
    std::thread::id _caller;
};

/** A pager with its thread, a view that wants everything, and a scene whose paged nodes name files in a folder. */
class PagerThread : public testing::Test
{
protected:
    PagerThread()
    {
        pager->refreshCallback = [this] { return refresh.call(); };
        view->cullingEnabled = 0;
        view->setDatabaseRequestHandler(pager);
        options->setReadFileCallback(callback);
    }

    /** A paged node, ours, with a coarse child of its own that always wants `file` instead. */
    osg::ref_ptr<PagedLODEx> wants(const std::string& file)
    {
        const auto node = pagedNode(new osg::Group, file);
        node->setDatabasePath(folder.path().string());
        node->setDatabaseOptions(options);
        node->setRadius(1000.0F); // pixels
        node->setNumChildrenThatCannotBeExpired(1);
        osg::ref_ptr<PagedLODEx> result = new PagedLODEx(*node);
        scene->addChild(result);
        return result;
    }
    /** One host update. */
    void drawFrame()
    {
        ++_frame;
        const auto stamp = frame(_frame, 0.1 * _frame);
        pager->signalBeginFrame(stamp);
        view->setFrameStamp(stamp);
        view->reset();
        pager->mergeLoadedTiles(*stamp);
        scene->accept(*view);
        pager->pruneExpiredTiles(*stamp);
        pager->signalEndFrame();
    }
    bool drawUntil(const std::function<bool()>& condition)
    {
        return becomesTrue(
            [&]
            {
                drawFrame();
                return condition();
            });
    }

    TemporaryDirectory folder;
    RefreshLatch refresh;
    osg::ref_ptr<ReadFileCallback> callback = new ReadFileCallback;
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    osg::ref_ptr<osg::Group> scene = new osg::Group;
    osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    osg::ref_ptr<TestPager> pager = new TestPager(3);

private:
    unsigned int _frame = 0;
};

TEST_F(PagerThread, LoadsWhatTheViewWantsAndCallsTheHostFromItsThread)
{
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    const auto node = wants("fine.osgb");
    drawFrame();
    ASSERT_TRUE(refresh.waitFor(1));
    EXPECT_NE(refresh.caller(), std::this_thread::get_id());
    EXPECT_EQ(node->getNumChildren(), 1U) << "nothing enters the scene behind the host's back";

    drawFrame();
    ASSERT_EQ(node->getNumChildren(), 2U);
    EXPECT_EQ(identitiesOf(pager->loadedContentNodes), Names{"3_fine.osgb_0"});
    EXPECT_EQ(callback->loadedCount(), 1U);
    EXPECT_EQ(pager->mergedCount, 1U);
}

TEST_F(PagerThread, MergedTileIsVisibleInTheSameFrame)
{
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    wants("fine.osgb");
    drawFrame();
    ASSERT_TRUE(refresh.waitFor(1));
    view->visibleContentNodes.clear();
    drawFrame();
    EXPECT_EQ(identitiesOf(view->visibleContentNodes), Names{"3_fine.osgb_0"});
}

TEST_F(PagerThread, EveryTileIsLoadedOnce)
{
    for (int i = 0; i < 40; ++i)
    {
        const std::string name = std::to_string(i) + ".osgb";
        writeTile(*makeSquare(0, 0, 0, 1), folder / name);
        wants(name);
    }
    EXPECT_TRUE(drawUntil([this] { return pager->mergedCount == 40U; }));
    EXPECT_EQ(callback->loadedCount(), 40U);
    EXPECT_EQ(pager->loadedContentNodes.size(), 40U);
    EXPECT_TRUE(becomesTrue([this] { return pager->isIdle(); }));
}

TEST_F(PagerThread, ChildrenOfALoadedTileAreLoadedTheSameWay)
{
    const auto middle = pagedNode(makeSquare(0, 0, 0, 1), "fine.osgb");
    middle->setRadius(1000.0F);
    writeTile(*middle, folder / "middle.osgb");
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    options->getDatabasePathList().push_front(folder.path().string());
    wants("middle.osgb");
    EXPECT_TRUE(drawUntil([this] { return pager->mergedCount == 2U; }));
    EXPECT_EQ(identitiesOf(pager->loadedContentNodes), (Names{"3_middle.osgb_0", "3_fine.osgb_0"}));
    EXPECT_EQ(callback->loadedCount(), 2U) << "both went through the callback";
}

TEST_F(PagerThread, MissingFileIsReportedOnceAndTheOthersAreLoaded)
{
    const LogRecorder log;
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    const auto broken = wants("missing.osgb");
    wants("fine.osgb");
    EXPECT_TRUE(drawUntil([this] { return pager->mergedCount == 1U && callback->failedCount() == 1U; }));
    for (int i = 0; i < 50; ++i)
        drawFrame();
    EXPECT_TRUE(becomesTrue([this] { return pager->isIdle(); }));
    EXPECT_EQ(log.count("missing.osgb"), 1);
    EXPECT_EQ(broken->getNumChildren(), 1U) << "the coarse tile stays";
}

// With the good tile read first, nobody else would tell the host of it; a call for the bad one alone has no point.
TEST_F(PagerThread, LastReadOfTheFirstSecondThatFailsCallsTheHostIfATileWaits)
{
    const LogRecorder log;
    pager->stayInFirstSecond();
    callback->setEmptyReadCallback([reader = pager.get()] { reader->noteEmptyRead(); });
    const auto broken = wants("missing.osgb");
    drawFrame();
    EXPECT_TRUE(becomesTrue([this] { return callback->failedCount() == 1U && pager->isIdle(); }));
    EXPECT_EQ(refresh.calls(), 0);

    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    wants("fine.osgb")->setPriorityOffset(1, 10.0F); // the other one, which is still wanted, comes last
    drawFrame();
    ASSERT_TRUE(refresh.waitFor(1));
    EXPECT_NE(refresh.caller(), std::this_thread::get_id());
    drawFrame();
    EXPECT_EQ(pager->mergedCount, 1U);
}

TEST_F(PagerThread, ExpiredTilesAreDeletedByTheThread)
{
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    const auto node = wants("fine.osgb");
    EXPECT_TRUE(drawUntil([this] { return pager->mergedCount == 1U; }));
    const osg::observer_ptr<osg::Node> tile = node->getChild(1);
    pager->loadedContentNodes.clear();
    view->visibleContentNodes.clear();
    pager->setTargetMaximumNumberOfPageLOD(0);
    scene->removeChildren(0, scene->getNumChildren()); // no longer visited, but still alive here
    EXPECT_TRUE(drawUntil([&] { return node->getNumChildren() == 1U; }));
    EXPECT_EQ(identitiesOf(pager->removedContentNodes), Names{"3_fine.osgb_0"});
    EXPECT_TRUE(tile.valid()) << "the model has still to tell the host";
    EXPECT_EQ(pager->heldTiles.count(), 0U);

    EXPECT_TRUE(becomesTrue([&] { return pager->childrenToDelete().empty() && pager->isIdle(); }));
    pager->removedContentNodes.clear();
    EXPECT_FALSE(tile.valid());
}

TEST_F(PagerThread, RunsBeforeItsCallbackIsSetAndSaysSo)
{
    const LogRecorder log;
    pager->refreshCallback = nullptr;
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    wants("fine.osgb");
    EXPECT_TRUE(drawUntil([this] { return pager->mergedCount == 1U; }));
    EXPECT_GE(log.count(osg::WARN, "src/updatescenegraph 139callback is null"), 1);
}

TEST_F(PagerThread, ParentThatGoesWhileItsTileIsReadLosesTheTileSilently)
{
    const LogRecorder log;
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    wants("fine.osgb");
    drawFrame();
    ASSERT_TRUE(refresh.waitFor(1));
    scene->removeChildren(0, 1);
    drawFrame();
    EXPECT_TRUE(pager->loadedContentNodes.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(PagerThread, EndsWhileItIsReading)
{
    for (int i = 0; i < 40; ++i)
    {
        const std::string name = std::to_string(i) + ".osgb";
        writeTile(*makeSquare(0, 0, 0, 1), folder / name);
        wants(name);
    }
    drawFrame();
    view->setDatabaseRequestHandler(nullptr);
    const osg::observer_ptr<TestPager> gone = pager.get();
    pager = nullptr;
    EXPECT_FALSE(gone.valid());
}

TEST_F(PagerThread, TellsOnceOnItsOwnThreadThatItEnds)
{
    std::vector<std::thread::id> ended;
    std::atomic<bool> hasEnded{false};
    std::uint64_t loadedBefore = 0;
    pager->threadEndCallback = [&]
    {
        hasEnded = true;
        ended.push_back(std::this_thread::get_id());
        loadedBefore = callback->loadedCount();
    };
    writeTile(*makeSquare(0, 0, 0, 1), folder / "fine.osgb");
    wants("fine.osgb");
    drawFrame();
    ASSERT_TRUE(refresh.waitFor(1));
    EXPECT_FALSE(hasEnded);

    pager->stop();
    EXPECT_EQ(ended, std::vector<std::thread::id>{refresh.caller()});
    EXPECT_EQ(loadedBefore, callback->loadedCount()) << "nothing is read afterwards";
    pager->stop();
    EXPECT_EQ(ended.size(), 1U);
}

TEST_F(PagerThread, ThatNeverRanDoesNotEnd)
{
    bool hasEnded = false;
    pager->threadEndCallback = [&] { hasEnded = true; };
    view->setDatabaseRequestHandler(nullptr);
    pager = nullptr;
    EXPECT_FALSE(hasEnded);
}

// The callback's own data may go as soon as the pager is gone.
TEST_F(PagerThread, CallsNobodyAfterItsEnd)
{
    std::atomic<bool> ended{false};
    std::atomic<bool> calledTooLate{false};
    pager->refreshCallback = [&]
    {
        if (ended) calledTooLate = true;
        return true;
    };
    for (int i = 0; i < 20; ++i)
    {
        const std::string name = std::to_string(i) + ".osgb";
        writeTile(*makeSquare(0, 0, 0, 1), folder / name);
        wants(name);
    }
    drawFrame();
    EXPECT_TRUE(becomesTrue([this] { return pager->getDataToMergeListSize() > 0; }));
    view->setDatabaseRequestHandler(nullptr);
    pager = nullptr;
    ended = true;
    EXPECT_FALSE(calledTooLate);
}

} // namespace
