#include "library/QueriedFiles.h"

#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <gdal_priv.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <vector>

// What all queries promise alike.

namespace fs = std::filesystem;

namespace
{

std::vector<std::string> openFiles()
{
    std::vector<std::string> targets;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", ignored))
        targets.push_back(fs::read_symlink(entry.path(), ignored).string());
    return targets;
}

int openDatasets()
{
    GDALDataset** datasets = nullptr;
    int count = 0;
    GDALGetOpenDatasets(reinterpret_cast<GDALDatasetH**>(&datasets), &count);
    return count;
}

} // namespace

TEST_F(FileQueries, LeaveNothingOpen)
{
    std::vector<std::string> paths = badFiles();
    paths.push_back(tile());
    paths.push_back(raster("1.tif", 1));
    paths.push_back(raster("3.tif", 3));
    std::vector<KdString> roots;
    const auto askAll = [&]
    {
        for (const std::string& path : paths)
        {
            isTile(path);
            isDem(path);
            const GeoImage image(path);
            GetRootTiles_Imp(KdString(path.c_str()), roots);
        }
    };
    askAll(); // what libraries open once, such as a data base of coordinate systems, stays
    const std::vector<std::string> before = openFiles();
    const int datasetsBefore = openDatasets();
    askAll();
    EXPECT_EQ(openFiles(), before);
    EXPECT_EQ(openDatasets(), datasetsBefore);
    for (const std::string& target : openFiles())
        EXPECT_EQ(target.find(folder.path().string()), std::string::npos) << target;
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(FileQueries, SayNothingAnywhere)
{
    std::vector<std::string> paths = badFiles();
    TilePyramidOptions options;
    std::string strange = readFile(tile(options));
    strange.replace(strange.find("osg::PagedLOD"), 13, "osg::NoSuchOD"); // OSG complains about the class
    paths.push_back(file("strange.osgb", strange));
    const auto askAll = [&paths]
    {
        std::vector<KdString> roots;
        for (const std::string& path : paths)
        {
            isTile(path);
            isDem(path);
            const GeoImage image(path);
            GetRootTiles_Imp(KdString(path.c_str()), roots);
        }
    };
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    askAll(); // with OSG's own handler, which writes to both
    {
        const LogRecorder log;
        askAll();
        EXPECT_EQ(log.lines().size(), 0U) << log.lines().front().text;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(FileQueries, MayComeFromManyThreads)
{
    const std::string goodTile = tile();
    const std::string whole = readFile(goodTile);
    const std::string badTile = file("half.osgb", whole.substr(0, whole.size() / 2));
    const std::string dem = raster("1.tif", 1);
    const std::string dom = raster("3.tif", 3);
    const auto ask = [&]
    {
        int right = 0;
        for (int turn = 0; turn < 50; ++turn)
        {
            std::vector<KdString> roots;
            KdString text;
            getFileName_Imp(KdString(dem.c_str()), text);
            right += isTile(goodTile) && !isTile(badTile) && isDem(dem) && !isDem(dom) && GeoImage(dom).width == 4 &&
                     GetRootTiles_Imp(KdString((folder / "tiles").c_str()), roots) && text == KdString("1.tif");
        }
        return right;
    };
    std::vector<std::future<int>> answers;
    for (int i = 0; i < 4; ++i)
        answers.push_back(std::async(std::launch::async, ask));
    for (std::future<int>& answer : answers)
        EXPECT_EQ(answer.get(), 50);
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(FileQueries, KnowTheRealFiles)
{
    const char* root = std::getenv("MVGEO_REAL_DATA");
    if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
    int tiles = 0;
    int rasters = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root))
    {
        const std::string path = entry.path().string();
        const std::string extension = entry.path().extension().string();
        if (!entry.is_regular_file()) continue;
        SCOPED_TRACE(path);
        EXPECT_EQ(isTile(path), extension == ".osgb");
        EXPECT_EQ(GeoImage(path).isRaster, extension == ".tif");
        EXPECT_FALSE(isDem(path) && extension != ".tif");
        tiles += extension == ".osgb";
        rasters += extension == ".tif";
    }
    EXPECT_GT(tiles, 0);
    EXPECT_GT(rasters, 0);
}
