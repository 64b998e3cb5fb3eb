#include "TerrainParts.h"
#include "readerwriterthreedimg/DatabaseOptionVisitor.h"

#include <osg/Group>

#include <gtest/gtest.h>

using namespace cliptest;
using namespace terraintest;

namespace
{

/** As it comes out of a file: with user values, without options, with the file's folder as database path. */
osg::ref_ptr<osg::PagedLOD> readBackNode(int lod)
{
    TerrainTileInfo info = tileOver({0, 1, 0, 1}, 3);
    info.lod = lod;
    info.x = lod;
    osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    mvgeo::storeTileInfo(*node, info);
    node->setDatabasePath("/somewhere/else/");
    const osg::ref_ptr<osg::Group> tile = new osg::MatrixTransform;
    tile->addChild(makeFlatGrid(2, 2));
    node->addChild(tile, 0.0F, 512.0F);
    return node;
}

void repair(osg::Node& node)
{
    THREEDIMG::DatabaseOptionVisitor visitor;
    node.accept(visitor);
}

TEST(DatabaseOptionVisitor, VisitsAllChildren)
{
    EXPECT_EQ(THREEDIMG::DatabaseOptionVisitor().getTraversalMode(), osg::NodeVisitor::TRAVERSE_ALL_CHILDREN);
}

TEST(DatabaseOptionVisitor, GivesEachNodeOptionsOfItsOwnDescription)
{
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    const osg::ref_ptr<osg::Group> inner = new osg::Group;
    const auto first = readBackNode(1);
    const auto second = readBackNode(2);
    group->addChild(first);
    group->addChild(inner);
    inner->addChild(second);
    repair(*group);
    for (const auto& [node, lod] : {std::pair{first, 1}, {second, 2}})
    {
        ASSERT_NE(optionsOf(*node), nullptr);
        EXPECT_EQ(infoOf(*optionsOf(*node)).lod, lod);
        EXPECT_EQ(infoOf(*optionsOf(*node)).x, lod);
        EXPECT_EQ(infoOf(*optionsOf(*node)).cachePathDir, "/cache");
        EXPECT_EQ(node->getDatabasePath(), "");
        EXPECT_EQ(parentGeometryOn(*optionsOf(*node)), geometryOf(node));
    }
    EXPECT_NE(optionsOf(*first), optionsOf(*second));
}

TEST(DatabaseOptionVisitor, ReachesPagedNodesBelowPagedNodes)
{
    const auto outer = readBackNode(1);
    const auto inner = readBackNode(2);
    outer->addChild(inner, 512.0F, 1e30F);
    repair(*outer);
    ASSERT_NE(optionsOf(*inner), nullptr);
    EXPECT_EQ(infoOf(*optionsOf(*inner)).lod, 2);
    EXPECT_EQ(parentGeometryOn(*optionsOf(*outer)), nullptr); // two children: no tile as it is built
}

TEST(DatabaseOptionVisitor, ReplacesOptionsThatAreThere)
{
    const auto node = readBackNode(1);
    const osg::ref_ptr<osgDB::Options> old = new osgDB::Options;
    node->setDatabaseOptions(old);
    repair(*node);
    EXPECT_NE(optionsOf(*node), old);
}

TEST(DatabaseOptionVisitor, DoesNotHandTheRootsGeometryOver)
{
    const auto root = readBackNode(0);
    repair(*root);
    EXPECT_EQ(parentGeometryOn(*optionsOf(*root)), nullptr);
}

TEST(DatabaseOptionVisitor, HandsOverNothingButOneGeometryBelowOneGroup)
{
    const auto twoGeometries = readBackNode(1);
    twoGeometries->getChild(0)->asGroup()->addChild(makeFlatGrid(2, 2));
    const auto noGeometry = readBackNode(1);
    noGeometry->getChild(0)->asGroup()->removeChildren(0, 1);
    const auto deeper = readBackNode(1);
    deeper->getChild(0)->asGroup()->setChild(0, new osg::Group);
    const auto direct = readBackNode(1);
    direct->setChild(0, makeFlatGrid(2, 2));
    const auto bare = readBackNode(1);
    bare->removeChildren(0, 1);
    for (const auto& node : {twoGeometries, noGeometry, deeper, direct, bare})
    {
        repair(*node);
        ASSERT_NE(optionsOf(*node), nullptr);
        EXPECT_EQ(parentGeometryOn(*optionsOf(*node)), nullptr);
    }
}

TEST(DatabaseOptionVisitor, SurvivesANodeWithoutDescription)
{
    const osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    repair(*node);
    ASSERT_NE(optionsOf(*node), nullptr);
    EXPECT_EQ(infoOf(*optionsOf(*node)).demWidth, 0);
}

} // namespace
