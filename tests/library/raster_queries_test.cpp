#include "library/QueriedFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <gdal_priv.h>

#include <future>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;

/** A raster that can be written without GDAL: two posts square, ten units apart. */
constexpr const char* kGridText = "ncols 2\nnrows 2\nxllcorner 100\nyllcorner 200\ncellsize 10\n1 2\n3 4\n";

using DemQuery = FileQueries;
using GeoImageQuery = FileQueries;

} // namespace

TEST_F(DemQuery, IsTrueForOneBandOnly)
{
    EXPECT_TRUE(isDem(raster("1.tif", 1)));
    EXPECT_FALSE(isDem(raster("2.tif", 2)));
    EXPECT_FALSE(isDem(raster("3.tif", 3)));
    EXPECT_FALSE(isDem(raster("4.tif", 4)));
}

TEST_F(DemQuery, AsksNotForTypeOrPlace)
{
    for (const GDALDataType type : {GDT_Byte, GDT_Int16, GDT_Float32, GDT_Float64})
        EXPECT_TRUE(isDem(raster("typed.tif", 1, type))) << GDALGetDataTypeName(type);
    TestRaster plan;
    plan.isGeoreferenced = false;
    writeRaster(folder / "nowhere.tif", plan, 1.0);
    EXPECT_TRUE(isDem(folder / "nowhere.tif"));
}

TEST_F(DemQuery, IsFalseForWhatIsNoRaster)
{
    for (const std::string& path : badFiles())
        EXPECT_FALSE(isDem(path)) << path;
    EXPECT_FALSE(isDem(tile()));
}

// The file is looked for on the disk before GDAL is asked.
TEST_F(DemQuery, IsFalseForARasterThatOnlyGdalFinds)
{
    const std::string inMemory = "/vsimem/file_queries_test.tif";
    writeRaster(inMemory, TestRaster(), 1.0);
    EXPECT_FALSE(isDem(inMemory));
    EXPECT_TRUE(GeoImage(inMemory).isRaster);
    VSIUnlink(inMemory.c_str());
}

TEST_F(DemQuery, ReadsPathsThatAreNotAscii)
{
    folder.makeFolder(kChinese);
    EXPECT_TRUE(isDem(raster(kChinese + "/" + kChinese + ".tif", 1)));
    EXPECT_FALSE(isDem(raster(kChinese + "/three.tif", 3)));
#if !defined(_WIN32)
    EXPECT_TRUE(isDem(file("dem\xFF.asc", kGridText)));
#endif
}

TEST_F(GeoImageQuery, TellsPlaceAndSize)
{
    TestRaster plan;
    plan.width = 7;
    plan.height = 5;
    plan.bands = 3;
    plan.originX = 500000.0;
    plan.originY = 4100000.0;
    plan.pixelWidth = 0.5;
    plan.pixelHeight = -0.25;
    plan.rowRotation = 0.125;
    plan.columnRotation = -0.0625;
    writeRaster(folder / "dom.tif", plan, 1.0);
    const GeoImage image(folder / "dom.tif");
    EXPECT_TRUE(image.isRaster);
    EXPECT_THAT(image.transform, ElementsAre(500000.0, 0.5, 0.125, 4100000.0, -0.0625, -0.25));
    EXPECT_EQ(image.width, 7);
    EXPECT_EQ(image.height, 5);
}

TEST_F(GeoImageQuery, OfARasterWithoutPlaceGivesWhatGdalWrites)
{
    TestRaster plan;
    plan.width = 3;
    plan.isGeoreferenced = false;
    writeRaster(folder / "nowhere.tif", plan, 1.0);
    const GeoImage image(folder / "nowhere.tif");
    EXPECT_TRUE(image.isRaster);
    EXPECT_THAT(image.transform, ElementsAre(0.0, 1.0, 0.0, 0.0, 0.0, 1.0));
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 4);
}

TEST_F(GeoImageQuery, LeavesEverythingAloneForWhatIsNoRaster)
{
    std::vector<std::string> paths = badFiles();
    paths.push_back(tile());
    for (const std::string& path : paths)
    {
        const GeoImage image(path);
        EXPECT_FALSE(image.isRaster) << path;
        EXPECT_TRUE(image.isUntouched()) << path;
    }
}

TEST_F(GeoImageQuery, RefusesACallWithoutAnArray)
{
    int width = 1;
    int height = 2;
    EXPECT_FALSE(GetGeoImageInfo(KdString(raster("a.tif", 1).c_str()), nullptr, width, height));
    EXPECT_EQ(width, 1);
    EXPECT_EQ(height, 2);
}

TEST_F(GeoImageQuery, ReadsPathsThatAreNotAscii)
{
    folder.makeFolder(kChinese);
    const GeoImage image(raster(kChinese + "/" + kChinese + ".tif", 4));
    EXPECT_TRUE(image.isRaster);
    EXPECT_EQ(image.width, 4);
}

// Nobody but the queries registers drivers here, and four threads come first.
TEST_F(FileQueries, RegisterTheDriversBeforeTheirFirstUse)
{
    if (GDALGetDriverCount() > 0) GTEST_SKIP() << "another test of this process has registered them";
    const std::string grid = file("grid.asc", kGridText);
    std::vector<std::future<bool>> answers;
    for (int i = 0; i < 4; ++i)
        answers.push_back(
            std::async(std::launch::async, [&grid, i] { return i % 2 ? isDem(grid) : GeoImage(grid).isRaster; }));
    for (std::future<bool>& answer : answers)
        EXPECT_TRUE(answer.get());
    EXPECT_THAT(GeoImage(grid).transform, ElementsAre(100.0, 10.0, 0.0, 220.0, 0.0, -10.0));
}
