#include "support/ModelDriver.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"
#include "support/UserValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <osgDB/Options>

#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

/** FNV-1a after its published description, written once more: exclusive-or first, then times the prime. */
std::string fnvText(const std::string& bytes)
{
    unsigned long long hash = 0xcbf29ce484222325ULL;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        hash = (hash ^ static_cast<unsigned char>(bytes[i])) * 0x00000100000001b3ULL;
    return std::to_string(hash);
}

struct CacheDirectory : public testing::Test
{
    TemporaryDirectory folder;
};

} // namespace

// The published test values of the hash: if these fail, the helper above is wrong and the cases below prove nothing.
TEST_F(CacheDirectory, TheHelperAgreesWithPublishedValuesOfTheHash)
{
    EXPECT_EQ(fnvText(""), "14695981039346656037");
    EXPECT_EQ(fnvText("a"), std::to_string(0xaf63dc4c8601ec8cULL));
    EXPECT_EQ(fnvText("foobar"), std::to_string(0x85944171f73967e8ULL));
}

TEST_F(CacheDirectory, IsTheHashOfThePathBelowMeshInTemp)
{
    const ScopedEnvironment temp("TEMP", folder / "T");
    ModelDriver driver;
    for (const std::string path : {"d:\\a.osgb", "/data/Tile_+000_+012.osgb", "/\xe4\xb8\xad\xe6\x96\x87/a b.osgb", ""})
    {
        SCOPED_TRACE(path);
        std::string dir;
        EXPECT_TRUE(driver.model().makeCacheDirectory(path, dir));
        EXPECT_EQ(dir, (folder / "T") + "/mesh/" + fnvText(path));
        EXPECT_TRUE(fs::is_directory(dir));
    }
}

TEST_F(CacheDirectory, ThatExistsAlreadyIsUsedAgain)
{
    const ScopedEnvironment temp("TEMP", folder.path().string());
    ModelDriver driver;
    std::string first;
    std::string second;
    EXPECT_TRUE(driver.model().makeCacheDirectory("/a.osgb", first));
    EXPECT_TRUE(driver.model().makeCacheDirectory("/a.osgb", second));
    EXPECT_EQ(first, second);
}

TEST_F(CacheDirectory, LosesWhatAKilledProcessLeft)
{
    const ScopedEnvironment temp("TEMP", folder.path().string());
    const std::string left = folder.makeFolder("mesh/" + fnvText("/a.osgb")) + "/~1_2.tmp";
    writeFile(left, "half a texture");
    fs::last_write_time(left, fs::file_time_type::clock::now() - std::chrono::hours(25));
    ModelDriver driver;
    std::string dir;
    EXPECT_TRUE(driver.model().makeCacheDirectory("/a.osgb", dir));
    EXPECT_FALSE(fs::exists(left));
}

TEST_F(CacheDirectory, WithoutTempLiesInTheSystemsTemporaryFolder)
{
    const ScopedEnvironment temp("TEMP", std::nullopt);
    const ScopedEnvironment systemTemp("TMPDIR", folder.path().string());
    ModelDriver driver;
    std::string dir;
    EXPECT_TRUE(driver.model().makeCacheDirectory("/a.osgb", dir));
    EXPECT_EQ(dir, folder.path().string() + "/mesh/" + fnvText("/a.osgb"));
}

TEST_F(CacheDirectory, FailsWhereTempIsAFileAndStillNamesTheDirectory)
{
    writeFile(folder / "file", "x");
    const ScopedEnvironment temp("TEMP", folder / "file");
    ModelDriver driver;
    std::string dir = "before";
    EXPECT_FALSE(driver.model().makeCacheDirectory("/a.osgb", dir));
    EXPECT_EQ(dir, (folder / "file") + "/mesh/" + fnvText("/a.osgb"));
}

TEST_F(CacheDirectory, ReceivesTheTexturesOfTheRootTileWhenTheModelIsAdded)
{
    const ScopedEnvironment temp("TEMP", folder / "T");
    const TilePyramid pyramid(folder / "data");
    ModelDriver driver;
    ASSERT_EQ(driver.add(pyramid.rootFile()), 0);
    EXPECT_TRUE(fs::exists((folder / "T") + "/mesh/" + fnvText(pyramid.rootFile()) + "/Tile_0.png"));
}

TEST_F(CacheDirectory, KeepsModelFilesApartThatUseOneTextureName)
{
    const ScopedEnvironment temp("TEMP", folder / "T");
    const TilePyramid a(folder / "a");
    const TilePyramid b(folder / "b");
    ModelDriver driver;
    driver.add(a.rootFile());
    driver.add(b.rootFile());
    EXPECT_TRUE(fs::exists((folder / "T") + "/mesh/" + fnvText(a.rootFile()) + "/Tile_0.png"));
    EXPECT_TRUE(fs::exists((folder / "T") + "/mesh/" + fnvText(b.rootFile()) + "/Tile_0.png"));
}

// A place for temporary files that cannot be used costs the cache, not the model.
TEST_F(CacheDirectory, ThatCannotBeMadeDoesNotStopTheModel)
{
    writeFile(folder / "file", "x");
    const ScopedEnvironment temp("TEMP", folder / "file");
    const TilePyramid pyramid(folder / "data");
    ModelDriver driver;
    ASSERT_EQ(driver.add(pyramid.rootFile()), 0);
    driver.view = perspectiveView({50, 50, 100}, {50, 50, 0});
    ASSERT_TRUE(driver.converge());
    EXPECT_EQ(driver.statistics().tilesHeld, 6U);
    ASSERT_EQ(driver.receiver.meshes().size(), 21U); // the root, its four quadrants, their sixteen
    for (const RecordingMesh* mesh : driver.receiver.meshes())
    {
        // The images of tiles that were merged come from the tiles themselves; only the root was announced by a
        // rebuild.
        ASSERT_TRUE(mesh->image);
        EXPECT_EQ(mesh->pixels().bytes.size(), 96U);
    }
    EXPECT_THAT(driver.receiver.errors, testing::IsEmpty());
}
