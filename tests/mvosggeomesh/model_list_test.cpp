#include "mvosggeomesh/TiledModelFixture.h"

#include "support/UserValues.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace
{

struct ModelList : public TiledModelFixture
{
    /** Three one-level models, side by side. */
    TilePyramid three = pyramid({1, 3});
    std::vector<std::string> file{three.rootFile(0), three.rootFile(1), three.rootFile(2)};
};

void expectBox(const KdDbExtents& box, const KdGePoint3d& min, const KdGePoint3d& max)
{
    EXPECT_NEAR(box.minPoint().x, min.x, 1e-4);
    EXPECT_NEAR(box.minPoint().y, min.y, 1e-4);
    EXPECT_NEAR(box.minPoint().z, min.z, 1e-4);
    EXPECT_NEAR(box.maxPoint().x, max.x, 1e-4);
    EXPECT_NEAR(box.maxPoint().y, max.y, 1e-4);
    EXPECT_NEAR(box.maxPoint().z, max.z, 1e-4);
}

void expectEmpty(const KdDbExtents& box)
{
    EXPECT_FALSE(box.isValid());
    EXPECT_EQ(box.minPoint().x, KdDbExtents().minPoint().x);
    EXPECT_EQ(box.maxPoint().z, KdDbExtents().maxPoint().z);
}

} // namespace

TEST_F(ModelList, NumbersModelsInTheOrderInWhichTheyAreAdded)
{
    EXPECT_EQ(driver.add(file[0]), 0);
    EXPECT_EQ(driver.add(file[1]), 1);
    EXPECT_EQ(driver.add(file[2]), 2);
    EXPECT_EQ(model().root().getNumChildren(), 3U);
}

TEST_F(ModelList, AnswersTheIndexOfAPathThatItHasAndLoadsNothing)
{
    driver.add(file[0]);
    driver.add(file[1]);
    EXPECT_EQ(driver.add(file[0]), 0);
    EXPECT_EQ(driver.add(file[1]), 1);
    EXPECT_EQ(model().root().getNumChildren(), 2U);
    EXPECT_EQ(driver.statistics().tilesLoaded, 2U);
}

TEST_F(ModelList, IsUnchangedByAFileThatCannotBeRead)
{
    driver.add(file[0]);
    EXPECT_EQ(driver.add(folder / "missing.osgb"), -1);
    EXPECT_EQ(driver.add(""), -1);
    EXPECT_EQ(model().modelPaths().size(), 1U);
    EXPECT_EQ(model().root().getNumChildren(), 1U);
    EXPECT_EQ(driver.add(file[1]), 1);
}

// A host may try once more when the user has put the file in place.
TEST_F(ModelList, AddsAFileThatWasMissingAMomentAgo)
{
    const std::string late = folder / "late.osgb";
    EXPECT_EQ(driver.add(late), -1);
    fs::copy_file(file[0], late);
    EXPECT_EQ(driver.add(late), 0);
    EXPECT_EQ(driver.statistics().tilesFailed, 0U);
}

TEST_F(ModelList, GivesEachFilesRootItsNumberUnderTheModelsRoot)
{
    for (const std::string& path : file)
        driver.add(path);
    for (unsigned int i = 0; i < 3U; ++i)
    {
        const auto* number = mvgeo::userValue<unsigned int>(*model().root().getChild(i), "root_nodeid");
        ASSERT_NE(number, nullptr);
        EXPECT_EQ(*number, i);
    }
}

TEST_F(ModelList, TagsTheContentOfARootFileWithModelFileAndCounter)
{
    const TilePyramid paged = pyramid({2}, "paged");
    driver.add(paged.rootFile());
    const osg::Group* root = model().root().getChild(0)->asGroup();
    ASSERT_NE(root, nullptr);
    const auto* text = mvgeo::userValue<std::string>(*root->getChild(0), "GlobalID");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(*text, id("Tile_0.osgb_0"));
}

TEST_F(ModelList, TagsTheRootItselfOfAFileWithoutPaging)
{
    driver.add(file[0]);
    const auto* text = mvgeo::userValue<std::string>(*model().root().getChild(0), "GlobalID");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(*text, id("Tile_0.osgb_0"));
}

TEST_F(ModelList, ReplacesAModelAndReadsEverythingAgain)
{
    driver.add(file[0]);
    driver.add(file[1]);
    EXPECT_TRUE(model().replaceModel(0, file[2].c_str()));
    ASSERT_EQ(model().modelPaths().size(), 2U);
    EXPECT_EQ(model().modelPaths()[0].ansiPtr(), file[2]);
    EXPECT_EQ(model().modelPaths()[1].ansiPtr(), file[1]);
    EXPECT_EQ(driver.statistics().tilesLoaded, 4U);
    EXPECT_EQ(driver.statistics().tilesHeld, 2U);
    expectBox(model().extents(), {100, 0, 0}, {300, 100, 0});
}

TEST_F(ModelList, ReplacesOnlyWhatIsThere)
{
    EXPECT_FALSE(model().replaceModel(0, file[0].c_str()));
    driver.add(file[0]);
    EXPECT_FALSE(model().replaceModel(-1, file[1].c_str()));
    EXPECT_FALSE(model().replaceModel(1, file[1].c_str()));
    EXPECT_EQ(model().modelPaths()[0].ansiPtr(), file[0]);
    EXPECT_EQ(driver.statistics().tilesLoaded, 1U);
}

TEST_F(ModelList, KeepsTheNewPathInItsPlaceEvenIfItsFileCannotBeRead)
{
    for (const std::string& path : file)
        driver.add(path);
    const std::string missing = folder / "missing.osgb";
    EXPECT_TRUE(model().replaceModel(1, missing.c_str()));
    ASSERT_EQ(model().modelPaths().size(), 3U);
    EXPECT_EQ(model().modelPaths()[1].ansiPtr(), missing);
    EXPECT_EQ(model().modelPaths()[2].ansiPtr(), file[2]);
    EXPECT_EQ(model().root().getNumChildren(), 2U);
}

TEST_F(ModelList, HoldsAPathOnceWhenAReplacementRepeatsIt)
{
    driver.add(file[0]);
    driver.add(file[1]);
    EXPECT_TRUE(model().replaceModel(1, file[0].c_str()));
    ASSERT_EQ(model().modelPaths().size(), 1U);
    EXPECT_EQ(model().root().getNumChildren(), 1U);
}

TEST_F(ModelList, ReloadDropsAVanishedFileAndMovesLaterIndicesDown)
{
    for (const std::string& path : file)
        driver.add(path);
    fs::remove(file[1]);
    model().reload();
    ASSERT_EQ(model().modelPaths().size(), 2U);
    EXPECT_EQ(driver.add(file[0]), 0);
    EXPECT_EQ(driver.add(file[2]), 1);
    EXPECT_EQ(driver.add(file[1]), -1);
    EXPECT_EQ(*mvgeo::userValue<unsigned int>(*model().root().getChild(1), "root_nodeid"), 1U);
}

TEST_F(ModelList, ReloadShowsAFileThatChanged)
{
    driver.add(file[0]);
    fs::copy_file(file[2], file[0], fs::copy_options::overwrite_existing);
    expectBox(model().extents(), {0, 0, 0}, {100, 100, 0});
    model().reload();
    expectBox(model().extents(), {200, 0, 0}, {300, 100, 0});
}

TEST_F(ModelList, ReloadOfAnEmptyModelDoesNothing)
{
    model().reload();
    EXPECT_TRUE(model().modelPaths().empty());
    expectEmpty(model().extents());
}

TEST_F(ModelList, ReloadOfAModelWhoseOnlyFileVanishedLeavesAnEmptyModel)
{
    driver.add(file[0]);
    fs::remove(file[0]);
    model().reload();
    EXPECT_TRUE(model().modelPaths().empty());
    expectEmpty(model().extents());
    EXPECT_EQ(driver.statistics().tilesHeld, 0U);
}

TEST_F(ModelList, ClearForgetsFilesPlacementAndExtents)
{
    driver.add(file[0]);
    model().setName("name");
    model().setTransform(KdGeMatrix3d::scaling(3.0));
    model().clear();
    EXPECT_TRUE(model().modelPaths().empty());
    EXPECT_EQ(model().root().getNumChildren(), 0U);
    EXPECT_EQ(model().transform(), KdGeMatrix3d::kIdentity);
    EXPECT_TRUE(model().root().getMatrix().isIdentity());
    expectEmpty(model().extents());
    EXPECT_EQ(driver.statistics().tilesHeld, 0U);
    EXPECT_EQ(driver.statistics().bytesHeld, 0U);
}

TEST_F(ModelList, CanBeFilledAgainAfterClear)
{
    driver.add(file[0]);
    model().clear();
    EXPECT_EQ(driver.add(file[1]), 0);
    driver.view = perspectiveView({150, 50, 100}, {150, 50, 0});
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visibleIds(), testing::ElementsAre(id("Tile_1.osgb_0")));
    expectCleanContract();
}

TEST_F(ModelList, ExtentsCoverAllFiles)
{
    expectEmpty(model().extents());
    driver.add(file[0]);
    expectBox(model().extents(), {0, 0, 0}, {100, 100, 0});
    driver.add(file[2]);
    expectBox(model().extents(), {0, 0, 0}, {300, 100, 0});
}

TEST_F(ModelList, ExtentsFollowThePlacementWithoutBeingMeasuredAgain)
{
    driver.add(file[0]);
    // A quarter turn about z takes (x, y) to (-y, x); then everything moves by (1000, 2000, 3000).
    KdGeMatrix3d placement;
    const double entries[4][4] = {{0, -1, 0, 1000}, {1, 0, 0, 2000}, {0, 0, 1, 3000}, {0, 0, 0, 1}};
    std::copy(&entries[0][0], &entries[0][0] + 16, &placement.entry[0][0]);
    model().setTransform(placement);
    expectBox(model().extents(), {900, 2000, 3000}, {1000, 2100, 3000});

    driver.add(file[1]); // measured under a placement, stored without
    expectBox(model().extents(), {900, 2000, 3000}, {1000, 2200, 3000});
    EXPECT_EQ(model().transform(), placement);
    EXPECT_FALSE(model().root().getMatrix().isIdentity());
    model().setTransform(KdGeMatrix3d::kIdentity);
    expectBox(model().extents(), {0, 0, 0}, {200, 100, 0});
}

TEST_F(ModelList, ExtentsOfAnEmptyModelStayEmptyUnderAPlacement)
{
    model().setTransform(KdGeMatrix3d::translation({1, 2, 3}));
    expectEmpty(model().extents());
}

TEST_F(ModelList, ExtentsOfAFileWithoutAnythingAreEmpty)
{
    TilePyramidOptions options;
    options.rootKind = TilePyramidOptions::RootKind::emptyNode;
    EXPECT_EQ(driver.add(pyramid(options, "empty").rootFile()), 0);
    expectEmpty(model().extents());
}

// The spheres that the paged nodes declare are all there is to go by: centre (50, 50), radius 70.7.
TEST_F(ModelList, ExtentsOfAnIndexFileComeFromThePlacesThatItDeclares)
{
    driver.add(pyramid({2}, "indexed").writeIndexFile());
    const KdDbExtents box = model().extents();
    ASSERT_TRUE(box.isValid());
    EXPECT_NEAR(box.minPoint().x, 50.0 - 70.71, 0.01);
    EXPECT_NEAR(box.maxPoint().y, 50.0 + 70.71, 0.01);
}

TEST_F(ModelList, ExtentsCoverAnIndexFileBesideAFileWithGeometry)
{
    driver.add(pyramid({2}, "indexed").writeIndexFile());
    driver.add(file[2]);
    const KdDbExtents box = model().extents();
    EXPECT_LE(box.minPoint().x, 0.0);
    EXPECT_NEAR(box.maxPoint().x, 300.0, 1e-3);
    EXPECT_LE(box.minPoint().y, 0.0);
    EXPECT_GE(box.maxPoint().y, 100.0);
}

TEST_F(ModelList, TakesPathsWithBlanksQuotesAndChinese)
{
    for (const std::string name :
         {"a b", "it's \"quoted\"", "\xe5\x80\xbe\xe6\x96\x9c \xe6\x91\x84\xe5\xbd\xb1", "100%_#$&;"})
    {
        SCOPED_TRACE(name);
        const TilePyramid odd = pyramid({2}, name);
        EXPECT_GE(driver.add(odd.rootFile()), 0);
    }
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesHeld, 8U); // four roots and their children
}

TEST_F(ModelList, TakesEveryKindOfRoot)
{
    using Kind = TilePyramidOptions::RootKind;
    for (const Kind kind : {Kind::pagedLod, Kind::group, Kind::geode, Kind::emptyNode})
    {
        SCOPED_TRACE(static_cast<int>(kind));
        ModelDriver one;
        TilePyramidOptions options{2};
        options.rootKind = kind;
        const TilePyramid data = pyramid(options, "kind" + std::to_string(static_cast<int>(kind)));
        ASSERT_EQ(one.add(data.rootFile()), 0);
        one.view = fromAbove();
        ASSERT_TRUE(one.converge());
        const bool isPaged = kind == Kind::pagedLod || kind == Kind::group;
        EXPECT_EQ(one.statistics().tilesHeld, isPaged ? 2U : 1U);
        EXPECT_EQ(one.statistics().tilesFailed, 0U);
        EXPECT_EQ(one.receiver.meshes().empty(), kind == Kind::emptyNode);
        EXPECT_THAT(one.receiver.errors, testing::IsEmpty());
    }
}
