#include "RasterMaker.h"
#include "TempFolder.h"

#include <common/HostError.h>
#include <terrain/RasterOverviews.h>

#include <gtest/gtest.h>

#include <fstream>

using namespace mvgeo::host;

namespace
{
RasterFacts writeLarge(const TempFolder& folder)
{
    const auto value = [](int x, int) { return x % 2 == 0 ? 10.0 : 20.0; };
    const std::string file = writeRaster(folder.path("dem.tif"), rasterAt(32613, 5e5, 4e6, 1.0, 1100), value);
    return readRasterFacts(file, RasterRole::dem);
}

bool goOn(double)
{
    return true;
}

std::size_t fileCount(const TempFolder& folder)
{
    const std::filesystem::directory_iterator files(folder.path());
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}
} // namespace

TEST(RasterOverviews, HalveUntilASideIsBelow256Pixels)
{
    EXPECT_EQ(overviewFactors(1025, 10), (std::vector<int>{2, 4, 8})); // 513, 257, 129
    EXPECT_EQ(overviewFactors(2000, 1024), (std::vector<int>{2, 4, 8}));
    EXPECT_EQ(overviewFactors(256, 256), (std::vector<int>{2}));
    EXPECT_TRUE(overviewFactors(255, 100).empty());
}

TEST(RasterOverviews, AreWantedForLargeRastersWithoutAny)
{
    RasterFacts raster;
    raster.width = 1025;
    raster.height = 3;
    EXPECT_TRUE(wantsOverviews(raster));
    raster.overviews = {{513, 2}};
    EXPECT_FALSE(wantsOverviews(raster));
    raster.overviews.clear();
    raster.width = 1024;
    EXPECT_FALSE(wantsOverviews(raster));
}

TEST(RasterOverviews, LieBesideTheRasterAndAverageIt)
{
    const TempFolder folder;
    const RasterFacts raster = writeLarge(folder);
    const auto sizeBefore = std::filesystem::file_size(raster.path);
    double last = 0.0;
    EXPECT_TRUE(buildOverviews(raster,
                               [&last](double part)
                               {
                                   last = part;
                                   return true;
                               }));
    EXPECT_DOUBLE_EQ(last, 1.0);
    EXPECT_EQ(std::filesystem::file_size(raster.path), sizeBefore);
    EXPECT_EQ(fileCount(folder), 2U); // dem.tif and dem.tif.ovr
    EXPECT_EQ(readRasterFacts(raster.path, RasterRole::dem).overviews,
              (std::vector<std::pair<int, int>>{{550, 550}, {275, 275}, {138, 138}}));

    const GDALDatasetUniquePtr dataset(GDALDataset::Open(raster.path.c_str()));
    float value = 0.0F;
    ASSERT_EQ(dataset->GetRasterBand(1)->GetOverview(0)->RasterIO(GF_Read, 100, 100, 1, 1, &value, 1, 1, GDT_Float32, 0,
                                                                  0, nullptr),
              CE_None);
    EXPECT_FLOAT_EQ(value, 15.0F); // of 10 and 20
}

TEST(RasterOverviews, LeaveNothingBehindIfTheyAreStopped)
{
    const TempFolder folder;
    const RasterFacts raster = writeLarge(folder);
    EXPECT_FALSE(buildOverviews(raster, [](double part) { return part < 0.3; }));
    EXPECT_EQ(fileCount(folder), 1U);
    EXPECT_TRUE(readRasterFacts(raster.path, RasterRole::dem).overviews.empty());
}

TEST(RasterOverviews, SaySoIfTheyCannotBeWritten)
{
    const TempFolder folder;
    const RasterFacts raster = writeLarge(folder);
    std::filesystem::create_directories(folder.path("dem.tif.ovr/full"));
    EXPECT_THROW((void)buildOverviews(raster, goOn), HostError);
    EXPECT_EQ(fileCount(folder), 2U);
    RasterFacts gone = raster;
    gone.path = folder.path("no folder/dem.tif");
    EXPECT_THROW((void)buildOverviews(gone, goOn), HostError);
}

// 9e12 pixels of 4 bytes.
TEST(RasterOverviews, AreNotBegunWithoutRoom)
{
    const TempFolder folder;
    RasterFacts raster;
    raster.path = folder.path("sparse.vrt");
    raster.width = 3'000'000;
    raster.height = 3'000'000;
    std::ofstream(raster.path) << "<VRTDataset rasterXSize=\"3000000\" rasterYSize=\"3000000\">"
                                  "<VRTRasterBand dataType=\"Float32\" band=\"1\"/></VRTDataset>";
    try
    {
        (void)buildOverviews(raster, goOn);
        FAIL() << "there cannot be that much room";
    }
    catch (const HostError& error)
    {
        EXPECT_EQ(error.what(), "There is no room for overviews beside '" + raster.path + "'.");
    }
    EXPECT_EQ(fileCount(folder), 1U);
}
