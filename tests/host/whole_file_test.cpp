#include "TempFolder.h"
#include "common/WholeFile.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace
{

using mvgeo::host::readWholeFile;
using mvgeo::host::writeWholeFile;

/** A folder in which nothing is ever left but what was asked for. */
struct WholeFile : public testing::Test
{
    TempFolder folder;

    [[nodiscard]] std::ptrdiff_t fileCount() const
    {
        return std::distance(std::filesystem::directory_iterator(folder.path()), std::filesystem::directory_iterator());
    }
};

TEST_F(WholeFile, ReplacesWhatIsThere)
{
    const std::string path = folder.write("a.png", "the longer content of before");
    EXPECT_TRUE(writeWholeFile("short", path).ok());
    EXPECT_EQ(readWholeFile(path), "short");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(WholeFile, LeavesAFileAloneThatIsNamedLikeAPartOfIt)
{
    const std::string other = folder.write("a.png.part", "somebody's own");
    EXPECT_TRUE(writeWholeFile("content", folder.path("a.png")).ok());
    EXPECT_EQ(readWholeFile(folder.path("a.png")), "content");
    ASSERT_TRUE(std::filesystem::exists(other));
    EXPECT_EQ(readWholeFile(other), "somebody's own");
}

TEST_F(WholeFile, TakesTheLongestName)
{
    const std::string path = folder.path(std::string(251, 'n') + ".png"); // 255 bytes
    EXPECT_EQ(writeWholeFile("content", path).error, "");
    EXPECT_EQ(readWholeFile(path), "content");
}

// Each writer's content is one letter throughout; a mixture or a part would be seen.
TEST_F(WholeFile, IsOneWritersWhenSeveralWriteItAtOnce)
{
    constexpr std::size_t kSize = 300000;
    std::atomic<int> failures{0};
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b', 'c', 'd'})
        writers.emplace_back(
            [&, letter]
            {
                for (int round = 0; round < 50; ++round)
                    if (!writeWholeFile(std::string(kSize, letter), folder.path("file")).ok()) ++failures;
            });
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(failures, 0);
    const std::string content = readWholeFile(folder.path("file")).value_or("");
    ASSERT_FALSE(content.empty());
    EXPECT_TRUE(content == std::string(kSize, content[0]));
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(WholeFile, SaysWhyItCannotBeWritten)
{
    const std::string missing = folder.path("missing/file");
    EXPECT_EQ(writeWholeFile("content", missing).error, "cannot write " + missing + ": No such file or directory");
    std::filesystem::create_directories(folder.path("taken/inside"));
    EXPECT_EQ(writeWholeFile("content", folder.path("taken")).error.find("cannot write " + folder.path("taken") + ": "),
              0U);
    EXPECT_EQ(fileCount(), 1);
}

} // namespace
