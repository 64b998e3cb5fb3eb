#include "mvosggeomesh/SectionFixture.h"
#include "support/Sanitizers.h"

#include <osg/NodeVisitor>
#include <osg/PagedLOD>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace
{

using testing::IsEmpty;
using testing::SizeIs;

/** What a scene consists of, to see whether anything changed. */
struct SceneFacts : public osg::NodeVisitor
{
    explicit SceneFacts(osg::Node& root) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) { root.accept(*this); }
    void apply(osg::Node& node) override
    {
        nodes.push_back(&node);
        const osg::BoundingSphere& bound = node.getBound();
        bounds.push_back({bound.center().x(), bound.center().y(), bound.center().z(), bound.radius()});
        children.push_back(node.asGroup() ? node.asGroup()->getNumChildren() : 0);
        traverse(node);
    }
    void apply(osg::PagedLOD& node) override
    {
        const auto* options = dynamic_cast<const osg::Object*>(node.getDatabaseOptions());
        const osg::UserDataContainer* values = options ? options->getUserDataContainer() : nullptr;
        optionValues.push_back(values ? values->getNumUserObjects() : 0);
        apply(static_cast<osg::Node&>(node));
    }
    bool operator==(const SceneFacts& other) const
    {
        return nodes == other.nodes && bounds == other.bounds && children == other.children &&
               optionValues == other.optionValues;
    }

    std::vector<const osg::Node*> nodes;
    std::vector<std::array<float, 4>> bounds;
    std::vector<unsigned int> children;
    std::vector<unsigned int> optionValues;
};

} // namespace

TEST_F(Section, IsCutAtTheFinestTilesWhichNeedNotBeLoaded)
{
    addPyramid(); // three levels of 1, 4, 16 squares; level n lies at z = n
    const Lines lines = drape({{0, 5, 0}, {100, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    // Squares of 25 m, with a point on each diagonal and on each border.
    EXPECT_THAT(lines[0], isLine({{0, 5, 2},
                                  {5, 5, 2},
                                  {25, 5, 2},
                                  {30, 5, 2},
                                  {50, 5, 2},
                                  {55, 5, 2},
                                  {75, 5, 2},
                                  {80, 5, 2},
                                  {100, 5, 2}}));
}

TEST_F(Section, IsTheSameWhicheverTilesAreLoaded)
{
    addPyramid();
    const Line line{{3, 5, 0}, {97, 60, 0}, {20, 90, 0}};
    const Lines cold = drape(line);
    driver.view = fromAbove();
    driver.update();
    const Lines halfWay = drape(line);
    ASSERT_TRUE(driver.converge());
    const Lines warm = drape(line);
    ASSERT_THAT(cold, SizeIs(1));
    for (const Lines& other : {halfWay, warm})
    {
        ASSERT_THAT(other, SizeIs(1));
        EXPECT_THAT(other[0], isLine(cold[0]));
    }
    expectCleanContract();
}

TEST_F(Section, ByDistanceTheNearestLevelIsTheFinest)
{
    TilePyramidOptions options;
    options.rangeMode = TilePyramidOptions::RangeMode::distance;
    addPyramid(options);
    const Lines lines = drape({{0, 5, 0}, {20, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 5, 2}, {5, 5, 2}, {20, 5, 2}}));
}

TEST_F(Section, ReadsOnlyTheTilesThatItReachesAndEachOfThemOnce)
{
    addPyramid();
    Line line;
    for (int i = 0; i <= 100; ++i)
        line.push_back({1.0 + 0.2 * i, 5.0, 0.0}); // a hundred segments in the south-western square
    EXPECT_THAT(drape(line), SizeIs(1));
    EXPECT_EQ(driver.statistics().tilesLoaded, 3U); // root, quadrants, quadrants of the south-western one
}

TEST_F(Section, LeavesTheSceneAsItWas)
{
    addPyramid();
    driver.view = fromAbove(1e4);
    driver.update();
    const SceneFacts before(model().root());
    const auto held = driver.statistics().tilesHeld;
    EXPECT_THAT(drape({{0, 5, 0}, {100, 95, 0}}), SizeIs(1));
    EXPECT_TRUE(SceneFacts(model().root()) == before);
    EXPECT_EQ(driver.statistics().tilesHeld, held);
    EXPECT_EQ(driver.statistics().tilesMerged, 0U);
    EXPECT_EQ(driver.statistics().idle, 1U);
}

TEST_F(Section, WritesNoTextures)
{
    addPyramid();
    const auto fileCount = [this]
    {
        const std::filesystem::recursive_directory_iterator files(folder / "temp");
        return std::distance(begin(files), end(files));
    };
    const auto before = fileCount();
    EXPECT_THAT(drape({{0, 5, 0}, {100, 95, 0}}), SizeIs(1));
    EXPECT_EQ(fileCount(), before);
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge()); // the tiles that are shown still get theirs
    EXPECT_GT(fileCount(), before);
    expectCleanContract();
}

TEST_F(Section, RunsOverFiveRootTilesAndTwoModelFiles)
{
    TilePyramidOptions options;
    options.rootTiles = 5;
    const TilePyramid files = pyramid(options);
    ASSERT_EQ(driver.add(files.writeIndexFile()), 0);
    addMesh(makeSquare(500, 0, 2, 100));
    const Lines lines = drape({{-10, 60, 0}, {610, 60, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const Line& line = lines[0];
    EXPECT_EQ(line.size(), 5U * 8U + 3U); // each root tile: four squares, each with a start and a diagonal
    EXPECT_NEAR(line.front().x, 0.0, 1e-6);
    EXPECT_NEAR(line.back().x, 600.0, 1e-6);
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        EXPECT_GT(line[i].x, line[i - 1].x);
        EXPECT_NEAR(line[i].z, 2.0, 1e-6);
    }
}

TEST_F(Section, AlongTheBorderOfTwoTilesIsThereOnce)
{
    TilePyramidOptions options;
    options.rootTiles = 2;
    addPyramid(options);
    for (const double x : {25.0, 50.0, 100.0, 0.0, 200.0}) // the last two are the model's own border
    {
        SCOPED_TRACE(x);
        const Lines lines = drape({{x, 10, 0}, {x, 90, 0}});
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_THAT(lines[0], isLine({{x, 10, 2}, {x, 25, 2}, {x, 50, 2}, {x, 75, 2}, {x, 90, 2}}));
    }
}

TEST_F(Section, AlongAllDiagonalsHasAPointAtEachPost)
{
    addPyramid();
    const Lines lines = drape({{0, 0, 0}, {100, 100, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 0, 2}, {25, 25, 2}, {50, 50, 2}, {75, 75, 2}, {100, 100, 2}}));
}

TEST_F(Section, AcrossTheDiagonalsRunsThroughPostsToo)
{
    addPyramid();
    const Lines lines = drape({{0, 50, 0}, {50, 0, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 50, 2}, {12.5, 37.5, 2}, {25, 25, 2}, {37.5, 12.5, 2}, {50, 0, 2}}));
}

TEST_F(Section, ATileThatIsMissingIsReplacedByTheCoarserOne)
{
    const TilePyramid files = pyramid();
    std::filesystem::remove(files.file("_L2_0")); // the south-western quadrant's quadrants
    ASSERT_EQ(driver.add(files.rootFile()), 0);
    const Lines lines = drape({{10, 5, 0}, {90, 5, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{10, 5, 1}, {50, 5, 1}}));
    EXPECT_THAT(lines[1], isLine({{50, 5, 2}, {55, 5, 2}, {75, 5, 2}, {80, 5, 2}, {90, 5, 2}}));
    EXPECT_EQ(driver.statistics().tilesFailed, 1U);
}

TEST_F(Section, AMissingTileIsTriedAndToldOnceAlsoByALongLine)
{
    const TilePyramid files = pyramid();
    std::filesystem::remove(files.file("_L2_0"));
    ASSERT_EQ(driver.add(files.rootFile()), 0);
    Line line;
    for (int i = 0; i <= 50; ++i)
        line.push_back({10.0 + 0.5 * i, 5.0, 0.0});
    EXPECT_THAT(drape(line), SizeIs(1));
    EXPECT_EQ(log.count("_L2_0"), 1);
}

TEST_F(Section, ACorruptTileIsReplacedByTheCoarserOne)
{
    const TilePyramid files = pyramid();
    const std::string bytes = readFile(files.file("_L2_0"));
    for (const std::string& damaged : {bytes.substr(0, bytes.size() / 2), std::string("no tile"), std::string()})
    {
        writeFile(files.file("_L2_0"), damaged);
        model().clear(); // forgets failures
        ASSERT_EQ(driver.add(files.rootFile()), 0);
        const Lines lines = drape({{10, 5, 0}, {40, 5, 0}});
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_THAT(lines[0], isLine({{10, 5, 1}, {40, 5, 1}}));
    }
}

TEST_F(Section, AnIncompleteRootStillGivesWhatItHolds)
{
    const TilePyramid files = pyramid();
    std::filesystem::remove(files.file("_L1"));
    ASSERT_EQ(driver.add(files.rootFile()), 0);
    const Lines lines = drape({{10, 5, 0}, {40, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{10, 5, 0}, {40, 5, 0}}));
}

namespace
{

/** Resident memory of this process in MB. */
double residentMB()
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

/** Looks at the memory while the section holds its tiles. */
class MemoryWatch : public MvOsgGeoMesh
{
public:
    MemoryWatch() : MvOsgGeoMesh([] { return true; }) {}
    bool checkBoundary(Section::Line& points) override
    {
        most = std::max(most, residentMB());
        ++pieces;
        return MvOsgGeoMesh::checkBoundary(points);
    }
    double most = 0.0;
    int pieces = 0;
};

} // namespace

// All of the finest tiles of a published model, whose textures take some hundred MB.
TEST_F(Section, HoldsNoTexturesOfTheTilesThatItReads)
{
    const char* root = std::getenv("MVGEO_REAL_DATA");
    if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
    const std::filesystem::path data = std::filesystem::path(root) / "osgb/Production_5/Data";
    if (!std::filesystem::is_directory(data)) GTEST_SKIP() << data << " is not there";
#if defined(MVGEO_HAS_ADDRESS_SANITIZER) || defined(MVGEO_HAS_THREAD_SANITIZER)
    GTEST_SKIP() << "the sanitizers keep memory for themselves";
#endif

    MemoryWatch model;
    for (const auto& tile : std::filesystem::directory_iterator(data))
    {
        const std::string name = tile.path().filename().string();
        ASSERT_GE(model.addModel(KdString((tile.path() / (name + ".osgb")).string().c_str())), 0) << name;
    }
    const KdDbExtents box = model.extents();
    Line line;
    for (int pass = 0; pass <= 20; ++pass)
    {
        const double y = box.minPoint().y + (box.maxPoint().y - box.minPoint().y) * pass / 20.0;
        for (const bool isWest : {pass % 2 == 0, pass % 2 != 0})
            line.emplace_back(isWest ? box.minPoint().x : box.maxPoint().x, y, 0.0);
    }
    const KdGeMatrix3d identity;
    Lines draped;
    const double before = residentMB();
    ASSERT_TRUE(model.section(&identity, &line, &draped));
    RecordProperty("MB", std::to_string(model.most - before));
    EXPECT_GT(model.pieces, 100);
    EXPECT_LT(model.most - before, 200.0);
}
