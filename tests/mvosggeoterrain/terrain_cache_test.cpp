#include "mvosggeoterrain/TerrainFixture.h"

#include <chrono>
#include <map>

namespace
{

struct TerrainCache : public TerrainFixture
{
    /** Opens the source in a model of its own and shows the view from 300 m. */
    void show()
    {
        renewModel();
        ASSERT_EQ(driver->add(source()), 0);
        driver->view = fromAbove(300.0);
        ASSERT_TRUE(driver->converge());
        expectCleanContract();
    }

    struct Shown
    {
        std::vector<float> vertices;
        std::vector<float> normals;
        std::vector<unsigned int> indices;
        std::vector<unsigned char> pixels;
        bool operator==(const Shown& other) const
        {
            return vertices == other.vertices && normals == other.normals && indices == other.indices &&
                   pixels == other.pixels;
        }
    };

    /** What the host holds, by identity without the model's number. */
    [[nodiscard]] std::map<std::string, Shown> shown() const
    {
        std::map<std::string, Shown> result;
        for (const auto& [tile, container] : driver->receiver.tiles())
            for (std::size_t i = 0; i < container.meshes.size(); ++i)
            {
                const RecordingMesh& mesh = *container.meshes[i];
                result[tile.substr(tile.find('_')) + '#' + std::to_string(i)] = {mesh.vertices, mesh.normals,
                                                                                 mesh.indices, mesh.pixels().bytes};
            }
        return result;
    }
};

} // namespace

TEST_F(TerrainCache, ASecondModelBuildsNothingAndShowsTheSame)
{
    show();
    const std::uint64_t built = driver->statistics().tilesBuilt;
    const std::map<std::string, Shown> before = shown();
    EXPECT_GT(built, 4U);
    EXPECT_EQ(driver->statistics().tilesFromCache, 0U);

    show();
    EXPECT_EQ(driver->statistics().tilesBuilt, 0U);
    EXPECT_EQ(driver->statistics().tilesFromCache, built);
    EXPECT_TRUE(shown() == before);
}

TEST_F(TerrainCache, AShortenedFileIsBuiltAgainAndReplaced)
{
    show();
    const std::map<std::string, Shown> before = shown();
    const std::string file = cacheDirectory(source()) + "/0_0_0_c.osgb";
    const std::string root = cacheDirectory(source()) + "/terrain.osgb";
    const std::string whole = readFile(file);
    writeFile(file, whole.substr(0, whole.size() / 3));
    writeFile(root, "");

    show();
    EXPECT_EQ(driver->statistics().tilesBuilt, 2U);
    EXPECT_TRUE(shown() == before);
    EXPECT_EQ(readFile(file).size(), whole.size());
    show();
    EXPECT_EQ(driver->statistics().tilesBuilt, 0U);
}

TEST_F(TerrainCache, TilesOfOtherRastersAreNotShown)
{
    show();
    writeDem(2.0);
    show();
    EXPECT_EQ(driver->statistics().tilesFromCache, 0U);
    EXPECT_DOUBLE_EQ(model().extents().maxPoint().z, 126.0);
    show();
    EXPECT_EQ(driver->statistics().tilesBuilt, 0U);
}

TEST_F(TerrainCache, TexturesOfAnotherImageAreReplaced)
{
    show();
    const std::string texture = cacheDirectory(source()) + "/0_0_0.jpeg";
    const std::string before = readFile(texture);
    TestRaster raster;
    raster.width = 256;
    raster.height = 256;
    raster.bands = 3;
    raster.originY = 640.0;
    raster.pixelWidth = 2.5;
    raster.pixelHeight = -2.5;
    writeRaster(dom, raster, 90.0);
    show();
    EXPECT_NE(readFile(texture), before);
}

TEST_F(TerrainCache, ADamagedTextureFileIsWrittenAgain)
{
    show();
    for (const char* name : {"/0_0_0.jpeg", "/1_0_0.jpeg"})
    {
        const std::string texture = cacheDirectory(source()) + name;
        const std::string whole = readFile(texture);
        for (const std::string& damaged : {whole.substr(0, whole.size() / 2), std::string(), std::string("foreign")})
        {
            writeFile(texture, damaged);
            show();
            EXPECT_EQ(readFile(texture), whole) << name << ", " << damaged.size() << " bytes";
        }
    }
}

TEST_F(TerrainCache, AFullDiskIsCounted)
{
    driver->add(source());
    std::filesystem::remove_all(cacheDirectory(source()));
    writeFile(cacheDirectory(source()), "a file where the folder was");
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_GT(driver->statistics().tilesBuilt, 1U);
    EXPECT_EQ(driver->statistics().tilesNotKept, driver->statistics().tilesBuilt - 1U); // the root was kept
    EXPECT_EQ(driver->statistics().tilesIncomplete, 0U);
}

TEST_F(TerrainCache, TilesOfAnUnreadableRasterAreCounted)
{
    driver->add(source());
    std::filesystem::resize_file(dem, 1000);
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_EQ(driver->statistics().tilesIncomplete, driver->statistics().tilesBuilt - 1U);
    EXPECT_EQ(driver->statistics().tilesNotKept, 0U);
}

TEST_F(TerrainCache, NothingUnfinishedIsLeft)
{
    show();
    EXPECT_EQ(cacheFiles(".osgb").size(), driver->statistics().tilesBuilt);
    EXPECT_FALSE(cacheFiles(".jpeg").empty());
    for (const auto& entry : std::filesystem::directory_iterator(cacheDirectory(source())))
        EXPECT_NE(entry.path().filename().string()[0], '~') << entry.path();
}

TEST_F(TerrainCache, LosesWhatAKilledProcessLeftWhenItsModelIsOpened)
{
    const std::string left = folder.makeFolder("temp/terrain/" + mvgeo::pathHashText(source())) + "/~1_2.tmp";
    writeFile(left, "half a tile");
    std::filesystem::last_write_time(left, std::filesystem::file_time_type::clock::now() - std::chrono::hours(25));
    driver->add(source());
    EXPECT_FALSE(std::filesystem::exists(left));
    EXPECT_EQ(cacheFiles(".osgb").size(), 1U);
}
