#include "sample/SampleTerrain.h"

#include "support/TemporaryDirectory.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#endif

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using mvgeo::sample::SampleTerrainOptions;
using mvgeo::sample::SampleTerrainResult;
using mvgeo::sample::writeSampleTerrain;

constexpr double kNoData = -9999.0;

struct CloseDataset
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using DatasetPtr = std::unique_ptr<GDALDataset, CloseDataset>;

DatasetPtr openRaster(const std::string& path)
{
    GDALAllRegister();
    return DatasetPtr(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
}

/** The whole landscape, about 10 km each way, on few posts. */
SampleTerrainOptions smallOptions()
{
    SampleTerrainOptions options;
    options.columns = 257;
    options.rows = 225;
    options.demPixelMetres = 40.0;
    options.domPixelsPerPost = 2;
    return options;
}

std::vector<float> heightsOf(GDALDataset& dem)
{
    const int columns = dem.GetRasterXSize();
    const int rows = dem.GetRasterYSize();
    std::vector<float> heights(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    EXPECT_EQ(dem.GetRasterBand(1)->RasterIO(GF_Read, 0, 0, columns, rows, heights.data(), columns, rows, GDT_Float32,
                                             0, 0, nullptr),
              CE_None);
    return heights;
}

std::array<double, 6> transformOf(GDALDataset& dataset)
{
    std::array<double, 6> transform{};
    EXPECT_EQ(dataset.GetGeoTransform(transform.data()), CE_None);
    return transform;
}

/** One terrain, written once: every test only reads it. */
class SampleTerrain : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        _folder = new TemporaryDirectory;
        SampleTerrainOptions options = smallOptions();
        options.progress = [](double fraction) { _fractions.push_back(fraction); };
        _result = writeSampleTerrain(_folder->path().string(), options);
    }
    static void TearDownTestSuite()
    {
        delete _folder;
        _folder = nullptr;
    }

    void SetUp() override
    {
        ASSERT_TRUE(_result.ok) << _result.message;
        dem = openRaster(_result.demFile);
        dom = openRaster(_result.domFile);
        ASSERT_NE(dem, nullptr);
        ASSERT_NE(dom, nullptr);
    }

    DatasetPtr dem;
    DatasetPtr dom;

    static TemporaryDirectory* _folder;
    static SampleTerrainResult _result;
    static std::vector<double> _fractions;
};

TemporaryDirectory* SampleTerrain::_folder = nullptr;
SampleTerrainResult SampleTerrain::_result;
std::vector<double> SampleTerrain::_fractions;

TEST_F(SampleTerrain, NamesItsTwoFilesAndCountsTheirBytes)
{
    EXPECT_EQ(_result.demFile, _folder->path().string() + "/terrain/dem.tif");
    EXPECT_EQ(_result.domFile, _folder->path().string() + "/terrain/dom.tif");
    EXPECT_EQ(_result.bytes, fs::file_size(_result.demFile) + fs::file_size(_result.domFile));
    EXPECT_EQ(std::distance(fs::directory_iterator(*_folder / "terrain"), fs::directory_iterator()), 2);
}

TEST_F(SampleTerrain, HasTheSizesThatWereAskedFor)
{
    EXPECT_EQ(dem->GetRasterXSize(), 257);
    EXPECT_EQ(dem->GetRasterYSize(), 225);
    EXPECT_EQ(dem->GetRasterCount(), 1);
    EXPECT_EQ(dem->GetRasterBand(1)->GetRasterDataType(), GDT_Float32);
    EXPECT_EQ(dom->GetRasterXSize(), 514);
    EXPECT_EQ(dom->GetRasterYSize(), 450);
    EXPECT_EQ(dom->GetRasterCount(), 3);
    EXPECT_EQ(dom->GetRasterBand(1)->GetRasterDataType(), GDT_Byte);
}

TEST_F(SampleTerrain, ElevationModelAndOrthoImageHaveTheSameExtent)
{
    const std::array<double, 6> demTransform = transformOf(*dem);
    const std::array<double, 6> domTransform = transformOf(*dom);
    EXPECT_EQ(demTransform[1], 40.0);
    EXPECT_EQ(demTransform[5], -40.0);
    EXPECT_EQ(domTransform[1], 20.0);
    EXPECT_EQ(domTransform[5], -20.0);
    EXPECT_EQ(demTransform[0], domTransform[0]); // the north-western corner; twice the pixels of half the size
    EXPECT_EQ(demTransform[3], domTransform[3]);
}

TEST_F(SampleTerrain, LiesInUtmZone32)
{
    for (GDALDataset* dataset : {dem.get(), dom.get()})
    {
        const OGRSpatialReference* reference = dataset->GetSpatialRef();
        ASSERT_NE(reference, nullptr);
        int isNorth = 0;
        EXPECT_EQ(reference->GetUTMZone(&isNorth), 32);
        EXPECT_TRUE(isNorth);
        EXPECT_STREQ(reference->GetAuthorityCode(nullptr), "32632");
        EXPECT_EQ(reference->GetLinearUnits(), 1.0);
    }
}

TEST_F(SampleTerrain, OnlyTheElevationModelHasANoDataValue)
{
    int has = 0;
    EXPECT_EQ(dem->GetRasterBand(1)->GetNoDataValue(&has), kNoData);
    EXPECT_TRUE(has);
    for (int band = 1; band <= 3; ++band)
    {
        dom->GetRasterBand(band)->GetNoDataValue(&has);
        EXPECT_FALSE(has);
    }
}

TEST_F(SampleTerrain, OrthoImageIsRedGreenAndBlue)
{
    EXPECT_EQ(dom->GetRasterBand(1)->GetColorInterpretation(), GCI_RedBand);
    EXPECT_EQ(dom->GetRasterBand(2)->GetColorInterpretation(), GCI_GreenBand);
    EXPECT_EQ(dom->GetRasterBand(3)->GetColorInterpretation(), GCI_BlueBand);
}

TEST_F(SampleTerrain, IsTiledAndCompressedWithoutLoss)
{
    for (GDALDataset* dataset : {dem.get(), dom.get()})
    {
        EXPECT_STREQ(dataset->GetMetadataItem("COMPRESSION", "IMAGE_STRUCTURE"), "DEFLATE");
        int width = 0;
        int height = 0;
        dataset->GetRasterBand(1)->GetBlockSize(&width, &height);
        EXPECT_EQ(width, 256);
        EXPECT_EQ(height, 256);
    }
}

TEST_F(SampleTerrain, HasOverviews)
{
    // The elevation model's are half as large; the ortho-image begins with a quarter.
    ASSERT_GE(dem->GetRasterBand(1)->GetOverviewCount(), 1);
    EXPECT_EQ(dem->GetRasterBand(1)->GetOverview(0)->GetXSize(), 129);
    for (int band = 1; band <= 3; ++band)
    {
        ASSERT_GE(dom->GetRasterBand(band)->GetOverviewCount(), 1);
        EXPECT_EQ(dom->GetRasterBand(band)->GetOverview(0)->GetXSize(), 129);
    }
}

TEST_F(SampleTerrain, MountainsRiseFromTheLakesShore)
{
    std::vector<float> land = heightsOf(*dem);
    land.erase(std::remove(land.begin(), land.end(), static_cast<float>(kNoData)), land.end());
    ASSERT_FALSE(land.empty());
    std::sort(land.begin(), land.end());
    EXPECT_TRUE(std::all_of(land.begin(), land.end(), [](float height) { return std::isfinite(height); }));
    EXPECT_GT(land.front(), 0.0F);
    EXPECT_LT(land.front(), 5.0F);
    EXPECT_GT(land.back(), 2000.0F);
    EXPECT_LT(land.back(), 2600.0F);
    // Neither a plain with one peak nor a plateau.
    EXPECT_GT(land[land.size() / 2], 300.0F);
    EXPECT_LT(land[land.size() / 2], 1500.0F);
}

TEST_F(SampleTerrain, LakeIsOneHoleOfSensibleSizeAwayFromTheEdge)
{
    const std::vector<float> heights = heightsOf(*dem);
    const auto water = [&](int column, int row)
    { return heights[static_cast<std::size_t>(row) * 257U + static_cast<std::size_t>(column)] == kNoData; };
    int posts = 0;
    for (int row = 0; row < 225; ++row)
    {
        for (int column = 0; column < 257; ++column)
        {
            if (!water(column, row)) continue;
            ++posts;
            EXPECT_TRUE(column > 10 && column < 246 && row > 10 && row < 214) << column << ", " << row;
        }
    }
    // A lake takes 1 to 10 % of the area.
    EXPECT_GT(posts, 257 * 225 / 100);
    EXPECT_LT(posts, 257 * 225 / 10);
}

/** Whoever meets the hole gets a height of 0 there: nothing must stand on its rim. Posts are 40 m
 * apart; a bank as steep as 80 % rises by 32 m. */
TEST_F(SampleTerrain, ShoreIsLow)
{
    const std::vector<float> heights = heightsOf(*dem);
    for (std::size_t post = 258; post + 258 < heights.size(); ++post)
    {
        if (heights[post] == kNoData) continue;
        const std::array<float, 4> around = {heights[post - 1], heights[post + 1], heights[post - 257],
                                             heights[post + 257]};
        const bool shore = std::count(around.begin(), around.end(), static_cast<float>(kNoData)) > 0;
        ASSERT_TRUE(!shore || heights[post] < 32.0F) << "post " << post << ": " << heights[post] << " m";
    }
}

/** Blue by far over red: the lake, and neither shaded snow nor the river. */
TEST_F(SampleTerrain, OrthoImageShowsWaterWhereThereIsNoData)
{
    const std::vector<float> heights = heightsOf(*dem);
    std::vector<unsigned char> pixels(514U * 450U * 3U);
    ASSERT_EQ(
        dom->RasterIO(GF_Read, 0, 0, 514, 450, pixels.data(), 514, 450, GDT_Byte, 3, nullptr, 3, 514 * 3, 1, nullptr),
        CE_None);
    int wrong = 0;
    for (int row = 1; row < 224; ++row)
    {
        for (int column = 1; column < 256; ++column)
        {
            // The waterline runs between posts, so that only posts among their like are to be exact.
            int dry = 0;
            for (int i = 0; i < 9; ++i)
                dry += heights[static_cast<std::size_t>((row + i / 3 - 1) * 257 + column + i % 3 - 1)] != kNoData;
            if (dry != 0 && dry != 9) continue;
            for (int i = 0; i < 4; ++i)
            {
                const auto pixel = static_cast<std::size_t>((2 * row + i / 2) * 514 + 2 * column + i % 2) * 3;
                const bool blue = pixels[pixel + 2] > pixels[pixel] + 35;
                wrong += blue != (dry == 0);
            }
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(SampleTerrain, ProgressRisesToOne)
{
    ASSERT_GT(_fractions.size(), 20U);
    EXPECT_TRUE(std::is_sorted(_fractions.begin(), _fractions.end()));
    EXPECT_GE(_fractions.front(), 0.0);
    EXPECT_EQ(_fractions.back(), 1.0);
}

TEST_F(SampleTerrain, SameOptionsGiveTheSameBytes)
{
    const TemporaryDirectory second;
    const SampleTerrainResult twin = writeSampleTerrain(second.path().string(), smallOptions());
    ASSERT_TRUE(twin.ok) << twin.message;
    EXPECT_TRUE(readFile(_result.demFile) == readFile(twin.demFile));
    EXPECT_TRUE(readFile(_result.domFile) == readFile(twin.domFile));
}

TEST_F(SampleTerrain, AnotherSeedGivesAnotherTerrain)
{
    const TemporaryDirectory second;
    SampleTerrainOptions options = smallOptions();
    options.seed = 8;
    const SampleTerrainResult other = writeSampleTerrain(second.path().string(), options);
    ASSERT_TRUE(other.ok) << other.message;
    const std::vector<float> ours = heightsOf(*dem);
    const std::vector<float> theirs = heightsOf(*openRaster(other.demFile));
    ASSERT_EQ(ours.size(), theirs.size());
    std::size_t same = 0;
    for (std::size_t post = 0; post < ours.size(); ++post)
        same += ours[post] == theirs[post] && ours[post] != kNoData;
    EXPECT_LT(same, ours.size() / 100);
}

TEST_F(SampleTerrain, LeavesAnExistingTerrainAlone)
{
    const std::string before = readFile(_result.demFile);
    const SampleTerrainResult again = writeSampleTerrain(_folder->path().string(), smallOptions());
    EXPECT_FALSE(again.ok);
    EXPECT_EQ(again.message,
              _folder->path().string() + "/terrain already exists; choose another folder or remove it first");
    EXPECT_TRUE(readFile(_result.demFile) == before);
}

TEST(SampleTerrainPlaces, TakesFolderNamesOfAnyLanguage)
{
    const TemporaryDirectory folder;
    const std::string inside = folder / "Gebirge 山 \xC3\xA9";
    SampleTerrainOptions options = smallOptions();
    options.columns = options.rows = 64;
    const SampleTerrainResult result = writeSampleTerrain(inside, options);
    ASSERT_TRUE(result.ok) << result.message;
    EXPECT_TRUE(fs::exists(fs::u8path(inside + "/terrain/dem.tif")));
    EXPECT_NE(openRaster(result.domFile), nullptr);
}

TEST(SampleTerrainFailure, NamesThePathThatCannotBeMade)
{
    const TemporaryDirectory folder;
    writeFile(folder / "file", "not a folder");
    const std::string inside = folder.path().string() + "/file";
    const SampleTerrainResult result = writeSampleTerrain(inside, smallOptions());
    EXPECT_FALSE(result.ok);
    EXPECT_THAT(result.message, testing::StartsWith("cannot make the folder " + inside + "/terrain: "));
    EXPECT_EQ(result.bytes, 0U);
}

TEST(SampleTerrainFailure, CancellationKeepsNothingWheneverItComes)
{
    for (const double when : {0.0, 0.3, 0.38, 0.6, 0.95})
    {
        SCOPED_TRACE(when);
        const TemporaryDirectory folder;
        double reached = -1.0;
        SampleTerrainOptions options = smallOptions();
        options.progress = [&reached](double fraction) { reached = fraction; };
        options.cancelled = [&reached, when] { return reached >= when; };
        const SampleTerrainResult result = writeSampleTerrain(folder.path().string(), options);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.message, "cancelled; nothing was kept in " + folder.path().string());
        EXPECT_LT(reached, 1.0);
        EXPECT_TRUE(fs::is_empty(folder.path()));
    }
}

TEST(SampleTerrainFailure, RefusesOptionsOutsideTheirLimits)
{
    const TemporaryDirectory folder;
    std::vector<SampleTerrainOptions> wrong(7);
    wrong[0].columns = 63;
    wrong[1].rows = 2049;
    wrong[2].demPixelMetres = 0.5;
    wrong[3].demPixelMetres = 101.0;
    wrong[4].demPixelMetres = std::nan("");
    wrong[5].domPixelsPerPost = 0;
    wrong[6].domPixelsPerPost = 9;
    for (const SampleTerrainOptions& options : wrong)
    {
        const SampleTerrainResult result = writeSampleTerrain(folder.path().string(), options);
        EXPECT_FALSE(result.ok);
        EXPECT_THAT(result.message, testing::HasSubstr("must be from"));
    }
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

#if !defined(_WIN32)
/** No file of this process grows beyond so many bytes: what a full disk looks like. */
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : _handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &_before);
        rlimit limit = _before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit _before{};
    void (*_handler)(int);
};

TEST(SampleTerrainFailure, FullDiskIsNoticedWhereverItHappensAndKeepsNothing)
{
    SampleTerrainOptions options = smallOptions();
    rlim_t demBytes = 0;
    rlim_t domBytes = 0;
    {
        const TemporaryDirectory folder;
        const SampleTerrainResult whole = writeSampleTerrain(folder.path().string(), options);
        ASSERT_TRUE(whole.ok) << whole.message;
        demBytes = fs::file_size(whole.demFile);
        domBytes = fs::file_size(whole.domFile);
    }
    for (const rlim_t limit : {rlim_t{0}, demBytes / 2, demBytes - 1, domBytes / 2, domBytes - 1})
    {
        SCOPED_TRACE(limit);
        const TemporaryDirectory folder;
        const SampleTerrainResult result = [&]
        {
            const FileSizeLimit full(limit);
            return writeSampleTerrain(folder.path().string(), options);
        }();
        EXPECT_FALSE(result.ok);
        const char* file = limit < demBytes ? "/terrain/dem.tif: " : "/terrain/dom.tif: ";
        EXPECT_THAT(result.message, testing::StartsWith("cannot write " + folder.path().string() + file));
        EXPECT_TRUE(fs::is_empty(folder.path()));
    }
}
#endif

} // namespace
