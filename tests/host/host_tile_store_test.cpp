#include "FakeTexture.h"

#include <hosting/HostTileStore.h>

#include <KdGeMatrix3d.h>

#include <gmock/gmock.h>

#include <functional>

using namespace mvgeo::host;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
using Ids = std::vector<std::string>;

/** One update as the library makes it. `announced` tiles get one mesh of one triangle each. */
void update(HostTileStore& store, const Ids& removed, const Ids& visible, const Ids& announced)
{
    const float corners[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const unsigned int indices[] = {0, 1, 2};
    store.beginUpdate();
    (void)store.hasTiles();
    store.removeTiles(removed);
    store.visibleTiles(visible);
    for (const std::string& id : announced)
    {
        GeoMeshTileContainer* tile = store.beginTile(id);
        if (!tile) continue;
        KdGiGeoMesh* mesh = tile->createMesh();
        mesh->setVertices(3, corners, nullptr, nullptr);
        mesh->setIndices(3, indices);
    }
    store.endUpdate();
}

/** The violations after one tile with one mesh, filled by `fill`. */
std::vector<std::string> violationsOf(const std::function<void(KdGiGeoMesh&)>& fill)
{
    HostTileStore store;
    store.beginUpdate();
    (void)store.hasTiles();
    store.removeTiles({});
    store.visibleTiles({"a"});
    fill(*store.beginTile("a")->createMesh());
    store.endUpdate();
    return store.violations();
}
} // namespace

// Ground at 5 with a post without data at 0: the cell of the ground stays with its skirt, the cliff and its skirt go.
TEST(HostTileStore, LeavesOutTheCliffsAroundMissingGround)
{
    const float corners[] = {0, 0, 5, 1, 0, 5, 0, 1, 5,   // ground
                             2, 0, 0,                     // missing
                             0, 0, 2, 1, 0, 2, 2, 0, -3}; // the feet of the skirt along y = 0, 3 below
    const unsigned int indices[] = {0, 1, 2, 1, 3, 2,     // ground, cliff
                                    0, 4, 5, 0, 5, 1,     // the ground's skirt
                                    1, 5, 6, 1, 6, 3};    // the cliff's
    HostTileStore store;
    store.leaveOutBelow(4.0F);
    store.beginUpdate();
    (void)store.hasTiles();
    store.removeTiles({});
    store.visibleTiles({"a"});
    KdGiGeoMesh* mesh = store.beginTile("a")->createMesh();
    mesh->setVertices(7, corners, nullptr, nullptr);
    mesh->setIndices(18, indices);
    store.endUpdate();
    EXPECT_THAT(store.violations(), IsEmpty());
    EXPECT_EQ(store.visibleTriangleCount(), 3U);
}

TEST(HostTileStore, ShowsTheVisibleTilesAndHidesTheOthers)
{
    HostTileStore store;
    update(store, {}, {"b", "a"}, {"a", "b", "c"});
    EXPECT_THAT(store.visibleIds(), ElementsAre("a", "b"));
    EXPECT_EQ(store.heldTileCount(), 3U);
    EXPECT_EQ(store.visibleTriangleCount(), 2U);
    update(store, {}, {"c"}, {});
    EXPECT_EQ(store.visibleTriangleCount(), 1U);

    int shown = 0;
    for (unsigned int i = 0; i < store.scene()->getNumChildren(); ++i)
        shown += store.scene()->getChild(i)->getNodeMask() != 0 ? 1 : 0;
    EXPECT_EQ(shown, 1);
    EXPECT_THAT(store.violations(), IsEmpty());
}

TEST(HostTileStore, DropsRemovedTilesAndTakesThemBack)
{
    HostTileStore store;
    update(store, {}, {"a"}, {"a"});
    update(store, {"a"}, {}, {});
    EXPECT_EQ(store.heldTileCount(), 0U);
    EXPECT_EQ(store.scene()->getNumChildren(), 0U);
    update(store, {}, {"a"}, {"a"});
    EXPECT_EQ(store.heldTileCount(), 1U);
    EXPECT_THAT(store.violations(), IsEmpty());
}

TEST(HostTileStore, AsksForAllTilesAtFirstAndAfterAReset)
{
    HostTileStore store;
    const auto asksForAll = [&store]
    {
        store.beginUpdate();
        const bool all = !store.hasTiles();
        store.removeTiles({});
        store.visibleTiles({});
        store.endUpdate();
        return all;
    };
    EXPECT_TRUE(asksForAll());
    EXPECT_FALSE(asksForAll());
    update(store, {}, {"a"}, {"a"});
    store.reset();
    EXPECT_EQ(store.heldTileCount(), 0U);
    EXPECT_TRUE(asksForAll());
}

TEST(HostTileStore, ReportsATileThatIsAnnouncedTwice)
{
    HostTileStore store;
    update(store, {}, {"a"}, {"a"});
    update(store, {}, {"a"}, {"a"});
    EXPECT_THAT(store.violations(), ElementsAre(HasSubstr("'a' was announced again")));
    EXPECT_EQ(store.visibleTriangleCount(), 1U);
}

TEST(HostTileStore, ReportsAVisibleTileThatItDoesNotHold)
{
    HostTileStore store;
    update(store, {}, {"a", "b"}, {"a"});
    EXPECT_THAT(store.violations(), ElementsAre(HasSubstr("'b' is visible")));
}

TEST(HostTileStore, ReportsATileThatIsRemovedAndVisibleAtOnce)
{
    HostTileStore store;
    update(store, {}, {"a"}, {"a"});
    update(store, {"a"}, {"a"}, {});
    EXPECT_THAT(store.violations(), ElementsAre(HasSubstr("'a' is visible")));
}

TEST(HostTileStore, ReportsATileThatIsRemovedAndAnnouncedInOneUpdate)
{
    HostTileStore store;
    update(store, {"a"}, {}, {"a"});
    EXPECT_THAT(store.violations(), ElementsAre(HasSubstr("in the update that removed it")));
}

TEST(HostTileStore, CountsTilesThatWereRemovedWithoutBeingHeld)
{
    HostTileStore store;
    update(store, {"came and went"}, {}, {});
    EXPECT_EQ(store.unannouncedRemovals(), 1U);
    EXPECT_THAT(store.violations(), IsEmpty());
}

TEST(HostTileStore, ReportsCallsInAnotherOrder)
{
    HostTileStore store;
    store.beginUpdate();
    (void)store.hasTiles();
    store.visibleTiles({});
    store.removeTiles({});
    store.endUpdate();
    EXPECT_THAT(store.violations(),
                ElementsAre(HasSubstr("visibleTiles came out of order"), HasSubstr("removeTiles came out of order"),
                            HasSubstr("without naming the visible tiles")));
    HostTileStore outside;
    (void)outside.beginTile("a");
    EXPECT_THAT(outside.violations(), ElementsAre(HasSubstr("beginTile came out of order")));
}

TEST(HostTileStore, ReportsMeshesThatCannotBeDrawn)
{
    const float corners[9] = {};
    const unsigned int wild[] = {0, 1, 3};
    const unsigned int three[] = {0, 1, 2};
    EXPECT_THAT(violationsOf([](KdGiGeoMesh&) {}), ElementsAre(HasSubstr("without vertices")));
    EXPECT_THAT(violationsOf([&](KdGiGeoMesh& mesh) { mesh.setVertices(3, corners, nullptr, nullptr); }),
                ElementsAre(HasSubstr("without indices")));
    EXPECT_THAT(violationsOf(
                    [&](KdGiGeoMesh& mesh)
                    {
                        mesh.setVertices(3, corners, nullptr, nullptr);
                        mesh.setIndices(2, three);
                    }),
                ElementsAre(HasSubstr("with 2 indices")));
    EXPECT_THAT(violationsOf(
                    [&](KdGiGeoMesh& mesh)
                    {
                        mesh.setVertices(3, corners, nullptr, nullptr);
                        mesh.setIndices(3, wild);
                    }),
                ElementsAre(HasSubstr("3 vertices came with the index 3")));
}

TEST(HostTileStore, CountsATextureOfTwoMeshesOnceAndDropsItWithTheSecond)
{
    TextureCounts counts;
    HostTileStore store;
    const float corners[9] = {};
    const float texCoords[] = {0, 0, 1, 0, 0, 1};
    const unsigned int indices[] = {0, 1, 2};
    store.beginUpdate();
    (void)store.hasTiles();
    store.removeTiles({});
    store.visibleTiles({});
    for (const char* id : {"a", "b"})
    {
        KdGiGeoMesh* mesh = store.beginTile(id)->createMesh();
        mesh->setTexture(new FakeTexture("shared.jpg", counts));
        mesh->setVertices(3, corners, nullptr, texCoords);
        mesh->setIndices(3, indices);
    }
    store.endUpdate();
    EXPECT_EQ(store.textures().textureCount(), 1U);
    EXPECT_EQ(store.textures().byteCount(), 24U);
    update(store, {"a"}, {}, {});
    EXPECT_EQ(store.textures().textureCount(), 1U);
    update(store, {"b"}, {}, {});
    EXPECT_EQ(store.textures().textureCount(), 0U);
    EXPECT_EQ(counts.deleted, 2);
}

TEST(HostTileStore, KeepsLargeCoordinatesExactInTheTransform)
{
    HostTileStore store;
    const float corners[9] = {};
    const unsigned int indices[] = {0, 1, 2};
    store.beginUpdate();
    (void)store.hasTiles();
    store.removeTiles({});
    store.visibleTiles({"a"});
    KdGiGeoMesh* mesh = store.beginTile("a")->createMesh();
    mesh->setTransform(KdGeMatrix3d::translation({500000.125, 4000000.0625, 7.0}));
    mesh->setVertices(3, corners, nullptr, nullptr);
    mesh->setIndices(3, indices);
    store.endUpdate();
    const osg::Node* tile = store.scene()->getChild(0);
    const auto* placed = dynamic_cast<const osg::MatrixTransform*>(tile->asGroup()->getChild(0));
    ASSERT_NE(placed, nullptr);
    EXPECT_EQ(placed->getMatrix().getTrans(), osg::Vec3d(500000.125, 4000000.0625, 7.0));
}
