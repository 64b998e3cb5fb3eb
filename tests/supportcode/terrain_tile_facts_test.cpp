#include "support/TerrainTileFacts.h"
#include "support/UserValues.h"

#include <osg/Group>
#include <osg/Vec3>
#include <osg/Vec3d>

#include <gtest/gtest.h>

namespace
{

using namespace mvgeo;

/** A node that says what a terrain tile of 32 x 32 posts over 31 m says. */
osg::ref_ptr<osg::Group> terrainNode(double pixelWidth, double pixelHeight)
{
    osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setUserValue("startX", 100.0);
    node->setUserValue("startY", 200.0);
    node->setUserValue("endX", 131.0);
    node->setUserValue("endY", 231.0);
    node->setUserValue("demWidth", 32);
    node->setUserValue("demHeight", 32);
    node->setUserValue("demResolutionX", pixelWidth);
    node->setUserValue("demResolutionY", pixelHeight);
    return node;
}

TEST(TerrainTileExtent, IsWhatTheNodeSays)
{
    const std::optional<TileExtent> extent = terrainTileExtent(*terrainNode(1.0, 1.0));
    ASSERT_TRUE(extent);
    EXPECT_EQ(extent->west, 100.0);
    EXPECT_EQ(extent->south, 200.0);
    EXPECT_EQ(extent->east, 131.0);
    EXPECT_EQ(extent->north, 231.0);
}

TEST(TerrainTileExtent, NeedsAllFourEdges)
{
    const osg::ref_ptr<osg::Group> plain = new osg::Group;
    EXPECT_FALSE(terrainTileExtent(*plain));
    for (const std::string& key : {keys::startX, keys::startY, keys::endX, keys::endY})
    {
        const osg::ref_ptr<osg::Group> node = terrainNode(1.0, 1.0);
        node->setUserValue(key, 1.0F);
        EXPECT_FALSE(terrainTileExtent(*node)) << key << " is no double";
    }
}

// Two distances of posts that should be equal differ in their last digits, and neighbours must be told the same.
TEST(SamplesDenserThanPixels, MustBeSoInBothDirectionsAndByMoreThanRounding)
{
    EXPECT_TRUE(isDenserThanPixels({1.0, 1.0}, {1.1, 1.1}));
    EXPECT_FALSE(isDenserThanPixels({1.0, 1.0}, {1.1, 1.0}));
    EXPECT_FALSE(isDenserThanPixels({1.0, 1.0}, {1.0, 1.1}));
    EXPECT_FALSE(isDenserThanPixels({1.0, 1.0}, {1.0000005, 1.1}));
    EXPECT_FALSE(isDenserThanPixels({1.0, 1.0}, {1.1, 1.0000005}));
    EXPECT_TRUE(isDenserThanPixels({1.0, 1.0}, {1.000002, 1.000002}));
}

TEST(SamplesDenserThanPixels, DependNotOnWhereRowsRun)
{
    EXPECT_TRUE(isDenserThanPixels({1.0, 1.0}, {2.0, -2.0}));
    EXPECT_TRUE(isDenserThanPixels({1.0, -1.0}, {2.0, 2.0}));
    EXPECT_FALSE(isDenserThanPixels({1.0, -2.0}, {2.0, 1.0}));
}

TEST(TileDenserThanItsDem, IsOneWhosePostsLieCloserInBothDirections)
{
    EXPECT_TRUE(isDenserThanDem(*terrainNode(1.5, 1.5))); // posts every metre
    EXPECT_TRUE(isDenserThanDem(*terrainNode(1.000002, 1.000002)));
    EXPECT_FALSE(isDenserThanDem(*terrainNode(1.0000005, 1.0000005))) << "posts and pixels that differ by rounding";
    EXPECT_FALSE(isDenserThanDem(*terrainNode(1.5, 1.0)));
    EXPECT_FALSE(isDenserThanDem(*terrainNode(1.0, 1.5)));
    const osg::ref_ptr<osg::Group> plain = new osg::Group;
    EXPECT_FALSE(isDenserThanDem(*plain)) << "another pyramid's";
}

TEST(SkirtTriangle, HasTwoCornersExactlyAboveEachOther)
{
    const osg::Vec3 edge(10.0F, 20.0F, 5.0F);
    const osg::Vec3 foot(10.0F, 20.0F, 3.0F);
    const osg::Vec3 next(11.0F, 20.0F, 6.0F);
    EXPECT_TRUE(isSkirtTriangle(edge, foot, next));
    EXPECT_TRUE(isSkirtTriangle(next, edge, foot));
    EXPECT_TRUE(isSkirtTriangle(foot, next, edge));
    EXPECT_FALSE(isSkirtTriangle(edge, next, osg::Vec3(10.0F, 21.0F, 5.0F)));
    EXPECT_FALSE(isSkirtTriangle(osg::Vec3d(0, 0, 0), osg::Vec3d(1e-12, 0, 9), osg::Vec3d(1, 0, 0)))
        << "a wall that leans by less than a hair";
}

// Such slivers come from cutting tiles out of their parents; two of the corners differ in their last digit.
TEST(SkirtOrSliver, HasNoAreaFromAbove)
{
    const osg::Vec3 a(0.0F, 5.0F, 0.0F);
    const osg::Vec3 b(-3.87096786F, 5.0F, -76.2831688F);
    EXPECT_TRUE(isSkirtOrSliver(a, b, osg::Vec3(-3.87096405F, 5.0F, -76.2830811F)));
    EXPECT_TRUE(isSkirtOrSliver(a, b, osg::Vec3(0.0F, 5.0F, -2.0F))) << "a skirt";
    EXPECT_FALSE(isSkirtTriangle(a, b, osg::Vec3(-3.87096405F, 5.0F, -76.2830811F)));
    EXPECT_FALSE(isSkirtOrSliver(a, b, osg::Vec3(-3.87096405F, 5.00001F, -76.2830811F)));
}

} // namespace
