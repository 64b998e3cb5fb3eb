#include "OwnCaches.h"
#include "ProgramRunner.h"
#include "RasterMaker.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cmath>

namespace
{
using Json = nlohmann::json;

/** The program over small rasters, with caches of this test's own. */
class TerrainCommand : public testing::Test
{
protected:
    /** A hill of 256 x 256 posts at 10 m. */
    [[nodiscard]] std::string makeDem(const std::string& name = "dem.tif") const
    {
        const auto hill = [](int x, int y) { return 500.0 + 300.0 * std::sin(x * 0.02) * std::cos(y * 0.02); };
        return writeRaster(folder.path(name), rasterAt(32613, 5e5, 4e6, 10.0, 256), hill);
    }
    /** The same ground with pixels of 5 m. */
    [[nodiscard]] std::string makeDom(const std::string& name = "dom.tif") const
    {
        const auto squares = [](int x, int y) { return (x / 32 + y / 32) % 2 == 0 ? 90.0 : 180.0; };
        return writeRaster(folder.path(name), orthoAt(32613, 5e5, 4e6, 5.0, 512), squares);
    }
    [[nodiscard]] std::string both() const { return quoted(makeDom() + "?" + makeDem()); }

    /** Tile files in the cache of the only terrain. */
    [[nodiscard]] std::vector<std::string> cachedTiles() const
    {
        std::vector<std::string> names;
        std::error_code error;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(caches.path("terrain"), error))
            if (entry.path().extension() == ".osgb") names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] Json runForJson(const std::string& arguments) const
    {
        const Outcome outcome = run(arguments + " --json --log-dir " + quoted(folder.path("log")));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return Json::parse(outcome.out, nullptr, /*allow_exceptions*/ false);
    }

    TempFolder folder;
    OwnCaches caches;
};
} // namespace

TEST_F(TerrainCommand, InfoTellsBothRasters)
{
    const std::string dom = makeDom();
    const std::string dem = makeDem();
    for (const std::string& named : {quoted(dom + "?" + dem), "--dom " + quoted(dom) + " --dem " + quoted(dem)})
    {
        SCOPED_TRACE(named);
        const Json info = runForJson("info " + named);
        EXPECT_EQ(info["kind"], "terrain");
        EXPECT_EQ(info["dom"]["file"], dom);
        EXPECT_EQ(info["dom"]["bands"], 3);
        EXPECT_EQ(info["dom"]["type"], "Byte");
        EXPECT_EQ(info["dem"]["file"], dem);
        EXPECT_EQ(info["dem"]["width"], 256);
        EXPECT_EQ(info["dem"]["pixelWidth"], 10.0);
        EXPECT_EQ(info["dem"]["srs"], "WGS 84 / UTM zone 13N (EPSG:32613)");
        EXPECT_TRUE(info["dem"]["warped"].is_null());
        EXPECT_EQ(info["extents"]["min"][0], 500000.0);
        EXPECT_EQ(info["extents"]["max"][1], 4000000.0);
    }
}

TEST_F(TerrainCommand, InfoTellsWhatALoneRasterIsTakenFor)
{
    const Json dem = runForJson("info " + quoted(makeDem()));
    EXPECT_TRUE(dem["dom"].is_null());
    EXPECT_TRUE(dem["dem"].is_object());
    const Json dom = runForJson("info " + quoted(makeDom()));
    EXPECT_TRUE(dom["dom"].is_object());
    EXPECT_TRUE(dom["dem"].is_null());
}

TEST_F(TerrainCommand, InfoTellsWhatWasWarped)
{
    const std::string dem = writeRaster(folder.path("degrees.tif"), rasterAt(4326, 138.7, 35.4, 0.001, 64));
    const Json warped = runForJson("info --dem " + quoted(dem));
    EXPECT_EQ(warped["dem"]["srs"], "WGS 84 (EPSG:4326)");
    EXPECT_EQ(warped["dem"]["warped"]["srs"], "WGS 84 / UTM zone 54N (EPSG:32654)");
    EXPECT_GT(warped["extents"]["min"][1], 3.9e6);
    const Json asItIs = runForJson("info --no-warp --dem " + quoted(dem));
    EXPECT_TRUE(asItIs["dem"]["warped"].is_null());
    EXPECT_NEAR(asItIs["extents"]["min"][0], 138.7, 1e-6);
}

TEST_F(TerrainCommand, SaysOnceWhatItAssumesAboutAMissingSystem)
{
    const std::string bare = writeRaster(folder.path("bare.tif"), orthoAt(0, 5e5, 4e6, 5.0, 512));
    const Outcome outcome = run("info " + quoted(bare + "?" + makeDem()) + " --log-dir " + quoted(folder.path("log")));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_NE(outcome.err.find("names no coordinate system"), std::string::npos);
}

TEST_F(TerrainCommand, RefusesRastersThatAreNone)
{
    const std::string dem = makeDem();
    const std::string text = folder.write("text.tif", "this is no raster");
    const std::string empty = folder.write("empty.tif", "");
    const std::string none = folder.path("none.tif");
    RasterPlan plan;
    plan.type = GDT_Byte;
    const std::string bytes = writeRaster(folder.path("bytes.tif"), plan);
    plan.type = GDT_Float32;
    plan.isGeoreferenced = false;
    const std::string nowhere = writeRaster(folder.path("nowhere.tif"), plan);
    const std::string picture = " --out " + quoted(folder.path("p.png"));
    for (const std::string& command :
         {std::string("info "), "render" + picture + " ", std::string("fly "), std::string("prebuild --levels 1 ")})
    {
        expectOneSentence(command + quoted(none + "?" + dem), "There is no file");
        expectOneSentence(command + quoted(dem + "?" + none), "There is no file");
        expectOneSentence(command + quoted("?" + text), "not a raster");
        if (command != "info ") expectOneSentence(command + quoted(text), "nor a raster");
        expectOneSentence(command + "--dem " + quoted(empty), "not a raster");
        expectOneSentence(command + "--dom " + quoted(folder.path()), "not a raster");
        expectOneSentence(command + "--dem " + quoted(bytes), "type Byte");
        expectOneSentence(command + "--dem " + quoted(nowhere), "no georeferencing");
        expectOneSentence(command + quoted("?"), "Neither a DOM nor a DEM");
        expectOneSentence(command + "--dem " + quoted(dem) + " " + quoted(dem), "two ways");
        expectOneSentence(command, "MODEL is required");
    }
}

TEST_F(TerrainCommand, PickTakesThePixelFirstWhereTheRastersAreNamed)
{
    const std::string dem = quoted(makeDem());
    const Json byOption = runForJson("pick --size 400x300 --dem " + dem + " 200 150");
    const Json byModel = runForJson("pick --size 400x300 " + dem + " 200 150");
    ASSERT_TRUE(byOption["hit"].is_array());
    EXPECT_EQ(byOption["hit"], byModel["hit"]);
    EXPECT_GT(byOption["hit"][2], 190.0);
    EXPECT_LT(byOption["hit"][2], 810.0);
    expectOneSentence("pick --dem " + dem + " 200", "Y is required");
    expectOneSentence("pick --dem " + dem + " here 150", "not a number");
    expectOneSentence("pick --dem " + dem + " model 200 150", "two ways");
}

TEST_F(TerrainCommand, PrebuildWritesEveryFileDownToTheLevel)
{
    const Json report = runForJson("prebuild --levels 2 " + both());
    EXPECT_EQ(report["levels"], 2);
    EXPECT_EQ(report["files"], 6);
    EXPECT_EQ(report["builtTiles"], 6);
    EXPECT_EQ(report["foundTiles"], 0);
    EXPECT_EQ(cachedTiles(), (std::vector<std::string>{"0_0_0_c.osgb", "1_0_0_c.osgb", "1_0_1_c.osgb", "1_1_0_c.osgb",
                                                       "1_1_1_c.osgb", "terrain.osgb"}));
}

TEST_F(TerrainCommand, PrebuildOfLevel0WritesTheRoot)
{
    EXPECT_EQ(runForJson("prebuild --levels 0 " + both())["builtTiles"], 1);
    EXPECT_EQ(cachedTiles(), std::vector<std::string>{"terrain.osgb"});
}

TEST_F(TerrainCommand, PrebuildGoesOnWhereItStopped)
{
    const std::string model = both();
    EXPECT_EQ(runForJson("prebuild --levels 1 " + model)["builtTiles"], 2);
    const Json second = runForJson("prebuild --levels 2 " + model);
    EXPECT_EQ(second["builtTiles"], 4);
    EXPECT_EQ(second["foundTiles"], 2);
    const Json third = runForJson("prebuild --levels 2 " + model);
    EXPECT_EQ(third["builtTiles"], 0);
    EXPECT_EQ(third["foundTiles"], 6);
    EXPECT_EQ(cachedTiles().size(), 6U);
}

// Half a step between posts is 41.3, 20.6, 10.3 and 5.2 m at the levels 0 to 3. The posts of the DEM are 10 m apart, so
// that the children of level 3 are not divided any more. The DOM ends earlier.
TEST_F(TerrainCommand, PrebuildEndsWithTheRasters)
{
    const Json report = runForJson("prebuild --levels 20 " + both());
    EXPECT_EQ(report["levels"], 4);
    EXPECT_EQ(report["files"], 1 + 1 + 4 + 16 + 64);
    EXPECT_EQ(report["builtTiles"], 86);
    EXPECT_EQ(cachedTiles().size(), 86U);
}

// Several regions: 5 levels are 4 of them.
TEST_F(TerrainCommand, PrebuildLeavesNoGapsBetweenItsRegions)
{
    RasterPlan plan = rasterAt(32613, 5e5, 4e6, 2.0, 1500);
    plan.height = 1100;
    const auto hill = [](int x, int y) { return 500.0 + 300.0 * std::sin(x * 0.005) * std::cos(y * 0.005); };
    const std::string dem = writeRaster(folder.path("large.tif"), plan, hill);
    const Json report = runForJson("prebuild --levels 5 --overviews --dem " + quoted(dem));
    EXPECT_EQ(report["overviews"], Json::array({dem}));
    EXPECT_TRUE(std::filesystem::exists(dem + ".ovr"));
    EXPECT_EQ(report["builtTiles"], 1 + 341);
    EXPECT_EQ(cachedTiles().size(), 342U);
    EXPECT_EQ(runForJson("prebuild --levels 5 --overviews --dem " + quoted(dem))["builtTiles"], 0);
}

TEST_F(TerrainCommand, RenderTellsWhatItBuiltAndWhatItFound)
{
    const WithoutLeakCheck drawing;
    const std::string model = both();
    const std::string render = "render --size 320x240 --out " + quoted(folder.path("p.png")) + " " + model;
    const Json first = runForJson(render);
    EXPECT_GT(first["builtTiles"], 0);
    EXPECT_EQ(first["cachedTiles"], 0);
    EXPECT_GT(first["textures"], 0);
    const Json second = runForJson(render);
    EXPECT_EQ(second["builtTiles"], 0);
    EXPECT_EQ(second["cachedTiles"], first["builtTiles"]);
    EXPECT_EQ(second["triangles"], first["triangles"]);
    EXPECT_TRUE(second["violations"].empty());
}

TEST_F(TerrainCommand, RenderDrawsADemWithoutTextures)
{
    const WithoutLeakCheck drawing;
    const Json report =
        runForJson("render --size 320x240 --out " + quoted(folder.path("p.png")) + " " + quoted("?" + makeDem()));
    EXPECT_GT(report["triangles"], 0);
    EXPECT_EQ(report["textures"], 0);
}

TEST_F(TerrainCommand, PrebuildRefusesWhatIsNoTerrain)
{
    expectOneSentence("prebuild --levels 2 " + quoted(folder.write("T/T.osgb", "x")), "no terrain");
    expectOneSentence("prebuild " + quoted(makeDem()), "--levels");
    expectOneSentence("prebuild --levels -1 " + quoted(makeDem()), "--levels");
    expectOneSentence("prebuild --levels 99 " + quoted(makeDem()), "--levels");
}

TEST_F(TerrainCommand, PrebuildSaysIfTheCacheCannotBeWritten)
{
    caches.write("terrain", "a file where the folder should be");
    expectOneSentence("prebuild --levels 1 " + quoted(makeDem()), "Cannot write to the folder of the tile cache");
}

TEST_F(TerrainCommand, PrebuildSaysIfOverviewsCannotBeWritten)
{
    const std::string dem = writeRaster(folder.path("large.tif"), rasterAt(32613, 5e5, 4e6, 2.0, 1100));
    std::filesystem::create_directories(dem + ".ovr/full");
    expectOneSentence("prebuild --levels 1 --overviews " + quoted(dem), "Cannot write overviews beside");
}
