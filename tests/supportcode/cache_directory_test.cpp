#include "support/CacheDirectory.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

struct CacheFolder : public testing::Test
{
    TemporaryDirectory folder;
    ScopedEnvironment temp{"TEMP", folder / "T"};
    std::string dir;
};

// FNV-1a of "a", as published: 0xaf63dc4c8601ec8c.
TEST_F(CacheFolder, IsMadeWithItsParents)
{
    EXPECT_TRUE(mvgeo::makeCacheDirectory("kind", "a", dir));
    EXPECT_EQ(dir, (folder / "T") + "/kind/" + std::to_string(0xaf63dc4c8601ec8cULL));
    EXPECT_TRUE(fs::is_directory(dir));
    EXPECT_TRUE(mvgeo::makeCacheDirectory("kind", "a", dir));
}

TEST_F(CacheFolder, IsNamedThoughItCannotBeMade)
{
    writeFile(folder / "T", "a file");
    EXPECT_FALSE(mvgeo::makeCacheDirectory("kind", "a", dir));
    EXPECT_EQ(dir, (folder / "T") + "/kind/" + std::to_string(0xaf63dc4c8601ec8cULL));
}

TEST_F(CacheFolder, LosesWhatKilledProcessesLeft)
{
    EXPECT_TRUE(mvgeo::makeCacheDirectory("kind", "a", dir));
    for (const char* name : {"/~1_2.tmp", "/texture.jpg"})
    {
        writeFile(dir + name, "content");
        fs::last_write_time(dir + name, fs::file_time_type::clock::now() - std::chrono::hours(48));
    }
    writeFile(dir + "/~3_4.tmp", "being written");
    EXPECT_TRUE(mvgeo::makeCacheDirectory("kind", "a", dir));
    EXPECT_FALSE(fs::exists(dir + "/~1_2.tmp"));
    EXPECT_TRUE(fs::exists(dir + "/~3_4.tmp"));
    EXPECT_TRUE(fs::exists(dir + "/texture.jpg"));
}

} // namespace
