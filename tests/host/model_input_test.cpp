#include "RasterMaker.h"
#include "TempFolder.h"

#include <common/HostError.h>
#include <input/ModelInput.h>
#include <input/ModelMetadata.h>

#include <gtest/gtest.h>

using namespace mvgeo::host;

namespace
{
std::string whyNoModel(const std::string& path)
{
    try
    {
        (void)resolveModelInput(path);
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return {};
}
} // namespace

TEST(ModelInput, IsAFolderOfRootTilesSortedByName)
{
    const TempFolder folder;
    folder.write("Tile_b/Tile_b.osgb", "b");
    folder.write("Tile_a/Tile_a.osgb", "a");
    folder.write("Tile_c/other.osgb", "no root");
    const ModelInput input = resolveModelInput(folder.path());
    EXPECT_EQ(input.kind, InputKind::rootTileFolder);
    EXPECT_EQ(input.rootFiles,
              (std::vector<std::string>{folder.path("Tile_a/Tile_a.osgb"), folder.path("Tile_b/Tile_b.osgb")}));
}

TEST(ModelInput, IsFoundBelowDataWithTheMetadataBesideIt)
{
    const TempFolder folder;
    folder.write("Data/T/T.osgb", "t");
    const std::string metadata = folder.write("metadata.xml", "<ModelMetadata/>");
    for (const std::string& given :
         {folder.path(), folder.path() + "/", folder.path("Data"), folder.path("Data") + "/"})
    {
        SCOPED_TRACE(given);
        const ModelInput input = resolveModelInput(given);
        EXPECT_EQ(input.rootFiles.size(), 1U);
        EXPECT_EQ(input.metadataFile, metadata);
    }
}

TEST(ModelInput, IsOneRootTileIfItsOwnFolderIsGiven)
{
    const TempFolder folder;
    const std::string root = folder.write("Data/T/T.osgb", "t");
    const ModelInput input = resolveModelInput(folder.path("Data/T"));
    EXPECT_EQ(input.kind, InputKind::rootTile);
    EXPECT_EQ(input.rootFiles, std::vector<std::string>{root});
}

TEST(ModelInput, IsASingleFileOfAnyNameAndCase)
{
    const TempFolder folder;
    for (const char* name : {"test.osgb", "UPPER.OSGB", "with blank.osgb", "倾斜 摄影.osgb", "it's \"quoted\".osgb"})
    {
        SCOPED_TRACE(name);
        const std::string file = folder.write(name, "x");
        const ModelInput input = resolveModelInput(file);
        EXPECT_EQ(input.kind, InputKind::singleFile);
        EXPECT_EQ(input.rootFiles, std::vector<std::string>{file});
    }
}

TEST(ModelInput, TakesFoldersWithOddNames)
{
    const TempFolder folder;
    folder.write("市 区 'x'/Data/瓦片 1/瓦片 1.osgb", "t");
    EXPECT_EQ(resolveModelInput(folder.path("市 区 'x'")).rootFiles.size(), 1U);
}

TEST(ModelInput, IsATerrainWhereAQuestionMarkStandsBetweenTwoPaths)
{
    const TempFolder folder;
    const struct
    {
        std::string given, dom, dem;
    } cases[] = {{"dom.tif?dem.tif", "dom.tif", "dem.tif"},
                 {"?dem.tif", "", "dem.tif"},
                 {"dom.tif?", "dom.tif", ""},
                 {"a?b?c", "a", "b?c"},
                 {"/vsizip/a.zip/x.tif?/vsimem/y", "/vsizip/a.zip/x.tif", "/vsimem/y"}};
    for (const auto& expected : cases)
    {
        SCOPED_TRACE(expected.given);
        const ModelInput input = resolveModelInput(expected.given);
        EXPECT_EQ(input.kind, InputKind::terrain);
        EXPECT_EQ(input.given, expected.given);
        ASSERT_TRUE(input.terrain);
        EXPECT_EQ(input.terrain->dom, expected.dom);
        EXPECT_EQ(input.terrain->dem, expected.dem);
    }
}

TEST(ModelInput, IsTheFileWhoseWholeNameHasTheQuestionMark)
{
#if defined(_WIN32)
    GTEST_SKIP() << "file names have no question marks here";
#endif
    const TempFolder folder;
    EXPECT_EQ(resolveModelInput(folder.write("which?.osgb", "x")).kind, InputKind::singleFile);
    const std::string raster = writeRaster(folder.path("how high?.tif"), RasterPlan());
    const ModelInput input = resolveModelInput(raster);
    ASSERT_TRUE(input.terrain);
    EXPECT_EQ(input.terrain->dem, raster);
}

TEST(ModelInput, IsATerrainOfOneRasterByWhatItHolds)
{
    const TempFolder folder;
    const std::string dem = writeRaster(folder.path("dem"), RasterPlan());
    const std::string dom = writeRaster(folder.path("dom.tif"), orthoAt(0, 0.0, 0.0, 1.0, 4));
    EXPECT_EQ(resolveModelInput(dem).terrain->dem, dem);
    EXPECT_EQ(resolveModelInput(dem).terrain->dom, "");
    EXPECT_EQ(resolveModelInput(dom).terrain->dom, dom);
    EXPECT_EQ(resolveModelInput(dom).terrain->dem, "");
    EXPECT_EQ(resolveModelInput(dom).given, dom);
}

TEST(ModelInput, CountsTheRastersOfATerrain)
{
    const TempFolder folder;
    const std::string dom = folder.write("dom.tif", "12345");
    const FileTotals totals = countTileFiles(terrainInput({dom, folder.path("none.tif")}));
    EXPECT_EQ(totals.files, 1U);
    EXPECT_EQ(totals.bytes, 5U);
}

TEST(ModelInput, SaysWhatIsWrong)
{
    const TempFolder folder;
    folder.write("loose/a.osgb", "x");
    folder.write("other/readme.txt", "x");
    std::filesystem::create_directories(folder.path("empty"));
    EXPECT_NE(whyNoModel("").find("empty"), std::string::npos);
    EXPECT_NE(whyNoModel(folder.path("none")).find("no file or folder"), std::string::npos);
    EXPECT_NE(whyNoModel(folder.path("empty")).find("is empty"), std::string::npos);
    EXPECT_NE(whyNoModel(folder.path("loose")).find("loose .osgb files"), std::string::npos);
    EXPECT_NE(whyNoModel(folder.path("other")).find("no root tile"), std::string::npos);
    EXPECT_NE(whyNoModel(folder.path("other/readme.txt")).find("neither a folder nor an .osgb file nor a raster"),
              std::string::npos);
    EXPECT_FALSE(whyNoModel(folder.path("other/readme.txt") + "/x.osgb").empty()); // a file as a folder
    EXPECT_FALSE(whyNoModel(std::string(5000, 'x')).empty());
}

TEST(ModelInput, CountsTheTileFilesOfItsRootTilesOnly)
{
    const TempFolder folder;
    folder.write("T/T.osgb", "12345");
    folder.write("T/T_L15_0.osgb", "123");
    folder.write("T/notes.txt", "1234567");
    folder.write("Rest/other.osgb", "1");
    const FileTotals totals = countTileFiles(resolveModelInput(folder.path()));
    EXPECT_EQ(totals.files, 2U);
    EXPECT_EQ(totals.bytes, 8U);
}

TEST(ModelMetadata, TellsTheReferenceSystemAndItsOrigin)
{
    const TempFolder folder;
    const std::string file = folder.write("metadata.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                          "<ModelMetadata version=\"1\">\n"
                                                          "  <!--Spatial Reference System-->\n"
                                                          "  <SRS>PROJCS[\"x\",\n      UNIT[\"metre\",1]]</SRS>\n"
                                                          "  <SRSOrigin>501027.524, 2488718.5,0.000</SRSOrigin>\n"
                                                          "</ModelMetadata>\n");
    const auto metadata = readModelMetadata(file);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->srs, "PROJCS[\"x\", UNIT[\"metre\",1]]");
    EXPECT_EQ(metadata->origin, osg::Vec3d(501027.524, 2488718.5, 0.0));
}

TEST(ModelMetadata, IsAbsentWhereTheFileIsNotOne)
{
    const TempFolder folder;
    EXPECT_FALSE(readModelMetadata(folder.path("none.xml")));
    EXPECT_FALSE(readModelMetadata({}));
    for (const char* text : {"", "not xml", "<", "<Other/>", "<ModelMetadata", "<!--", "<?xml"})
        EXPECT_FALSE(readModelMetadata(folder.write("m.xml", text))) << text;
    EXPECT_FALSE(readModelMetadata(folder.write("m.xml", "<ModelMetadata><SRSOrigin>1,2</SRSOrigin></ModelMetadata>")));
}
