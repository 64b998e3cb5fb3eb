#include "mvgdaldatasetmanager/OpenedHeader.h"
#include "mvgdaldatasetmanager/QuietGdal.h"
#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <cpl_error.h>
#include <cpl_vsi.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <ostream>

namespace fs = std::filesystem;

namespace
{

/** Rasters in a folder of their own. Whatever a test opens must be closed at its end. */
class ImageHeaderTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(openDatasetCount(), 0); }

    /** Writes a raster whose pixels are 7, and opens it. */
    osg::ref_ptr<ImageHeader> written(const TestRaster& raster, const std::string& name = "raster.tif") const
    {
        writeRaster(folder / name, raster, 7.0);
        return openedHeader(folder / name);
    }

    osg::ref_ptr<ImageHeader> virtualOf(const std::string& geoTransform, const std::string& bands) const
    {
        writeFile(folder / "raster.vrt", virtualRaster(geoTransform, bands));
        return openedHeader(folder / "raster.vrt");
    }

    /** False, and one line of the log gives the reason and names the file. */
    void expectRefused(const osg::ref_ptr<ImageHeader>& header, const std::string& file,
                       const std::string& reason) const
    {
        EXPECT_EQ(header, nullptr);
        EXPECT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.count(osg::WARN, file), 1);
        EXPECT_EQ(log.count(osg::WARN, reason), 1);
    }

    TemporaryDirectory folder;
    LogRecorder log;
};

constexpr const char* kByteBand = "<VRTRasterBand dataType=\"Byte\" band=\"1\"/>";
constexpr const char* kNorthUp = "500000, 2, 0, 4000000, 0, -3";

TEST_F(ImageHeaderTest, TellsPlaceAndSize)
{
    TestRaster raster;
    raster.width = 30;
    raster.height = 20;
    raster.originX = 500000.5;
    raster.originY = 4000000.25;
    raster.pixelWidth = 2.0;
    raster.pixelHeight = -3.0;
    raster.epsg = 32650;
    const osg::ref_ptr<ImageHeader> header = written(raster);

    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->width(), 30);
    EXPECT_EQ(header->height(), 20);
    EXPECT_EQ(header->originX(), 500000.5);
    EXPECT_EQ(header->pixelWidth(), 2.0);
    EXPECT_EQ(header->originY(), 4000000.25);
    EXPECT_EQ(header->pixelHeight(), -3.0);
    EXPECT_EQ(header->geoTransform(), (std::array<double, 6>{500000.5, 2.0, 0.0, 4000000.25, 0.0, -3.0}));
    EXPECT_EQ(header->path(), KdString((folder / "raster.tif").c_str()));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ImageHeaderTest, OpensARasterOfOnePixel)
{
    TestRaster raster;
    raster.width = raster.height = 1;
    const osg::ref_ptr<ImageHeader> header = written(raster);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->width(), 1);
    EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
}

TEST_F(ImageHeaderTest, KnowsTheNoDataValueOfBand1)
{
    TestRaster raster;
    raster.type = GDT_Float32;
    raster.noData = -9999.0;
    const osg::ref_ptr<ImageHeader> header = written(raster);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->noData(), -9999.0F);
}

TEST_F(ImageHeaderTest, HasTheDocumentedValueWhereNoNoDataValueIsDeclared)
{
    for (const GDALDataType type : {GDT_Byte, GDT_UInt16, GDT_Int16, GDT_UInt32, GDT_Int32, GDT_Float32, GDT_Float64})
    {
        TestRaster raster;
        raster.type = type;
        const osg::ref_ptr<ImageHeader> header = written(raster);
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(header->noData(), -1.0e10F) << GDALGetDataTypeName(type);
    }
}

TEST_F(ImageHeaderTest, KeepsANotANumberNoDataValue)
{
    TestRaster raster;
    raster.type = GDT_Float32;
    raster.noData = std::nan("");
    const osg::ref_ptr<ImageHeader> header = written(raster);
    ASSERT_NE(header, nullptr);
    EXPECT_TRUE(std::isnan(header->noData()));
}

TEST_F(ImageHeaderTest, BoundsANoDataValueBeyondTheFloats)
{
    constexpr float kMax = std::numeric_limits<float>::max();
    for (const auto& [declared, expected] : {std::pair{1e300, kMax}, std::pair{-1e300, -kMax}})
    {
        TestRaster raster;
        raster.type = GDT_Float64;
        raster.noData = declared;
        const osg::ref_ptr<ImageHeader> header = written(raster);
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(header->noData(), expected);
    }
}

TEST_F(ImageHeaderTest, OpensWhateverGdalCanOpen)
{
    const std::vector<std::vector<std::string>> layouts = {
        {},
        {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"},
        {"BLOCKYSIZE=1"},
        {"COMPRESS=LZW"},
        {"COMPRESS=DEFLATE", "PREDICTOR=2"},
        {"BIGTIFF=YES"},
        {"ENDIANNESS=BIG"},
        {"INTERLEAVE=BAND"},
        {"TFW=YES", "PROFILE=BASELINE"}, // placed by a world file
    };
    for (const std::vector<std::string>& options : layouts)
    {
        SCOPED_TRACE(testing::PrintToString(options));
        TestRaster raster;
        raster.width = raster.height = 40;
        raster.type = GDT_UInt16;
        raster.bands = 3;
        raster.creationOptions = options;
        const osg::ref_ptr<ImageHeader> header = written(raster);
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
    }
}

TEST_F(ImageHeaderTest, OpensACloudOptimisedRaster)
{
    TestRaster raster;
    raster.width = raster.height = 600;
    ASSERT_NE(written(raster), nullptr);
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("COG");
    if (!driver) GTEST_SKIP() << "this GDAL cannot write cloud-optimised rasters";
    const GDALDatasetUniquePtr source(GDALDataset::Open((folder / "raster.tif").c_str()));
    GDALClose(driver->CreateCopy((folder / "cog.tif").c_str(), source.get(), FALSE, nullptr, nullptr, nullptr));

    const osg::ref_ptr<ImageHeader> header = openedHeader(folder / "cog.tif");
    ASSERT_NE(header, nullptr);
    EXPECT_GT(header->getDataset()->GetRasterBand(1)->GetOverviewCount(), 0);
    EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
}

TEST_F(ImageHeaderTest, OpensOtherFormats)
{
    for (const char* const name : {"GTiff", "HFA", "ENVI", "EHdr", "SAGA"})
    {
        TestRaster raster;
        raster.driver = name;
        raster.type = GDT_Float32;
        GDALAllRegister();
        if (!GetGDALDriverManager()->GetDriverByName(name)) continue; // a GDAL without this driver
        const osg::ref_ptr<ImageHeader> header = written(raster, std::string("raster.") + name);
        ASSERT_NE(header, nullptr) << name;
        EXPECT_EQ(firstPixel(*header->getDataset()), 7.0) << name;
    }
}

TEST_F(ImageHeaderTest, OpensAVirtualRasterAndClosesItsSources)
{
    ASSERT_NE(written(TestRaster()), nullptr);
    writeFile(folder / "raster.vrt", "<VRTDataset rasterXSize=\"4\" rasterYSize=\"4\">"
                                     "<GeoTransform>0, 1, 0, 4, 0, -1</GeoTransform>"
                                     "<VRTRasterBand dataType=\"Byte\" band=\"1\"><SimpleSource>"
                                     "<SourceFilename relativeToVRT=\"1\">raster.tif</SourceFilename>"
                                     "</SimpleSource></VRTRasterBand></VRTDataset>");
    const osg::ref_ptr<ImageHeader> header = openedHeader(folder / "raster.vrt");
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
}

TEST_F(ImageHeaderTest, OpensAFileInMemory)
{
    writeRaster("/vsimem/mvgeo_header.tif", TestRaster(), 7.0);
    {
        const osg::ref_ptr<ImageHeader> header = openedHeader("/vsimem/mvgeo_header.tif");
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
    }
    VSIUnlink("/vsimem/mvgeo_header.tif");
}

TEST_F(ImageHeaderTest, OpensAFileInAnArchive)
{
    ASSERT_NE(written(TestRaster()), nullptr);
    const std::string bytes = readFile(folder / "raster.tif");
    const std::string inside = "/vsizip/" + (folder / "archive.zip") + "/deep/dem.tif";
    VSILFILE* file = VSIFOpenL(inside.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(VSIFWriteL(bytes.data(), 1, bytes.size(), file), bytes.size());
    VSIFCloseL(file);

    const osg::ref_ptr<ImageHeader> header = openedHeader(inside);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(firstPixel(*header->getDataset()), 7.0);
}

TEST_F(ImageHeaderTest, OpensPathsWithAnyCharacters)
{
    for (const std::string name :
         {"\xe9\xab\x98\xe7\xa8\x8b \xc3\xa4\xc3\xb6.tif", "a%20b'&;#?.tif", "\xf0\x9f\x97\xbb.tif"})
    {
        const osg::ref_ptr<ImageHeader> header = written(TestRaster(), name);
        ASSERT_NE(header, nullptr) << name;
        EXPECT_EQ(std::string(header->path().utf8Ptr()), folder / name);
    }
}

TEST_F(ImageHeaderTest, IsSilentAboutAFileThatCannotBeOpened)
{
    writeFile(folder / "empty.tif", "");
    writeFile(folder / "text.tif", "This is no raster.\n");
    writeFile(folder / "magic.tif", std::string("II*\0", 4));
    writeFile(folder / "broken.vrt", "<VRTDataset rasterXSize=\"4\" rasterYSize=\"-4\">");
    for (const std::string& path :
         {folder / "empty.tif", folder / "text.tif", folder / "magic.tif", folder / "broken.vrt",
          folder / "missing.tif", folder.path().string(), std::string(), std::string("/"),
          std::string("/vsizip/missing.zip/a.tif"), std::string(5000, 'x')})
    {
        EXPECT_EQ(openedHeader(path), nullptr) << path;
        EXPECT_EQ(openDatasetCount(), 0) << path;
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ImageHeaderTest, HasNoDatasetWhereOpeningFailed)
{
    const osg::ref_ptr<ImageHeader> header = new ImageHeader;
    EXPECT_FALSE(header->open(KdString((folder / "missing.tif").c_str())));
    EXPECT_EQ(header->getDataset(), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ImageHeaderTest, KeepsGdalsMessagesOffTheErrorStream)
{
    static int messages = 0;
    messages = 0;
    CPLPushErrorHandler([](CPLErr, CPLErrorNum, const char*) { ++messages; });
    EXPECT_EQ(openedHeader(folder / "missing.tif"), nullptr);
    EXPECT_EQ(messages, 0);
    CPLError(CE_Warning, CPLE_AppDefined, "the earlier handler is back");
    EXPECT_EQ(messages, 1);
    CPLPopErrorHandler();
}

// Whatever is left of a file: either it cannot be opened, or it still says what it is.
TEST_F(ImageHeaderTest, SurvivesAFileThatIsCutOffAnywhere)
{
    TestRaster raster;
    raster.bands = 3;
    raster.noData = 3.0;
    raster.epsg = 32650;
    writeRaster(folder / "whole.tif", raster, 7.0);
    const std::string whole = readFile(folder / "whole.tif");
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        writeFile(folder / "cut.tif", whole.substr(0, size));
        const mvgeo::QuietGdal quiet;
        if (const osg::ref_ptr<ImageHeader> header = openedHeader(folder / "cut.tif"))
        {
            EXPECT_EQ(header->width(), 4) << size;
            EXPECT_EQ(header->height(), 4) << size;
            EXPECT_NE(header->orthoLayout(*header->getDataset()).bands[0], 0) << size;
        }
        ASSERT_EQ(openDatasetCount(), 0) << size;
    }
}

// A file with several rasters in it, as a whole.
TEST_F(ImageHeaderTest, RefusesARasterWithoutBandsOfItsOwn)
{
    GDALAllRegister();
    if (!GetGDALDriverManager()->GetDriverByName("GPKG")) GTEST_SKIP() << "this GDAL has no format to try it with";
    TestRaster raster;
    raster.driver = "GPKG";
    raster.creationOptions = {"RASTER_TABLE=first"};
    writeRaster(folder / "several.gpkg", raster, 7.0);
    raster.creationOptions = {"RASTER_TABLE=second", "APPEND_SUBDATASET=YES"};
    writeRaster(folder / "several.gpkg", raster, 7.0);

    expectRefused(openedHeader(folder / "several.gpkg"), "several.gpkg", "it has no bands of its own");
    EXPECT_NE(openedHeader("GPKG:" + (folder / "several.gpkg") + ":first"), nullptr);
}

TEST_F(ImageHeaderTest, RefusesARasterWithoutGeoreferencing)
{
    TestRaster raster;
    raster.isGeoreferenced = false;
    expectRefused(written(raster), "raster.tif", "it has no georeferencing");
}

struct BadPlace
{
    const char* geoTransform; // of 100 x 50 pixels
    const char* reason;

    friend std::ostream& operator<<(std::ostream& text, const BadPlace& place) { return text << place.geoTransform; }
};

class BadGeoreferencing : public ImageHeaderTest, public testing::WithParamInterface<BadPlace>
{
};

TEST_P(BadGeoreferencing, IsRefusedWithItsReason)
{
    expectRefused(virtualOf(GetParam().geoTransform, kByteBand), "raster.vrt", GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Table, BadGeoreferencing,
                         testing::Values(BadPlace{"0, 1, 0.5, 0, -0.5, -1", "it is rotated or sheared"},
                                         BadPlace{"0, 1, 0.001, 0, 0, -1", "it is rotated or sheared"},
                                         BadPlace{"0, 1, 0, 0, -0.001, -1", "it is rotated or sheared"},
                                         BadPlace{"0, 0, 1, 0, 1, 0", "it is rotated or sheared"},
                                         BadPlace{"0, 1, 0, 0, 0, 1", "its rows do not run south"},
                                         BadPlace{"0, 1, 0, 0, 0, 0", "its rows do not run south"},
                                         BadPlace{"0, -1, 0, 0, 0, -1", "its columns do not run east"},
                                         BadPlace{"0, 0, 0, 0, 0, -1", "its columns do not run east"},
                                         BadPlace{"nan, 1, 0, 0, 0, -1", "is not made of finite numbers"},
                                         BadPlace{"0, inf, 0, 0, 0, -1", "is not made of finite numbers"},
                                         BadPlace{"0, 1, 0, 0, 0, nan", "is not made of finite numbers"},
                                         BadPlace{"0, 1e307, 0, 0, 0, -1", "is not made of finite numbers"},
                                         BadPlace{"1e300, 1, 0, 0, 0, -1", "its pixels are too small"},
                                         BadPlace{"0, 1, 0, 1e17, 0, -1", "its pixels are too small"}));

// Over 100 columns and 50 rows the drift is 0.001 and 0.0005 pixels: rounding, nothing that anybody could see.
TEST_F(ImageHeaderTest, AcceptsRotationTermsThatAreRoundingErrors)
{
    EXPECT_NE(virtualOf("0, 1, 0.00001, 0, -0.00001, -1", kByteBand), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ImageHeaderTest, AcceptsDegreesAsWellAsMetres)
{
    EXPECT_NE(virtualOf("116.3, 0.00000025, 0, 39.9, 0, -0.00000025", kByteBand), nullptr);
    EXPECT_NE(virtualOf(kNorthUp, kByteBand), nullptr);
}

class LargeRaster : public ImageHeaderTest
{
protected:
    static TestRaster raster(int width, int height)
    {
        TestRaster result;
        result.width = width;
        result.height = height;
        result.originY = height;
        return result;
    }
};

// 5000 x 400 pixels of 3 bands with 2 bytes: 12,000,000 bytes.
TEST_F(LargeRaster, WithoutOverviewsIsWarnedOfWithWhatItCosts)
{
    TestRaster large = raster(5000, 400);
    large.type = GDT_UInt16;
    large.bands = 3;
    ASSERT_NE(written(large), nullptr);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.count(osg::WARN, folder / "raster.tif"), 1);
    EXPECT_EQ(log.count(osg::WARN, "5000 x 400 pixels"), 1);
    EXPECT_EQ(log.count(osg::WARN, "up to 12 MB"), 1);
    EXPECT_EQ(log.count(osg::WARN, "gdaladdo -ro"), 1);
}

TEST_F(LargeRaster, IsWarnedOfOnceAProcess)
{
    EXPECT_NE(written(raster(300, 4097), "high.tif"), nullptr);
    EXPECT_NE(openedHeader(folder / "high.tif"), nullptr);
    EXPECT_EQ(log.count(osg::WARN, "no overviews"), 1);
    EXPECT_NE(written(raster(4097, 300), "wide.tif"), nullptr);
    EXPECT_EQ(log.count(osg::WARN, "no overviews"), 2);
}

TEST_F(LargeRaster, BeginsBeyond4096PixelsAndIsNoThinStrip)
{
    EXPECT_NE(written(raster(4096, 4096)), nullptr);
    EXPECT_NE(written(raster(5000, 200), "strip.tif"), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LargeRaster, WithOverviewsInsideIsFine)
{
    TestRaster large = raster(5000, 400);
    large.overviews = {2, 4};
    EXPECT_NE(written(large), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LargeRaster, WithOverviewsBesideItIsFine)
{
    writeRaster(folder / "raster.tif", raster(5000, 400), 7.0);
    {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open((folder / "raster.tif").c_str()));
        int factor = 2;
        ASSERT_EQ(dataset->BuildOverviews("NEAREST", 1, &factor, 0, nullptr, nullptr, nullptr), CE_None);
    }
    ASSERT_TRUE(fs::exists(folder / "raster.tif.ovr"));
    EXPECT_NE(openedHeader(folder / "raster.tif"), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ImageHeaderTest, LeavesNothingBesideTheUsersFile)
{
    TestRaster raster;
    raster.type = GDT_Float32;
    raster.bands = 3;
    raster.width = raster.height = 300;
    {
        const osg::ref_ptr<ImageHeader> header = written(raster);
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(header->orthoLayout(*header->getDataset()).scale, 1.0);
    }
    const auto files = std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
    EXPECT_EQ(files, 1);
}

} // namespace
