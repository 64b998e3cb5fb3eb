#include "mvosggeomesh/TiledModelFixture.h"

#include <algorithm>
#include <functional>
#include <memory>

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

/** A host that does something with the model in the middle of one of its receiver's calls. */
class CallingHost : public GeoMeshUpdateReceiver
{
public:
    /** The call in which `action` is done, the first time that it comes. */
    std::string moment;
    std::function<void()> action;
    bool isDone = false;

    bool keepsTiles = false; // what hasTiles() answers
    std::set<std::string> held;
    std::set<std::string> visible;
    std::vector<std::string> removed;
    std::vector<std::string> errors;
    std::vector<KdGeMatrix3d> placements; // of the meshes

    bool hasTiles() override
    {
        if (!keepsTiles) held.clear();
        const bool answer = keepsTiles;
        now("hasTiles");
        return answer;
    }
    void removeTiles(const std::vector<std::string>& globalIds) override
    {
        const std::vector<std::string> before = globalIds;
        now("removeTiles");
        if (globalIds != before) errors.emplace_back("the removed tiles changed");
        removed.insert(removed.end(), before.begin(), before.end());
        for (const std::string& id : before)
            held.erase(id);
    }
    void visibleTiles(const std::vector<std::string>& globalIds) override
    {
        const std::vector<std::string> before = globalIds;
        now("visibleTiles");
        if (globalIds != before) errors.emplace_back("the visible tiles changed");
        visible = {before.begin(), before.end()};
    }
    GeoMeshTileContainer* beginTile(const std::string& globalId) override
    {
        const std::string before = globalId;
        now("beginTile");
        if (globalId != before) errors.emplace_back("the identity changed");
        if (!held.insert(before).second) errors.push_back("announced twice: " + before);
        return &_container;
    }
    void now(const std::string& call)
    {
        if (isDone || call != moment) return;
        isDone = true;
        action();
    }

private:
    struct Mesh : public RecordingMesh
    {
        explicit Mesh(CallingHost& owner) : host(owner) {}
        void setTransform(const KdGeMatrix3d& xform) override
        {
            host.placements.push_back(xform);
            host.now("setTransform");
        }
        void setVertices(unsigned int count, const float* v, const float* n, const float* t) override
        {
            host.now("setVertices");
            RecordingMesh::setVertices(count, v, n, t);
        }
        CallingHost& host;
    };
    struct Container : public GeoMeshTileContainer
    {
        explicit Container(CallingHost& owner) : host(owner) {}
        KdGiGeoMesh* createMesh() override
        {
            host.now("createMesh");
            meshes.push_back(std::make_unique<Mesh>(host));
            return meshes.back().get();
        }
        CallingHost& host;
        std::vector<std::unique_ptr<Mesh>> meshes;
    };
    Container _container{*this};
};

/** Two files in view, and a host that calls the model from each of its receiver's calls in turn. */
struct HostCallsBack : public TiledModelFixture
{
    const std::vector<std::string> moments{"hasTiles",   "removeTiles",  "visibleTiles", "beginTile",
                                           "createMesh", "setTransform", "setVertices"};
    const TilePyramid two = pyramid({1, 2});
    const TilePyramid others = pyramid({1, 3}, "others"); // of which the third is added
    std::unique_ptr<ModelDriver> made;
    std::unique_ptr<CallingHost> host;

    /** A new model with both files and a new host, which will do this then. The model has had no update. */
    void start(const std::string& moment, const std::function<void()>& action)
    {
        made = std::make_unique<ModelDriver>();
        made->add(two.rootFile(0));
        made->add(two.rootFile(1));
        made->view = perspectiveView({100, 50, 200}, {100, 50, 0});
        host = std::make_unique<CallingHost>();
        host->moment = moment;
        host->action = action;
    }
    MvOsgGeoMesh& one() { return made->model(); }
    std::string idOf(const std::string& rest) { return std::to_string(one().instanceNumber()) + '_' + rest; }
    bool update()
    {
        const HostView& v = made->view;
        return one().update(++made->frameNumber, &v.model, &v.view, &v.projection, v.width, v.height,
                            MvGeoMesh::kExtractTextures, nullptr, host.get());
    }
    /** The update in which the host calls back has told of both files, as if it had not. */
    void expectBothTold()
    {
        EXPECT_TRUE(host->isDone);
        EXPECT_EQ(host->held, (std::set<std::string>{idOf("Tile_0.osgb_0"), idOf("Tile_1.osgb_0")}));
        EXPECT_EQ(host->visible, host->held);
        EXPECT_THAT(host->errors, IsEmpty());
        EXPECT_EQ(host->placements.size(), 2U);
    }
    /** What the host has after another update, asked for everything if it says so. */
    std::set<std::string> heldAfterAnotherUpdate(bool keepsTiles)
    {
        host->keepsTiles = keepsTiles;
        EXPECT_TRUE(update());
        EXPECT_THAT(host->errors, IsEmpty());
        EXPECT_TRUE(std::includes(host->held.begin(), host->held.end(), host->visible.begin(), host->visible.end()));
        return host->held;
    }
};

} // namespace

TEST_F(HostCallsBack, ToAddAFileWhichTheNextUpdateAnnounces)
{
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        int index = -1;
        start(moment, [&] { index = made->add(others.rootFile(2)); });
        ASSERT_TRUE(update());
        expectBothTold();
        EXPECT_EQ(index, 2);

        EXPECT_EQ(heldAfterAnotherUpdate(true).count(idOf("Tile_2.osgb_0")), 1U);
        EXPECT_EQ(host->placements.size(), 3U);
        heldAfterAnotherUpdate(true);
        EXPECT_EQ(host->placements.size(), 3U) << "once";
    }
}

TEST_F(HostCallsBack, ToClearTheModel)
{
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        osg::observer_ptr<osg::Node> tile;
        start(moment, [&] { one().clear(); });
        tile = one().root().getChild(0);
        ASSERT_TRUE(update());
        expectBothTold();
        EXPECT_FALSE(tile.valid()) << "what is cleared goes when the update is over";
        EXPECT_THAT(heldAfterAnotherUpdate(false), IsEmpty());
        EXPECT_THAT(host->visible, IsEmpty());
    }
}

TEST_F(HostCallsBack, ToReload)
{
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        start(moment, [&] { one().reload(); });
        ASSERT_TRUE(update());
        expectBothTold();
        EXPECT_EQ(heldAfterAnotherUpdate(false).size(), 2U);
        EXPECT_EQ(host->visible.size(), 2U);
        EXPECT_EQ(made->statistics().tilesHeld, 2U);
    }
}

TEST_F(HostCallsBack, ToReplaceAFile)
{
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        start(moment, [&] { EXPECT_TRUE(one().replaceModel(1, KdString(others.rootFile(2).c_str()))); });
        ASSERT_TRUE(update());
        expectBothTold();
        EXPECT_EQ(heldAfterAnotherUpdate(false), (std::set<std::string>{idOf("Tile_0.osgb_0"), idOf("Tile_2.osgb_0")}));
        EXPECT_EQ(host->visible, host->held);
    }
}

TEST_F(HostCallsBack, ToPlaceTheModelAnewFromTheNextUpdateOn)
{
    const KdGeMatrix3d aside = KdGeMatrix3d::translation({10, 0, 0});
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        start(moment, [&] { one().setTransform(aside); });
        ASSERT_TRUE(update());
        expectBothTold();
        EXPECT_THAT(host->placements, Each(KdGeMatrix3d::kIdentity));
        host->placements.clear();
        heldAfterAnotherUpdate(false);
        EXPECT_THAT(host->placements, ElementsAre(aside, aside));
    }
}

TEST_F(HostCallsBack, ToAskForNormals)
{
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        start(moment, [&] { EXPECT_TRUE(one().setGenerateNormals(true)); });
        ASSERT_TRUE(update());
        expectBothTold();
        ASSERT_TRUE(made->update()); // another host, to which everything is announced
        ASSERT_EQ(made->receiver.meshes().size(), 2U);
        for (const RecordingMesh* mesh : made->receiver.meshes())
            EXPECT_EQ(mesh->normals.size(), 12U);
    }
}

TEST_F(HostCallsBack, ToUpdateAgainWhichDoesNothing)
{
    for (const std::string& moment : moments)
    {
        SCOPED_TRACE(moment);
        bool isUpdated = true;
        start(moment, [&] { isUpdated = update(); });
        ASSERT_TRUE(update());
        EXPECT_FALSE(isUpdated);
        expectBothTold();
        EXPECT_EQ(one().frameStamp().getFrameNumber(), 1U);
        EXPECT_TRUE(update()) << "and the next one is an update like any other";
    }
}

// The transform in the file stands above the content, which has no way to the model's root any more.
TEST_F(HostCallsBack, AClearedFileKeepsItsOwnTransform)
{
    TilePyramidOptions options{1};
    options.transformAbovePaging = true; // lifts by 100
    const TilePyramid lifted = pyramid(options, "lifted");
    start("visibleTiles", [&] { one().clear(); });
    one().clear();
    made->add(lifted.rootFile());
    one().setTransform(KdGeMatrix3d::scaling(2.0));
    ASSERT_TRUE(update());
    EXPECT_TRUE(host->isDone);
    EXPECT_THAT(host->placements, ElementsAre(KdGeMatrix3d::scaling(2.0) * KdGeMatrix3d::translation({0, 0, 100})));
}
