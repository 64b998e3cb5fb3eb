#include "mvgdaldatasetmanager/OpenedHeader.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <cpl_vsi.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

/** A raster in a folder; times of files are set, never waited for. */
class RasterStamp : public testing::Test
{
protected:
    RasterStamp() { writeRaster(path, TestRaster(), 7.0); }

    static std::string stampOf(const std::string& name)
    {
        const osg::ref_ptr<ImageHeader> header = openedHeader(name);
        EXPECT_NE(header, nullptr) << name;
        return header ? header->stamp() : "";
    }

    /** Makes the file younger by the smallest step that its time has room for on every file system we know. */
    static void touch(const std::string& name)
    {
        fs::last_write_time(name, fs::last_write_time(name) + std::chrono::milliseconds(10));
    }

    std::string writeVirtual(const std::string& name, const std::string& source) const
    {
        writeFile(folder / name, "<VRTDataset rasterXSize=\"4\" rasterYSize=\"4\">"
                                 "<GeoTransform>0, 1, 0, 4, 0, -1</GeoTransform>"
                                 "<VRTRasterBand dataType=\"Byte\" band=\"1\"><SimpleSource>"
                                 "<SourceFilename relativeToVRT=\"1\">" +
                                     source + "</SourceFilename></SimpleSource></VRTRasterBand></VRTDataset>");
        return folder / name;
    }

    TemporaryDirectory folder;
    const std::string path = folder / "raster.tif";
};

TEST_F(RasterStamp, OfAnUnchangedFileStaysTheSame)
{
    EXPECT_EQ(stampOf(path), stampOf(path));
}

TEST_F(RasterStamp, IsFitForAFileName)
{
    const std::string stamp = stampOf(path);
    EXPECT_EQ(stamp.rfind("1-", 0), 0U);
    EXPECT_LE(stamp.size(), 22U); // a 64-bit number has 20 digits
    EXPECT_TRUE(std::all_of(stamp.begin() + 2, stamp.end(), [](char c) { return c >= '0' && c <= '9'; })) << stamp;
}

TEST_F(RasterStamp, IsWithoutValueWhereNothingWasOpened)
{
    const osg::ref_ptr<ImageHeader> header = new ImageHeader;
    EXPECT_FALSE(header->open(KdString((folder / "missing.tif").c_str())));
    EXPECT_TRUE(header->stamp().empty());
}

// Two edits within one second: a time in whole seconds would not tell them apart.
TEST_F(RasterStamp, ChangesWithTheTimeOfAFileOfTheSameSize)
{
    const auto second = std::chrono::floor<std::chrono::seconds>(fs::last_write_time(path));
    fs::last_write_time(path, second);
    const std::string before = stampOf(path);
    touch(path);
    EXPECT_NE(stampOf(path), before);
    fs::last_write_time(path, second);
    EXPECT_EQ(stampOf(path), before);
}

TEST_F(RasterStamp, ChangesWithTheSizeOfAFileOfTheSameTime)
{
    const fs::file_time_type time = fs::last_write_time(path);
    const std::string before = stampOf(path);
    writeFile(path, readFile(path) + '\0');
    fs::last_write_time(path, time);
    EXPECT_NE(stampOf(path), before);
}

TEST_F(RasterStamp, DoesNotDependOnHowTheFolderIsWritten)
{
    const fs::path folderBefore = fs::current_path();
    const std::string absolute = stampOf(path);
    fs::current_path(folder.path());
    EXPECT_EQ(stampOf("raster.tif"), absolute);
    EXPECT_EQ(stampOf("./raster.tif"), absolute);
    fs::current_path(folderBefore);
}

TEST_F(RasterStamp, DoesNotCountAStatisticsSideFile)
{
    const std::string before = stampOf(path);
    {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str()));
        double minimum = 0.0;
        double maximum = 0.0;
        double mean = 0.0;
        double deviation = 0.0;
        ASSERT_EQ(dataset->GetRasterBand(1)->ComputeStatistics(FALSE, &minimum, &maximum, &mean, &deviation, nullptr,
                                                               nullptr),
                  CE_None);
    }
    ASSERT_TRUE(fs::exists(path + ".aux.xml"));
    EXPECT_EQ(stampOf(path), before);
}

TEST_F(RasterStamp, CountsANoDataValueThatASideFileDeclares)
{
    const std::string before = stampOf(path);
    writeFile(path + ".aux.xml", "<PAMDataset><PAMRasterBand band=\"1\"><NoDataValue>7</NoDataValue></PAMRasterBand>"
                                 "</PAMDataset>");
    ASSERT_EQ(openedHeader(path)->noData(), 7.0F);
    EXPECT_NE(stampOf(path), before);
}

TEST_F(RasterStamp, CountsOverviewsBesideTheFile)
{
    const std::string before = stampOf(path);
    {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str()));
        int factor = 2;
        ASSERT_EQ(dataset->BuildOverviews("NEAREST", 1, &factor, 0, nullptr, nullptr, nullptr), CE_None);
    }
    const std::string after = stampOf(path);
    EXPECT_NE(after, before);
    touch(path + ".ovr");
    EXPECT_NE(stampOf(path), after);
}

TEST_F(RasterStamp, CountsAWorldFile)
{
    TestRaster raster;
    raster.creationOptions = {"TFW=YES", "PROFILE=BASELINE"};
    writeRaster(folder / "placed.tif", raster, 7.0);
    const std::string before = stampOf(folder / "placed.tif");
    touch(folder / "placed.tfw");
    EXPECT_NE(stampOf(folder / "placed.tif"), before);
}

TEST_F(RasterStamp, OfAVirtualRasterCountsItsSource)
{
    const std::string name = writeVirtual("raster.vrt", "raster.tif");
    const std::string before = stampOf(name);
    touch(path);
    const std::string after = stampOf(name);
    EXPECT_NE(after, before);
    touch(name);
    EXPECT_NE(stampOf(name), after);
}

TEST_F(RasterStamp, OfAVirtualRasterCountsTheSourcesOfItsSources)
{
    writeVirtual("inner.vrt", "raster.tif");
    const std::string name = writeVirtual("outer.vrt", "inner.vrt");
    const std::string before = stampOf(name);
    touch(path);
    EXPECT_NE(stampOf(name), before);
    EXPECT_EQ(openDatasetCount(), 0);
}

TEST_F(RasterStamp, OfVirtualRastersThatNameEachOtherComesToAnEnd)
{
    writeVirtual("one.vrt", "two.vrt");
    writeVirtual("two.vrt", "one.vrt");
    const osg::ref_ptr<ImageHeader> header = openedHeader(folder / "one.vrt");
    EXPECT_TRUE(!header || !header->stamp().empty());
}

TEST_F(RasterStamp, OfAFileInAnArchiveCountsTheArchive)
{
    const std::string bytes = readFile(path);
    const std::string archive = folder / "archive.zip";
    const std::string inside = "/vsizip/" + archive + "/deep/dem.tif";
    VSILFILE* file = VSIFOpenL(inside.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(VSIFWriteL(bytes.data(), 1, bytes.size(), file), bytes.size());
    VSIFCloseL(file);

    const std::string before = stampOf(inside);
    EXPECT_EQ(stampOf(inside), before);
    touch(archive);
    EXPECT_NE(stampOf(inside), before);
}

TEST_F(RasterStamp, OfAFileInMemoryChangesWithItsSize)
{
    const std::string name = "/vsimem/mvgeo_stamp.tif";
    writeRaster(name, TestRaster(), 7.0);
    const std::string before = stampOf(name);
    EXPECT_EQ(stampOf(name), before);
    TestRaster wider;
    wider.width = 5;
    writeRaster(name, wider, 7.0);
    EXPECT_NE(stampOf(name), before);
    VSIUnlink(name.c_str());
}

} // namespace
