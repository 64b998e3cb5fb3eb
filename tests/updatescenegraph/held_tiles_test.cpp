#include "updatescenegraph/HeldTiles.h"

#include "SceneParts.h"
#include "support/TilePyramid.h"

#include <osg/Geode>
#include <osg/Geometry>

#include <gtest/gtest.h>

namespace
{

using mvgeo::HeldTiles;

// Four vertices of 12 bytes, four texture coordinates of 8, six indices of 4.
constexpr std::uint64_t kSquareBytes = 4 * 12 + 4 * 8 + 6 * 4;

osg::ref_ptr<osg::Geode> squareTile()
{
    osg::ref_ptr<osg::Geode> tile = new osg::Geode;
    tile->addDrawable(makeSquare(0, 0, 0, 1));
    return tile;
}

TEST(HeldTiles, CountTilesAndTheBytesOfTheirArrays)
{
    HeldTiles held;
    const auto one = squareTile();
    const auto two = squareTile();
    held.add(*one);
    EXPECT_EQ(held.count(), 1U);
    EXPECT_EQ(held.bytes(), kSquareBytes);
    held.add(*two);
    EXPECT_EQ(held.count(), 2U);
    EXPECT_EQ(held.bytes(), 2 * kSquareBytes);
}

TEST(HeldTiles, SixteenBitIndicesCountHalf)
{
    HeldTiles held;
    const osg::ref_ptr<osg::Geometry> tile = makeSquare(0, 0, 0, 1, 16);
    held.add(*tile);
    EXPECT_EQ(held.bytes(), kSquareBytes - 6 * 2);
}

TEST(HeldTiles, SameTileTwiceCountsOnce)
{
    HeldTiles held;
    const auto tile = squareTile();
    held.add(*tile);
    held.add(*tile);
    EXPECT_EQ(held.count(), 1U);
    EXPECT_EQ(held.bytes(), kSquareBytes);
}

TEST(HeldTiles, SubgraphTakesTheTilesBelowItAlong)
{
    HeldTiles held;
    const auto coarse = squareTile();
    const auto fine = squareTile();
    const auto other = squareTile();
    held.add(*other);
    const osg::ref_ptr<osg::Group> subgraph = new osg::Group;
    subgraph->addChild(coarse);
    held.add(*subgraph); // the tile's root, with its own square
    coarse->addChild(fine);
    held.add(*fine);
    ASSERT_EQ(held.count(), 3U);

    EXPECT_EQ(held.removeBelow(*subgraph), 2U);
    EXPECT_EQ(held.count(), 1U);
    EXPECT_EQ(held.bytes(), kSquareBytes);
    EXPECT_EQ(held.removeBelow(*subgraph), 0U) << "they are gone already";
}

// A tile file may hold a geometry and nothing else; it used to be counted for ever.
TEST(HeldTiles, BareGeometryIsATileToo)
{
    HeldTiles held;
    const osg::ref_ptr<osg::Geometry> tile = makeSquare(0, 0, 0, 1);
    held.add(*tile);
    EXPECT_EQ(held.removeBelow(*tile), 1U);

    const osg::ref_ptr<osg::Group> parent = new osg::Group;
    parent->addChild(tile);
    held.add(*tile);
    EXPECT_EQ(held.removeBelow(*parent), 1U);
    EXPECT_EQ(held.bytes(), 0U);
}

TEST(HeldTiles, ClearForgetsAll)
{
    HeldTiles held;
    const auto tile = squareTile();
    held.add(*tile);
    held.clear();
    EXPECT_EQ(held.count(), 0U);
    EXPECT_EQ(held.bytes(), 0U);
}

TEST(HeldTiles, EmptyTileIsATileOfNoBytes)
{
    HeldTiles held;
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    held.add(*tile);
    EXPECT_EQ(held.count(), 1U);
    EXPECT_EQ(held.bytes(), 0U);
}

} // namespace
