#include "TerrainParts.h"
#include "readerwriterthreedimg/ReaderWriter3DIMG.h"
#include "support/TileOrigin.h"

#include <osg/ValueObject>
#include <osgDB/Callbacks>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

using namespace terraintest;
using ReadResult = osgDB::ReaderWriter::ReadResult;
using WriteResult = osgDB::ReaderWriter::WriteResult;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class Reader3DIMG : public TerrainTest
{
protected:
    [[nodiscard]] ReadResult read(const std::string& name, const osgDB::Options* options) const
    {
        return reader->readNode(name, options);
    }

    const osg::ref_ptr<ReaderWriter3DIMG> reader = new ReaderWriter3DIMG;
};

TEST_F(Reader3DIMG, DeclaresItsExtension)
{
    EXPECT_THAT(reader->supportedExtensions(), ElementsAre(testing::Pair("3dimg", "DEM+DOM")));
    EXPECT_TRUE(reader->acceptsExtension("3dimg"));
    EXPECT_FALSE(reader->acceptsExtension("osgb"));
}

TEST_F(Reader3DIMG, LeavesOtherExtensionsToOthers)
{
    writeNoise();
    for (const char* name : {"/terrain.osgb", "/terrain", "/3dimg", "/terrain.3dimg.osgb", ""})
        EXPECT_EQ(read(cacheDir + name, request.options()).status(), ReadResult::FILE_NOT_HANDLED) << name;
    EXPECT_THAT(cachedFiles(), IsEmpty());
}

TEST_F(Reader3DIMG, DoesNothingWithoutOptions)
{
    EXPECT_EQ(read(rootName(), nullptr).status(), ReadResult::FILE_NOT_HANDLED);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Reader3DIMG, LoadsTheRoot)
{
    writeNoise();
    ReadResult result = read(rootName(), request.options());
    EXPECT_EQ(result.status(), ReadResult::FILE_LOADED);
    EXPECT_NE(dynamic_cast<osg::PagedLOD*>(result.getNode()), nullptr);
    EXPECT_EQ(infoOf(*result.getNode()).cachePathDir, cacheDir);
}

TEST_F(Reader3DIMG, TakesExtensionsInCapitalsToo)
{
    writeNoise();
    EXPECT_TRUE(read(cacheDir + "/terrain.osgb.3DIMG", request.options()).validNode());
}

TEST_F(Reader3DIMG, GivesANullNodeIfNothingCanBeBuilt)
{
    ReadResult result = read(rootName(), request.options());
    EXPECT_EQ(result.status(), ReadResult::FILE_LOADED);
    EXPECT_FALSE(result.validNode());
    EXPECT_THAT(cachedFiles(), IsEmpty()); // a null node is no tile
    const osg::ref_ptr<osgDB::Options> empty = new osgDB::Options;
    EXPECT_FALSE(read(rootName(), empty).validNode());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Reader3DIMG, LoadsTheFourChildrenOfATile)
{
    writeNoise();
    ReadResult root = read(rootName(), request.options());
    const auto nodes = pagedNodesOf(root.getNode());
    ASSERT_EQ(nodes.size(), 1U);
    ReadResult children = read(nodes[0]->getFileName(1), optionsOf(*nodes[0]));
    EXPECT_EQ(children.status(), ReadResult::FILE_LOADED);
    EXPECT_EQ(pagedNodesOf(children.getNode()).size(), 4U);
}

TEST_F(Reader3DIMG, TakesALodThatIsNoIntForARootRequest)
{
    writeNoise();
    const osg::ref_ptr<osgDB::Options> options = request.options();
    options->setUserValue("lod", 3.0);
    const osg::ref_ptr<osg::Node> node = readTile(rootName(), options);
    ASSERT_NE(dynamic_cast<osg::PagedLOD*>(node.get()), nullptr);
    EXPECT_EQ(infoOf(*node).lod, 0);
}

TEST_F(Reader3DIMG, MakesTheFolderOfTheRootName)
{
    writeNoise();
    request.cacheDir = cacheDir + "/a/b";
    ASSERT_TRUE(readRoot(request));
    EXPECT_TRUE(std::filesystem::is_regular_file(cacheDir + "/a/b/terrain.osgb"));
}

TEST_F(Reader3DIMG, BuildsThoughTheFolderCannotBeMade)
{
    writeNoise();
    writeFile(cacheDir + "/file", "in the way");
    request.cacheDir = cacheDir + "/file/below";
    EXPECT_TRUE(readRoot(request));
    EXPECT_THAT(cachedFiles(), ElementsAre("file"));
    EXPECT_EQ(readFile(cacheDir + "/file"), "in the way");
}

// ---- writing

TEST_F(Reader3DIMG, SavesATileByDoingNothing)
{
    const osg::ref_ptr<osg::Node> node = new osg::Group;
    EXPECT_EQ(reader->writeNode(*node, rootName(), nullptr).status(), WriteResult::FILE_SAVED);
    EXPECT_EQ(reader->writeNode(*node, cacheDir + "/3_5_2_c.osgb.3dimg", request.options()).status(),
              WriteResult::FILE_SAVED);
    EXPECT_THAT(cachedFiles(), IsEmpty());
}

TEST_F(Reader3DIMG, LeavesSavingOtherExtensionsToOthers)
{
    const osg::ref_ptr<osg::Node> node = new osg::Group;
    EXPECT_EQ(reader->writeNode(*node, cacheDir + "/a.osgb", nullptr).status(), WriteResult::FILE_NOT_HANDLED);
    EXPECT_THAT(cachedFiles(), IsEmpty());
}

// ---- who listens

struct Listener : public osgDB::ReadFileCallback, public mvgeo::TileOriginCounts
{
};

TEST_F(Reader3DIMG, TellsWhereATileComesFrom)
{
    const osg::ref_ptr<Listener> listener = new Listener;
    const osg::ref_ptr<osgDB::Options> options = request.options();
    options->setReadFileCallback(listener);
    EXPECT_FALSE(readTile(rootName(), options));
    EXPECT_EQ(listener->tilesBuilt, 0U); // it failed

    writeNoise();
    EXPECT_FALSE(readTile(rootName(), options)); // the rasters are not tried again for each tile
    reopenRasters();
    EXPECT_TRUE(readTile(rootName(), options));
    EXPECT_EQ(listener->tilesBuilt, 1U);
    EXPECT_EQ(listener->tilesReadBack, 0U);
    EXPECT_TRUE(readTile(rootName(), options));
    EXPECT_EQ(listener->tilesBuilt, 1U);
    EXPECT_EQ(listener->tilesReadBack, 1U);
    EXPECT_EQ(listener->tilesIncomplete, 0U);
    EXPECT_EQ(listener->tilesNotKept, 0U);
}

TEST_F(Reader3DIMG, TellsThatARasterCouldNotBeReadForATile)
{
    writeNoise();
    writeVirtualRaster(request.domPath = folder / "dom.vrt", colourDom(64, 64), folder / "gone.tif");
    const osg::ref_ptr<Listener> listener = new Listener;
    const osg::ref_ptr<osgDB::Options> options = request.options();
    options->setReadFileCallback(listener);
    EXPECT_TRUE(readTile(rootName(), options));
    EXPECT_EQ(listener->tilesBuilt, 1U);
    EXPECT_EQ(listener->tilesIncomplete, 1U);
    EXPECT_EQ(listener->tilesNotKept, 0U); // nobody tried
}

TEST_F(Reader3DIMG, TellsThatATileCouldNotBeKept)
{
    writeNoise();
    writeFile(cacheDir + "/file", "");
    request.cacheDir = cacheDir + "/file";
    const osg::ref_ptr<Listener> listener = new Listener;
    osg::ref_ptr<osgDB::Options> options = request.options();
    options->setReadFileCallback(listener);
    EXPECT_TRUE(readTile("terrain.osgb.3dimg", options));
    EXPECT_EQ(listener->tilesBuilt, 1U);
    EXPECT_EQ(listener->tilesNotKept, 1U);
    EXPECT_EQ(listener->tilesIncomplete, 0U);

    request.isCaching = false;
    options = request.options();
    options->setReadFileCallback(listener);
    EXPECT_TRUE(readTile("terrain.osgb.3dimg", options));
    EXPECT_EQ(listener->tilesBuilt, 2U);
    EXPECT_EQ(listener->tilesNotKept, 1U); // it was not wanted
}

TEST_F(Reader3DIMG, ToleratesACallbackThatDoesNotListen)
{
    writeNoise();
    const osg::ref_ptr<osgDB::Options> options = request.options();
    options->setReadFileCallback(new osgDB::ReadFileCallback);
    EXPECT_TRUE(readTile(rootName(), options));
    EXPECT_TRUE(readTile(rootName(), options));
}

} // namespace
