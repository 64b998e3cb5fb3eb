#include "OwnCaches.h"
#include "RasterMaker.h"
#include "TempFolder.h"

#include <common/HostError.h>
#include <terrain/Terrain.h>
#include <terrain/WarpedRaster.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace mvgeo::host;

namespace
{
/** Rasters and caches of this test alone. */
class WarpedRaster : public testing::Test
{
protected:
    [[nodiscard]] Terrain prepare(const std::string& dom, const std::string& dem, bool mayWarp = true) const
    {
        return prepareTerrain({dom, dem}, mayWarp);
    }
    [[nodiscard]] std::size_t warpedFiles() const
    {
        std::error_code error;
        const std::filesystem::directory_iterator files(caches.path("mvgeo-warp"), error);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

    TempFolder folder;
    OwnCaches caches;
};

RasterPlan degrees(GDALDataType type)
{
    RasterPlan plan = rasterAt(4326, 138.0, 36.0, 0.001, 64);
    plan.type = type;
    return plan;
}

std::string readFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<double> readAll(const std::string& path, int band = 1)
{
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str()));
    if (!dataset) return {};
    const int width = dataset->GetRasterXSize();
    const int height = dataset->GetRasterYSize();
    std::vector<double> values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const CPLErr result = dataset->GetRasterBand(band)->RasterIO(GF_Read, 0, 0, width, height, values.data(), width,
                                                                 height, GDT_Float64, 0, 0, nullptr);
    return result == CE_None ? values : std::vector<double>{};
}

/** Everything is either the ground's height or no data, and there is some of both. */
void expectGroundAndNoData(const std::string& path, double ground, double noData)
{
    const std::vector<double> values = readAll(path);
    ASSERT_FALSE(values.empty());
    std::size_t missing = 0;
    for (const double value : values)
    {
        const bool isMissing = std::isnan(noData) ? std::isnan(value) : value == noData;
        if (isMissing)
            ++missing;
        else
            ASSERT_DOUBLE_EQ(value, ground);
    }
    EXPECT_GT(missing, 0U);
    EXPECT_LT(missing, values.size() / 4);
}
} // namespace

TEST_F(WarpedRaster, IsNotMadeWhereTheSystemsAgree)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), rasterAt(32613, 5e5, 4e6, 10.0, 16));
    const std::string dom = writeRaster(folder.path("dom.tif"), orthoAt(32613, 5e5, 4e6, 1.0, 16));
    const Terrain terrain = prepare(dom, dem);
    EXPECT_FALSE(terrain.dom->warped || terrain.dem->warped);
    EXPECT_EQ(terrain.modelPath(), dom + "?" + dem);
    EXPECT_EQ(warpedFiles(), 0U);
}

TEST_F(WarpedRaster, ShowsTheDomInTheSystemOfTheDem)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), rasterAt(32613, 5e5, 4e6, 10.0, 64));
    const std::string dom = writeRaster(folder.path("dom.tif"), orthoAt(32612, 1046000.0, 4010000.0, 5.0, 512));
    const Terrain terrain = prepare(dom, dem);
    EXPECT_FALSE(terrain.dem->warped);
    ASSERT_TRUE(terrain.dom->warped);
    EXPECT_TRUE(isSameSystem(*terrain.dom->warped->srs, *terrain.dem->source.srs));
    EXPECT_EQ(terrain.dom->warped->bands, 3);
    EXPECT_NEAR(terrain.dom->warped->pixelWidth(), 5.0, 0.5); // its own resolution
    EXPECT_EQ(terrain.modelPath(), terrain.dom->warped->path + "?" + dem);
}

TEST_F(WarpedRaster, LeavesRastersAloneIfItMayNotWarp)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), degrees(GDT_Int16));
    const Terrain terrain = prepare({}, dem, /*mayWarp*/ false);
    EXPECT_FALSE(terrain.dem->warped);
    EXPECT_EQ(terrain.modelPath(), "?" + dem);
    EXPECT_EQ(warpedFiles(), 0U);
}

TEST_F(WarpedRaster, KeepsTheNoDataValueOfItsSource)
{
    RasterPlan plan = degrees(GDT_Int16);
    plan.noData = -32768.0;
    const Terrain terrain = prepare({}, writeRaster(folder.path("dem.tif"), plan));
    ASSERT_TRUE(terrain.dem->warped);
    EXPECT_EQ(terrain.dem->warped->type, GDT_Int16);
    EXPECT_EQ(terrain.dem->warped->noData, -32768.0);
    expectGroundAndNoData(terrain.dem->warped->path, 100.0, -32768.0);
}

TEST_F(WarpedRaster, GetsANoDataValueIfItsSourceHasNone)
{
    struct Case
    {
        GDALDataType type;
        double noData;
    };
    for (const Case& test : {Case{GDT_Int16, -9999.0}, Case{GDT_Int32, -9999.0}, Case{GDT_UInt16, 0.0},
                             Case{GDT_Float32, std::nan("")}, Case{GDT_Float64, std::nan("")}})
    {
        SCOPED_TRACE(GDALGetDataTypeName(test.type));
        const std::string name = std::string(GDALGetDataTypeName(test.type)) + ".tif";
        const Terrain terrain = prepare({}, writeRaster(folder.path(name), degrees(test.type)));
        ASSERT_TRUE(terrain.dem->warped);
        EXPECT_EQ(terrain.dem->warped->type, test.type);
        expectGroundAndNoData(terrain.dem->warped->path, 100.0, test.noData);
    }
}

// Bilinear: the pixels next to a hole must not be drawn into it.
TEST_F(WarpedRaster, KeepsHolesThatAreNoNumbers)
{
    RasterPlan plan = degrees(GDT_Float32);
    plan.noData = std::nan("");
    const auto value = [](int x, int y) { return x > 20 && x < 30 && y > 20 && y < 30 ? std::nan("") : 100.0; };
    const Terrain terrain = prepare({}, writeRaster(folder.path("dem.tif"), plan, value));
    ASSERT_TRUE(terrain.dem->warped && terrain.dem->warped->noData);
    EXPECT_TRUE(std::isnan(*terrain.dem->warped->noData));
    expectGroundAndNoData(terrain.dem->warped->path, 100.0, std::nan(""));
}

TEST_F(WarpedRaster, IsBlackOutsideADomWhateverItsNoDataValue)
{
    RasterPlan plan = orthoAt(4326, 138.0, 36.0, 0.001, 64);
    plan.noData = 255.0;
    const std::string dom = writeRaster(folder.path("dom.tif"), plan, [](int, int) { return 200.0; });
    const Terrain terrain = prepare(dom, {});
    ASSERT_TRUE(terrain.dom->warped);
    for (const double value : readAll(terrain.dom->warped->path, 2))
        ASSERT_TRUE(value == 0.0 || value == 200.0) << value;
    EXPECT_EQ(readAll(terrain.dom->warped->path, 2).front(), 0.0); // the north-western corner
}

// Tile caches are told by the times of files: a second run must find what the first has built.
TEST_F(WarpedRaster, IsLeftAsItIsByTheNextRun)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), degrees(GDT_Int16));
    const std::string first = prepare({}, dem).dem->warped->path;
    const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
    std::filesystem::last_write_time(first, longAgo);
    const auto before = std::filesystem::last_write_time(first);
    EXPECT_EQ(prepare({}, dem).dem->warped->path, first);
    EXPECT_EQ(std::filesystem::last_write_time(first), before);
    EXPECT_EQ(warpedFiles(), 1U);
}

TEST_F(WarpedRaster, IsWrittenAnewWhenTheSourceHasAnotherSize)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), degrees(GDT_Int16));
    const int before = prepare({}, dem).dem->warped->width;
    std::filesystem::remove(dem);
    writeRaster(dem, rasterAt(4326, 138.0, 36.0, 0.001, 128));
    EXPECT_GT(prepare({}, dem).dem->warped->width, before);
    EXPECT_EQ(warpedFiles(), 1U);
}

TEST_F(WarpedRaster, HasAFileForEachSourceAndRole)
{
    std::filesystem::create_directories(folder.path("a"));
    std::filesystem::create_directories(folder.path("b"));
    const std::string a = writeRaster(folder.path("a/r.tif"), degrees(GDT_Int16));
    const std::string b = writeRaster(folder.path("b/r.tif"), degrees(GDT_Int16));
    EXPECT_NE(prepare({}, a).dem->warped->path, prepare({}, b).dem->warped->path);
    EXPECT_NE(prepare(b, {}).dom->warped->path, prepare({}, b).dem->warped->path);
}

// The overviews get another height than the ground, which gives away who was read.
TEST_F(WarpedRaster, IsServedByTheOverviewsOfItsSource)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), rasterAt(4326, 138.0, 36.0, 0.001, 1024));
    {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(dem.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        int factors[] = {2, 4};
        ASSERT_EQ(dataset->BuildOverviews("NEAREST", 2, factors, 0, nullptr, nullptr, nullptr), CE_None);
        ASSERT_EQ(dataset->GetRasterBand(1)->GetOverview(0)->Fill(200.0), CE_None);
        ASSERT_EQ(dataset->GetRasterBand(1)->GetOverview(1)->Fill(400.0), CE_None);
    }
    const GDALDatasetUniquePtr warped(GDALDataset::Open(prepare({}, dem).dem->warped->path.c_str()));
    const int width = warped->GetRasterXSize();
    const int height = warped->GetRasterYSize();
    for (const auto& [factor, expected] :
         {std::make_pair(1, 100.0F), std::make_pair(2, 200.0F), std::make_pair(4, 400.0F)})
    {
        std::vector<float> values(static_cast<std::size_t>(width / factor) * static_cast<std::size_t>(height / factor));
        ASSERT_EQ(warped->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, width, height, values.data(), width / factor,
                                                     height / factor, GDT_Float32, 0, 0, nullptr),
                  CE_None);
        EXPECT_EQ(values[values.size() / 2 + static_cast<std::size_t>(width / factor / 2)], expected) << factor;
    }
}

// From an overview of a warped raster GDAL would take the places without data for heights.
TEST_F(WarpedRaster, KnowsTheRangeOfItsSourceWhateverOverviewsThereAre)
{
    const auto slope = [](int x, int y) { return 300.0 + (x + y) % 100; };
    RasterPlan plan = rasterAt(4326, 138.0, 36.0, 0.001, 1024);
    plan.type = GDT_Int16;
    const std::string dem = writeRaster(folder.path("dem.tif"), plan, slope);
    {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(dem.c_str(), GDAL_OF_RASTER));
        int factors[] = {2, 4};
        ASSERT_EQ(dataset->BuildOverviews("NEAREST", 2, factors, 0, nullptr, nullptr, nullptr), CE_None);
    }
    const auto range = valueRange(prepare({}, dem).dem->warped->path);
    ASSERT_TRUE(range);
    EXPECT_GE(range->first, 300.0);
    EXPECT_LE(range->second, 399.0);
}

TEST_F(WarpedRaster, StaysAsItIsWhenItsSourceGetsOverviews)
{
    const std::string dem =
        writeRaster(folder.path("dem.tif"), rasterAt(4326, 138.0, 36.0, 0.001, 1024), [](int x, int) { return x; });
    const std::string before = readFile(prepare({}, dem).dem->warped->path);
    {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(dem.c_str(), GDAL_OF_RASTER));
        int factor = 16;
        ASSERT_EQ(dataset->BuildOverviews("AVERAGE", 1, &factor, 0, nullptr, nullptr, nullptr), CE_None);
    }
    EXPECT_EQ(readFile(prepare({}, dem).dem->warped->path), before);
}

TEST_F(WarpedRaster, ShowsSouthUpRastersNorthUp)
{
    RasterPlan plan = rasterAt(32613, 5e5, 4e6, 10.0, 16);
    plan.transform[5] = 10.0;
    const auto value = [](int, int y) { return 100.0 + y; }; // the first row is the southern one
    const Terrain terrain = prepare({}, writeRaster(folder.path("dem.tif"), plan, value));
    ASSERT_TRUE(terrain.dem->warped);
    EXPECT_TRUE(terrain.dem->warped->isNorthUp());
    EXPECT_NEAR(readAll(terrain.dem->warped->path).front(), 115.0, 1e-3);
}

TEST_F(WarpedRaster, SparesTheLibraryAQuestionMarkInTheDomsName)
{
#if defined(_WIN32)
    GTEST_SKIP() << "file names have no question marks here";
#endif
    const std::string dom = writeRaster(folder.path("what?.tif"), orthoAt(32613, 5e5, 4e6, 1.0, 16));
    const Terrain terrain = prepare(dom, {});
    ASSERT_TRUE(terrain.dom->warped);
    EXPECT_EQ(terrain.dom->warped->path.find('?'), std::string::npos);
    EXPECT_EQ(readAll(terrain.dom->warped->path), readAll(dom));
    EXPECT_THROW((void)prepare(dom, {}, false), HostError);
}

TEST_F(WarpedRaster, ComesFromSourcesWithOddNames)
{
    const std::string dem = writeRaster(folder.path("高程 'x' \xC3\xA9.tif"), degrees(GDT_Int16));
    EXPECT_TRUE(prepare({}, dem).dem->warped);
}

TEST_F(WarpedRaster, SaysSoIfItCannotBeWritten)
{
    caches.write("mvgeo-warp", "a file where the folder should be");
    const std::string dem = writeRaster(folder.path("dem.tif"), degrees(GDT_Int16));
    EXPECT_THROW((void)prepare({}, dem), HostError);
}

TEST_F(WarpedRaster, NotesRastersThatLieApart)
{
    const std::string dem = writeRaster(folder.path("dem.tif"), rasterAt(32613, 5e5, 4e6, 10.0, 16));
    const std::string dom = writeRaster(folder.path("dom.tif"), orthoAt(32613, 7e5, 4e6, 1.0, 16));
    ASSERT_EQ(prepare(dom, dem).notes.size(), 1U);
    EXPECT_NE(prepare(dom, dem).notes[0].find("do not overlap"), std::string::npos);
}
