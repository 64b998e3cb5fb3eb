#include "mvgeothirdparty/ModelFactory.h"

#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"
#include "support/UserValues.h"

#include <KdEdVariables.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace
{

using Model = std::unique_ptr<MvGeoMesh>;

bool noRefresh()
{
    return true;
}

const MvOsgGeoMesh& tiled(const Model& model)
{
    return dynamic_cast<const MvOsgGeoMesh&>(*model);
}

/** Removes the log handler that an earlier model installed, sets the host variable, and puts both back. */
struct LogFile : public testing::Test
{
    TemporaryDirectory folder;
    osg::ref_ptr<osg::NotifyHandler> handlerBefore = osg::getNotifyHandler();
    osg::NotifySeverity levelBefore = osg::getNotifyLevel();

    void SetUp() override { osg::setNotifyHandler(new osg::StandardNotifyHandler); }
    void TearDown() override
    {
        setLogFilePath(nullptr);
        osg::setNotifyHandler(handlerBefore);
        osg::setNotifyLevel(levelBefore);
    }
    static void setLogFilePath(const char* value)
    {
        const KdString text(value);
        kdedSetVar(KdString("LOGFILEPATH").kwszPtr(), value ? text.kwszPtr() : nullptr);
    }
};

} // namespace

// The numbers, as hosts that are compiled already pass them.
TEST(ModelFactory, NumbersOfTheInterfaceStay)
{
    EXPECT_EQ(kTiledModel, 0);
    EXPECT_EQ(kTerrainModel, 1);
    EXPECT_EQ(MvGeoMesh::kExtractGeometry, 0);
    EXPECT_EQ(MvGeoMesh::kExtractTextures, 1);
    EXPECT_EQ(MvGeoMesh::kClipInside, 0);
    EXPECT_EQ(MvGeoMesh::kClipOutside, 1);
    EXPECT_EQ(MvGeoMesh::kAllModelFiles, 0xFFFFFFFFU);
    EXPECT_EQ(MvGeoMesh::kFinestTiles, 1);
}

TEST(ModelFactory, BuildsATiledModel)
{
    const LogRecorder log;
    const Model model(createTiledModel(noRefresh, kTiledModel));
    ASSERT_TRUE(model);
    const MvGeoMesh& made = *model;
    EXPECT_EQ(typeid(made), typeid(MvOsgGeoMesh));
}

TEST(ModelFactory, BuildsNothingOfAnUnknownType)
{
    const LogRecorder log;
    for (const int type : {2, -1, 1000})
        EXPECT_EQ(createTiledModel(noRefresh, static_cast<ModelType>(type)), nullptr) << type;
    EXPECT_TRUE(log.lines().empty());
}

TEST(ModelFactory, DestroysTheCallbackThatItDoesNotUse)
{
    auto token = std::make_shared<int>(0);
    EXPECT_EQ(createTiledModel([token] { return true; }, static_cast<ModelType>(2)), nullptr);
    EXPECT_EQ(token.use_count(), 1);
}

TEST(ModelFactory, KeepsTheCallbackAsLongAsTheModelLivesAndNeverCallsItItself)
{
    const LogRecorder log;
    auto calls = std::make_shared<int>(0);
    Model model(createTiledModel([calls] { return ++*calls > 0; }, kTiledModel));
    EXPECT_EQ(calls.use_count(), 3); // ours, the model's and its pager's
    model.reset();
    EXPECT_EQ(calls.use_count(), 1);
    EXPECT_EQ(*calls, 0);
}

TEST(ModelFactory, TakesAnEmptyCallback)
{
    const LogRecorder log;
    EXPECT_TRUE(Model(createTiledModel(nullptr, kTiledModel)));
}

TEST(ModelFactory, NumbersModelsAndTheirPagersInARow)
{
    const LogRecorder log;
    std::vector<Model> models;
    for (int i = 0; i < 3; ++i)
        models.emplace_back(createTiledModel(noRefresh, kTiledModel));
    const std::uint32_t first = tiled(models[0]).instanceNumber();
    for (std::uint32_t i = 0; i < 3; ++i)
    {
        auto& model = dynamic_cast<MvOsgGeoMesh&>(*models[i]);
        EXPECT_EQ(model.instanceNumber(), first + i);
        EXPECT_EQ(model.pager().modelId, static_cast<int>(first + i));
    }
}

// Alone in its process, as CTest runs it.
TEST(FirstModels, AreNumbersZeroOneAndTwo)
{
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1)
        GTEST_SKIP() << "another test of this process may have made models";
    const LogRecorder log;
    std::vector<Model> models;
    for (int i = 0; i < 3; ++i)
    {
        models.emplace_back(createTiledModel(noRefresh, kTiledModel));
        auto& model = dynamic_cast<MvOsgGeoMesh&>(*models.back());
        EXPECT_EQ(model.instanceNumber(), static_cast<std::uint32_t>(i));
        EXPECT_EQ(model.pager().modelId, i);
    }
}

TEST(ModelFactory, BuildsAnEmptyModelWithItsMachinery)
{
    const LogRecorder log;
    const Model model(createTiledModel(noRefresh, kTiledModel));
    auto& mesh = dynamic_cast<MvOsgGeoMesh&>(*model);
    EXPECT_EQ(mesh.root().getNumChildren(), 0U);
    const bool* topNode = mvgeo::userValue<bool>(mesh.root(), "top_node");
    ASSERT_NE(topNode, nullptr);
    EXPECT_TRUE(*topNode);
    EXPECT_EQ(mesh.sceneVisitor().getDatabaseRequestHandler(), &mesh.pager());
    EXPECT_EQ(mesh.pager().getNumDatabaseThreads(), 1U);
    EXPECT_TRUE(mesh.pager().refreshCallback);
    EXPECT_EQ(mesh.pager().mergeBacklogLimit, 30U);
    EXPECT_EQ(mesh.frameStamp().getFrameNumber(), 0U);
    EXPECT_EQ(mesh.transform(), KdGeMatrix3d::kIdentity);
    EXPECT_FALSE(mesh.extents().isValid());
    EXPECT_TRUE(mesh.modelPaths().empty());
}

TEST(ModelFactory, SetsTheNotifyLevelEachTime)
{
    const LogRecorder log;
    for (int i = 0; i < 2; ++i)
    {
        osg::setNotifyLevel(osg::DEBUG_FP);
        const Model model(createTiledModel(noRefresh, kTiledModel));
        EXPECT_EQ(osg::getNotifyLevel(), osg::NOTICE);
    }
}

TEST_F(LogFile, IsOpenedBelowTheHostsFolder)
{
    folder.makeFolder("GeoCache");
    setLogFilePath((folder.path().string() + "/").c_str());
    const Model model(createTiledModel(noRefresh, kTiledModel));
    osg::notify(osg::WARN) << "from the test" << std::endl;
    EXPECT_THAT(readFile(folder / "GeoCache/3d.log"), testing::HasSubstr("[WARN] from the test\n"));
}

// The variable brings its own separator; without one the two names grow together.
TEST_F(LogFile, GetsNoSeparatorFromUs)
{
    folder.makeFolder("hostGeoCache");
    setLogFilePath((folder / "host").c_str());
    const Model model(createTiledModel(noRefresh, kTiledModel));
    osg::notify(osg::WARN) << "from the test" << std::endl;
    EXPECT_THAT(readFile(folder / "hostGeoCache/3d.log"), testing::HasSubstr("from the test"));
}

TEST_F(LogFile, WithoutTheVariableIsRelativeToTheWorkingFolder)
{
    const std::filesystem::path before = std::filesystem::current_path();
    folder.makeFolder("GeoCache");
    std::filesystem::current_path(folder.path());
    {
        const Model model(createTiledModel(noRefresh, kTiledModel));
        osg::notify(osg::WARN) << "from the test" << std::endl;
    }
    std::filesystem::current_path(before);
    EXPECT_THAT(readFile(folder / "GeoCache/3d.log"), testing::HasSubstr("from the test"));
}

TEST_F(LogFile, TakesAFolderWithChineseName)
{
    const std::string name = "\xe6\x97\xa5\xe5\xbf\x97";
    folder.makeFolder(name + "/GeoCache");
    setLogFilePath((folder / name + "/").c_str());
    const Model model(createTiledModel(noRefresh, kTiledModel));
    osg::notify(osg::WARN) << "from the test" << std::endl;
    EXPECT_THAT(readFile(folder / name + "/GeoCache/3d.log"), testing::HasSubstr("from the test"));
}

TEST_F(LogFile, ThatCannotBeOpenedStopsNobody)
{
    setLogFilePath((folder / "missing/").c_str());
    const Model model(createTiledModel(noRefresh, kTiledModel));
    EXPECT_TRUE(model);
    osg::notify(osg::WARN) << "dropped" << std::endl;
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

TEST_F(LogFile, IsInstalledByTheFirstModelOnly)
{
    setLogFilePath((folder / "a/").c_str());
    const Model first(createTiledModel(noRefresh, kTiledModel));
    osg::NotifyHandler* installed = osg::getNotifyHandler();
    EXPECT_NE(dynamic_cast<NotifyHandler*>(installed), nullptr);
    setLogFilePath((folder / "b/").c_str());
    const Model second(createTiledModel(noRefresh, kTiledModel));
    EXPECT_EQ(osg::getNotifyHandler(), installed);
}

TEST_F(LogFile, OutlivesTheModelThatInstalledIt)
{
    folder.makeFolder("GeoCache");
    setLogFilePath((folder.path().string() + "/").c_str());
    Model(createTiledModel(noRefresh, kTiledModel)).reset();
    osg::notify(osg::WARN) << "after the model" << std::endl;
    EXPECT_THAT(readFile(folder / "GeoCache/3d.log"), testing::HasSubstr("after the model"));
}
