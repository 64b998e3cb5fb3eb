#include "mvosggeoterrain/TerrainFixture.h"

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
