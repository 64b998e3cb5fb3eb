#include "mvgeothirdparty/GeoMeshStatistics.h"

#include "support/LogRecorder.h"
#include "support/ModelDriver.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <future>

namespace
{

/** A model of somebody else. */
class ForeignModel : public MvGeoMesh
{
public:
    void reload() override {}
    void setName(const KdString&) override {}
    KdDbExtents extents() const override { return {}; }
    bool pickPoint(const KdGeMatrix3d*, const KdGePoint3d*, KdGePoint3d*) override { return false; }
    bool pickTriangle(const KdGeMatrix3d*, const KdGePoint3d*, std::vector<KdGePoint3d>*) override { return false; }
    bool update(unsigned int, const KdGeMatrix3d*, const KdGeMatrix3d*, const KdGeMatrix3d*, int, int, unsigned char,
                void*, GeoMeshUpdateReceiver*) override
    {
        return false;
    }
    int addModel(const KdString&) override { return -1; }
    bool replaceModel(int, const KdString&) override { return false; }
    void setTransform(const KdGeMatrix3d&) override {}
    const KdGeMatrix3d& transform() const override { return KdGeMatrix3d::kIdentity; }
    bool clip(int, unsigned int, const KdGeMatrix3d*, const std::vector<KdGePoint3d>*, const double*, int,
              std::vector<KdGePoint3d>*) override
    {
        return false;
    }
    bool section(const KdGeMatrix3d*, const std::vector<KdGePoint3d>*, std::vector<std::vector<KdGePoint3d>>*) override
    {
        return false;
    }
    bool setGenerateNormals(bool) override { return false; }
    void clear() override {}
};

struct Statistics : public testing::Test
{
    TemporaryDirectory folder;
    ScopedEnvironment temp{"TEMP", folder / "temp"};
    LogRecorder log;
    ModelDriver driver;
};

/** True if the call was refused and not a byte was written. */
bool isRefused(const MvGeoMesh* model, std::uint32_t version)
{
    GeoMeshStatistics statistics;
    std::memset(&statistics, 0x5a, sizeof statistics);
    statistics.version = version;
    const GeoMeshStatistics before = statistics;
    return !getGeoMeshStatistics(model, &statistics) && std::memcmp(&before, &statistics, sizeof before) == 0;
}

} // namespace

TEST_F(Statistics, AreRefusedForAnUnknownVersion)
{
    EXPECT_TRUE(isRefused(&driver.model(), 0));
    EXPECT_TRUE(isRefused(&driver.model(), kGeoMeshStatisticsVersion + 1));
    EXPECT_FALSE(isRefused(&driver.model(), kGeoMeshStatisticsVersion));
}

TEST_F(Statistics, AreRefusedForAForeignModelAndForNothing)
{
    const ForeignModel foreign;
    EXPECT_TRUE(isRefused(&foreign, kGeoMeshStatisticsVersion));
    EXPECT_TRUE(isRefused(nullptr, kGeoMeshStatisticsVersion));
    EXPECT_FALSE(getGeoMeshStatistics(&driver.model(), nullptr));
}

TEST_F(Statistics, OfAnEmptyModelAreZeroAndIdle)
{
    const GeoMeshStatistics s = driver.statistics();
    EXPECT_EQ(s.version, 2U);
    EXPECT_EQ(s.idle, 1U);
    for (const std::uint64_t value : {s.requestsWaiting, s.mergesWaiting, s.tilesLoaded, s.tilesMerged, s.tilesExpired,
                                      s.tilesFailed, s.tilesHeld, s.bytesHeld, s.tilesBuilt, s.tilesFromCache})
        EXPECT_EQ(value, 0U);
}

// Whoever was compiled with the first version has a shorter structure.
TEST_F(Statistics, OfTheFirstVersionEndWhereThatEnded)
{
    GeoMeshStatistics statistics{};
    statistics.version = 1;
    statistics.tilesBuilt = 77;
    statistics.tilesFromCache = 78;
    EXPECT_TRUE(getGeoMeshStatistics(&driver.model(), &statistics));
    EXPECT_EQ(statistics.idle, 1U);
    EXPECT_EQ(statistics.tilesBuilt, 77U);
    EXPECT_EQ(statistics.tilesFromCache, 78U);
}

// A square: 4 vertices of 12 bytes, 4 texture coordinates of 8, 6 indices of 4: 104 bytes.
TEST_F(Statistics, CountTilesAndTheirBytesExactly)
{
    const TilePyramid pyramid(folder / "data", {2});
    driver.add(pyramid.rootFile());
    EXPECT_EQ(driver.statistics().tilesHeld, 1U);
    EXPECT_EQ(driver.statistics().tilesLoaded, 1U);
    EXPECT_EQ(driver.statistics().tilesMerged, 0U);
    EXPECT_EQ(driver.statistics().bytesHeld, 104U);
    driver.view = perspectiveView({50, 50, 100}, {50, 50, 0});
    ASSERT_TRUE(driver.converge());
    const GeoMeshStatistics s = driver.statistics();
    EXPECT_EQ(s.tilesHeld, 2U);
    EXPECT_EQ(s.tilesLoaded, 2U);
    EXPECT_EQ(s.tilesMerged, 1U);
    EXPECT_EQ(s.tilesExpired, 0U);
    EXPECT_EQ(s.tilesFailed, 0U);
    EXPECT_EQ(s.bytesHeld, 104U + 4U * 104U);
    EXPECT_EQ(s.idle, 1U);
}

TEST_F(Statistics, CountEachMissingFileOnce)
{
    const TilePyramid pyramid(folder / "data", {3});
    std::filesystem::remove(pyramid.file("_L2_0"));
    std::filesystem::remove(pyramid.file("_L2_2"));
    driver.add(pyramid.rootFile());
    driver.view = perspectiveView({50, 50, 100}, {50, 50, 0});
    for (int round = 0; round < 5; ++round)
        ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesFailed, 2U);
    EXPECT_EQ(driver.statistics().tilesHeld, 4U);
}

TEST_F(Statistics, CountARootFileThatCannotBeReadAsFailed)
{
    driver.add(folder / "missing.osgb");
    driver.add(folder / "missing.osgb");
    EXPECT_EQ(driver.statistics().tilesFailed, 1U);
    EXPECT_EQ(driver.statistics().tilesLoaded, 0U);
}

TEST_F(Statistics, ConvergeWithMissingFilesWithoutAskingForEver)
{
    const TilePyramid pyramid(folder / "data", {2});
    std::filesystem::remove(pyramid.file("_L1"));
    driver.add(pyramid.rootFile());
    driver.view = perspectiveView({50, 50, 100}, {50, 50, 0});
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().idle, 1U);
}

// The callback runs on the loading thread: while it waits there, the tile is loaded but not handed over.
TEST(StatisticsOfABusyModel, AreNotIdleUntilTheTileIsMerged)
{
    const TemporaryDirectory folder;
    const ScopedEnvironment temp("TEMP", folder / "temp");
    const LogRecorder log;
    const TilePyramid pyramid(folder / "data", {2});
    std::promise<void> loaded;
    std::future<void> isLoaded = loaded.get_future();
    MvOsgGeoMesh model(
        [&loaded, isFirst = true]() mutable
        {
            if (isFirst) loaded.set_value();
            isFirst = false;
            return true;
        });
    ASSERT_EQ(model.addModel(pyramid.rootFile().c_str()), 0);
    GeoMeshStatistics s{};
    s.version = kGeoMeshStatisticsVersion;
    ASSERT_TRUE(getGeoMeshStatistics(&model, &s));
    EXPECT_EQ(s.idle, 1U);

    RecordingReceiver receiver;
    const HostView v = perspectiveView({50, 50, 100}, {50, 50, 0});
    ASSERT_TRUE(model.update(1, &v.model, &v.view, &v.projection, v.width, v.height, MvGeoMesh::kExtractTextures,
                             nullptr, &receiver));
    ASSERT_TRUE(getGeoMeshStatistics(&model, &s));
    EXPECT_EQ(s.idle, 0U); // the request waits, is being read, or waits to be merged: one of them
    ASSERT_EQ(isLoaded.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    ASSERT_TRUE(getGeoMeshStatistics(&model, &s));
    EXPECT_EQ(s.mergesWaiting, 1U);
    EXPECT_EQ(s.idle, 0U);
    EXPECT_EQ(s.tilesLoaded, 2U);
    EXPECT_EQ(s.tilesMerged, 0U);
}
