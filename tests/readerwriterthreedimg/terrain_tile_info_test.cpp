#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <osg/ValueObject>
#include <osgDB/Options>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

using testing::ElementsAre;

namespace
{

/** Each field has a value of its own. */
TerrainTileInfo distinctInfo()
{
    TerrainTileInfo info;
    info.imageWidth = 256;
    info.imageHeight = 255;
    info.demWidth = 32;
    info.demHeight = 33;
    info.startX = 1.5;
    info.startY = 2.5;
    info.endX = 9.5;
    info.endY = 18.5;
    info.minZ = -7.0;
    info.maxZ = 77.0;
    info.offsetX = 100.25;
    info.offsetY = 200.25;
    info.lod = 3;
    info.x = 5;
    info.y = 2;
    info.demResolutionX = 0.25;
    info.demResolutionY = 0.75;
    info.rootXmin = -10.0;
    info.rootYmin = -20.0;
    info.rootXmax = 30.0;
    info.rootYmax = 40.0;
    info.demPath = "/data/dem.tif";
    info.domPath = "/data/dom.tif";
    info.cachePathDir = "/cache";
    info.normal = true;
    return info;
}

auto storedFields(const TerrainTileInfo& info)
{
    return std::make_tuple(info.imageWidth, info.imageHeight, info.demWidth, info.demHeight, info.startX, info.startY,
                           info.endX, info.endY, info.offsetX, info.offsetY, info.lod, info.x, info.y, info.rootXmin,
                           info.rootYmin, info.rootXmax, info.rootYmax, info.demResolutionX, info.demResolutionY,
                           info.domPath, info.demPath, info.cachePathDir, info.normal);
}

std::vector<std::string> keysOf(const osg::Object& object)
{
    std::vector<std::string> names;
    const osg::UserDataContainer* values = object.getUserDataContainer();
    for (unsigned int i = 0; values && i < values->getNumUserObjects(); ++i)
        names.push_back(values->getUserObject(i)->getName());
    return names;
}

TEST(TerrainTileInfo, IsStoredUnderItsKeysInTheirOrder)
{
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    mvgeo::storeTileInfo(*options, distinctInfo());
    EXPECT_THAT(keysOf(*options),
                ElementsAre("imageWidth", "imageHeight", "demWidth", "demHeight", "startX", "startY", "endX", "endY",
                            "offsetX", "offsetY", "lod", "x", "y", "rootXmin", "rootYmin", "rootXmax", "rootYmax",
                            "demResolutionX", "demResolutionY", "domPath", "demPath", "cachePathDir", "normal"));
}

TEST(TerrainTileInfo, IsStoredAsIntDoubleTextAndBool)
{
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    mvgeo::storeTileInfo(*options, distinctInfo());
    int lod = 0;
    double endY = 0.0;
    std::string demPath;
    bool normal = false;
    EXPECT_TRUE(options->getUserValue("lod", lod));
    EXPECT_TRUE(options->getUserValue("endY", endY));
    EXPECT_TRUE(options->getUserValue("demPath", demPath));
    EXPECT_TRUE(options->getUserValue("normal", normal));
    EXPECT_EQ(lod, 3);
    EXPECT_EQ(endY, 18.5);
    EXPECT_EQ(demPath, "/data/dem.tif");
    EXPECT_TRUE(normal);
}

TEST(TerrainTileInfo, ComesBackAsItWasStoredButForItsElevations)
{
    const osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    mvgeo::storeTileInfo(*node, distinctInfo());
    TerrainTileInfo info;
    mvgeo::readTileInfo(*node, info);
    EXPECT_EQ(storedFields(info), storedFields(distinctInfo()));
    EXPECT_EQ(info.minZ, 0.0);
    EXPECT_EQ(info.maxZ, 0.0);
}

TEST(TerrainTileInfo, LeavesFieldsAloneWhoseKeysAreAbsent)
{
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    TerrainTileInfo info = distinctInfo();
    mvgeo::readTileInfo(*options, info);
    EXPECT_EQ(storedFields(info), storedFields(distinctInfo()));

    options->setUserValue("x", 6);
    mvgeo::readTileInfo(*options, info);
    TerrainTileInfo expected = distinctInfo();
    expected.x = 6;
    EXPECT_EQ(storedFields(info), storedFields(expected));
}

TEST(TerrainTileInfo, LeavesFieldsAloneWhoseValuesAreOfAnotherType)
{
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    for (const char* key : {"imageWidth", "imageHeight", "demWidth", "demHeight", "lod", "x", "y", "domPath", "demPath",
                            "cachePathDir", "normal"})
        options->setUserValue(key, 4.0);
    for (const char* key :
         {"startX", "startY", "endX", "endY", "offsetX", "offsetY", "rootXmin", "rootYmin", "rootXmax", "rootYmax"})
        options->setUserValue(key, 4);
    options->setUserValue("demResolutionX", 4.0F);
    options->setUserValue("demResolutionY", std::string("4"));

    TerrainTileInfo info = distinctInfo();
    mvgeo::readTileInfo(*options, info);
    EXPECT_EQ(storedFields(info), storedFields(distinctInfo()));
}

TEST(TerrainTileInfo, GetsNewOptionsOnEachNode)
{
    const osg::ref_ptr<osg::PagedLOD> first = new osg::PagedLOD;
    const osg::ref_ptr<osg::PagedLOD> second = new osg::PagedLOD;
    mvgeo::setTileOptions(*first, distinctInfo());
    mvgeo::setTileOptions(*second, distinctInfo());
    ASSERT_NE(first->getDatabaseOptions(), nullptr);
    EXPECT_NE(first->getDatabaseOptions(), second->getDatabaseOptions());
    EXPECT_NE(dynamic_cast<osgDB::Options*>(first->getDatabaseOptions()), nullptr);

    const osg::ref_ptr<osg::Referenced> before = first->getDatabaseOptions();
    mvgeo::setTileOptions(*first, distinctInfo());
    EXPECT_NE(first->getDatabaseOptions(), before);
    EXPECT_EQ(keysOf(dynamic_cast<osg::Object&>(*first->getDatabaseOptions())).size(), 23U);
}

TEST(TerrainTileInfo, KnowsTheDistanceOfItsPosts)
{
    TerrainTileInfo info = distinctInfo(); // 8 x 16 units, 32 x 33 posts
    EXPECT_EQ(info.postSpacingX(), 8.0 / 31.0);
    EXPECT_EQ(info.postSpacingY(), 0.5);
}

struct Quarter
{
    unsigned int quadrant;
    int x, y;
    double startX, endX, startY, endY;
};

class TerrainQuarter : public testing::TestWithParam<Quarter>
{
};

// Tile (2, 1, 3) over x 10..20 and y 100..140.
TEST_P(TerrainQuarter, HasItsNumberAndItsQuarterOfTheExtent)
{
    TerrainTileInfo parent = distinctInfo();
    parent.lod = 2;
    parent.x = 1;
    parent.y = 3;
    parent.startX = 10.0;
    parent.endX = 20.0;
    parent.startY = 100.0;
    parent.endY = 140.0;

    TerrainTileInfo child;
    ASSERT_TRUE(mvgeo::childTileInfo(parent, GetParam().quadrant, child));
    TerrainTileInfo expected = parent; // all that is not named here is inherited
    expected.lod = 3;
    expected.x = GetParam().x;
    expected.y = GetParam().y;
    expected.startX = GetParam().startX;
    expected.endX = GetParam().endX;
    expected.startY = GetParam().startY;
    expected.endY = GetParam().endY;
    EXPECT_EQ(storedFields(child), storedFields(expected));

    ASSERT_TRUE(mvgeo::childTileInfo(parent, GetParam().quadrant, parent)); // the same object
    EXPECT_EQ(storedFields(parent), storedFields(expected));
}

INSTANTIATE_TEST_SUITE_P(All, TerrainQuarter,
                         testing::Values(Quarter{0, 2, 6, 10, 15, 100, 120}, Quarter{1, 3, 6, 15, 20, 100, 120},
                                         Quarter{2, 2, 7, 10, 15, 120, 140}, Quarter{3, 3, 7, 15, 20, 120, 140}));

TEST(TerrainTileInfo, HasNoFifthQuarter)
{
    for (const unsigned int quadrant : {4U, 5U, 0xFFFFFFFFU})
    {
        TerrainTileInfo child;
        EXPECT_FALSE(mvgeo::childTileInfo(distinctInfo(), quadrant, child));
        EXPECT_EQ(storedFields(child), storedFields(TerrainTileInfo()));
    }
}

TEST(TerrainTileInfo, NamesItsChildrenAndItsTexture)
{
    EXPECT_EQ(mvgeo::childFileName(distinctInfo()), "/cache/3_5_2_c.osgb.3dimg");
    EXPECT_EQ(mvgeo::domImageName(distinctInfo()), "/cache/3_5_2.jpeg");
    TerrainTileInfo deep = distinctInfo();
    deep.lod = 12;
    deep.x = 4095;
    deep.y = 0;
    EXPECT_EQ(mvgeo::childFileName(deep), "/cache/12_4095_0_c.osgb.3dimg");
}

// 30 / 0.25 columns and 60 / 0.75 rows are 120 and 80; with 81 rows the odd one goes south.
TEST(RootSquare, HasTheDemInItsMiddle)
{
    TerrainTileInfo info = distinctInfo();
    info.rootXmin = 0.0;
    EXPECT_EQ(mvgeo::rootSquareOf(info).side, 120.0);
    EXPECT_EQ(mvgeo::rootSquareOf(info).padWest, 0.0);
    EXPECT_EQ(mvgeo::rootSquareOf(info).padEast, 0.0);
    EXPECT_EQ(mvgeo::rootSquareOf(info).padNorth, 20.0);
    EXPECT_EQ(mvgeo::rootSquareOf(info).padSouth, 20.0);
    info.rootYmax += 0.75;
    EXPECT_EQ(mvgeo::rootSquareOf(info).padNorth, 19.0);
    EXPECT_EQ(mvgeo::rootSquareOf(info).padSouth, 20.0);
}

TEST(RootSquare, OfADescriptionWithoutDemIsNoNumber)
{
    EXPECT_FALSE(std::isfinite(mvgeo::rootSquareOf(TerrainTileInfo()).padEast));
}

} // namespace
