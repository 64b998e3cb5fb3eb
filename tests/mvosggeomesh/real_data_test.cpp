#include "mvosggeomesh/TiledModelFixture.h"

#include "mvgeothirdparty/FileQueries.h"

#include <osg/PagedLOD>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

/** The files that the shown paged nodes want and that are not there: those whose next child is missing on the disk. */
class MissingChildren : public osg::NodeVisitor
{
public:
    MissingChildren() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::PagedLOD& node) override
    {
        const unsigned int next = node.getNumChildren();
        if (next < node.getNumFileNames())
        {
            const std::string path = node.getDatabasePath() + node.getFileName(next);
            if (!osgDB::fileExists(path)) files.insert(path);
        }
        traverse(node);
    }
    std::set<std::string> files;
};

struct RealData : public TiledModelFixture
{
    fs::path data;

    void SetUp() override
    {
        const char* root = std::getenv("MVGEO_REAL_DATA");
        if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
        data = fs::path(root) / "osgb";
        if (!fs::is_directory(data)) GTEST_SKIP() << data << " is not there";
    }

    /** Adds what is given and looks at all of it from above, at a quarter of its diagonal. */
    void showAll(const std::vector<std::string>& files)
    {
        for (const std::string& file : files)
            ASSERT_GE(driver.add(file), 0) << file;
        const KdDbExtents box = model().extents();
        ASSERT_TRUE(box.isValid());
        const osg::Vec3d min(box.minPoint().x, box.minPoint().y, box.minPoint().z);
        const osg::Vec3d max(box.maxPoint().x, box.maxPoint().y, box.maxPoint().z);
        const osg::Vec3d middle = (min + max) * 0.5;
        driver.view = perspectiveView(middle + osg::Vec3d(0, 0, 0.5 * (max - min).length()), middle);
        ASSERT_TRUE(driver.converge());
        EXPECT_FALSE(receiver().visible.empty());
        expectCleanContract();
    }
    void goCloser()
    {
        const KdDbExtents box = model().extents();
        const osg::Vec3d middle(0.5 * (box.minPoint().x + box.maxPoint().x),
                                0.5 * (box.minPoint().y + box.maxPoint().y), box.maxPoint().z);
        driver.view = perspectiveView(middle + osg::Vec3d(0, 0, 40), middle);
        ASSERT_TRUE(driver.converge());
        expectCleanContract();
    }
    [[nodiscard]] int linesAboutTiles() { return log.count(".osgb"); }
    void expectOnlyMissingFilesFailed()
    {
        MissingChildren missing;
        model().root().accept(missing);
        EXPECT_LE(driver.statistics().tilesFailed, missing.files.size());
        EXPECT_EQ(static_cast<std::uint64_t>(linesAboutTiles()), driver.statistics().tilesFailed);
        for (const LogRecorder::Line& line : log.lines())
        {
            bool isExpected = false;
            for (const std::string& file : missing.files)
                isExpected |= line.text.find(osgDB::getSimpleFileName(file)) != std::string::npos;
            EXPECT_TRUE(isExpected) << line.text;
        }
    }
    void expectSoundMeshes()
    {
        for (const RecordingMesh* mesh : receiver().meshes())
        {
            EXPECT_FALSE(mesh->indices.empty());
            EXPECT_EQ(mesh->indices.size() % 3U, 0U);
            for (const unsigned int index : mesh->indices)
                ASSERT_LT(index, mesh->vertices.size() / 3U);
        }
    }
    [[nodiscard]] std::vector<std::string> rootTiles(const fs::path& dataFolder) const
    {
        std::vector<KdString> found;
        GetRootTiles_Imp(KdString(dataFolder.c_str()), found);
        std::vector<std::string> files;
        for (const KdString& path : found)
            files.emplace_back(path.ansiPtr());
        return files;
    }
};

} // namespace

TEST_F(RealData, ABlockOfFourTilesConverges)
{
    const std::vector<std::string> roots = rootTiles(data / "Production_5/Data");
    ASSERT_EQ(roots.size(), 4U);
    showAll(roots);
    goCloser();
    EXPECT_GT(driver.statistics().tilesHeld, 4U);
    expectOnlyMissingFilesFailed();
    expectSoundMeshes();
    for (const RecordingMesh* mesh : receiver().meshes())
    {
        EXPECT_TRUE(mesh->image);
        EXPECT_FALSE(mesh->pixels().bytes.empty());
    }
}

TEST_F(RealData, MissingChildrenAreAskedForOnce)
{
    showAll(rootTiles(data / "Production_5/Data"));
    goCloser();
    const GeoMeshStatistics before = driver.statistics();
    EXPECT_GT(before.tilesFailed, 0U);
    const std::size_t lines = log.lines().size();
    for (int frame = 0; frame < 20; ++frame)
    {
        driver.update();
        ASSERT_TRUE(driver.waitUntilLoaded());
    }
    EXPECT_EQ(driver.statistics().tilesFailed, before.tilesFailed);
    EXPECT_EQ(driver.statistics().tilesLoaded, before.tilesLoaded);
    EXPECT_EQ(log.lines().size(), lines);
}

TEST_F(RealData, ATilePyramidThatIsOnlyPartlyThereConverges)
{
    std::vector<std::string> roots = rootTiles(data / "Tile_007_078_partial/Data");
    if (roots.empty())
        for (const auto& entry : fs::recursive_directory_iterator(data / "Tile_007_078_partial/Data"))
            if (entry.path().extension() == ".osgb") roots.push_back(entry.path().string());
    ASSERT_FALSE(roots.empty());
    showAll(roots);
    goCloser();
    expectOnlyMissingFilesFailed();
    expectSoundMeshes();
}

TEST_F(RealData, SingleTilesConverge)
{
    for (const char* subFolder : {"single_tiles", "osg_models"})
        for (const auto& entry : fs::directory_iterator(data / subFolder))
        {
            SCOPED_TRACE(entry.path().string());
            if (entry.path().extension() != ".osgb") continue;
            model().clear();
            receiver().forget();
            log.clear();
            EXPECT_EQ(driver.add(entry.path().string()), 0);
            const KdDbExtents box = model().extents();
            if (!box.isValid()) continue; // a bare node
            const osg::Vec3d min(box.minPoint().x, box.minPoint().y, box.minPoint().z);
            const osg::Vec3d max(box.maxPoint().x, box.maxPoint().y, box.maxPoint().z);
            const osg::Vec3d middle = (min + max) * 0.5;
            driver.view = perspectiveView(middle + osg::Vec3d(0, 0, (max - min).length()), middle);
            EXPECT_TRUE(driver.converge());
            EXPECT_FALSE(receiver().visible.empty());
            expectSoundMeshes();
            expectCleanContract();
        }
}

TEST_F(RealData, TexturesComeBackFromTheCacheAsTheyWere)
{
    showAll({rootTiles(data / "Production_5/Data").front()});
    std::map<std::string, unsigned int> widths;
    for (const RecordingMesh* mesh : receiver().meshes())
        widths[mesh->textureKey()] = mesh->pixels().width;
    receiver().forget();
    driver.update();
    for (const RecordingMesh* mesh : receiver().meshes())
    {
        ASSERT_TRUE(widths.count(mesh->textureKey())) << mesh->textureKey();
        EXPECT_EQ(mesh->pixels().width, widths[mesh->textureKey()]) << mesh->textureKey();
        EXPECT_FALSE(mesh->pixels().bytes.empty());
    }
}
