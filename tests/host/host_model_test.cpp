#include <commands/ModelOptions.h>
#include <common/HostError.h>
#include <hosting/HostModel.h>

#include <mvgeothirdparty/GeoMeshUpdateReceiver.h>

#include <gtest/gtest.h>

#include <deque>

using namespace mvgeo::host;

namespace
{
/** What the stand-in's statistics say, one after the other; the last stays. */
struct Script
{
    std::deque<GeoMeshStatistics> statistics;
    std::function<bool()> wake;
    int updates = 0;
    bool refuses = false;
    bool wakesOnEveryLook = false;
    int texturedUpdates = 0;
    int tilesTaken = 0;
};

GeoMeshStatistics idle()
{
    GeoMeshStatistics s{};
    s.idle = 1;
    return s;
}

GeoMeshStatistics reading()
{
    GeoMeshStatistics s{};
    s.requestsWaiting = 1;
    return s;
}

GeoMeshStatistics merging()
{
    GeoMeshStatistics s{};
    s.mergesWaiting = 1;
    return s;
}

/** A model without tiles that can be read only if its path says so. */
class ScriptedModel : public MvGeoMesh
{
public:
    explicit ScriptedModel(Script& script) : _script(script) {}

    bool update(unsigned int, const KdGeMatrix3d* model, const KdGeMatrix3d* view, const KdGeMatrix3d* projection, int,
                int, unsigned char extract, void*, GeoMeshUpdateReceiver* receiver) override
    {
        if (_script.refuses || !model || !view || !projection) return false;
        ++_script.updates;
        (void)receiver->hasTiles();
        receiver->removeTiles({});
        receiver->visibleTiles({});
        if (extract != 0) ++_script.texturedUpdates;
        if (receiver->beginTile("tile" + std::to_string(_script.updates))) ++_script.tilesTaken;
        return true;
    }
    int addModel(const KdString& path) override { return std::string(path.utf8Ptr()) == "good" ? 0 : -1; }

    void reload() override {}
    void setName(const KdString&) override {}
    KdDbExtents extents() const override { return {}; }
    bool pickPoint(const KdGeMatrix3d*, const KdGePoint3d*, KdGePoint3d*) override { return false; }
    bool pickTriangle(const KdGeMatrix3d*, const KdGePoint3d*, std::vector<KdGePoint3d>*) override { return false; }
    bool replaceModel(int, const KdString&) override { return false; }
    void setTransform(const KdGeMatrix3d&) override {}
    const KdGeMatrix3d& transform() const override { return KdGeMatrix3d::kIdentity; }
    bool clip(int, unsigned int, const KdGeMatrix3d*, const std::vector<KdGePoint3d>*, const double*, int,
              std::vector<KdGePoint3d>*) override
    {
        return false;
    }
    bool section(const KdGeMatrix3d*, const std::vector<KdGePoint3d>*, std::vector<std::vector<KdGePoint3d>>*) override
    {
        return false;
    }
    bool setGenerateNormals(bool) override { return true; }
    void clear() override {}

private:
    Script& _script;
};

std::unique_ptr<HostModel> makeModel(Script& script)
{
    const auto create = [&script](std::function<bool()> wake)
    {
        script.wake = std::move(wake);
        return new ScriptedModel(script);
    };
    const auto read = [&script](const MvGeoMesh*, GeoMeshStatistics* out)
    {
        if (script.wakesOnEveryLook) script.wake();
        *out = script.statistics.front();
        if (script.statistics.size() > 1) script.statistics.pop_front();
        return true;
    };
    return std::make_unique<HostModel>(create, read);
}

ViewFrame someFrame()
{
    return {osg::Matrixd(), osg::Matrixd(), 100, 100};
}

HostModel::Clock::time_point inAnHour()
{
    return HostModel::Clock::now() + std::chrono::hours(1);
}
} // namespace

TEST(HostModel, HasConvergedWhenAnUpdateAsksForNothing)
{
    Script script;
    script.statistics = {idle()};
    EXPECT_TRUE(makeModel(script)->converge(someFrame(), inAnHour(), {}));
    EXPECT_EQ(script.updates, 1);
}

TEST(HostModel, UpdatesAgainForEveryBatchOfLoadedTiles)
{
    Script script;
    script.statistics = {reading(), merging(), reading(), merging(), idle()};
    EXPECT_TRUE(makeModel(script)->converge(someFrame(), inAnHour(), {}));
    EXPECT_EQ(script.updates, 3);
}

TEST(HostModel, ConvergesWithoutAWakeUpAfterReadsThatFail)
{
    Script script;
    script.statistics = {reading(), reading(), idle()};
    EXPECT_TRUE(makeModel(script)->converge(someFrame(), inAnHour(), {}));
    EXPECT_EQ(script.updates, 1); // nothing came: another update would ask for the same
}

TEST(HostModel, LosesNoWakeUpThatComesWhileItLooks)
{
    Script script;
    script.wakesOnEveryLook = true;
    script.statistics = {reading(), reading(), merging(), idle()};
    EXPECT_TRUE(makeModel(script)->converge(someFrame(), inAnHour(), {}));
    EXPECT_EQ(script.updates, 2);
}

TEST(HostModel, GivesUpAtItsDeadline)
{
    Script never;
    never.statistics = {reading()};
    EXPECT_FALSE(makeModel(never)->converge(someFrame(), HostModel::Clock::now(), {}));
    Script always;
    always.statistics = {merging()};
    EXPECT_FALSE(makeModel(always)->converge(someFrame(), HostModel::Clock::now(), {}));
}

TEST(HostModel, TellsItsProgressWhileItWaits)
{
    Script script;
    script.statistics = {reading(), idle()};
    int told = 0;
    EXPECT_TRUE(makeModel(script)->converge(someFrame(), inAnHour(), [&told](const GeoMeshStatistics&) { ++told; }));
    EXPECT_EQ(told, 1);
}

TEST(HostModel, EndsWithASentenceWhenTheLibraryRefuses)
{
    Script script;
    script.statistics = {idle()};
    script.refuses = true;
    EXPECT_THROW(makeModel(script)->updateOnce(someFrame()), HostError);
    EXPECT_THROW(HostModel([](std::function<bool()>) -> MvGeoMesh* { return nullptr; }, {}), HostError);
}

TEST(HostModel, TakesWhatItIsToldTo)
{
    const struct
    {
        HostModel::AcceptedTiles tiles;
        int textured, taken;
    } cases[] = {{HostModel::AcceptedTiles::textured, 1, 1},
                 {HostModel::AcceptedTiles::untextured, 0, 1},
                 {HostModel::AcceptedTiles::none, 0, 0}};
    for (const auto& expected : cases)
    {
        Script script;
        const std::unique_ptr<HostModel> model = makeModel(script);
        model->setAcceptedTiles(expected.tiles);
        model->updateOnce(someFrame());
        EXPECT_EQ(script.texturedUpdates, expected.textured);
        EXPECT_EQ(script.tilesTaken, expected.taken);
        EXPECT_EQ(model->tiles().heldTileCount(), static_cast<std::size_t>(expected.taken));
        EXPECT_TRUE(model->tiles().violations().empty());
    }
}

TEST(HostModel, LetsItsProgressEndTheWait)
{
    Script script;
    script.statistics = {reading()};
    const auto stop = [](const GeoMeshStatistics&) { throw HostError("enough", 130); };
    EXPECT_THROW((void)makeModel(script)->converge(someFrame(), inAnHour(), stop), HostError);
}

TEST(HostModel, LeavesUnreadableRootFilesOutUnlessAllAre)
{
    Script script;
    const std::unique_ptr<HostModel> model = makeModel(script);
    ModelInput input;
    input.rootFiles = {"good", "bad"};
    EXPECT_EQ(addRootFiles(*model, input), std::vector<std::string>{"bad"});
    input.rootFiles = {"bad"};
    EXPECT_THROW((void)addRootFiles(*model, input), HostError);
}

TEST(HostModel, SaysIfTheLibraryRefusesToDrapeOrToClip)
{
    Script script;
    script.statistics = {idle()};
    const std::unique_ptr<HostModel> model = makeModel(script); // the stand-in refuses both
    EXPECT_THROW((void)model->drape({{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}}), HostError);
    EXPECT_THROW((void)model->clip({{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}, {}), HostError);
}
