#include "TerrainParts.h"
#include "readerwriterthreedimg/ElevationSampler.h"
#include "readerwriterthreedimg/TileSurface.h"

#include <gdal_priv.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

using namespace terraintest;
using mvgeo::readDemWithEdges;
using mvgeo::TileSurface;
using testing::Each;
using testing::ElementsAre;

namespace
{

constexpr const char* kPath = "/vsimem/tile_surface_test.tif";

/** 10 x 10 pixels of one unit that rise by 2 a column. */
mvgeo::TerrainRasters risingDem()
{
    TestRaster raster = floatDem(10, 10);
    raster.noData = -9999.0;
    writeRaster(kPath, raster, [](int, int column, int) { return 2.0 * column; });
    return openedRasters("", kPath);
}

std::optional<TileSurface> surfaceOver(const mvgeo::TerrainRasters& rasters, const TerrainTileInfo& info,
                                       bool wantNormals = true)
{
    return readDemWithEdges(rasters.dem, rasters.demDataset, info, wantNormals);
}

void expectDirection(const osg::Vec3d& normal, osg::Vec3d expected)
{
    expected.normalize();
    EXPECT_NEAR((normal - expected).length(), 0.0, 1e-12) << normal.x() << ' ' << normal.y() << ' ' << normal.z();
}

TEST(FlatSurface, IsAtOneHeightAndUpright)
{
    const TileSurface surface = mvgeo::flatSurface(tileOver({0, 1, 0, 1}, 3), -5.0F, true);
    EXPECT_THAT(surface.grid.heights, ElementsAre(-5, -5, -5, -5, -5, -5, -5, -5, -5));
    EXPECT_EQ(surface.normals.size(), 9U);
    EXPECT_THAT(surface.normals, Each(osg::Vec3d(0, 0, 1)));
}

TEST(FlatSurface, HasNoNormalsThatNobodyWants)
{
    EXPECT_TRUE(mvgeo::flatSurface(tileOver({0, 1, 0, 1}, 3), 0.0F, false).normals.empty());
}

// Post i stands at pixel 2 + i, midway between columns 1 + i and 2 + i.
TEST(TileSurface, HasTheElevationsOfItsPosts)
{
    const std::optional<TileSurface> surface = surfaceOver(risingDem(), tileOver({2, 8, 2, 8}, 7));
    ASSERT_TRUE(surface);
    for (int row = 0; row < 7; ++row)
        for (int column = 0; column < 7; ++column)
            EXPECT_EQ(surface->grid.at(column, row), 3.0F + 2.0F * static_cast<float>(column));
}

// The posts beyond the border are read for it.
TEST(TileSurface, HasNormalsOnItsBorderToo)
{
    const std::optional<TileSurface> surface = surfaceOver(risingDem(), tileOver({2, 8, 2, 8}, 7));
    ASSERT_TRUE(surface);
    ASSERT_EQ(surface->normals.size(), 49U);
    for (const osg::Vec3d& normal : surface->normals)
        expectDirection(normal, {-2, 0, 1});
}

// The outermost half pixel is flat, so the first two posts rise by 1. Beyond the raster nothing counts.
TEST(TileSurface, HasNormalsOfTheInnerSideAtTheRastersEdge)
{
    const std::optional<TileSurface> surface = surfaceOver(risingDem(), tileOver({0, 10, 0, 10}, 11));
    ASSERT_TRUE(surface);
    for (int row = 0; row < 11; ++row)
    {
        expectDirection(surface->normals[surface->grid.index(0, row)], {-1, 0, 1});
        expectDirection(surface->normals[surface->grid.index(5, row)], {-2, 0, 1});
        expectDirection(surface->normals[surface->grid.index(10, row)], {-1, 0, 1});
    }
}

TEST(TileSurface, HasNoNormalsThatNobodyWants)
{
    const std::optional<TileSurface> surface = surfaceOver(risingDem(), tileOver({2, 8, 2, 8}, 7), false);
    ASSERT_TRUE(surface);
    EXPECT_TRUE(surface->normals.empty());
    EXPECT_EQ(surface->grid.at(0, 0), 3.0F);
}

TEST(TileSurface, IsNothingWithoutADem)
{
    const mvgeo::TerrainRasters rasters = risingDem();
    const TerrainTileInfo info = tileOver({2, 8, 2, 8}, 7);
    EXPECT_FALSE(readDemWithEdges(nullptr, rasters.demDataset, info, true));
    EXPECT_FALSE(readDemWithEdges(rasters.dem, nullptr, info, true));
}

TEST(TileSurface, IsNothingBesideTheDem)
{
    EXPECT_FALSE(surfaceOver(risingDem(), tileOver({100, 106, 0, 6}, 7)));
}

// A tile of 64 pixels reads cells of 2, its eastern strip too: posts at both sides of the edge must match.
TEST(TileSurface, SharesItsEdgeWithItsNeighbour)
{
    TestRaster raster = floatDem(128, 64);
    writeRaster(kPath, raster, [](int, int column, int row) { return (column * 7919 + row * 104729) % 1000; });
    const mvgeo::TerrainRasters rasters = openedRasters("", kPath);
    const std::optional<TileSurface> west = surfaceOver(rasters, tileOver({0, 64, 0, 64}, 32));
    const std::optional<TileSurface> east = surfaceOver(rasters, tileOver({64, 128, 0, 64}, 32));
    ASSERT_TRUE(west && east);
    for (int row = 0; row < 32; ++row)
    {
        EXPECT_EQ(west->grid.at(31, row), east->grid.at(0, row)) << row;
        EXPECT_EQ(west->normals[west->grid.index(31, row)], east->normals[east->grid.index(0, row)]) << row;
    }
}

// ---- the reads one by one

/** A dataset that answers its n-th read with n everywhere, or fails; the tile itself is read first, then its edges. */
class CountingDataset : public GDALDataset
{
public:
    explicit CountingDataset(int failingRead = 0) : _failingRead(failingRead)
    {
        nRasterXSize = nRasterYSize = 10;
        SetBand(1, new Band);
    }
    [[nodiscard]] int readCount() const { return _readCount; }

private:
    struct Band : public GDALRasterBand
    {
        Band()
        {
            eDataType = GDT_Float32;
            nBlockXSize = nBlockYSize = 10;
        }
        CPLErr IReadBlock(int, int, void*) override { return CE_Failure; }
    };

    CPLErr IRasterIO(GDALRWFlag, int, int, int, int, void* cells, int columns, int rows, GDALDataType type, int, int*,
                     GSpacing cellSize, GSpacing lineSize, GSpacing, GDALRasterIOExtraArg*) override
    {
        ++_readCount;
        EXPECT_EQ(type, GDT_Float32);
        EXPECT_EQ(cellSize, static_cast<GSpacing>(sizeof(float)));
        if (_readCount == _failingRead) return CE_Failure;
        for (int row = 0; row < rows; ++row)
            std::fill_n(reinterpret_cast<float*>(static_cast<char*>(cells) + row * lineSize), columns,
                        static_cast<float>(_readCount));
        return CE_None;
    }

    int _failingRead;
    int _readCount = 0;
};

// The northern edge is read second, the southern third; the western and the eastern come last and have the corners.
TEST(TileSurface, HasTheWesternAndTheEasternStripsAtItsCorners)
{
    const mvgeo::TerrainRasters rasters = risingDem();
    CountingDataset dataset;
    const std::optional<TileSurface> surface = readDemWithEdges(rasters.dem, &dataset, tileOver({2, 8, 2, 8}, 4), true);
    ASSERT_TRUE(surface);
    EXPECT_EQ(dataset.readCount(), 5);
    EXPECT_THAT(surface->grid.heights, ElementsAre(4, 2, 2, 5, //
                                                   4, 1, 1, 5, //
                                                   4, 1, 1, 5, //
                                                   4, 3, 3, 5));
}

class FailingStrip : public testing::TestWithParam<std::pair<int, std::vector<float>>>
{
};

TEST_P(FailingStrip, LeavesItsEdgeAsItWasAndTheOthersTheirs)
{
    const LogRecorder log;
    const auto& [failingRead, heights] = GetParam();
    const mvgeo::TerrainRasters rasters = risingDem();
    CountingDataset dataset(failingRead);
    const std::optional<TileSurface> surface = readDemWithEdges(rasters.dem, &dataset, tileOver({2, 8, 2, 8}, 4), true);
    ASSERT_TRUE(surface);
    EXPECT_EQ(dataset.readCount(), 5);
    EXPECT_EQ(surface->grid.heights, heights);
    EXPECT_EQ(surface->normals.size(), 16U);
    EXPECT_THAT(surface->normals, Each(osg::Vec3d(0, 0, 1)));
    EXPECT_EQ(rasters.dem->readFailureCount(), 1U);
    EXPECT_EQ(log.count(osg::WARN, "cannot read "), 1);
}
INSTANTIATE_TEST_SUITE_P(
    NorthSouthWestEast, FailingStrip,
    testing::Values(std::pair{2, std::vector<float>{4, 1, 1, 5, 4, 1, 1, 5, 4, 1, 1, 5, 4, 3, 3, 5}},
                    std::pair{3, std::vector<float>{4, 2, 2, 5, 4, 1, 1, 5, 4, 1, 1, 5, 4, 1, 1, 5}},
                    std::pair{4, std::vector<float>{2, 2, 2, 5, 1, 1, 1, 5, 1, 1, 1, 5, 3, 3, 3, 5}},
                    std::pair{5, std::vector<float>{4, 2, 2, 2, 4, 1, 1, 1, 4, 1, 1, 1, 4, 3, 3, 3}}));

TEST(TileSurface, IsNothingIfItsOwnReadFails)
{
    const LogRecorder log;
    const mvgeo::TerrainRasters rasters = risingDem();
    CountingDataset dataset(1);
    EXPECT_FALSE(readDemWithEdges(rasters.dem, &dataset, tileOver({2, 8, 2, 8}, 4), true));
    EXPECT_EQ(dataset.readCount(), 1);
}

} // namespace
