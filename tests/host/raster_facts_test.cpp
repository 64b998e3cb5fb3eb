#include "RasterMaker.h"
#include "TempFolder.h"

#include <common/HostError.h>
#include <terrain/RasterFacts.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace mvgeo::host;

namespace
{
std::string errorOf(const std::string& path, RasterRole role)
{
    try
    {
        (void)readRasterFacts(path, role);
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return {};
}

bool mentions(const std::string& sentence, const std::string& part)
{
    return sentence.find(part) != std::string::npos;
}
} // namespace

TEST(RasterFacts, AreWhatTheFileSays)
{
    const TempFolder folder;
    RasterPlan plan = rasterAt(32613, 500000.0, 4400000.0, 2.5, 8);
    plan.height = 6;
    plan.type = GDT_Int16;
    plan.noData = -32768.0;
    const RasterFacts facts = readRasterFacts(writeRaster(folder.path("dem.tif"), plan), RasterRole::dem);
    EXPECT_EQ(facts.width, 8);
    EXPECT_EQ(facts.height, 6);
    EXPECT_EQ(facts.bands, 1);
    EXPECT_EQ(facts.type, GDT_Int16);
    EXPECT_EQ(facts.noData, -32768.0);
    EXPECT_TRUE(facts.overviews.empty());
    EXPECT_TRUE(facts.isNorthUp());
    EXPECT_DOUBLE_EQ(facts.west(), 500000.0);
    EXPECT_DOUBLE_EQ(facts.east(), 500020.0);
    EXPECT_DOUBLE_EQ(facts.north(), 4400000.0);
    EXPECT_DOUBLE_EQ(facts.south(), 4399985.0);
    ASSERT_TRUE(facts.srs);
    EXPECT_EQ(describe(*facts.srs), "WGS 84 / UTM zone 13N (EPSG:32613)");
}

TEST(RasterFacts, KeepANoDataValueThatIsNoNumber)
{
    const TempFolder folder;
    RasterPlan plan;
    plan.noData = std::nan("");
    const RasterFacts facts = readRasterFacts(writeRaster(folder.path("dem.tif"), plan), RasterRole::dem);
    ASSERT_TRUE(facts.noData);
    EXPECT_TRUE(std::isnan(*facts.noData));
}

TEST(RasterFacts, TellRotatedRastersAndThoseThatRunNorth)
{
    RasterFacts facts;
    facts.width = facts.height = 100;
    facts.transform = {0.0, 1.0, 0.0, 0.0, 0.0, -1.0};
    EXPECT_TRUE(facts.isNorthUp());
    facts.transform = {0.0, 1.0, 1e-7, 0.0, 1e-7, -1.0}; // a hundred-thousandth of a pixel over the whole raster
    EXPECT_TRUE(facts.isNorthUp());
    facts.transform = {0.0, 1.0, 0.1, 0.0, 0.1, -1.0};
    EXPECT_FALSE(facts.isNorthUp());
    facts.transform = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
    EXPECT_FALSE(facts.isNorthUp());
}

TEST(RasterFacts, SayWhatIsWrong)
{
    const TempFolder folder;
    RasterPlan bytes;
    bytes.type = GDT_Byte;
    RasterPlan nowhere;
    nowhere.isGeoreferenced = false;
    const std::string text = folder.write("text.tif", "this is no raster");
    const std::string empty = folder.write("empty.tif", "");
    EXPECT_TRUE(mentions(errorOf("", RasterRole::dem), "path of the DEM is empty"));
    EXPECT_TRUE(mentions(errorOf(folder.path("none.tif"), RasterRole::dom), "There is no file"));
    EXPECT_TRUE(mentions(errorOf(text, RasterRole::dom), "not a raster"));
    EXPECT_TRUE(mentions(errorOf(empty, RasterRole::dem), "not a raster"));
    EXPECT_TRUE(mentions(errorOf(folder.path(), RasterRole::dem), "not a raster"));
    EXPECT_TRUE(mentions(errorOf("/vsizip/none.zip/a.tif", RasterRole::dem), "not a raster"));
    EXPECT_TRUE(mentions(errorOf(writeRaster(folder.path("b.tif"), bytes), RasterRole::dem), "type Byte"));
    EXPECT_TRUE(mentions(errorOf(writeRaster(folder.path("n.tif"), nowhere), RasterRole::dem), "georeferencing"));
    EXPECT_EQ(errorOf(folder.path("b.tif"), RasterRole::dom), "");
}

TEST(RasterFacts, GuessTheRoleOfALoneRaster)
{
    const TempFolder folder;
    RasterPlan plan;
    EXPECT_EQ(guessRole(writeRaster(folder.path("heights.tif"), plan)), RasterRole::dem);
    plan.type = GDT_Int16;
    EXPECT_EQ(guessRole(writeRaster(folder.path("integers.tif"), plan)), RasterRole::dem);
    plan.type = GDT_Byte;
    EXPECT_EQ(guessRole(writeRaster(folder.path("grey.tif"), plan)), RasterRole::dom);
    plan.bands = 3;
    EXPECT_EQ(guessRole(writeRaster(folder.path("colours.tif"), plan)), RasterRole::dom);
    plan.type = GDT_Float32;
    EXPECT_EQ(guessRole(writeRaster(folder.path("floatColours.tif"), plan)), RasterRole::dom);
    EXPECT_EQ(guessRole(folder.write("text", "text")), std::nullopt);
}

TEST(RasterFacts, FindTheRangeOfHeightsWithoutTheNoDataValue)
{
    const TempFolder folder;
    RasterPlan plan;
    plan.noData = -9999.0;
    const auto value = [](int x, int y) { return x == 0 ? -9999.0 : 10.0 * x + y; };
    const auto range = valueRange(writeRaster(folder.path("dem.tif"), plan, value));
    ASSERT_TRUE(range);
    EXPECT_DOUBLE_EQ(range->first, 10.0);
    EXPECT_DOUBLE_EQ(range->second, 33.0);
    EXPECT_FALSE(valueRange(folder.path("none.tif")));
}
