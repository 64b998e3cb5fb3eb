#include "mvdrapelines/IntersectionVisitor.h"

#include "MemoryFiles.h"
#include "mvdrapelines/DatabaseCacheReadCallback.h"
#include "support/TilePyramid.h"

#include <osg/Geode>
#include <osg/Geometry>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

/** Notes which drawables it comes to, and which nodes it enters and leaves. */
class NotingIntersector : public osgUtil::Intersector
{
public:
    Intersector* clone(osgUtil::IntersectionVisitor&) override { return this; }
    bool enter(const osg::Node& node) override
    {
        if (node.getName() == refused) return false;
        ++entered;
        return true;
    }
    void leave() override { ++left; }
    void intersect(osgUtil::IntersectionVisitor&, osg::Drawable* drawable) override
    {
        drawables.push_back(drawable->getName());
    }
    bool containsIntersections() override { return !drawables.empty(); }

    std::string refused = "-"; // the name of a node
    std::vector<std::string> drawables;
    int entered = 0;
    int left = 0;

protected:
    ~NotingIntersector() override = default;
};

osg::ref_ptr<osg::Geometry> tile(const std::string& name)
{
    osg::ref_ptr<osg::Geometry> result = makeSquare(0, 0, 0, 1);
    result->setName(name);
    return result;
}

struct IntersectionVisitorTest : public testing::Test
{
    IntersectionVisitorTest()
    {
        visitor.setIntersector(noting);
        visitor.setReadCallback(new DatabaseCacheReadCallback(2000));
        for (const char* name : {"f0", "f1", "f2", "dir/f1"})
            files->nodes[name] = [name] { return osg::ref_ptr<osg::Node>(tile(name)); };
        node->setDatabaseOptions(options);
        node->setCenter(osg::Vec3());
        node->setRadius(10.0F);
    }
    ~IntersectionVisitorTest() override { files->lastOptions = nullptr; }

    /** A range, with the child "c<i>" if it is loaded and the file "f<i>". */
    void addRange(float minimum, float maximum, bool isLoaded)
    {
        const unsigned int i = node->getNumRanges();
        if (isLoaded) node->addChild(tile('c' + std::to_string(i)));
        node->setFileName(i, 'f' + std::to_string(i));
        node->setRange(i, minimum, maximum);
    }

    /** A terrain tile of 32 x 32 posts over 31 m, loaded as c0, with finer children in f1. */
    void makeTerrain(double resolutionX, double resolutionY)
    {
        node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
        addRange(0, 512, true);
        addRange(512, 1e30F, false);
        for (const char* key : {"startX", "startY"})
            node->setUserValue(key, 0.0);
        for (const char* key : {"endX", "endY"})
            node->setUserValue(key, 31.0);
        for (const char* key : {"demWidth", "demHeight"})
            node->setUserValue(key, 32);
        node->setUserValue("demResolutionX", resolutionX);
        node->setUserValue("demResolutionY", resolutionY);
    }

    std::vector<std::string> visited()
    {
        noting->drawables.clear();
        noting->entered = noting->left = 0;
        node->accept(visitor);
        return noting->drawables;
    }

    osg::ref_ptr<MemoryFiles> files = new MemoryFiles;
    osg::ref_ptr<osgDB::Options> options = files->options();
    osg::ref_ptr<NotingIntersector> noting = new NotingIntersector;
    osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    IntersectionVisitor visitor;
};

} // namespace

TEST_F(IntersectionVisitorTest, IsNamedLikeItsBase)
{
    EXPECT_STREQ(visitor.className(), "IntersectionVisitor");
    EXPECT_STREQ(visitor.libraryName(), "osgUtil");
    EXPECT_EQ(sizeof(IntersectionVisitor), sizeof(osgUtil::IntersectionVisitor));
}

TEST_F(IntersectionVisitorTest, ByDistanceOnlyTheNearestRangeCounts)
{
    addRange(0, 100, true);
    addRange(100, 1e6F, true);
    EXPECT_THAT(visited(), ElementsAre("c0"));
    EXPECT_THAT(files->reads, IsEmpty());
}

TEST_F(IntersectionVisitorTest, ByPixelSizeOnlyTheLargestMinimumCounts)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(100, 1e6F, true);
    EXPECT_THAT(visited(), ElementsAre("c1"));
}

TEST_F(IntersectionVisitorTest, EveryRangeOfTheFinestLevelCounts)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(100, 1e6F, true);
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    EXPECT_THAT(visited(), ElementsAre("c0", "f2"));
}

TEST_F(IntersectionVisitorTest, MinimaAreEqualOnlyIfTheyAreEqualExactly)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(100, 1e6F, true);
    addRange(std::nextafter(100.0F, 101.0F), 1e6F, true);
    EXPECT_THAT(visited(), ElementsAre("c1"));
}

TEST_F(IntersectionVisitorTest, ByDistanceRangesBeyondAMillionDoNotCount)
{
    addRange(2e6F, 3e6F, true);
    EXPECT_THAT(visited(), IsEmpty());
    addRange(1e6F, 3e6F, true);
    EXPECT_THAT(visited(), ElementsAre("c1"));
}

TEST_F(IntersectionVisitorTest, AMissingChildIsReadFromThePathAndTheNameAsTheyStand)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    node->setDatabasePath("dir/");
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    EXPECT_THAT(visited(), ElementsAre("dir/f1"));
    EXPECT_THAT(files->reads, ElementsAre("dir/f1"));
}

TEST_F(IntersectionVisitorTest, AReadTileDoesNotEnterTheScene)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    EXPECT_THAT(visited(), ElementsAre("f1"));
    EXPECT_EQ(node->getNumChildren(), 1U);
    EXPECT_THAT(visited(), ElementsAre("f1"));
    EXPECT_THAT(files->reads, ElementsAre("f1")); // the second time from the cache
}

TEST_F(IntersectionVisitorTest, ARangeBeyondTheFileNamesTakesTheLastOfThem)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(50, 100, false);
    osg::LOD::RangeList ranges = node->getRangeList();
    ranges.emplace_back(100.0F, 1e6F);
    node->setRangeList(ranges);
    EXPECT_THAT(visited(), ElementsAre("f1"));
}

TEST_F(IntersectionVisitorTest, TheLastChildStandsInForATileThatCannotBeRead)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 50, true);
    addRange(50, 100, true);
    addRange(100, 1e6F, false);
    files->nodes.erase("f2");
    EXPECT_THAT(visited(), ElementsAre("c1"));
    EXPECT_THAT(files->reads, ElementsAre("f2"));
}

TEST_F(IntersectionVisitorTest, ANullChildIsAMissingOne)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, false);
    files->nodes.erase("f0");
    EXPECT_THAT(visited(), IsEmpty()); // neither file nor child: the level is not cut
    EXPECT_EQ(noting->entered, noting->left);
}

TEST_F(IntersectionVisitorTest, AnEmptyFileNameIsNotRead)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    node->setFileName(1, "");
    EXPECT_THAT(visited(), ElementsAre("c0"));
    EXPECT_THAT(files->reads, IsEmpty());
}

TEST_F(IntersectionVisitorTest, WithoutAReadCallbackTheLastChildStandsIn)
{
    visitor.setReadCallback(nullptr);
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    EXPECT_THAT(visited(), ElementsAre("c0"));
    EXPECT_THAT(files->reads, IsEmpty());
}

TEST_F(IntersectionVisitorTest, ANodeWithoutFileNamesIsNotCut)
{
    node->insertChild(0, tile("c0")); // addChild() would make room for a file name
    node->setRangeList({{0.0F, 100.0F}});
    ASSERT_EQ(node->getNumFileNames(), 0U);
    EXPECT_THAT(visited(), IsEmpty());
    EXPECT_EQ(noting->entered, 1);
    EXPECT_EQ(noting->left, 1);
}

TEST_F(IntersectionVisitorTest, WhatTheIntersectorRefusesIsNeitherCutNorRead)
{
    addRange(0, 100, false);
    node->setName("far away");
    noting->refused = "far away";
    EXPECT_THAT(visited(), IsEmpty());
    EXPECT_THAT(files->reads, IsEmpty());
    EXPECT_EQ(noting->left, 0);
}

TEST_F(IntersectionVisitorTest, TheReadIsToldNotToKeepTheTileAndTheNodesOptionsStayAsTheyAre)
{
    options->setUserValue("x", 7);
    options->setPluginStringData("plugin", "data");
    const osg::UserDataContainer* values = options->getUserDataContainer();
    addRange(0, 100, false);
    files->whileReading = [&](const std::string&)
    {
        EXPECT_EQ(mvgeo::userValue<bool>(*options, "isCaching"),
                  nullptr); // not even meanwhile: another thread reads them
    };
    EXPECT_THAT(visited(), ElementsAre("f0"));
    EXPECT_THAT(files->caching, ElementsAre(std::optional<bool>(false)));
    ASSERT_TRUE(files->lastOptions);
    const bool* geometryOnly = mvgeo::userValue<bool>(*files->lastOptions, "geometryOnly");
    EXPECT_TRUE(geometryOnly && *geometryOnly);
    EXPECT_EQ(files->lastOptions->getPluginStringData("plugin"), "data");
    const int* x = mvgeo::userValue<int>(*files->lastOptions, "x");
    EXPECT_TRUE(x && *x == 7);
    EXPECT_EQ(node->getDatabaseOptions(), options);
    EXPECT_EQ(options->getUserDataContainer(), values);
    EXPECT_EQ(values->getNumUserObjects(), 1U);
}

TEST_F(IntersectionVisitorTest, AValueThatIsThereAlreadyStaysInTheNodesOptions)
{
    options->setUserValue("isCaching", true);
    addRange(0, 100, false);
    visited();
    EXPECT_THAT(files->caching, ElementsAre(std::optional<bool>(false)));
    const bool* kept = mvgeo::userValue<bool>(*options, "isCaching");
    EXPECT_TRUE(kept && *kept);
}

TEST_F(IntersectionVisitorTest, AReaderThatThrowsLeavesTheCoarserTile)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    files->throwing = "f1";
    EXPECT_THAT(visited(), ElementsAre("c0"));
    EXPECT_EQ(noting->entered, noting->left);
}

TEST_F(IntersectionVisitorTest, PagedNodesInReadTilesAreFollowedToTheFinest)
{
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    addRange(0, 100, true);
    addRange(100, 1e6F, false);
    files->nodes["f1"] = [this]
    {
        const osg::ref_ptr<osg::PagedLOD> finer = new osg::PagedLOD(*node, osg::CopyOp::SHALLOW_COPY);
        finer->setFileName(1, "f2");
        return osg::ref_ptr<osg::Node>(finer);
    };
    EXPECT_THAT(visited(), ElementsAre("f2"));
    EXPECT_THAT(files->reads, ElementsAre("f1", "f2"));
}

TEST_F(IntersectionVisitorTest, ATerrainTileFinerThanItsDemIsCutAsItIsAndNotLeft)
{
    makeTerrain(1.5, 1.5); // posts every metre
    EXPECT_THAT(visited(), ElementsAre("c0"));
    EXPECT_THAT(files->reads, IsEmpty());
    EXPECT_EQ(noting->entered, 1);
    EXPECT_EQ(noting->left, 0);
}

TEST_F(IntersectionVisitorTest, ATerrainTileThatIsNotFinerInBothDirectionsIsRefined)
{
    makeTerrain(1.5, 1.0000005); // equal but for rounding does not do
    EXPECT_THAT(visited(), ElementsAre("f1"));
    node->setUserValue("demResolutionX", 1.0);
    node->setUserValue("demResolutionY", 1.5);
    EXPECT_THAT(visited(), ElementsAre("f1"));
    EXPECT_EQ(noting->entered, noting->left);
}

TEST_F(IntersectionVisitorTest, EachOfTheEightTerrainValuesIsNeededInItsOwnType)
{
    for (const char* key : {"startX", "startY", "endX", "endY", "demResolutionX", "demResolutionY"})
    {
        SCOPED_TRACE(key);
        node = new osg::PagedLOD(*node, osg::CopyOp::SHALLOW_COPY);
        node->setUserDataContainer(nullptr);
        node->removeChildren(0, node->getNumChildren());
        node->setRangeList({});
        makeTerrain(1.5, 1.5);
        EXPECT_THAT(visited(), ElementsAre("c0"));
        node->setUserValue(key, 1.0F);
        EXPECT_THAT(visited(), ElementsAre("f1"));
        node->getUserDataContainer()->removeUserObject(node->getUserDataContainer()->getUserObjectIndex(key));
        EXPECT_THAT(visited(), ElementsAre("f1"));
    }
    for (const char* key : {"demWidth", "demHeight"})
    {
        SCOPED_TRACE(key);
        for (const char* name : {"startX", "startY"})
            node->setUserValue(name, 0.0);
        for (const char* name : {"endX", "endY"})
            node->setUserValue(name, 31.0);
        for (const char* name : {"demResolutionX", "demResolutionY"})
            node->setUserValue(name, 1.5);
        EXPECT_THAT(visited(), ElementsAre("c0"));
        node->setUserValue(key, 32U);
        EXPECT_THAT(visited(), ElementsAre("f1"));
        node->setUserValue(key, 32);
    }
}

TEST_F(IntersectionVisitorTest, SpacingsAreComparedWithTheirSigns)
{
    makeTerrain(0.5, 0.5);
    EXPECT_THAT(visited(), ElementsAre("f1"));
    node->setUserValue("endX", -31.0); // spacing -1 in both directions
    node->setUserValue("endY", -31.0);
    EXPECT_THAT(visited(), ElementsAre("c0"));
    node->setUserValue("demWidth", 0); // -31 m / -1
    EXPECT_THAT(visited(), ElementsAre("f1"));
}

TEST_F(IntersectionVisitorTest, ATerrainTileOfOnePostHasNoSpacing)
{
    makeTerrain(1e300, 1e300);
    node->setUserValue("demWidth", 1);
    EXPECT_THAT(visited(), ElementsAre("f1")); // 31 m / 0 posts: infinite
    node->setUserValue("endX", 0.0);
    EXPECT_THAT(visited(), ElementsAre("f1")); // 0 / 0 compares with nothing
    node->setUserValue("demWidth", std::numeric_limits<int>::min());
    EXPECT_THAT(visited(), ElementsAre("c0"));
}

TEST_F(IntersectionVisitorTest, ATerrainTileWithoutItsOwnGeometryIsRead)
{
    makeTerrain(1.5, 1.5);
    node->removeChildren(0, 1);
    EXPECT_THAT(visited(), ElementsAre("f1"));
}

TEST_F(IntersectionVisitorTest, OtherNodesAreVisitedAsTheBaseClassDoes)
{
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    const osg::ref_ptr<osg::LOD> lod = new osg::LOD;
    lod->addChild(tile("near"), 0.0F, 10.0F);
    lod->addChild(tile("far"), 10.0F, 1e6F);
    group->addChild(lod);
    group->addChild(tile("plain"));
    group->accept(visitor);
    EXPECT_THAT(noting->drawables, ElementsAre("near", "plain"));
}
