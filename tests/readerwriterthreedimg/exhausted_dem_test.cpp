#include "readerwriterthreedimg/GeometryContainer.h"
#include "readerwriterthreedimg/TerrainPyramid.h"
#include "readerwriterthreedimg/TerrainTileBuilder.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <OpenThreads/Thread>

#include <gtest/gtest.h>

#include <set>

// 248 posts are 8 x 31: at depth 4 twice the distance of posts is one pixel but for the rounding of the tile's edges.
// If some tiles were cut from their parents and others sampled, their common borders would have steps.
TEST(ExhaustedDem, IsDecidedAlikeForAllTilesOfADepth)
{
    const TemporaryDirectory folder;
    TestRaster raster;
    raster.width = raster.height = 248;
    raster.type = GDT_Float32;
    raster.originX = 137.9995833;
    raster.originY = 36.0004167;
    raster.pixelWidth = 0.000833333333;
    raster.pixelHeight = -0.000833333333;
    const std::string path = folder / "dem.tif";
    writeRaster(path, raster, [](int, int column, int row) { return 7.0 * ((column * 31 + row * 17) % 11); });

    mvgeo::TerrainRasters rasters = mvgeo::openRasters("", path);
    ASSERT_TRUE(rasters.dem);
    rasters.demDataset = rasters.dem->getDataset(OpenThreads::Thread::CurrentThreadId());
    const osg::ref_ptr<osgDB::Options> none = new osgDB::Options;
    const osg::ref_ptr<osg::Node> root = mvgeo::buildTerrainNode("", path, "", none);
    ASSERT_TRUE(root);
    TerrainTileInfo rootInfo;
    mvgeo::readTileInfo(*root, rootInfo);

    // An empty mesh in the place of the parent's: what is cut from it has no vertex.
    const osg::ref_ptr<osg::Geometry> nothing = new osg::Geometry;
    nothing->setVertexArray(new osg::Vec3Array);
    nothing->addPrimitiveSet(new osg::DrawElementsUInt(GL_TRIANGLES));
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer(nothing);
    container->setName(mvgeo::keys::parentGeometry);
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->getOrCreateUserDataContainer()->addUserObject(container);

    std::vector<TerrainTileInfo> tiles{rootInfo};
    for (int depth = 1; depth <= 5; ++depth)
    {
        std::vector<TerrainTileInfo> children;
        for (const TerrainTileInfo& tile : tiles)
            for (unsigned int quadrant = 0; quadrant < 4; ++quadrant)
            {
                children.emplace_back();
                ASSERT_TRUE(mvgeo::childTileInfo(tile, quadrant, children.back()));
            }
        tiles.swap(children);
        std::set<bool> wereCut;
        for (TerrainTileInfo& tile : tiles)
        {
            const osg::ref_ptr<osg::Node> node = mvgeo::buildTerrainTile(rasters, tile, options);
            ASSERT_TRUE(node);
            const osg::Geometry* mesh = node->asGroup()->getChild(0)->asGeometry();
            wereCut.insert(mesh->getVertexArray()->getNumElements() == 0);
        }
        EXPECT_EQ(wereCut, std::set<bool>{depth > 4}) << "depth " << depth;
    }
}
