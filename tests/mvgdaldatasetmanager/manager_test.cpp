#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "mvgdaldatasetmanager/OpenedHeader.h"
#include "support/LogRecorder.h"
#include "support/PathHash.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <OpenThreads/Thread>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace
{

/** A raster and its key. The manager is the process's own, so that each test leaves it empty. */
class Manager : public testing::Test
{
protected:
    Manager() { writeRaster(path, TestRaster(), 7.0); }
    void TearDown() override
    {
        manager.purgeUnused();
        EXPECT_EQ(openDatasetCount(), 0);
    }

    TemporaryDirectory folder;
    const std::string path = folder / "raster.tif";
    const std::string key = mvgeo::pathHashText(path);
    MvGdalDataSetManager& manager = *MvGdalDataSetManager::instance();
    LogRecorder log;
};

TEST_F(Manager, IsTheOnlyOneInEveryThread)
{
    MvGdalDataSetManager* theirs = nullptr;
    std::thread([&] { theirs = MvGdalDataSetManager::instance(); }).join();
    EXPECT_EQ(theirs, &manager);
    EXPECT_GE(manager.referenceCount(), 1);
}

TEST_F(Manager, FindsNothingThatWasNotInserted)
{
    EXPECT_EQ(manager.findDomHeader(key), nullptr);
    EXPECT_EQ(manager.findDemHeader(key), nullptr);
    EXPECT_EQ(manager.findDemHeader(""), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Manager, KeepsImagesAndElevationsApart)
{
    const osg::ref_ptr<ImageHeader> dom = openedHeader(path);
    const osg::ref_ptr<ImageHeader> dem = openedHeader(path);
    EXPECT_TRUE(manager.insertDomHeader(key, dom));
    EXPECT_EQ(manager.findDemHeader(key), nullptr);
    EXPECT_TRUE(manager.insertDemHeader(key, dem));
    EXPECT_EQ(manager.findDomHeader(key), dom);
    EXPECT_EQ(manager.findDemHeader(key), dem);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Manager, RefusesNullSilently)
{
    EXPECT_FALSE(manager.insertDomHeader(key, nullptr));
    EXPECT_FALSE(manager.insertDemHeader(key, nullptr));
    EXPECT_EQ(manager.findDomHeader(key), nullptr);
    EXPECT_EQ(manager.findDemHeader(key), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Manager, KeepsTheFirstOfTwoImagesWithOneKeyAndWarnsOnce)
{
    const osg::ref_ptr<ImageHeader> first = openedHeader(path);
    EXPECT_TRUE(manager.insertDomHeader(key, first));
    EXPECT_FALSE(manager.insertDomHeader(key, openedHeader(path)));
    EXPECT_EQ(manager.findDomHeader(key), first);
    EXPECT_EQ(openDatasetCount(), 1); // the second one's is closed with it
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.count(osg::WARN, "have been existed:!" + key), 1);
    EXPECT_EQ(log.lines()[0].text.rfind("src/mvgdaldatasetmanager ", 0), 0U);
}

TEST_F(Manager, KeepsTheFirstOfTwoElevationsWithOneKeyAndWarnsOnce)
{
    const osg::ref_ptr<ImageHeader> first = openedHeader(path);
    EXPECT_TRUE(manager.insertDemHeader(key, first));
    EXPECT_FALSE(manager.insertDemHeader(key, openedHeader(path)));
    EXPECT_EQ(manager.findDemHeader(key), first);
    EXPECT_EQ(openDatasetCount(), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.count(osg::WARN, "have been existed:!" + key), 1);
}

TEST_F(Manager, HoldsWhatTheCallerLetsGo)
{
    EXPECT_TRUE(manager.insertDemHeader(key, openedHeader(path)));
    EXPECT_EQ(openDatasetCount(), 1);
    const osg::ref_ptr<ImageHeader> found = manager.findDemHeader(key);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->referenceCount(), 2); // the map's and ours
}

TEST_F(Manager, PurgesWhatNobodyElseHolds)
{
    EXPECT_TRUE(manager.insertDomHeader(key, openedHeader(path)));
    EXPECT_TRUE(manager.insertDemHeader(key, openedHeader(path)));
    EXPECT_TRUE(manager.insertDemHeader("another", openedHeader(path)));
    EXPECT_EQ(openDatasetCount(), 3);
    manager.purgeUnused();
    EXPECT_EQ(manager.findDomHeader(key), nullptr);
    EXPECT_EQ(manager.findDemHeader(key), nullptr);
    EXPECT_EQ(manager.findDemHeader("another"), nullptr);
    EXPECT_EQ(openDatasetCount(), 0);
}

TEST_F(Manager, LeavesWhatATileBuildStillHolds)
{
    EXPECT_TRUE(manager.insertDomHeader(key, openedHeader(path)));
    EXPECT_TRUE(manager.insertDemHeader("unused", openedHeader(path)));
    osg::ref_ptr<ImageHeader> held = manager.findDomHeader(key);
    manager.purgeUnused();
    EXPECT_EQ(manager.findDomHeader(key), held);
    EXPECT_EQ(manager.findDemHeader("unused"), nullptr);
    EXPECT_EQ(firstPixel(*held->getDataset()), 7.0);

    held = nullptr;
    manager.purgeUnused();
    EXPECT_EQ(manager.findDomHeader(key), nullptr);
}

TEST_F(Manager, InsertsAgainAfterPurging)
{
    EXPECT_TRUE(manager.insertDemHeader(key, openedHeader(path)));
    manager.purgeUnused();
    EXPECT_TRUE(manager.insertDemHeader(key, openedHeader(path)));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Manager, ClosesTheDatasetsOfOneThreadInBothMaps)
{
    const osg::ref_ptr<ImageHeader> dom = openedHeader(path);
    const osg::ref_ptr<ImageHeader> dem = openedHeader(path);
    EXPECT_TRUE(manager.insertDomHeader(key, dom));
    EXPECT_TRUE(manager.insertDemHeader(key, dem));
    GDALDataset* const mine = dom->getDataset();
    for (const std::uint64_t thread : {1, 2})
        EXPECT_TRUE(dom->getDataset(thread) && dem->getDataset(thread));
    EXPECT_EQ(openDatasetCount(), 6);

    manager.closeThreadDatasets(1);
    EXPECT_EQ(openDatasetCount(), 4);
    EXPECT_EQ(dom->getDataset(), mine);
    EXPECT_NE(manager.findDomHeader(key), nullptr); // the headers stay
    ASSERT_NE(dem->getDataset(1), nullptr);
    EXPECT_EQ(firstPixel(*dem->getDataset(1)), 7.0);
    EXPECT_EQ(openDatasetCount(), 5);
}

TEST_F(Manager, LetsOneOfTwoThreadsWinTheSameKey)
{
    std::promise<void> start;
    const std::shared_future<void> go = start.get_future().share();
    std::array<osg::ref_ptr<ImageHeader>, 2> headers = {openedHeader(path), openedHeader(path)};
    std::array<std::atomic<bool>, 2> hasWon{};
    std::vector<std::thread> threads;
    for (const std::size_t i : {0U, 1U})
        threads.emplace_back(
            [&, i]
            {
                go.wait();
                hasWon[i] = manager.insertDemHeader(key, headers[i]);
            });
    start.set_value();
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_NE(hasWon[0], hasWon[1]);
    EXPECT_EQ(manager.findDemHeader(key), headers[hasWon[0] ? 0 : 1]);
    EXPECT_EQ(log.count(osg::WARN, "have been existed:!"), 1);
}

TEST_F(Manager, KnowsWhatCannotBeOpenedUntilItForgets)
{
    EXPECT_FALSE(manager.isUnusable(key));
    manager.recordUnusable(key);
    EXPECT_TRUE(manager.isUnusable(key));
    EXPECT_FALSE(manager.isUnusable("another"));
    manager.purgeUnused();
    EXPECT_TRUE(manager.isUnusable(key));
    manager.forgetUnusable();
    EXPECT_FALSE(manager.isUnusable(key));
}

// What database threads do while models come and go: nobody ever reads with a closed handle.
TEST_F(Manager, ServesReadersWhileOthersPurge)
{
    constexpr int kRounds = 150;
    std::atomic<int> readers{3};
    const auto read = [&]
    {
        for (int round = 0; round < kRounds; ++round)
        {
            osg::ref_ptr<ImageHeader> header = manager.findDomHeader(key);
            if (!header)
            {
                header = openedHeader(path);
                manager.insertDomHeader(key, header);
            }
            ASSERT_EQ(firstPixel(*header->getDataset()), 7.0);
        }
        manager.closeThreadDatasets(OpenThreads::Thread::CurrentThreadId());
        --readers;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back(read);
    while (readers > 0)
        manager.purgeUnused();
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
