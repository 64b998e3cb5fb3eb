#include "mvosggeoterrain/TerrainFixture.h"

#include "support/UserValues.h"

#include <osg/PagedLOD>

#include <cpl_conv.h>

#include <cmath>

namespace
{

using TerrainOpen = TerrainFixture;
using testing::ElementsAre;

} // namespace

TEST_F(TerrainOpen, TheFactoryMakesATerrainModel)
{
    const MvGeoMesh& made = model();
    EXPECT_EQ(typeid(made), typeid(MvOsgGeoTerrain));
}

TEST_F(TerrainOpen, TakesTheDomBeforeTheMarkAndTheDemBehindIt)
{
    EXPECT_EQ(driver->add(source()), 0);
    EXPECT_EQ(log.lines().size(), 0U);
    EXPECT_EQ(driver->statistics().tilesBuilt, 1U);
}

TEST_F(TerrainOpen, OpeningTheSameSourceAgainGivesItsIndex)
{
    driver->add(source());
    EXPECT_EQ(driver->add(source()), 0);
    EXPECT_EQ(driver->statistics().tilesLoaded, 1U);
}

TEST_F(TerrainOpen, ASecondTerrainIsRefused)
{
    driver->add(source());
    EXPECT_EQ(driver->add('?' + dem), -1);
    EXPECT_EQ(log.count(osg::WARN, "a terrain model holds one terrain"), 1);
    EXPECT_EQ(model().root().getNumChildren(), 1U);
}

TEST_F(TerrainOpen, ExtentsAreTheDemsAndItsElevations)
{
    driver->add(source());
    const KdDbExtents extents = model().extents();
    EXPECT_DOUBLE_EQ(extents.minPoint().x, 0.0);
    EXPECT_DOUBLE_EQ(extents.minPoint().y, 0.0);
    EXPECT_DOUBLE_EQ(extents.minPoint().z, 0.0);
    EXPECT_DOUBLE_EQ(extents.maxPoint().x, 640.0);
    EXPECT_DOUBLE_EQ(extents.maxPoint().y, 640.0);
    EXPECT_DOUBLE_EQ(extents.maxPoint().z, 63.0);
}

TEST_F(TerrainOpen, LargeCoordinatesKeepTheirDigitsInTheExtents)
{
    TestRaster raster;
    raster.width = 64;
    raster.height = 64;
    raster.type = GDT_Int16;
    raster.originX = 512345.25;
    raster.originY = 4123456.75;
    raster.pixelWidth = 0.5;
    raster.pixelHeight = -0.5;
    writeRaster(dem, raster, 7.0);
    driver->add('?' + dem);
    EXPECT_DOUBLE_EQ(model().extents().minPoint().x, 512345.25);
    EXPECT_DOUBLE_EQ(model().extents().maxPoint().y, 4123456.75);
    EXPECT_DOUBLE_EQ(model().extents().minPoint().y, 4123424.75);
}

TEST_F(TerrainOpen, TheRootCarriesItsNumberAndIdentity)
{
    driver->add(source());
    const osg::Node& node = *model().root().getChild(0);
    const unsigned int* number = mvgeo::userValue<unsigned int>(node, mvgeo::keys::rootNodeId);
    ASSERT_TRUE(number);
    EXPECT_EQ(*number, 0U);
    const auto& paged = dynamic_cast<const osg::PagedLOD&>(node);
    const std::string* identity = mvgeo::userValue<std::string>(*paged.getChild(0), mvgeo::keys::globalId);
    ASSERT_TRUE(identity);
    EXPECT_EQ(*identity, id("terrain.osgb.3dimg_0"));
}

TEST_F(TerrainOpen, TheCacheDirectoryIsNamedByTheWholeSource)
{
    driver->add(source());
    EXPECT_TRUE(std::filesystem::exists(cacheDirectory(source()) + "/terrain.osgb"));
    EXPECT_TRUE(std::filesystem::exists(cacheDirectory(source()) + "/0_0_0.jpeg"));
    std::string named;
    EXPECT_TRUE(model().makeCacheDirectory("a.tif?b.tif", named));
    // FNV-1a, 64 bits, of "a.tif?b.tif", by hand.
    std::uint64_t hash = 14695981039346656037ULL;
    for (const unsigned char byte : std::string("a.tif?b.tif"))
        hash = (hash ^ byte) * 1099511628211ULL;
    EXPECT_EQ(named, folder / ("temp/terrain/" + std::to_string(hash)));
}

TEST_F(TerrainOpen, TellsGdalThatPathsAreUtf8)
{
    driver->add(source());
    EXPECT_STREQ(CPLGetConfigOption("GDAL_FILENAME_IS_UTF8", ""), "YES");
}

TEST_F(TerrainOpen, WithoutADomItIsTheDemAlone)
{
    EXPECT_EQ(driver->add('?' + dem), 0);
    EXPECT_EQ(log.count(osg::WARN, "open dom failed"), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_DOUBLE_EQ(model().extents().maxPoint().z, 63.0);
}

TEST_F(TerrainOpen, WithoutADemItIsAFlatTerrainOverTheDom)
{
    for (const std::string& flat : {dom + '?', dom, dom + "?missing.tif"})
    {
        SCOPED_TRACE(flat);
        log.clear();
        EXPECT_EQ(driver->add(flat), 0);
        EXPECT_EQ(log.count(osg::WARN, "open dem failed"), 1);
        EXPECT_EQ(log.lines().size(), 1U);
        EXPECT_DOUBLE_EQ(model().extents().maxPoint().x, 640.0);
        EXPECT_DOUBLE_EQ(model().extents().maxPoint().z, 0.0);
        driver->view = fromAbove(300.0);
        ASSERT_TRUE(driver->converge());
        EXPECT_EQ(driver->statistics().tilesMerged, 1U); // the four leaves, with half of the DOM's pixels each way
        for (const RecordingMesh* mesh : driver->receiver.meshes())
            EXPECT_TRUE(mesh->image);
        expectCleanContract();
        renewModel();
    }
}

TEST_F(TerrainOpen, WithNeitherItFails)
{
    EXPECT_EQ(driver->add((folder / "a.tif") + '?' + (folder / "b.tif")), -1);
    ASSERT_EQ(log.lines().size(), 3U);
    EXPECT_EQ(log.count(osg::WARN, "open dom failed"), 1);
    EXPECT_EQ(log.count(osg::WARN, "open dem failed"), 1);
    EXPECT_EQ(log.count(osg::WARN, "open dom and dem failed"), 1);
    EXPECT_EQ(log.lines()[0].text.find("src/mvosggeoterrain "), 0U);
    EXPECT_EQ(driver->add(""), -1);
}

TEST_F(TerrainOpen, FilesThatAreNoRastersAreLikeMissingOnes)
{
    writeFile(folder / "empty.tif", "");
    writeFile(folder / "text.tif", "not a raster");
    const std::string whole = readFile(dem);
    writeFile(folder / "cut.tif", whole.substr(0, whole.size() / 2));
    for (const char* name : {"empty.tif", "text.tif", "temp", "none.tif"})
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(driver->add('?' + (folder / name)), -1);
    }
    // GDAL opens this one and fails to read its last rows: what can be read is shown.
    log.clear();
    driver->add('?' + (folder / "cut.tif"));
    EXPECT_LE(log.lines().size(), 4U);
}

TEST_F(TerrainOpen, ADemOfBytesGivesNoTerrain)
{
    TestRaster raster;
    writeRaster(dem, raster, 7.0);
    EXPECT_EQ(driver->add(source()), -1);
    EXPECT_EQ(log.count(osg::WARN, "dem not supported data Type"), 1);
}

TEST_F(TerrainOpen, ADemThatIsUpsideDownIsNamedWithTheReason)
{
    TestRaster raster;
    raster.type = GDT_Float32;
    raster.pixelHeight = 1.0;
    writeRaster(dem, raster, 7.0);
    EXPECT_EQ(driver->add('?' + dem), -1);
    EXPECT_EQ(log.count(osg::WARN, dem + ": its rows do not run south"), 1);
    EXPECT_EQ(log.count(osg::WARN, "open dem failed"), 1);
}

TEST_F(TerrainOpen, ABadDemBesideAGoodDomIsToldOnce)
{
    TestRaster raster;
    raster.type = GDT_Float32;
    raster.pixelHeight = 1.0;
    writeRaster(dem, raster, 7.0);
    writeDom(1024);
    ASSERT_EQ(driver->add(source()), 0);
    driver->view = fromAbove(100.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GT(driver->statistics().tilesMerged, 2U);
    EXPECT_EQ(log.count("its rows do not run south"), 1);
}

TEST_F(TerrainOpen, PathsMayHoldAnyCharacters)
{
    const std::string place = folder.makeFolder("Gel\xc3\xa4nde & \xe5\x9c\xb0\xe5\xbd\xa2 #1");
    std::filesystem::copy_file(dem, place + "/dem 1.tif");
    std::filesystem::copy_file(dom, place + "/dom 1.tif");
    EXPECT_EQ(driver->add(place + "/dom 1.tif?" + place + "/dem 1.tif"), 0);
    EXPECT_EQ(log.lines().size(), 0U);
}

TEST_F(TerrainOpen, ReloadOpensTheRastersAgain)
{
    driver->add(source());
    writeDem(2.0);
    model().reload();
    EXPECT_EQ(model().root().getNumChildren(), 1U);
    ASSERT_EQ(model().modelPaths().size(), 1U);
    EXPECT_DOUBLE_EQ(model().extents().maxPoint().z, 126.0);
    EXPECT_EQ(driver->statistics().tilesBuilt, 2U);
}

TEST_F(TerrainOpen, ReplaceTakesAnotherSource)
{
    driver->add(source());
    EXPECT_TRUE(model().replaceModel(0, KdString(('?' + dem).c_str())));
    EXPECT_EQ(model().root().getNumChildren(), 1U);
    EXPECT_EQ(log.count(osg::WARN, "open dom failed"), 1);
}

TEST_F(TerrainOpen, ClearLeavesAnEmptyModelThatCanOpenAgain)
{
    driver->add(source());
    model().clear();
    EXPECT_EQ(model().root().getNumChildren(), 0U);
    EXPECT_EQ(driver->add(source()), 0);
}

TEST_F(TerrainOpen, WithoutACacheDirectoryTilesAreShownAllTheSame)
{
    writeFile(folder / "temp", "a file where the folder should be");
    ASSERT_EQ(driver->add(source()), 0);
    EXPECT_EQ(log.count(osg::WARN, "cannot make the cache directory"), 1);
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GT(driver->statistics().tilesBuilt, 4U);
    for (const RecordingMesh* mesh : driver->receiver.meshes())
        EXPECT_FALSE(mesh->pixels().bytes.empty());
}
