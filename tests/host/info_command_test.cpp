#include "input/FileFacts.h"

#include "OwnCaches.h"
#include "ProgramRunner.h"
#include "RasterMaker.h"

#include <nlohmann/json.hpp>

#include <osg/Geode>
#include <osg/Geometry>
#include <osgDB/WriteFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using mvgeo::host::describeContent;
using testing::EndsWith;
using testing::HasSubstr;
using Json = nlohmann::json;

class InfoCommand : public testing::Test
{
protected:
    /** A square of two metres around the origin. */
    std::string makeTile(const std::string& name) const
    {
        const std::string path = folder.write(name, "");
        const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        const osg::ref_ptr<osg::Geometry> square =
            osg::createTexturedQuadGeometry({-1.0F, -1.0F, 0.0F}, {2.0F, 0.0F, 0.0F}, {0.0F, 2.0F, 0.0F});
        geode->addDrawable(square);
        if (!osgDB::writeNodeFile(*geode, path)) throw std::runtime_error("cannot write " + path);
        return path;
    }
    std::string makeRaster(const std::string& name, int bands, GDALDataType type) const
    {
        RasterPlan plan = rasterAt(32613, 5e5, 4e6, 10.0, 16);
        plan.bands = bands;
        plan.type = type;
        return writeRaster(folder.path(name), plan);
    }
    Outcome info(const std::string& path, const std::string& more = {}) const
    {
        Outcome outcome = run("info " + quoted(path) + more + " --log-dir " + quoted(folder.path("log")));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome;
    }
    Json infoJson(const std::string& path) const
    {
        return Json::parse(info(path, " --json").out, nullptr, /*allow_exceptions*/ false);
    }
    /** The answer, if it is one sentence and no complaint. */
    std::string sentence(const std::string& path) const
    {
        const Outcome outcome = info(path);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << outcome.out;
        return outcome.out;
    }

    TempFolder folder;
    OwnCaches caches;
};
} // namespace

TEST(FileContent, IsKnownByItsFirstBytes)
{
    EXPECT_EQ(describeContent(""), "an empty file");
    EXPECT_EQ(describeContent("\xABKTX 11\xBB\r\n\x1A\n..."), "a KTX texture");
    EXPECT_EQ(describeContent("\xABKTX 20\xBB\r\n\x1A\n..."), "a KTX 2 texture");
    EXPECT_EQ(describeContent("\xABKTX 20\xBB\r\n\x1A"), "a binary file of an unknown kind"); // one byte short
    EXPECT_EQ(describeContent(std::string("\xA1\x0E\x91\x6C\x45\x45\xFB\x1A\1\0", 10)),
              "a scene in the toolkit's binary format");
    EXPECT_EQ(describeContent(std::string("a\0b", 3)), "a binary file of an unknown kind");
}

TEST(FileContent, TellsKindsOfText)
{
    EXPECT_EQ(describeContent("<?xml version=\"1.0\"?>"), "an XML file");
    EXPECT_EQ(describeContent("\xEF\xBB\xBF \r\n<a/>"), "an XML file");
    EXPECT_EQ(describeContent("{\"a\": [1, 2]}"), "a JSON file");
    EXPECT_EQ(describeContent("\n[1]\n"), "a JSON file");
    EXPECT_EQ(describeContent("[1"), "a text file"); // begins like JSON, but is none
    EXPECT_EQ(describeContent("plain\r\n\ttext"), "a text file");
    EXPECT_EQ(describeContent("\xE6\x96\x87"), "a text file");
    EXPECT_EQ(describeContent(" "), "a text file");
}

TEST_F(InfoCommand, SaysInOneSentenceWhatAFileIsNot)
{
    const std::string rest = ", neither a tile nor a raster.\n";
    EXPECT_THAT(sentence(folder.write("a.ktx", "\xABKTX 11\xBB\r\n\x1A\n...")),
                EndsWith("a KTX texture of 15 bytes" + rest));
    EXPECT_THAT(sentence(folder.write("a.json", "{}")), EndsWith("a JSON file of 2 bytes" + rest));
    EXPECT_THAT(sentence(folder.write("a.xml", "<a/>")), EndsWith("an XML file of 4 bytes" + rest));
    EXPECT_THAT(sentence(folder.write("a.tif", "text")), EndsWith("a text file of 4 bytes" + rest));
    EXPECT_THAT(sentence(folder.write("a b \xE7\x93\xA6", "")), EndsWith("an empty file" + rest));
    EXPECT_THAT(sentence(folder.write("a.bin", "\x01\x02")),
                EndsWith("a binary file of an unknown kind of 2 bytes" + rest));
}

TEST_F(InfoCommand, SaysWhetherATileReads)
{
    EXPECT_THAT(info(makeTile("a.osgb")).out, HasSubstr("reads:       yes\n"));
    const Json whole = infoJson(makeTile("a.osgb"));
    EXPECT_EQ(whole["reads"], true);
    EXPECT_EQ(whole["kind"], "single .osgb file");
    EXPECT_EQ(whole["extents"]["max"][0], 1.0);

    const std::string bytes = readFile(makeTile("a.osgb"));
    const std::string half = folder.write("half.osgb", bytes.substr(0, bytes.size() / 2));
    EXPECT_THAT(sentence(half), HasSubstr("a damaged tile of"));
    EXPECT_EQ(infoJson(half)["reads"], false);
    EXPECT_THAT(sentence(folder.write("text.osgb", "text")), EndsWith("it is a text file of 4 bytes.\n"));
    EXPECT_THAT(sentence(folder.write("empty.OSGB", "")), EndsWith("it is an empty file.\n"));
}

TEST_F(InfoCommand, TellsSizePlaceAndBandsOfARaster)
{
    const Json dem = infoJson(makeRaster("dem.tif", 1, GDT_Float32));
    EXPECT_EQ(dem["raster"]["width"], 16);
    EXPECT_EQ(dem["raster"]["height"], 16);
    EXPECT_EQ(dem["raster"]["bands"], 1);
    EXPECT_EQ(dem["raster"]["transform"], Json::array({5e5, 10.0, 0.0, 4e6, 0.0, -10.0}));
    EXPECT_EQ(dem["raster"]["usableAsDem"], true);
    EXPECT_EQ(dem["kind"], "terrain");
    const std::string text = info(makeRaster("dom.tif", 3, GDT_Byte)).out;
    EXPECT_THAT(text, HasSubstr("raster:      16 x 16 pixels, 3 bands of type Byte, GTiff\n"));
    EXPECT_THAT(text, HasSubstr("transform:   500000.0, 10.0, 0.0, 4000000.0, 0.0, -10.0\n"));
    EXPECT_THAT(text, HasSubstr("as DEM:      no: it has 3 bands\n"));
    EXPECT_THAT(info(makeRaster("byte.tif", 1, GDT_Byte)).out, HasSubstr("as DEM:      no: The DEM"));
}

TEST_F(InfoCommand, TellsOfARasterWithoutPlaceThatItMakesNoModel)
{
    RasterPlan plan;
    plan.isGeoreferenced = false;
    const std::string path = writeRaster(folder.path("nowhere.tif"), plan);
    const std::string text = info(path).out;
    EXPECT_THAT(text, HasSubstr("transform:   0.0, 1.0, 0.0, 0.0, 0.0, 1.0 (there is none in the file)\n"));
    EXPECT_THAT(text, HasSubstr("model:       none. The DEM"));
    const Json json = infoJson(path);
    EXPECT_EQ(json["kind"], "raster");
    EXPECT_EQ(json["raster"]["georeferenced"], false);
    EXPECT_THAT(json["problem"].get<std::string>(), HasSubstr("no georeferencing"));
}

TEST_F(InfoCommand, NamesTheRootTilesOfAFolder)
{
    makeTile("city/a/a.osgb");
    makeTile("city/b/b.osgb");
    makeTile("city/b/b_L1.osgb");
    EXPECT_THAT(info(folder.path("city")).out,
                HasSubstr("root tiles:  2\n             a.osgb\n             b.osgb\ntile files:  3,"));
    for (int i = 0; i < 10; ++i)
        makeTile("city/c" + std::to_string(i) + "/c" + std::to_string(i) + ".osgb");
    EXPECT_THAT(info(folder.path("city")).out, HasSubstr("             c7.osgb\n             ... 2 more\n"));
}

TEST_F(InfoCommand, SaysOfAFolderThatItHoldsNoRootTile)
{
    std::filesystem::create_directories(folder.path("empty"));
    EXPECT_THAT(sentence(folder.path("empty")), EndsWith("is empty.\n"));
    folder.write("other/readme.txt", "x");
    EXPECT_THAT(sentence(folder.path("other")), HasSubstr("holds no root tile"));
    EXPECT_EQ(infoJson(folder.path("other"))["kind"], "folder");
}

TEST_F(InfoCommand, FailsOnlyWhereNothingCanBeSaid)
{
    expectOneSentence("info " + quoted(folder.path("missing")), "no file or folder");
    expectOneSentence("info \"\"", "MODEL is required");
#if !defined(_WIN32)
    expectOneSentence("info /dev/null", "neither a file nor a folder");
#endif
}

// A log that was asked for and cannot be written is no fault of the file.
TEST_F(InfoCommand, FailsForALogThatCannotBeWritten)
{
    const std::string tile = quoted(makeTile("a.osgb"));
    const std::string inTheWay = folder.write("file", "");
    const std::string text = quoted(folder.write("a.txt", "text"));
    for (const std::string& path : {tile, text})
    {
        expectOneSentence("info " + path + " --log-dir " + quoted(inTheWay), "Cannot make the folder");
        expectOneSentence("info " + path + " --json --log-dir " + quoted(inTheWay + "/below"),
                          "Cannot make the folder");
    }
    std::filesystem::create_directories(folder.path("log/GeoCache/3d.log"));
    expectOneSentence("info " + tile + " --log-dir " + quoted(folder.path("log")), "Cannot write the log");
    expectOneSentence("render " + tile + " --out " + quoted(folder.path("a.png")) + " --log-dir " + quoted(inTheWay),
                      "Cannot make the folder");
}

TEST_F(InfoCommand, HasASensibleAnswerForEveryRealFile)
{
    const char* root = std::getenv("MVGEO_REAL_DATA");
    if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
    {
        if (!entry.is_regular_file()) continue;
        const std::string path = entry.path().string();
        const std::string extension = entry.path().extension().string();
        SCOPED_TRACE(path);
        const std::string text = info(path).out;
        const char* expected = extension == ".osgb"  ? "reads:       yes\n"
                               : extension == ".tif" ? "as DEM:      "
                                                     : "neither a tile nor a raster";
        EXPECT_THAT(text, HasSubstr(expected));
        EXPECT_EQ(text.find("binary file of an unknown kind"), std::string::npos);
        ++count;
    }
    EXPECT_GT(count, 0);
}
