#include "TerrainParts.h"
#include "readerwriterthreedimg/TileCacheFile.h"
#include "readerwriterthreedimg/TileSeal.h"

#include <osg/ValueObject>
#include <osgDB/ReadFile>
#include <osgDB/WriteFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <map>

using namespace cliptest;
using namespace terraintest;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

namespace
{

const std::string kJpeg = "\xFF\xD8 a picture \xFF\xD9"; // its beginning and its end

class TileCache : public TerrainTest
{
protected:
    /** Reads the root and then, level by level, the children of all paged nodes whose numbers are equal; says of each
     * what it is made of. */
    [[nodiscard]] std::vector<std::string> readDiagonal() const
    {
        std::vector<std::string> texts;
        osg::ref_ptr<osg::Node> node = readRoot(request);
        for (int depth = 0; node && depth < 12; ++depth)
        {
            texts.push_back(describe(node));
            const auto nodes = pagedNodesOf(node);
            if (nodes.empty()) break;
            node = readChildren(*nodes.back());
        }
        return texts;
    }

    /** The rasters are written again with other values, their time is later. */
    void rewriteRasters(double height)
    {
        writeRaster(dem, floatDem(64, 64), height);
        writeRaster(dom, colourDom(64, 64), 50.0);
        for (const std::string& path : {dem, dom})
            fs::last_write_time(path, fs::last_write_time(path) + std::chrono::seconds(10));
    }

    [[nodiscard]] float rootHeight() const
    {
        const osg::ref_ptr<osg::Node> root = readRoot(request);
        return root ? verticesOf(geometryOf(root)).at(0).z() : -1.0F;
    }
};

TEST_F(TileCache, GivesBackWhatWasBuilt)
{
    writeNoise();
    const std::vector<std::string> built = readDiagonal();
    const std::vector<std::string> readBack = readDiagonal();
    ASSERT_EQ(built.size(), readBack.size());
    for (std::size_t depth = 0; depth < built.size(); ++depth)
        EXPECT_EQ(built[depth], readBack[depth]) << "depth " << depth;
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(TileCache, GivesBackTilesThatWereCutOutOfTheirParents)
{
    writeRaster(dem, floatDem(8, 8), [](int, int column, int row) { return column * row; });
    TestRaster image = colourDom(1024, 1024);
    image.originY = 8.0;
    image.pixelWidth = 1.0 / 128.0;
    image.pixelHeight = -1.0 / 128.0;
    writeRaster(dom, image, [](int band, int column, int row) { return (column * row + 80 * band) % 256; });
    const std::vector<std::string> built = readDiagonal();
    ASSERT_GE(built.size(), 2U);
    EXPECT_NE(built.back().find("image '" + cacheDir + "/"), std::string::npos); // the whole path: cut
    EXPECT_EQ(built, readDiagonal());
}

TEST_F(TileCache, GivesBackTilesInThePadding)
{
    writeRaster(dem, floatDem(64, 5), 9.0);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    const auto nodes = pagedNodesOf(root);
    ASSERT_EQ(nodes.size(), 1U);
    auto children = pagedNodesOf(readChildren(*nodes[0]));
    ASSERT_EQ(children.size(), 4U);
    const std::string built = describe(readChildren(*children[0])); // rows 0 and 1 of 4, of which row 1 holds the DEM
    EXPECT_EQ(built, describe(readChildren(*children[0])));
    EXPECT_NE(built.find(" 0 -\n"), std::string::npos); // an empty array
    EXPECT_NE(built.find("image"), std::string::npos);  // and a tile with content
}

TEST_F(TileCache, NamesItsFilesAfterTheRequests)
{
    writeNoise();
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
    const auto children = pagedNodesOf(readChildren(*pagedNodesOf(root).at(0)));
    EXPECT_TRUE(readChildren(*children.at(1)));
    EXPECT_THAT(cachedFiles(), ElementsAre("0_0_0_c.osgb", "1_1_0_c.osgb", "terrain.osgb"));
}

TEST_F(TileCache, IsReadByOptionsOfAnotherRun)
{
    writeNoise();
    const std::vector<std::string> built = readDiagonal();
    ASSERT_GE(built.size(), 2U);
    std::map<std::string, std::string> files;
    for (const std::string& name : cachedFiles())
    {
        files[name] = readFile(cacheDir + "/" + name);
        fs::last_write_time(cacheDir + "/" + name, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    reopenRasters();
    EXPECT_EQ(readDiagonal(), built);
    EXPECT_EQ(cachedFiles().size(), files.size());
    for (const auto& [name, bytes] : files)
    {
        EXPECT_EQ(readFile(cacheDir + "/" + name), bytes);
        EXPECT_LT(fs::last_write_time(cacheDir + "/" + name),
                  fs::file_time_type::clock::now() - std::chrono::minutes(30))
            << name << " was written again";
    }
}

// ---- isCaching

TEST_F(TileCache, IsWrittenIfAskedAndIfNotSaid)
{
    writeNoise();
    request.isCaching = true;
    EXPECT_TRUE(readRoot(request));
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
    fs::remove(cacheDir + "/terrain.osgb");
    request.isCaching.reset();
    EXPECT_TRUE(readRoot(request));
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
}

TEST_F(TileCache, IsNotWrittenIfNotWanted)
{
    writeNoise();
    request.isCaching = false;
    EXPECT_TRUE(readRoot(request));
    EXPECT_THAT(cachedFiles(), IsEmpty());
}

TEST_F(TileCache, IsReadThoughWritingIsNotWanted)
{
    writeNoise();
    const std::string built = describe(readRoot(request));
    fs::last_write_time(cacheDir + "/terrain.osgb", fs::file_time_type::clock::now() - std::chrono::hours(1));
    request.isCaching = false;
    const std::string readBack = describe(readRoot(request));
    EXPECT_EQ(built, readBack);
    EXPECT_NE(readBack.find("rasterStamp"), std::string::npos); // which only a tile from a file has now
}

TEST_F(TileCache, IsWrittenForAnIsCachingOfAnotherType)
{
    writeNoise();
    const osg::ref_ptr<osgDB::Options> options = request.options();
    options->setUserValue("isCaching", 0);
    EXPECT_TRUE(readTile(rootName(), options));
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
}

// Nothing is left in the working folder, and nothing in the root of the file system.
TEST_F(TileCache, IsNoneWithoutAFolder)
{
    writeNoise();
    const fs::path before = fs::current_path();
    fs::current_path(cacheDir);
    for (const auto& directory : {std::optional<std::string>(), std::optional<std::string>("")})
    {
        request.cacheDir = directory;
        EXPECT_TRUE(readTile("terrain.osgb.3dimg", request.options()));
    }
    fs::current_path(before);
    EXPECT_THAT(cachedFiles(), IsEmpty());
    EXPECT_FALSE(fs::exists("/terrain.osgb"));
}

// ---- what must not be written

TEST_F(TileCache, DoesNotKeepWhatCouldNotBeBuilt)
{
    writeRaster(dem, colourDom(8, 8), 5.0); // bytes
    EXPECT_FALSE(readRoot(request));
    EXPECT_THAT(cachedFiles(), IsEmpty());
}

class UnreadRaster : public TileCache, public testing::WithParamInterface<std::pair<bool, bool>>
{
};

TEST_P(UnreadRaster, GivesATileThatIsNotKept)
{
    const auto [isDemGone, isDomGone] = GetParam();
    writeNoise();
    if (isDemGone) writeVirtualRaster(request.demPath = folder / "dem.vrt", floatDem(64, 64), folder / "gone.tif");
    if (isDomGone) writeVirtualRaster(request.domPath = folder / "dom.vrt", colourDom(64, 64), folder / "gone.tif");
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    ASSERT_TRUE(root);
    const osg::ref_ptr<osg::Node> children = readChildren(*pagedNodesOf(root).at(0));
    EXPECT_EQ(pagedNodesOf(children).size(), 4U);
    EXPECT_THAT(cachedFiles(), IsEmpty());
    EXPECT_EQ(log.lines().size(), static_cast<std::size_t>(isDemGone) + static_cast<std::size_t>(isDomGone));
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + request.demPath), isDemGone ? 1 : 0);
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + request.domPath), isDomGone ? 1 : 0);

    const osg::Geometry& mesh = *geometryOf(root);
    const auto& vertices = dynamic_cast<const osg::Vec3Array&>(*mesh.getVertexArray());
    EXPECT_EQ(vertices.at(500).z() == 0.0F, isDemGone);
    EXPECT_EQ(texel(*imageOf(mesh), 100, 100) == (std::array<int, 3>{0, 0, 0}), isDomGone);
}
INSTANTIATE_TEST_SUITE_P(DemDomBoth, UnreadRaster,
                         testing::Values(std::pair{true, false}, std::pair{false, true}, std::pair{true, true}));

// The second tile's strip of the virtual raster is gone.
TEST_F(TileCache, KeepsTheTilesBeforeARasterFailedAndNoneAfter)
{
    writeNoise();
    fs::rename(dem, folder / "source.tif");
    request.demPath = folder / "dem.vrt";
    writeVirtualRaster(request.demPath, floatDem(64, 64), folder / "source.tif");
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
    fs::resize_file(folder / "source.tif", 2000);
    reopenRasters();
    EXPECT_TRUE(readRoot(request)); // built anew: the source is another one
    const osg::ref_ptr<osg::Node> children = readChildren(*pagedNodesOf(root).at(0));
    EXPECT_TRUE(children);
    EXPECT_THAT(cachedFiles(), Not(Contains("0_0_0_c.osgb")));
    EXPECT_EQ(log.count(osg::WARN, "cannot read "), 1);
}

// Another thread has no handle of the raster yet, and the file is gone meanwhile.
TEST_F(TileCache, DoesNotKeepATileWhoseRasterCouldNotBeOpenedAgain)
{
    writeNoise();
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    MvGdalDataSetManager::instance()->closeThreadDatasets(OpenThreads::Thread::CurrentThreadId());
    fs::remove(dom);
    const osg::ref_ptr<osg::Node> children = readChildren(*pagedNodesOf(root).at(0));
    EXPECT_EQ(pagedNodesOf(children).size(), 4U);
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + dom), 1);
    EXPECT_EQ(log.lines().size(), 1U);
}

// ---- other rasters under the same path

TEST_F(TileCache, IsBuiltAnewForRewrittenRasters)
{
    rewriteRasters(7.0);
    EXPECT_EQ(rootHeight(), 7.0F);
    rewriteRasters(8.0);
    reopenRasters();
    EXPECT_EQ(rootHeight(), 8.0F);
    reopenRasters();
    EXPECT_EQ(rootHeight(), 8.0F); // from the replaced file
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
}

TEST_F(TileCache, KeepsToTheRastersThatAreOpen)
{
    rewriteRasters(7.0);
    EXPECT_EQ(rootHeight(), 7.0F);
    const mvgeo::TerrainRasters held = openedRasters(dom, dem);
    rewriteRasters(8.0);
    EXPECT_EQ(rootHeight(), 7.0F); // read back: the header has not been opened again
}

TEST_F(TileCache, RemovesTheTexturesOfTilesThatAreBuiltAnew)
{
    rewriteRasters(7.0);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    EXPECT_TRUE(readChildren(*pagedNodesOf(root).at(0)));
    const std::vector<std::string> textures = {"0_0_0.jpeg", "1_0_0.jpeg", "1_1_0.jpeg",
                                               "1_0_1.jpeg", "1_1_1.jpeg", "2_0_0.jpeg"};
    for (const std::string& name : textures)
        writeFile(cacheDir + "/" + name, kJpeg);
    EXPECT_TRUE(readRoot(request)); // read back
    EXPECT_EQ(cachedFiles().size(), 8U);

    rewriteRasters(8.0);
    reopenRasters();
    const osg::ref_ptr<osg::Node> newRoot = readRoot(request);
    EXPECT_FALSE(fs::exists(cacheDir + "/0_0_0.jpeg"));
    EXPECT_TRUE(fs::exists(cacheDir + "/1_0_0.jpeg"));
    EXPECT_TRUE(readChildren(*pagedNodesOf(newRoot).at(0)));
    EXPECT_THAT(cachedFiles(), ElementsAre("0_0_0_c.osgb", "2_0_0.jpeg", "terrain.osgb"));
}

// The texture's file is written once and then taken as it is.
TEST_F(TileCache, RemovesATextureThatIsDamagedWhenItsTileIsReadBack)
{
    rewriteRasters(7.0);
    EXPECT_TRUE(readRoot(request));
    const std::string texture = cacheDir + "/0_0_0.jpeg";
    writeFile(texture, kJpeg);
    EXPECT_TRUE(readRoot(request));
    EXPECT_TRUE(fs::exists(texture));
    for (const std::string& damaged : {std::string(), kJpeg.substr(0, 1), kJpeg.substr(0, 2),
                                       kJpeg.substr(0, kJpeg.size() - 1), kJpeg.substr(1), std::string("text")})
    {
        writeFile(texture, damaged);
        EXPECT_TRUE(readRoot(request));
        EXPECT_FALSE(fs::exists(texture)) << damaged.size();
    }
}

// ---- cache files that are no good

TEST_F(TileCache, ReplacesWhatIsNoTileOfOurs)
{
    writeNoise();
    const std::string built = describe(readRoot(request));
    const std::string path = cacheDir + "/terrain.osgb";
    const std::string good = readFile(path);

    const osg::ref_ptr<osg::Group> foreign = new osg::Group;
    osgDB::writeNodeFile(*foreign, folder / "foreign.osgb");
    foreign->setUserValue("rasterStamp", std::string("1-2+1-3"));
    osgDB::writeNodeFile(*foreign, folder / "stamped.osgb");
    const osg::ref_ptr<osg::Group> mistyped = new osg::Group;
    mistyped->setUserValue("rasterStamp", 5);
    osgDB::writeNodeFile(*mistyped, folder / "mistyped.osgb");
    for (const std::string& bytes :
         {std::string(), std::string("text\n"), std::string(100000, '\0'), good + "tail" + good,
          readFile(folder / "foreign.osgb"), readFile(folder / "stamped.osgb"), readFile(folder / "mistyped.osgb")})
    {
        writeFile(path, bytes);
        EXPECT_EQ(describe(readRoot(request)), built) << bytes.size();
        EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
    }
    EXPECT_EQ(readFile(path).size(), good.size());
}

TEST_F(TileCache, ReplacesAFileThatEndsTooEarly)
{
    writeNoise();
    const std::string built = describe(readRoot(request));
    const std::string path = cacheDir + "/terrain.osgb";
    const std::string good = readFile(path);
    for (std::size_t part = 0; part < 64; ++part)
    {
        writeFile(path, good.substr(0, good.size() * part / 64));
        EXPECT_EQ(describe(readRoot(request)), built) << part << " / 64";
        EXPECT_EQ(readFile(path), good) << part << " / 64";
    }
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb"));
}

// A count that was hit could cost minutes.
TEST_F(TileCache, ReplacesAFileWithAFlippedByte)
{
    writeNoise();
    const std::string built = describe(readRoot(request));
    const std::string path = cacheDir + "/terrain.osgb";
    const std::string good = readFile(path);
    for (std::size_t i = 0; i < 104; ++i)
    {
        const std::size_t place = i < 40 ? i : (i - 39) * (good.size() / 65); // the header, and places in the content
        std::string bad = good;
        bad[place] = static_cast<char>(~bad[place]);
        writeFile(path, bad);
        EXPECT_EQ(describe(readRoot(request)), built) << "byte " << place;
        EXPECT_EQ(readFile(path), good) << "byte " << place;
    }
}

TEST_F(TileCache, IsBuiltThoughAFolderStandsInThePlaceOfTheFile)
{
    writeNoise();
    fs::create_directories(cacheDir + "/terrain.osgb/inside");
    EXPECT_TRUE(readRoot(request));
    EXPECT_THAT(cachedFiles(), ElementsAre("terrain.osgb")); // the folder; no part of a file beside it
    EXPECT_TRUE(fs::is_directory(cacheDir + "/terrain.osgb/inside"));
}

// Permissions do not stop the superuser; a parent that is a file stops everyone.
TEST_F(TileCache, IsBuiltThoughTheFolderCannotBeWritten)
{
    writeNoise();
    writeFile(cacheDir + "/file", "");
    request.cacheDir = cacheDir + "/file";
    const osg::ref_ptr<osg::Node> root = readTile("terrain.osgb.3dimg", request.options());
    ASSERT_TRUE(root);
    EXPECT_TRUE(readChildren(*pagedNodesOf(root).at(0)));
    EXPECT_THAT(cachedFiles(), ElementsAre("file"));
}

// ---- the file itself

TEST_F(TileCache, FileIsFoundByItsStamp)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setName("tile");
    mvgeo::writeCachedTile(*node, cacheDir, "a.osgb", "stamp");
    const std::string path = cacheDir + "/a.osgb";
    EXPECT_TRUE(mvgeo::readCachedTile(path, "stamp"));
    EXPECT_TRUE(mvgeo::readCachedTile(path, "")); // no rasters at hand: whatever there is
    EXPECT_FALSE(mvgeo::readCachedTile(path, "stam"));
    EXPECT_FALSE(mvgeo::readCachedTile(cacheDir + "/b.osgb", ""));
    EXPECT_EQ(mvgeo::readCachedTile(path, "stamp")->getName(), "tile");
}

// Nobody can say what an unsealed file was built from, nor whether it is whole.
TEST_F(TileCache, FileWithoutSealIsReadOnlyWithoutRasters)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setUserValue("rasterStamp", std::string("stamp"));
    osgDB::writeNodeFile(*node, cacheDir + "/a.osgb");
    EXPECT_FALSE(mvgeo::readCachedTile(cacheDir + "/a.osgb", "stamp"));
    EXPECT_TRUE(mvgeo::readCachedTile(cacheDir + "/a.osgb", ""));
}

/** A file that is whole, of a node whose stamp is none or another one. */
void writeSealed(const osg::Node& node, const std::string& path)
{
    osgDB::writeNodeFile(node, path);
    const std::string content = readFile(path);
    writeFile(path, content + mvgeo::sealFor(content));
}

TEST_F(TileCache, SealedFileNeedsAStampOfTheRightType)
{
    const osg::ref_ptr<osg::Group> bare = new osg::Group;
    const osg::ref_ptr<osg::Group> numbered = new osg::Group;
    numbered->setUserValue("rasterStamp", 5);
    const osg::ref_ptr<osg::Group> stamped = new osg::Group;
    stamped->setUserValue("rasterStamp", std::string("5"));
    writeSealed(*bare, cacheDir + "/bare.osgb");
    writeSealed(*numbered, cacheDir + "/numbered.osgb");
    writeSealed(*stamped, cacheDir + "/stamped.osgb");
    EXPECT_FALSE(mvgeo::readCachedTile(cacheDir + "/bare.osgb", "5"));
    EXPECT_FALSE(mvgeo::readCachedTile(cacheDir + "/numbered.osgb", "5"));
    EXPECT_TRUE(mvgeo::readCachedTile(cacheDir + "/stamped.osgb", "5"));
    for (const char* name : {"/bare.osgb", "/numbered.osgb"})
        EXPECT_TRUE(mvgeo::readCachedTile(cacheDir + name, "")) << "without rasters";
}

// Whoever holds the lock keeps files from being read and written; a wait that is too short could only pass.
TEST_F(TileCache, FileIsReadAndWrittenUnderTheManagersLock)
{
    constexpr std::chrono::milliseconds kWait(200);
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    ASSERT_TRUE(mvgeo::writeCachedTile(*node, cacheDir, "there.osgb", "stamp"));

    MvGdalDataSetManager& manager = *MvGdalDataSetManager::instance();
    manager.fileLock.lock();
    std::future<bool> reading = std::async(
        std::launch::async, [this] { return mvgeo::readCachedTile(cacheDir + "/there.osgb", "stamp") != nullptr; });
    std::future<bool> writing =
        std::async(std::launch::async, [&] { return mvgeo::writeCachedTile(*node, cacheDir, "new.osgb", "stamp"); });
    EXPECT_EQ(reading.wait_for(kWait), std::future_status::timeout);
    EXPECT_EQ(writing.wait_for(kWait), std::future_status::timeout);
    EXPECT_THAT(cachedFiles(), ElementsAre("there.osgb"));
    manager.fileLock.unlock();
    EXPECT_TRUE(reading.get());
    EXPECT_TRUE(writing.get());
    EXPECT_THAT(cachedFiles(), ElementsAre("new.osgb", "there.osgb"));
}

TEST_F(TileCache, FileIsOneThatOsgReads)
{
    writeNoise();
    ASSERT_TRUE(readRoot(request));
    const osg::ref_ptr<osg::Node> node = osgDB::readRefNodeFile(cacheDir + "/terrain.osgb");
    ASSERT_TRUE(node);
    EXPECT_EQ(std::string(node->className()), "PagedLOD");
    const osg::Image* image = imageOf(*geometryOf(node));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->s(), 256); // inside the file
}

// The rasters went away after the tile was built: it is still shown.
TEST_F(TileCache, IsReadWithoutTheRasters)
{
    writeNoise();
    const std::string built = describe(readRoot(request));
    fs::remove(dem);
    fs::remove(dom);
    reopenRasters();
    EXPECT_EQ(describe(readRoot(request)), built);
}

} // namespace
