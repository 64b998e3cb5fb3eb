#pragma once

#include "mvosggeoterrain/MvOsgGeoTerrain.h"
#include "support/LogRecorder.h"
#include "support/ModelDriver.h"
#include "support/PathHash.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <gdal_priv.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>

/** A folder for rasters and cache, the log, and a terrain model with its host.
 *
 * The rasters cover 0..640 m east and north: a DEM of 64 x 64 posts that rises 1 m a post eastwards, and a DOM of 256 x
 * 256 pixels, red in its north-western quarter and blue elsewhere. */
struct TerrainFixture : public testing::Test
{
    TemporaryDirectory folder;
    ScopedEnvironment temp{"TEMP", folder / "temp"};
    LogRecorder log;
    std::unique_ptr<ModelDriver> driver = std::make_unique<ModelDriver>(kTerrainModel);
    std::string dem = folder / "dem.tif";
    std::string dom = folder / "dom.tif";

    void SetUp() override
    {
        writeDem(1.0);
        writeDom();
    }

    void writeDem(double risePerPost) const
    {
        TestRaster raster;
        raster.width = 64;
        raster.height = 64;
        raster.type = GDT_Float32;
        raster.originY = 640.0;
        raster.pixelWidth = 10.0;
        raster.pixelHeight = -10.0;
        writeRaster(dem, raster, [=](int, int column, int) { return risePerPost * column; });
    }

    void writeDom(int size = 256) const
    {
        TestRaster raster;
        raster.width = size;
        raster.height = size;
        raster.bands = 3;
        raster.originY = 640.0;
        raster.pixelWidth = 640.0 / size;
        raster.pixelHeight = -640.0 / size;
        writeRaster(dom, raster,
                    [=](int band, int column, int row)
                    {
                        const bool isRed = column < size / 2 && row < size / 2;
                        return (band == 1) == isRed && band != 2 ? 200.0 : 0.0;
                    });
    }

    [[nodiscard]] MvOsgGeoMesh& model() { return driver->model(); }
    [[nodiscard]] std::string source() const { return dom + '?' + dem; }
    [[nodiscard]] std::string cacheDirectory(const std::string& ofSource) const
    {
        return folder / ("temp/terrain/" + mvgeo::pathHashText(ofSource));
    }
    [[nodiscard]] std::set<std::string> cacheFiles(const std::string& extension) const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(cacheDirectory(source())))
            if (entry.path().extension() == extension) names.insert(entry.path().filename().string());
        return names;
    }
    [[nodiscard]] std::string id(const std::string& rest)
    {
        return std::to_string(model().instanceNumber()) + '_' + rest;
    }

    /** From straight above the middle: `height` of 772.5 m shows 640 m from south to north on 600 pixels. */
    static HostView fromAbove(double height) { return perspectiveView({320.0, 320.0, height}, {320.0, 320.0, 0.0}); }
    void renewModel()
    {
        driver.reset();
        driver = std::make_unique<ModelDriver>(kTerrainModel);
    }
    void expectCleanContract() { EXPECT_THAT(driver->receiver.errors, testing::IsEmpty()); }

    /** As GDAL itself knows it. */
    static int openDatasets()
    {
        int count = 0;
        GDALDataset::GetOpenDatasets(&count);
        return count;
    }
};
