#include "mvosggeomesh/TiledModelFixture.h"

#include "support/UserValues.h"

#include <limits>

namespace
{

constexpr unsigned char kTextures = MvGeoMesh::kExtractTextures;

using Update = TiledModelFixture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

bool updateWith(ModelDriver& driver, const HostView& view, GeoMeshUpdateReceiver* receiver)
{
    return driver.model().update(1, &view.model, &view.view, &view.projection, view.width, view.height, kTextures,
                                 nullptr, receiver);
}

} // namespace

TEST_F(Update, OfAnEmptyModelTellsTheReceiverThatThereIsNothing)
{
    driver.view = fromAbove();
    EXPECT_TRUE(driver.update());
    EXPECT_THAT(receiver().calls, ElementsAre("hasTiles", "removeTiles", "visibleTiles"));
    EXPECT_THAT(receiver().visible, IsEmpty());
}

TEST_F(Update, CallsTheReceiverInOrderAndAnnouncesTilesLast)
{
    driver.add(pyramid({1}).rootFile());
    driver.view = fromAbove();
    driver.update();
    EXPECT_THAT(receiver().calls,
                ElementsAre("hasTiles", "removeTiles", "visibleTiles", "beginTile " + id("Tile_0.osgb_0")));
}

TEST_F(Update, AnnouncesEachTileOnce)
{
    driver.add(pyramid().rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    driver.update();
    EXPECT_THAT(receiver().calls, ElementsAre("hasTiles", "removeTiles", "visibleTiles"));
    EXPECT_EQ(receiver().announced.size(), receiver().heldIds().size());
    expectCleanContract();
}

TEST_F(Update, RefusesANullReceiverAndChangesNothing)
{
    driver.add(pyramid().rootFile());
    EXPECT_FALSE(updateWith(driver, fromAbove(), nullptr));
    EXPECT_EQ(model().frameStamp().getFrameNumber(), 0U);
    EXPECT_EQ(driver.statistics().requestsWaiting, 0U);
    EXPECT_TRUE(driver.statistics().idle);
}

TEST_F(Update, RefusesAViewportWithoutArea)
{
    driver.add(pyramid().rootFile());
    for (const auto& [width, height] : {std::pair{0, 600}, std::pair{800, 0}, std::pair{-1, 600}, std::pair{800, -600}})
    {
        HostView view = fromAbove();
        view.width = width;
        view.height = height;
        EXPECT_FALSE(updateWith(driver, view, &receiver())) << width << " x " << height;
    }
    EXPECT_THAT(receiver().calls, IsEmpty());
    EXPECT_EQ(model().frameStamp().getFrameNumber(), 0U);
}

TEST_F(Update, RefusesMatricesWithoutInverse)
{
    driver.add(pyramid().rootFile());
    for (KdGeMatrix3d HostView::*matrix : {&HostView::model, &HostView::view, &HostView::projection})
    {
        HostView singular = fromAbove();
        for (double& value : (singular.*matrix).entry[1])
            value = 0.0;
        EXPECT_FALSE(updateWith(driver, singular, &receiver()));

        HostView undefined = fromAbove();
        (undefined.*matrix).entry[2][1] = kNan;
        EXPECT_FALSE(updateWith(driver, undefined, &receiver()));

        HostView infinite = fromAbove();
        (infinite.*matrix).entry[0][3] = std::numeric_limits<double>::infinity();
        EXPECT_FALSE(updateWith(driver, infinite, &receiver()));
    }
    EXPECT_THAT(receiver().calls, IsEmpty());
}

TEST_F(Update, RefusesMissingMatrices)
{
    const HostView v = fromAbove();
    EXPECT_FALSE(model().update(1, nullptr, &v.view, &v.projection, 8, 6, kTextures, nullptr, &receiver()));
    EXPECT_FALSE(model().update(1, &v.model, nullptr, &v.projection, 8, 6, kTextures, nullptr, &receiver()));
    EXPECT_FALSE(model().update(1, &v.model, &v.view, nullptr, 8, 6, kTextures, nullptr, &receiver()));
}

TEST_F(Update, SurvivesPlacementsThatCannotBeInverted)
{
    driver.add(pyramid().rootFile());
    driver.view = fromAbove();
    KdGeMatrix3d undefined;
    undefined.entry[0][0] = kNan;
    for (const KdGeMatrix3d& placement : {KdGeMatrix3d::scaling(0.0), undefined})
    {
        model().setTransform(placement);
        EXPECT_TRUE(driver.converge());
    }
    model().setTransform(KdGeMatrix3d::kIdentity);
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesHeld, 6U);
}

TEST_F(Update, TakesFrameNumberZeroAsANewFrameTheFirstTime)
{
    const HostView v = fromAbove();
    model().update(0, &v.model, &v.view, &v.projection, 8, 6, kTextures, nullptr, &receiver());
    EXPECT_EQ(model().frameStamp().getFrameNumber(), 1U);
}

TEST_F(Update, AdvancesTheFrameStampOnceForOneHostFrame)
{
    const HostView v = fromAbove();
    const auto updateFrame = [&](unsigned int number)
    { model().update(number, &v.model, &v.view, &v.projection, 8, 6, kTextures, nullptr, &receiver()); };
    updateFrame(7);
    const osg::FrameStamp after = model().frameStamp();
    updateFrame(7);
    EXPECT_EQ(model().frameStamp().getFrameNumber(), 1U);
    EXPECT_EQ(model().frameStamp().getReferenceTime(), after.getReferenceTime());
    EXPECT_EQ(model().frameStamp().getSimulationTime(), after.getReferenceTime());
    updateFrame(3); // another number, even a smaller one, is another frame
    EXPECT_EQ(model().frameStamp().getFrameNumber(), 2U);
    EXPECT_GT(model().frameStamp().getReferenceTime(), after.getReferenceTime());
    EXPECT_EQ(model().frameStamp().getSimulationTime(), model().frameStamp().getReferenceTime());
}

TEST_F(Update, GivesTheVisitorViewportPixelSizeAndFrustum)
{
    driver.view = fromAbove();
    driver.update();
    SceneViewVisitor& visitor = model().sceneVisitor();
    EXPECT_EQ(visitor.viewport->width(), 800.0);
    EXPECT_EQ(visitor.viewport->height(), 600.0);
    // One pixel is 1 / 724.26 of the depth, 600 / (2 tan 22.5 degrees). OSG adds the halves of the viewport and
    // takes the diagonal: sqrt(2) * sqrt(2 * 724.26^2 + 400^2 + 300^2) = 1611.9, at a depth of 100 m.
    EXPECT_NEAR(1.0 / mvgeo::dot(visitor.pixelSizeVector, {50.0, 50.0, 0.0}), 16.119, 0.001);
    EXPECT_TRUE(visitor.frustum.contains(osg::Vec3(50, 50, 0)));
    EXPECT_FALSE(visitor.frustum.contains(osg::Vec3(50, 50, 101)));
    EXPECT_TRUE(visitor.frustumStack.empty());
    EXPECT_TRUE(visitor.modelMatrixStack.empty());
    EXPECT_TRUE(visitor.visibleContentNodes.empty());
}

TEST_F(Update, BringsEverythingAgainToAHostThatHasNothing)
{
    driver.add(pyramid().rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    const std::set<std::string> before = receiver().heldIds();
    EXPECT_EQ(before.size(), 9U); // the root, four quadrants, four groups of geodes
    receiver().forget();
    driver.update();
    EXPECT_EQ(receiver().heldIds(), before);
    expectCleanContract();
}

TEST_F(Update, KeepsItsTilesWhenAContainerIsRefused)
{
    driver.add(pyramid().rootFile());
    driver.view = fromAbove();
    receiver().refusesTiles = true;
    ASSERT_TRUE(driver.converge());
    receiver().refusesTiles = false;
    driver.update();
    EXPECT_EQ(receiver().heldIds().size(), 9U);
    expectCleanContract();
}

TEST_F(Update, WarnsOfATileWithoutIdentityAndSkipsIt)
{
    driver.add(pyramid({1}).rootFile());
    driver.view = fromAbove();
    driver.update();
    log.clear();
    model().pager().loadedContentNodes.push_back(new osg::Group);
    driver.update();
    EXPECT_EQ(log.count(osg::WARN, "cannot get tiled_nodeid"), 2); // once for its meshes, once for its textures
    EXPECT_THAT(receiver().calls, ElementsAre("hasTiles", "removeTiles", "visibleTiles"));
    const std::string line = log.lines().front().text;
    EXPECT_THAT(line, testing::MatchesRegex("src/mvosggeomesh [0-9]+cannot get tiled_nodeid"));
}

TEST_F(Update, DoesNotAnnounceATileThatWasRemovedInTheSameUpdate)
{
    driver.add(pyramid({1}).rootFile());
    driver.view = fromAbove();
    driver.update();
    osg::ref_ptr<osg::Node> node = new osg::Group;
    node->setUserValue("GlobalID", std::string("gone"));
    model().pager().loadedContentNodes.push_back(node);
    model().pager().removedContentNodes.push_back(node);
    receiver().allowsComingAndGoing = true;
    driver.update();
    EXPECT_THAT(receiver().removed, ElementsAre("gone"));
    EXPECT_THAT(receiver().announced, ElementsAre(id("Tile_0.osgb_0")));
    EXPECT_TRUE(*mvgeo::userValue<bool>(*node, "valid")); // so that it counts when it comes back
}

TEST_F(Update, ShowsNothingBehindTheCamera)
{
    driver.add(pyramid().rootFile());
    driver.view = perspectiveView({50, 50, 100}, {50, 50, 200});
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, IsEmpty());
    EXPECT_EQ(driver.statistics().tilesMerged, 0U);
    EXPECT_EQ(receiver().heldIds().size(), 1U); // the root is in memory all the same
}

TEST_F(Update, ShowsOnlyWhatTheFrustumHolds)
{
    driver.add(pyramid({1, 3}).rootFile(0));
    driver.add(folder / "data/Tile_1/Tile_1.osgb");
    driver.add(folder / "data/Tile_2/Tile_2.osgb");
    driver.view = perspectiveView({280, 50, 50}, {280, 50, 0}); // shows x from 252 to 308
    driver.update();
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_2.osgb_0")));
    EXPECT_EQ(receiver().heldIds().size(), 3U);
}

TEST_F(Update, ShowsEverythingWhenCullingIsOff)
{
    driver.add(pyramid({1}).rootFile());
    model().sceneVisitor().cullingEnabled = 0;
    driver.view = perspectiveView({50, 50, 100}, {50, 50, 200});
    driver.update();
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0.osgb_0")));
}

TEST_F(Update, CullsAModelThatIsSmallerThanTwoPixels)
{
    driver.add(pyramid({1}).rootFile());
    // 1611.9 * 70.71 m / depth falls below two pixels at a depth of 56.99 km.
    driver.view = perspectiveView({50, 50, 56700}, {50, 50, 0});
    driver.update();
    EXPECT_EQ(receiver().visible.size(), 1U);
    driver.view = perspectiveView({50, 50, 57300}, {50, 50, 0});
    driver.update();
    EXPECT_THAT(receiver().visible, IsEmpty());
}

TEST_F(Update, TakesTheModelMatrixIntoAccount)
{
    driver.add(pyramid({1}).rootFile());
    driver.view = perspectiveView({1050, 50, 100}, {1050, 50, 0});
    driver.update();
    EXPECT_THAT(receiver().visible, IsEmpty());
    driver.view.model = KdGeMatrix3d::translation({1000, 0, 0});
    driver.update();
    EXPECT_EQ(receiver().visible.size(), 1U);
}

TEST_F(Update, AnnouncesTheRootOfAFileThatIsAddedBetweenUpdates)
{
    const TilePyramid two = pyramid({1, 2});
    driver.add(two.rootFile(0));
    driver.view = fromAbove();
    driver.update();
    driver.add(two.rootFile(1));
    driver.update();
    EXPECT_THAT(receiver().calls,
                ElementsAre("hasTiles", "removeTiles", "visibleTiles", "beginTile " + id("Tile_1.osgb_0")));
    driver.update();
    EXPECT_THAT(receiver().calls, ElementsAre("hasTiles", "removeTiles", "visibleTiles"));
    expectCleanContract();
}

TEST_F(Update, SaysNothingOfAFileThatWasAddedAndClearedBetweenUpdates)
{
    driver.view = fromAbove();
    driver.add(pyramid({1}).rootFile());
    driver.update();
    driver.add(pyramid({1, 2}, "other").rootFile(1));
    model().clear();
    driver.update(); // the host still holds the first file's tile, so it does not ask for everything
    EXPECT_THAT(receiver().calls, ElementsAre("hasTiles", "removeTiles", "visibleTiles"));
    EXPECT_THAT(receiver().announced, ElementsAre(id("Tile_0.osgb_0")));
    EXPECT_THAT(receiver().visible, IsEmpty());
}
