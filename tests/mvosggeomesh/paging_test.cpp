#include "mvosggeomesh/TiledModelFixture.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>

namespace fs = std::filesystem;

namespace
{

using Paging = TiledModelFixture;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/** Tiles of level 0 and 1 only, chosen by distance to the root's centre (50, 50, 0); finer below 200 m. */
TilePyramidOptions byDistance()
{
    TilePyramidOptions options{2};
    options.rangeMode = TilePyramidOptions::RangeMode::distance;
    options.threshold = 200.0F;
    return options;
}

} // namespace

TEST_F(Paging, ByPixelSizeShowsTheLevelThatTheViewNeeds)
{
    driver.add(pyramid().rootFile());
    // OSG's measure is 1611.9 * radius / depth for this viewport (see the update's test). The root's radius is
    // 70.71 m, so 200 pixels at a depth of 569.9 m; half of that for its quadrants.
    driver.view = fromAbove(580.0);
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0.osgb_0")));
    EXPECT_EQ(driver.statistics().tilesHeld, 1U);

    driver.view = fromAbove(560.0);
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(receiver().visibleIds(), (std::set<std::string>{id("Tile_0_L1.osgb_0"), id("Tile_0_L1.osgb_1"),
                                                              id("Tile_0_L1.osgb_2"), id("Tile_0_L1.osgb_3")}));
    EXPECT_EQ(driver.statistics().tilesHeld, 2U);

    driver.view = fromAbove(275.0);
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(receiver().visibleIds(), (std::set<std::string>{id("Tile_0_L2_0.osgb_0"), id("Tile_0_L2_1.osgb_0"),
                                                              id("Tile_0_L2_2.osgb_0"), id("Tile_0_L2_3.osgb_0")}));
    EXPECT_EQ(driver.statistics().tilesHeld, 6U);
    expectCleanContract();
}

TEST_F(Paging, ShowsTheCoarseTileWhileTheFineOneIsLoaded)
{
    driver.add(pyramid({2}).rootFile());
    driver.view = fromAbove();
    driver.update();
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0.osgb_0")));
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, Not(Contains(id("Tile_0.osgb_0"))));
}

TEST_F(Paging, ByDistanceMeasuresFromTheCamera)
{
    driver.add(pyramid(byDistance()).rootFile());
    driver.view = fromAbove(201.0);
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0.osgb_0")));
    driver.view = fromAbove(199.0);
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0_L1.osgb_0")));
}

TEST_F(Paging, ByDistanceFollowsThePlacement)
{
    driver.add(pyramid(byDistance()).rootFile());
    model().setTransform(KdGeMatrix3d::translation({10000, 20000, 0}));
    driver.view = perspectiveView({10050, 20050, 205}, {10050, 20050, 0});
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0.osgb_0")));
    driver.view = perspectiveView({10050, 20050, 195}, {10050, 20050, 0});
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, ElementsAre(id("Tile_0_L1.osgb_0")));
}

// A placement that doubles everything: the ranges are metres of the file, 200 of them are 400 on the host's side.
TEST_F(Paging, ByDistanceFollowsModelMatrixAndPlacementTogether)
{
    driver.add(pyramid(byDistance()).rootFile());
    model().setTransform(KdGeMatrix3d::scaling(2.0));
    const KdGeMatrix3d model = KdGeMatrix3d::translation({0, 0, 1000}) * KdGeMatrix3d::rotation(0.5, {0, 0, 1});
    const KdGePoint3d middle = KdGePoint3d(100, 100, 0).transformBy(model);
    for (const double height : {410.0, 390.0})
    {
        driver.view = perspectiveView({middle.x, middle.y, middle.z + height}, {middle.x, middle.y, middle.z});
        driver.view.model = model;
        ASSERT_TRUE(driver.converge());
        EXPECT_THAT(receiver().visible, ElementsAre(id(height > 400.0 ? "Tile_0.osgb_0" : "Tile_0_L1.osgb_0")))
            << height;
    }
}

TEST_F(Paging, ByPixelSizeFollowsModelMatrixAndPlacementTogether)
{
    driver.add(pyramid({2}).rootFile());
    model().setTransform(KdGeMatrix3d::scaling(2.0)); // so the 569.9 m of the plain model become 1139.8
    for (const double height : {1150.0, 1130.0})
    {
        driver.view = perspectiveView({1100, 100, height}, {1100, 100, 0});
        driver.view.model = KdGeMatrix3d::translation({1000, 0, 0});
        ASSERT_TRUE(driver.converge());
        EXPECT_THAT(receiver().visible, ElementsAre(id(height > 1140.0 ? "Tile_0.osgb_0" : "Tile_0_L1.osgb_0")))
            << height;
    }
}

TEST_F(Paging, WalksAChainOfTilesWithEqualBounds)
{
    TilePyramidOptions options{5, 1, 1};
    driver.add(pyramid(options).rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesHeld, 5U);
    EXPECT_EQ(receiver().visible.size(), 1U);
    expectCleanContract();
}

TEST_F(Paging, FollowsBackSlashesInAnIndexFile)
{
    driver.add(pyramid({2, 2}).writeIndexFile());
    driver.view = perspectiveView({100, 50, 150}, {100, 50, 0});
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesFailed, 0U);
    EXPECT_EQ(driver.statistics().tilesHeld, 5U); // the index, two roots, two groups
    EXPECT_EQ(receiver().visibleIds(), (std::set<std::string>{id("Tile_0_L1.osgb_0"), id("Tile_1_L1.osgb_0")}));
    expectCleanContract();
}

TEST_F(Paging, ReadsCompressedTiles)
{
    TilePyramidOptions options;
    options.isCompressed = true;
    driver.add(pyramid(options).rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesHeld, 6U);
}

TEST_F(Paging, PlacesGeometryBelowATransform)
{
    TilePyramidOptions options{2};
    options.hasTransform = true; // lifts by 100
    driver.add(pyramid(options).rootFile());
    model().setTransform(KdGeMatrix3d::translation({0, 0, 1000}));
    driver.view = perspectiveView({50, 50, 1300}, {50, 50, 1000});
    ASSERT_TRUE(driver.converge());
    ASSERT_FALSE(receiver().meshes().empty());
    for (const RecordingMesh* mesh : receiver().meshes())
        EXPECT_EQ(mesh->transform, KdGeMatrix3d::translation({0, 0, 1100}));
}

// The mesh must lie where picking finds it: the file's own transform above the paged node counts too.
TEST_F(Paging, PlacesGeometryBelowATransformThatStandsAboveThePagedNode)
{
    TilePyramidOptions options{2};
    options.transformAbovePaging = true; // lifts by 100
    driver.add(pyramid(options).rootFile());
    model().setTransform(KdGeMatrix3d::scaling(2.0));
    driver.view = perspectiveView({100, 100, 500}, {100, 100, 200});
    ASSERT_TRUE(driver.converge());
    ASSERT_EQ(receiver().meshes().size(), 5U);
    for (const RecordingMesh* mesh : receiver().meshes())
        EXPECT_EQ(mesh->transform, KdGeMatrix3d::scaling(2.0) * KdGeMatrix3d::translation({0, 0, 100}));
}

TEST_F(Paging, GivesNormalsToTilesReadFromNowOnAndToThoseInMemory)
{
    driver.add(pyramid({2}).rootFile());
    driver.view = fromAbove(600.0);
    ASSERT_TRUE(driver.converge());
    ASSERT_EQ(receiver().meshes().size(), 1U);
    EXPECT_THAT(receiver().meshes()[0]->normals, testing::IsEmpty());

    EXPECT_TRUE(model().setGenerateNormals(true));
    receiver().forget();
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(receiver().meshes().size(), 5U);
    for (const RecordingMesh* mesh : receiver().meshes())
        EXPECT_THAT(mesh->normals, ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1));
}

TEST_F(Paging, SwitchingNormalsOffLeavesTheOldOnesAndMakesNoNewOnes)
{
    EXPECT_TRUE(model().setGenerateNormals(true));
    driver.add(pyramid({2}).rootFile());
    EXPECT_TRUE(model().setGenerateNormals(false));
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    ASSERT_EQ(receiver().meshes().size(), 5U);
    for (const RecordingMesh* mesh : receiver().meshes())
        EXPECT_EQ(mesh->normals.size(), mesh->vertices[2] == 0.0F ? 12U : 0U); // the root lies at z = 0
}

TEST_F(Paging, ReadsAFailedTileAtOnceAfterAReload)
{
    const TilePyramid data = pyramid();
    fs::rename(data.file("_L2_3"), folder / "away");
    driver.add(data.rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    ASSERT_EQ(driver.statistics().tilesFailed, 1U);

    fs::rename(folder / "away", data.file("_L2_3"));
    model().reload();
    receiver().forget();
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesFailed, 0U);
    EXPECT_THAT(receiver().visible, Contains(id("Tile_0_L2_3.osgb_0")));
}

TEST_F(Paging, KeepsTheParentOfAMissingChildAndSaysSoOnce)
{
    const TilePyramid data = pyramid();
    fs::remove(data.file("_L2_3"));
    driver.add(data.rootFile());
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    for (int frame = 0; frame < 50; ++frame)
    {
        driver.update();
        ASSERT_TRUE(driver.waitUntilLoaded());
    }
    EXPECT_EQ(driver.statistics().tilesFailed, 1U);
    EXPECT_EQ(driver.statistics().tilesLoaded, 5U);
    EXPECT_EQ(log.count("Tile_0_L2_3.osgb"), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(receiver().visible, Contains(id("Tile_0_L1.osgb_3")));
    EXPECT_THAT(receiver().visible, Contains(id("Tile_0_L2_2.osgb_0")));
    expectCleanContract();
}

TEST_F(Paging, BringsNothingAfterClearWhileTilesAreOnTheirWay)
{
    const TilePyramid data = pyramid({4});
    for (int round = 0; round < 10; ++round)
    {
        driver.add(data.rootFile());
        driver.view = fromAbove(30.0);
        driver.update();
        if (round % 2 == 1)
        {
            ASSERT_TRUE(driver.waitUntilLoaded());
        }
        model().clear();
        receiver().forget();
        ASSERT_TRUE(driver.converge());
        EXPECT_TRUE(receiver().heldIds().empty());
        EXPECT_TRUE(receiver().visible.empty());
        EXPECT_EQ(driver.statistics().tilesHeld, 0U);
    }
    EXPECT_EQ(driver.statistics().tilesMerged, 0U);
    expectCleanContract();
}

TEST_F(Paging, EndsWellWhenTheModelIsDeletedWhileTilesAreLoaded)
{
    const TilePyramid data = pyramid({4});
    int endedAtWork = 0;
    for (int round = 0; round < 50; ++round)
    {
        ModelDriver one;
        one.add(data.rootFile());
        one.view = fromAbove(30.0);
        for (int frame = 0; frame < round % 5; ++frame)
            one.update();
        const osg::observer_ptr<osg::Node> tile = one.model().root().getChild(0);
        const osg::observer_ptr<DatabasePagerBridge> pager = &one.model().pager();
        if (one.statistics().idle == 0) ++endedAtWork;
        one.destroyModel();
        EXPECT_FALSE(tile.valid()) << round;
        EXPECT_FALSE(pager.valid()) << round << ": so its thread has ended too";
    }
    EXPECT_GT(endedAtWork, 10) << "else nothing was tried";
    EXPECT_TRUE(log.lines().empty());
}

// Of two requests one fails, whichever of them is read last.
TEST_F(Paging, CallsTheHostWhenTheLastReadOfTheFirstSecondFails)
{
    for (const int missing : {0, 1})
    {
        SCOPED_TRACE(missing);
        const TilePyramid data = pyramid({1, 2}, "data" + std::to_string(missing));
        const std::string index = data.writeIndexFile();
        fs::remove(data.rootFile(missing));

        std::promise<void> called;
        std::atomic<int> calls{0};
        MvOsgGeoMesh one(
            [&]
            {
                if (++calls == 1) called.set_value();
                return true;
            });
        one.pager().creationTickMs += 1e6; // the first second does not end before the test does
        ASSERT_EQ(one.addModel(KdString(index.c_str())), 0);
        const HostView view = perspectiveView({100, 50, 150}, {100, 50, 0});
        RecordingReceiver host;
        const auto update = [&](unsigned int frame)
        { one.update(frame, &view.model, &view.view, &view.projection, 800, 600, 1, nullptr, &host); };
        update(1);
        ASSERT_EQ(called.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
        update(2);
        EXPECT_EQ(host.announced.size(), 1U);
        EXPECT_EQ(calls.load(), 1);
    }
}

TEST_F(Paging, KeepsTheTilesOfOneModelApartFromThoseOfAnother)
{
    const TilePyramid data = pyramid({2});
    ModelDriver other;
    for (ModelDriver* one : {&driver, &other})
    {
        one->add(data.rootFile());
        one->view = fromAbove();
        ASSERT_TRUE(one->converge());
    }
    EXPECT_EQ(driver.receiver.heldIds().size(), 2U);
    for (const std::string& identity : other.receiver.heldIds())
        EXPECT_EQ(driver.receiver.heldIds().count(identity), 0U);
}

namespace
{

/** A host that flies between two places of a wide model, with room for few paged nodes. */
struct Expiry : public testing::Test
{
    // The pager takes its limit from the environment when it is built.
    ScopedEnvironment limit{"OSG_MAX_PAGEDLOD", "4"};
    TemporaryDirectory folder;
    ScopedEnvironment temp{"TEMP", folder / "temp"};
    ModelDriver driver;
    TilePyramid pyramid{folder / "data", {3, 2}};

    void showOver(double x)
    {
        driver.view = perspectiveView({x, 50, 60}, {x, 50, 0});
        for (int frame = 0; frame < 6; ++frame)
            ASSERT_TRUE(driver.converge());
    }
};

} // namespace

TEST_F(Expiry, RemovesWhatTheViewLeftAndBringsTheSameIdentitiesBack)
{
    driver.add(pyramid.rootFile(0));
    driver.add(pyramid.rootFile(1));
    showOver(50);
    const std::set<std::string> first = driver.receiver.visibleIds();
    const std::set<std::string> held = driver.receiver.heldIds();
    showOver(150);
    EXPECT_FALSE(driver.receiver.removed.empty());
    EXPECT_GT(driver.statistics().tilesExpired, 0U);
    const std::set<std::string> gone(driver.receiver.removed.begin(), driver.receiver.removed.end());
    for (const std::string& identity : gone)
        EXPECT_TRUE(held.count(identity)) << identity;

    showOver(50);
    EXPECT_EQ(driver.receiver.visibleIds(), first);
    EXPECT_THAT(driver.receiver.errors, testing::IsEmpty());
}

TEST_F(Expiry, KeepsTheNumberOfHeldTilesBounded)
{
    driver.add(pyramid.rootFile(0));
    driver.add(pyramid.rootFile(1));
    showOver(50);
    showOver(150);
    const GeoMeshStatistics before = driver.statistics();
    for (int round = 0; round < 10; ++round)
    {
        showOver(50);
        showOver(150);
        EXPECT_LE(driver.statistics().tilesHeld, before.tilesHeld + 2U) << round;
        EXPECT_LE(driver.receiver.heldIds().size(), 20U) << round;
    }
    const GeoMeshStatistics after = driver.statistics();
    EXPECT_GT(after.tilesExpired, before.tilesExpired);
    EXPECT_EQ(after.tilesHeld, 2U + after.tilesMerged - after.tilesExpired); // the two roots, and what came and stayed
    EXPECT_THAT(driver.receiver.errors, testing::IsEmpty());
}

TEST_F(Expiry, TakesNothingThatTheViewShows)
{
    driver.add(pyramid.rootFile(0));
    showOver(50);
    const std::size_t removed = driver.receiver.removed.size();
    const auto merged = driver.statistics().tilesMerged;
    for (int frame = 0; frame < 30; ++frame)
        ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.receiver.removed.size(), removed);
    EXPECT_EQ(driver.statistics().tilesMerged, merged);
}

// Whoever has lost its tiles has none that could be taken from it; what expires then is just not told again.
TEST_F(Expiry, TakesNothingFromAHostThatLostItsTilesInTheVeryUpdate)
{
    driver.add(pyramid.rootFile(0));
    driver.add(pyramid.rootFile(1));
    showOver(50);
    driver.receiver.removed.clear();
    driver.view = perspectiveView({150, 50, 60}, {150, 50, 0});
    const std::uint64_t before = driver.statistics().tilesExpired;
    for (int frame = 0; frame < 100 && driver.statistics().tilesExpired == before; ++frame)
    {
        ASSERT_TRUE(driver.waitUntilLoaded());
        driver.receiver.forget();
        ASSERT_TRUE(driver.update());
    }
    ASSERT_GT(driver.statistics().tilesExpired, before);
    EXPECT_THAT(driver.receiver.removed, testing::IsEmpty());

    const std::set<std::string> held = driver.receiver.heldIds();
    driver.receiver.forget();
    ASSERT_TRUE(driver.update());
    EXPECT_EQ(driver.receiver.heldIds(), held) << "that update has told all there was, and nothing that had gone";
    EXPECT_THAT(driver.receiver.errors, testing::IsEmpty());
}

TEST_F(Expiry, OfTwoRootTilesTakesTheChildrenOfTheOneThatTheViewLeft)
{
    const auto heldOf = [this](const std::string& name)
    {
        std::set<std::string> ids;
        for (const std::string& identity : driver.receiver.heldIds())
            if (identity.find('_' + name) != std::string::npos) ids.insert(identity);
        return ids;
    };
    const TilePyramid apart(folder / "apart", {3, 3}); // the first and the third, so that no view touches both
    driver.add(apart.rootFile(0));
    driver.add(apart.rootFile(2));
    const std::string number = std::to_string(driver.model().instanceNumber()) + '_';
    const std::vector<std::string> names = {"Tile_0", "Tile_2"};
    const std::vector<std::string> roots = {number + "Tile_0.osgb_0", number + "Tile_2.osgb_0"};

    for (int round = 0; round < 4; ++round)
    {
        SCOPED_TRACE(round);
        const std::size_t here = static_cast<std::size_t>(round) % 2;
        const std::size_t there = 1 - here;
        const std::set<std::string> left = heldOf(names[there]);
        driver.receiver.removed.clear();
        showOver(here == 0 ? 50 : 250);
        // Of the tile in view the children are there, of the other one only itself.
        EXPECT_GT(heldOf(names[here]).size(), 4U);
        EXPECT_EQ(heldOf(names[there]), std::set<std::string>{roots[there]});
        if (round == 0) continue;
        std::set<std::string> expected = left;
        expected.erase(roots[there]);
        EXPECT_EQ(std::set<std::string>(driver.receiver.removed.begin(), driver.receiver.removed.end()), expected);
        EXPECT_EQ(driver.receiver.removed.size(), expected.size());
    }
    EXPECT_THAT(driver.receiver.errors, testing::IsEmpty());
}
