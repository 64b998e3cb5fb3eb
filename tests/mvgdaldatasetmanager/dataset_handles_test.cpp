#include "mvgdaldatasetmanager/OpenedHeader.h"
#include "support/RasterDriver.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <OpenThreads/Thread>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace
{

std::uint64_t thisThread()
{
    return OpenThreads::Thread::CurrentThreadId();
}

/** A raster whose first pixel is 7, opened by the test's own thread. */
class DatasetHandles : public testing::Test
{
protected:
    DatasetHandles()
    {
        writeRaster(path, TestRaster(), 7.0);
        header = openedHeader(path);
    }
    void SetUp() override { ASSERT_NE(header, nullptr); }

    TemporaryDirectory folder;
    const std::string path = folder / "raster.tif";
    osg::ref_ptr<ImageHeader> header;
};

TEST_F(DatasetHandles, OpeningLeavesOneForTheCallingThread)
{
    EXPECT_EQ(openDatasetCount(), 1);
    EXPECT_NE(header->getDataset(), nullptr);
    EXPECT_EQ(header->getDataset(), header->getDataset(thisThread()));
    EXPECT_EQ(openDatasetCount(), 1);
}

TEST_F(DatasetHandles, AreReadOnly)
{
    EXPECT_EQ(header->getDataset()->GetAccess(), GA_ReadOnly);
}

TEST_F(DatasetHandles, EachThreadHasItsOwn)
{
    constexpr int kThreads = 6;
    std::promise<void> allHaveTheirs;
    const std::shared_future<void> go = allHaveTheirs.get_future().share();
    std::vector<std::future<GDALDataset*>> handles;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
    {
        std::promise<GDALDataset*> handle;
        handles.push_back(handle.get_future());
        threads.emplace_back(
            [this, go, handle = std::move(handle)]() mutable
            {
                GDALDataset* mine = header->getDataset();
                EXPECT_EQ(header->getDataset(), mine); // the second time it is the same
                EXPECT_EQ(mine ? firstPixel(*mine) : -1.0, 7.0);
                handle.set_value(mine);
                go.wait(); // a thread that ended could hand its number to the next one
            });
    }
    std::set<GDALDataset*> distinct = {header->getDataset()};
    for (std::future<GDALDataset*>& handle : handles)
        distinct.insert(handle.get());
    allHaveTheirs.set_value();
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(distinct.count(nullptr), 0U);
    EXPECT_EQ(distinct.size(), kThreads + 1U);
    EXPECT_EQ(openDatasetCount(), kThreads + 1);
    header = nullptr;
    EXPECT_EQ(openDatasetCount(), 0); // also those of the threads that are gone
}

TEST_F(DatasetHandles, OfOneThreadAreClosedAloneAndOpenedAgain)
{
    GDALDataset* mine = header->getDataset();
    ASSERT_NE(header->getDataset(1), nullptr);
    ASSERT_NE(header->getDataset(2), nullptr);
    EXPECT_EQ(openDatasetCount(), 3);

    header->closeThreadDataset(1);
    EXPECT_EQ(openDatasetCount(), 2);
    EXPECT_EQ(header->getDataset(), mine);
    EXPECT_EQ(firstPixel(*mine), 7.0);

    ASSERT_NE(header->getDataset(1), nullptr);
    EXPECT_EQ(firstPixel(*header->getDataset(1)), 7.0);
    EXPECT_EQ(openDatasetCount(), 3);
}

// Both find none and open the raster; whoever is second must not close what the first one reads.
TEST_F(DatasetHandles, OfOneNumberIsOneThoughTwoAskForItAtOnce)
{
    std::mutex mutex;
    std::condition_variable met;
    int opening = -1; // the header's own
    const RasterDriver driver(
        [&](const std::string&)
        {
            std::unique_lock<std::mutex> lock(mutex);
            ++opening;
            met.notify_all();
            if (opening > 0) met.wait_for(lock, std::chrono::seconds(10), [&] { return opening >= 2; });
            return RasterDriver::makeDataset();
        });
    header = openedHeader(folder / "raster.test");
    ASSERT_NE(header, nullptr);
    std::vector<std::future<GDALDataset*>> handles;
    for (int i = 0; i < 2; ++i)
        handles.push_back(std::async(std::launch::async, [this] { return header->getDataset(42); }));
    GDALDataset* const first = handles[0].get();
    GDALDataset* const second = handles[1].get();
    EXPECT_EQ(opening, 2) << "they did not meet";
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, header->getDataset(42));
    EXPECT_EQ(openDatasetCount(), 2);
    header = nullptr;
}

TEST_F(DatasetHandles, OfAThreadThatNeverReadAreNotMissed)
{
    header->closeThreadDataset(12345);
    EXPECT_EQ(openDatasetCount(), 1);
}

TEST_F(DatasetHandles, AreNullOnceTheFileIsGoneAndComeBackWithIt)
{
    std::filesystem::rename(path, path + ".away");
    header->closeThreadDataset(thisThread());
    EXPECT_EQ(header->getDataset(), nullptr);
    EXPECT_EQ(header->getDataset(), nullptr);
    header->closeThreadDataset(thisThread()); // an empty entry is nothing to close

    std::filesystem::rename(path + ".away", path);
    ASSERT_NE(header->getDataset(), nullptr);
    EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
}

TEST_F(DatasetHandles, AreNullOnceTheFileIsNoRaster)
{
    const osg::ref_ptr<ImageHeader> changing = openedHeader(path);
    ASSERT_NE(changing, nullptr);
    writeFile(path, "This is no raster any more.\n");
    EXPECT_EQ(changing->getDataset(1), nullptr);
    EXPECT_EQ(openDatasetCount(), 2);
}

TEST_F(DatasetHandles, OfAVirtualRasterGoWithTheirSourcesFromAnyThread)
{
    writeFile(folder / "raster.vrt", "<VRTDataset rasterXSize=\"4\" rasterYSize=\"4\">"
                                     "<GeoTransform>0, 1, 0, 4, 0, -1</GeoTransform>"
                                     "<VRTRasterBand dataType=\"Byte\" band=\"1\"><SimpleSource>"
                                     "<SourceFilename relativeToVRT=\"1\">raster.tif</SourceFilename>"
                                     "</SimpleSource></VRTRasterBand></VRTDataset>");
    header = openedHeader(folder / "raster.vrt");
    ASSERT_NE(header, nullptr);
    std::uint64_t reader = 0;
    std::thread(
        [&]
        {
            reader = thisThread();
            EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
        })
        .join();
    header->closeThreadDataset(reader);
    EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
    header = nullptr;
    EXPECT_EQ(openDatasetCount(), 0);
}

TEST_F(DatasetHandles, ShareTheLayoutThatTheFirstReaderWorkedOut)
{
    const OrthoLayout* mine = &header->orthoLayout(*header->getDataset());
    const OrthoLayout* theirs = nullptr;
    std::thread([&] { theirs = &header->orthoLayout(*header->getDataset()); }).join();
    EXPECT_EQ(mine, theirs);
    EXPECT_EQ(mine->bands, (std::array<int, 3>{1, 1, 1}));
}

} // namespace
