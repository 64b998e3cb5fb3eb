#include "mvosggeoterrain/TerrainFixture.h"
#include "support/RasterDriver.h"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace
{

using TerrainEnd = TerrainFixture;

} // namespace

TEST_F(TerrainEnd, NoDatasetIsOpenAfterTheLastModel)
{
    driver->add(source());
    driver->view = fromAbove(200.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GE(openDatasets(), 4); // two rasters, read by two threads
    driver->destroyModel();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, AnotherModelOfTheSameRastersKeepsThem)
{
    ModelDriver other(kTerrainModel);
    driver->add(source());
    other.add(source());
    driver->destroyModel();
    EXPECT_GT(openDatasets(), 0);
    other.view = fromAbove(200.0);
    EXPECT_TRUE(other.converge());
    other.destroyModel();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, TakesItsOwnThreadsHandlesWithIt)
{
    ModelDriver other(kTerrainModel);
    other.add(source());
    driver->add(source());
    const int ofThisThread = openDatasets();
    driver->view = fromAbove(200.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GT(openDatasets(), ofThisThread);
    driver->destroyModel();
    EXPECT_EQ(openDatasets(), ofThisThread);
}

TEST_F(TerrainEnd, AModelMayEndInTheMiddleOfItsBuilds)
{
    for (int round = 0; round < 20; ++round)
    {
        driver->add(source());
        driver->view = fromAbove(50.0 + round);
        driver->update(); // asks for the first tiles
        if (round % 2 == 1) driver->update();
        driver->destroyModel();
        EXPECT_EQ(openDatasets(), 0);
        renewModel();
        std::filesystem::remove_all(folder / "temp");
    }
}

TEST_F(TerrainEnd, ManyModelsAtOnceShareTheRasters)
{
    std::vector<std::unique_ptr<ModelDriver>> drivers;
    for (int i = 0; i < 4; ++i)
    {
        drivers.push_back(std::make_unique<ModelDriver>(kTerrainModel));
        ASSERT_EQ(drivers.back()->add(source()), 0);
        drivers.back()->view = fromAbove(150.0);
        drivers.back()->update();
    }
    for (const auto& one : drivers)
        EXPECT_TRUE(one->converge());
    EXPECT_EQ(log.count("have been existed:!"), 0);
    drivers.clear();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, RastersThatVanishWhileTilesAreBuiltLeaveTheModelUsable)
{
    driver->add(source());
    std::filesystem::remove(dem);
    std::filesystem::remove(dom);
    driver->view = fromAbove(150.0); // the database thread opens them for the first time now
    EXPECT_TRUE(driver->converge());
    EXPECT_EQ(driver->statistics().tilesHeld, 1U);
    EXPECT_LE(log.lines().size(), 3U);
    driver->destroyModel();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, NoDatasetIsOpenAfterAnOpenThatFailed)
{
    TestRaster bytes;
    writeRaster(dem, bytes, 7.0); // opens well, and is no elevations
    EXPECT_EQ(driver->add(source()), -1);
    EXPECT_EQ(openDatasets(), 0);
    EXPECT_EQ(driver->add(folder / "missing.tif"), -1);
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, NoDatasetIsOpenAfterAReloadThatFailed)
{
    driver->add(source());
    writeRaster(dem, TestRaster(), 7.0);
    model().reload();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, NoDatasetIsOpenAfterClear)
{
    driver->add(source());
    driver->view = fromAbove(200.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GE(openDatasets(), 4);
    model().clear();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainEnd, ClearLeavesAnotherModelItsRasters)
{
    ModelDriver other(kTerrainModel);
    driver->add(source());
    other.add(source());
    model().clear();
    EXPECT_EQ(openDatasets(), 2);
    other.view = fromAbove(200.0);
    EXPECT_TRUE(other.converge());
    EXPECT_EQ(other.statistics().tilesIncomplete, 0U);
}

// The database thread has the raster in its hands when the model lets go of it.
TEST_F(TerrainEnd, NoDatasetIsOpenAfterAClearInTheMiddleOfABuild)
{
    const std::thread::id host = std::this_thread::get_id();
    std::promise<void> building;
    std::promise<void> cleared;
    const RasterDriver raster(
        [&](const std::string&)
        {
            if (std::this_thread::get_id() != host)
            {
                building.set_value();
                cleared.get_future().wait();
            }
            return RasterDriver::makeDataset();
        });
    ASSERT_EQ(driver->add('?' + (folder / "dem.test")), 0);
    driver->view = perspectiveView({2.0, 2.0, 3.0}, {2.0, 2.0, 0.0});
    driver->update();
    ASSERT_EQ(building.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    model().clear();
    cleared.set_value();
    ASSERT_TRUE(driver->waitUntilLoaded());
    EXPECT_EQ(openDatasets(), 0);
    driver->destroyModel();
}

TEST_F(TerrainEnd, ARasterThatCannotBeOpenedIsTriedOnceALoad)
{
    std::atomic<int> attempts{0};
    const RasterDriver raster(
        [&](const std::string&)
        {
            ++attempts;
            return nullptr;
        });
    driver->add((folder / "dom.test") + '?' + dem);
    driver->view = fromAbove(200.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GT(driver->statistics().tilesMerged, 1U);
    EXPECT_EQ(attempts, 1);

    model().reload();
    EXPECT_EQ(attempts, 2);
}
