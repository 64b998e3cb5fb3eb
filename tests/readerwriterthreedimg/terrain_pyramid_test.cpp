#include "TerrainParts.h"
#include "mvgdaldatasetmanager/OpenedHeader.h"
#include "readerwriterthreedimg/TerrainPyramid.h"
#include "support/PathHash.h"

#include <osg/ValueObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <future>
#include <limits>
#include <thread>

using namespace cliptest;
using namespace terraintest;
using mvgeo::buildTerrainNode;
using mvgeo::Refinement;
using mvgeo::refinementVote;

namespace
{

class TerrainPyramid : public TerrainTest
{
protected:
    [[nodiscard]] osg::ref_ptr<osg::PagedLOD> buildRoot(const osgDB::Options* options = nullptr) const
    {
        const osg::ref_ptr<osg::Node> node = buildTerrainNode(dom, dem, cacheDir, options);
        return dynamic_cast<osg::PagedLOD*>(node.get());
    }
    static osg::ref_ptr<osg::Node> buildChildren(osg::PagedLOD& node)
    {
        const TerrainTileInfo info = infoOf(node);
        return buildTerrainNode(info.domPath, info.demPath, info.cachePathDir, optionsOf(node));
    }
    void writeDem(int width, int height, double pixel)
    {
        TestRaster raster = floatDem(width, height);
        raster.originX = 100.0;
        raster.originY = 2000.0;
        raster.pixelWidth = pixel;
        raster.pixelHeight = -pixel;
        writeRaster(dem, raster, 50.0);
    }
};

// ---- the root

// 19 rows of 10 units in the north, 20 in the south.
TEST_F(TerrainPyramid, PadsAWideDemInTheNorthAndSouth)
{
    writeDem(100, 61, 10.0);
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    ASSERT_TRUE(root);
    const TerrainTileInfo info = infoOf(*root);
    EXPECT_EQ(info.rootXmin, 100.0);
    EXPECT_EQ(info.rootXmax, 1100.0);
    EXPECT_EQ(info.rootYmin, 1390.0);
    EXPECT_EQ(info.rootYmax, 2000.0);
    EXPECT_EQ(info.startX, 100.0);
    EXPECT_EQ(info.endX, 1100.0);
    EXPECT_EQ(info.startY, 1190.0);
    EXPECT_EQ(info.endY, 2190.0);
    EXPECT_EQ(info.offsetX, 600.0);
    EXPECT_EQ(info.offsetY, 1690.0);
}

// 19 columns in the west, 20 in the east.
TEST_F(TerrainPyramid, PadsAHighDemInTheWestAndEast)
{
    writeDem(61, 100, 10.0);
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    ASSERT_TRUE(root);
    const TerrainTileInfo info = infoOf(*root);
    EXPECT_EQ(info.rootXmax, 710.0);
    EXPECT_EQ(info.startX, -90.0);
    EXPECT_EQ(info.endX, 910.0);
    EXPECT_EQ(info.startY, 1000.0);
    EXPECT_EQ(info.endY, 2000.0);
    EXPECT_EQ(info.rootYmin, 1000.0);
}

TEST_F(TerrainPyramid, LeavesASquareDemAsItIs)
{
    writeDem(64, 64, 10.0);
    const TerrainTileInfo info = infoOf(*buildRoot());
    EXPECT_EQ(info.startX, 100.0);
    EXPECT_EQ(info.endX, 740.0);
    EXPECT_EQ(info.startY, 1360.0);
    EXPECT_EQ(info.endY, 2000.0);
}

TEST_F(TerrainPyramid, DescribesTheRoot)
{
    writeDem(64, 64, 10.0);
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    for (const TerrainTileInfo& info : {infoOf(*root), infoOf(*optionsOf(*root))})
    {
        EXPECT_EQ(info.imageWidth, 256);
        EXPECT_EQ(info.imageHeight, 256);
        EXPECT_EQ(info.demWidth, 32);
        EXPECT_EQ(info.demHeight, 32);
        EXPECT_TRUE(info.normal);
        EXPECT_EQ(info.lod, 0);
        EXPECT_EQ(info.x, 0);
        EXPECT_EQ(info.y, 0);
        EXPECT_EQ(info.demResolutionX, 10.0);
        EXPECT_EQ(info.demResolutionY, 10.0);
        EXPECT_EQ(info.demPath, dem);
        EXPECT_EQ(info.domPath, dom);
        EXPECT_EQ(info.cachePathDir, cacheDir);
    }
    EXPECT_EQ(root->getUserDataContainer()->getNumUserObjects(), 23U);
    EXPECT_EQ(parentGeometryOn(*optionsOf(*root)), nullptr);
}

// A box of 640 x 640 x 10 with its middle at (420, 1680, 5).
TEST_F(TerrainPyramid, PagesItsChildrenFrom512Pixels)
{
    TestRaster raster = floatDem(64, 64);
    raster.originX = 100.0;
    raster.originY = 2000.0;
    raster.pixelWidth = 10.0;
    raster.pixelHeight = -10.0;
    writeRaster(dem, raster, [](int, int column, int) { return column < 20 ? 0.0 : 10.0; });
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    ASSERT_TRUE(root);
    EXPECT_EQ(root->getNumChildren(), 1U);
    EXPECT_EQ(root->getRangeMode(), osg::LOD::PIXEL_SIZE_ON_SCREEN);
    EXPECT_EQ(root->getMinRange(0), 0.0F);
    EXPECT_EQ(root->getMaxRange(0), 512.0F);
    EXPECT_EQ(root->getMinRange(1), 512.0F);
    EXPECT_EQ(root->getMaxRange(1), 1.0e30F);
    EXPECT_EQ(root->getNumFileNames(), 2U);
    EXPECT_EQ(root->getFileName(1), "0_0_0_c.osgb.3dimg");
    EXPECT_EQ(root->getDatabasePath(), "");
    EXPECT_EQ(root->getCenterMode(), osg::LOD::USER_DEFINED_CENTER);
    EXPECT_EQ(osg::Vec3d(root->getCenter()), osg::Vec3d(420.0, 1680.0, 5.0));
    EXPECT_FLOAT_EQ(static_cast<float>(root->getRadius()), static_cast<float>(std::sqrt(2.0 * 640 * 640 + 100.0) / 2));
}

TEST_F(TerrainPyramid, HasNoRootWithoutADem)
{
    writeRaster(dom, colourDom(8, 8), 50.0);
    EXPECT_FALSE(buildRoot());
    EXPECT_EQ(log.count(osg::WARN, "dem is null"), 1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(TerrainPyramid, HasNothingWithoutRastersAndSaysNothing)
{
    EXPECT_FALSE(buildRoot());
    EXPECT_FALSE(buildTerrainNode("", "", "", nullptr));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(TerrainPyramid, OfAByteDemIsNothing)
{
    writeRaster(dem, colourDom(8, 8), 50.0);
    EXPECT_FALSE(buildRoot());
    EXPECT_EQ(log.count(osg::WARN, "dem not supported data Type"), 1);
}

// ---- a flat terrain over an image

TEST_F(TerrainPyramid, IsFlatOverTheImageIfTheModelHasNoDem)
{
    writeRaster(dom, colourDom(100, 61), 50.0);
    const mvgeo::TerrainRasters rasters = mvgeo::openRasters(dom, "");
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setPluginData("domHeader", rasters.dom.get());
    const osg::ref_ptr<osg::Node> node = buildTerrainNode(dom, "", cacheDir, options);
    const auto* root = dynamic_cast<const osg::PagedLOD*>(node.get());
    ASSERT_NE(root, nullptr);
    const TerrainTileInfo info = infoOf(*root);
    EXPECT_EQ(info.startX, 0.0);
    EXPECT_EQ(info.endX, 100.0);
    EXPECT_EQ(info.startY, -20.0);
    EXPECT_EQ(info.endY, 80.0);
    EXPECT_EQ(info.rootYmin, 0.0);
    EXPECT_EQ(info.rootYmax, 61.0);
    EXPECT_EQ(info.demResolutionX, 100.0);
    EXPECT_EQ(info.demResolutionY, 100.0);
    for (const osg::Vec3& vertex : verticesOf(geometryOf(node)))
        EXPECT_LE(vertex.z(), 0.0F);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(TerrainPyramid, IsNotFlatForAnotherImagesHeader)
{
    writeRaster(dom, colourDom(8, 8), 50.0);
    const osg::ref_ptr<ImageHeader> another = openedHeader(dom);
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setPluginData("domHeader", another.get());
    EXPECT_FALSE(buildTerrainNode(dom, "", cacheDir, options));
    EXPECT_EQ(log.count(osg::WARN, "dem is null"), 1);
}

// ---- votes

TEST_F(TerrainPyramid, VotesLeafOnceBothPixelSidesAreLargerThanHalfAStep)
{
    TestRaster raster = floatDem(4, 4);
    raster.pixelWidth = 2.0;
    raster.pixelHeight = -3.0;
    writeRaster(dem, raster, 1.0);
    const osg::ref_ptr<ImageHeader> header = openedHeader(dem);
    EXPECT_EQ(refinementVote(header, 2.0, 3.0), Refinement::refine); // as large is not larger
    EXPECT_EQ(refinementVote(header, 1.99, 3.0), Refinement::refine);
    EXPECT_EQ(refinementVote(header, 2.0, 2.99), Refinement::refine);
    EXPECT_EQ(refinementVote(header, 1.99, 2.99), Refinement::leaf);
    EXPECT_EQ(refinementVote(header, 1.99, -2.99), Refinement::leaf);
    EXPECT_EQ(refinementVote(header, 1.99, -3.0), Refinement::refine);
    EXPECT_EQ(refinementVote(nullptr, 1e9, 1e9), Refinement::leaf);
}

// ---- the children

TEST_F(TerrainPyramid, SplitsATileIntoFour)
{
    writeNoise();
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    ASSERT_TRUE(root);
    const osg::ref_ptr<osg::Node> group = buildChildren(*root);
    const auto children = pagedNodesOf(group);
    ASSERT_EQ(children.size(), 4U);
    EXPECT_EQ(std::string(group->className()), "Group");
    for (int i = 0; i < 4; ++i)
    {
        osg::PagedLOD& child = *children[static_cast<std::size_t>(i)];
        const TerrainTileInfo info = infoOf(child);
        EXPECT_EQ(info.lod, 1);
        EXPECT_EQ(info.x, i % 2);
        EXPECT_EQ(info.y, i / 2);
        EXPECT_EQ(info.startX, 32.0 * (i % 2));
        EXPECT_EQ(info.endY, 32.0 * (i / 2) + 32.0);
        EXPECT_EQ(info.offsetX, 32.0); // the root's middle
        EXPECT_EQ(child.getFileName(1), "1_" + std::to_string(i % 2) + "_" + std::to_string(i / 2) + "_c.osgb.3dimg");
        EXPECT_EQ(parentGeometryOn(*optionsOf(child)), geometryOf(&child));
        EXPECT_NE(geometryOf(&child), nullptr);
    }
    EXPECT_NE(optionsOf(*children[0]), optionsOf(*children[1]));
}

TEST_F(TerrainPyramid, CoversATileExactlyWithItsChildren)
{
    writeNoise();
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    const osg::ref_ptr<osg::Node> group = buildChildren(*root);
    double area = 0.0;
    osg::BoundingBox box;
    for (const auto& child : pagedNodesOf(group))
    {
        area += planArea(geometryOf(child));
        box.expandBy(geometryOf(child)->getBoundingBox());
    }
    EXPECT_NEAR(area, 64.0 * 64.0, 1e-3);
    EXPECT_NEAR(planArea(geometryOf(root)), 64.0 * 64.0, 1e-3);
    EXPECT_EQ(box.xMin(), -32.0F);
    EXPECT_EQ(box.xMax(), 32.0F);
    EXPECT_EQ(box.yMin(), -32.0F);
    EXPECT_EQ(box.yMax(), 32.0F);
}

/** The depth of the deepest tiles below the paged node; goes the same way at each level. */
int depthBelow(const osg::ref_ptr<osg::PagedLOD>& root, unsigned int quadrant)
{
    osg::ref_ptr<osg::PagedLOD> node = root;
    for (int depth = 1;; ++depth)
    {
        const TerrainTileInfo info = infoOf(*node);
        const osg::ref_ptr<osg::Node> group =
            buildTerrainNode(info.domPath, info.demPath, info.cachePathDir, optionsOf(*node));
        if (!group || depth > 20) return -1;
        const auto children = pagedNodesOf(group);
        if (children.empty())
        {
            EXPECT_EQ(group->asGroup()->getNumChildren(), 4U);
            for (unsigned int i = 0; i < 4; ++i)
                EXPECT_NE(dynamic_cast<osg::MatrixTransform*>(group->asGroup()->getChild(i)), nullptr);
            return depth;
        }
        EXPECT_EQ(children.size(), 4U);
        node = children.at(quadrant);
    }
}

// The DEM's pixels, one unit: half a step is 64 / 31 / 2 = 1.03 at the root and 0.52 one below, whose children are
// leaves.
TEST_F(TerrainPyramid, EndsWhereTheDemIsExhaustedIfThereIsNoImage)
{
    writeRaster(dem, floatDem(64, 64), 5.0);
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    for (const unsigned int quadrant : {0U, 1U, 2U, 3U})
        EXPECT_EQ(depthBelow(root, quadrant), 2);
}

// The image's pixels, 1 / 32 unit: 64 / 255 / 2 = 0.125, 0.063, 0.0314 refine, 0.0157 at depth 3 does not.
TEST_F(TerrainPyramid, EndsWhereTheFinerImageIsExhausted)
{
    writeRaster(dem, floatDem(64, 64), 5.0);
    TestRaster raster = colourDom(2048, 2048);
    raster.originY = 64.0;
    raster.pixelWidth = 1.0 / 32.0;
    raster.pixelHeight = -1.0 / 32.0;
    raster.bands = 1;
    writeRaster(dom, raster, 9.0);
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    EXPECT_EQ(depthBelow(root, 0), 4);
    EXPECT_EQ(depthBelow(root, 3), 4);
}

TEST_F(TerrainPyramid, SkipsQuartersThatCannotBeBuilt)
{
    writeNoise();
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    ASSERT_TRUE(root);
    writeRaster(folder / "byte.tif", colourDom(64, 64), 5.0);
    optionsOf(*root)->setUserValue("demPath", std::string(folder / "byte.tif"));
    log.clear();
    EXPECT_FALSE(buildTerrainNode(dom, folder / "byte.tif", cacheDir, optionsOf(*root)));
    EXPECT_EQ(log.count(osg::WARN, "dem not supported data Type"), 4);
}

// Without the rasters' handles there is nothing to build from.
TEST_F(TerrainPyramid, HasNoChildrenOnceBothRastersAreGone)
{
    writeNoise();
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    const mvgeo::TerrainRasters held = mvgeo::openRasters(dom, dem);
    std::filesystem::remove(dem);
    std::filesystem::remove(dom);
    std::async(std::launch::async,
               [&]
               {
                   EXPECT_FALSE(buildChildren(*root)); // no handles of its own
                   EXPECT_FALSE(buildChildren(*root));
               })
        .get();
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + dem), 1);
    EXPECT_EQ(log.count(osg::WARN, "cannot read " + dom), 1);
    EXPECT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(held.dem->readFailureCount(), 2U);
}

class BadDescription : public TerrainPyramid, public testing::WithParamInterface<void (*)(TerrainTileInfo&)>
{
};

TEST_P(BadDescription, GivesNothing)
{
    writeNoise();
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    ASSERT_TRUE(root);
    TerrainTileInfo info = infoOf(*root);
    GetParam()(info);
    const osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    mvgeo::setTileOptions(*node, info);
    EXPECT_FALSE(buildTerrainNode(dom, dem, cacheDir, optionsOf(*node)));
}
INSTANTIATE_TEST_SUITE_P(
    Each, BadDescription,
    testing::Values([](TerrainTileInfo& tile) { tile = TerrainTileInfo(); }, //
                    [](TerrainTileInfo& tile) { tile.imageWidth = 0; },      //
                    [](TerrainTileInfo& tile) { tile.imageHeight = -256; },  //
                    [](TerrainTileInfo& tile) { tile.imageWidth = std::numeric_limits<int>::max(); },
                    [](TerrainTileInfo& tile) { tile.demWidth = 1; },
                    [](TerrainTileInfo& tile) { tile.demHeight = 1 << 30; },
                    [](TerrainTileInfo& tile) { std::swap(tile.startX, tile.endX); },
                    [](TerrainTileInfo& tile) { tile.endY = tile.startY; },
                    [](TerrainTileInfo& tile) { tile.endX = std::numeric_limits<double>::infinity(); },
                    [](TerrainTileInfo& tile) { tile.startY = std::numeric_limits<double>::quiet_NaN(); },
                    [](TerrainTileInfo& tile) { tile.offsetX = std::numeric_limits<double>::quiet_NaN(); },
                    [](TerrainTileInfo& tile) { tile.lod = std::numeric_limits<int>::max(); },
                    [](TerrainTileInfo& tile) { tile.lod = -1; },
                    [](TerrainTileInfo& tile) { tile.x = std::numeric_limits<int>::max(); },
                    [](TerrainTileInfo& tile) { tile.y = std::numeric_limits<int>::min(); }));

// ---- the headers

TEST_F(TerrainPyramid, OpensEachRasterOnce)
{
    writeNoise();
    const osg::ref_ptr<osg::PagedLOD> root = buildRoot();
    EXPECT_TRUE(buildChildren(*root));
    EXPECT_EQ(openDatasetCount(), 2);
    MvGdalDataSetManager& manager = *MvGdalDataSetManager::instance();
    EXPECT_NE(manager.findDemHeader(mvgeo::pathHashText(dem)), nullptr);
    EXPECT_NE(manager.findDomHeader(mvgeo::pathHashText(dom)), nullptr);
    EXPECT_EQ(manager.findDomHeader(mvgeo::pathHashText("")), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

// Failures are counted at the header, so all must hold the same one.
TEST_F(TerrainPyramid, SharesOneHeaderAmongThreadsThatOpenARasterAtOnce)
{
    writeNoise();
    for (int round = 0; round < 20; ++round)
    {
        std::promise<void> start;
        const std::shared_future<void> go = start.get_future().share();
        const auto open = [&]
        {
            go.wait();
            return mvgeo::openRasters(dom, dem);
        };
        std::future<mvgeo::TerrainRasters> first = std::async(std::launch::async, open);
        std::future<mvgeo::TerrainRasters> second = std::async(std::launch::async, open);
        start.set_value();
        const mvgeo::TerrainRasters one = first.get();
        const mvgeo::TerrainRasters other = second.get();
        ASSERT_NE(one.dem, nullptr);
        ASSERT_EQ(one.dem, other.dem);
        ASSERT_EQ(one.dom, other.dom);
        reopenRasters();
    }
}

TEST_F(TerrainPyramid, ReadsPathsWithOddCharacters)
{
    const std::string odd = folder.makeFolder("\xC3\xA4\xE6\xB5\x8B o'dd #%\x26") + "/d\xC3\xA9m.tif";
    writeRaster(odd, floatDem(8, 8), 5.0);
    const osg::ref_ptr<osg::Node> node = buildTerrainNode("", odd, cacheDir, nullptr);
    ASSERT_TRUE(node);
    EXPECT_EQ(infoOf(*node).demPath, odd);
}

} // namespace
