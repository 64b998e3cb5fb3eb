#include "platform/Environment.h"
#include "support/FileReplacement.h"
#include "support/Sanitizers.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace
{

/** A folder, and what is in it at the end: never a temporary file. */
class FileReplacement : public testing::Test
{
protected:
    bool replace(const std::string& name, const std::string& bytes) const
    {
        return mvgeo::replaceFile(folder / name, bytes.data(), bytes.size());
    }

    [[nodiscard]] std::ptrdiff_t fileCount() const
    {
        return std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
    }

    /** The time at which it was written last. */
    void setAge(const std::string& name, std::chrono::minutes age) const
    {
        fs::last_write_time(folder / name, fs::file_time_type::clock::now() - age);
    }

    TemporaryDirectory folder;
};

TEST_F(FileReplacement, WritesANewFile)
{
    const std::string bytes("a\0b\r\n\xff", 6);
    EXPECT_TRUE(replace("tile.osgb", bytes));
    EXPECT_EQ(readFile(folder / "tile.osgb"), bytes);
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(FileReplacement, WritesAnEmptyFile)
{
    EXPECT_TRUE(mvgeo::replaceFile(folder / "empty", nullptr, 0));
    EXPECT_EQ(readFile(folder / "empty"), "");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(FileReplacement, LeavesNothingOfALongerFile)
{
    writeFile(folder / "tile", "the longer content of before");
    EXPECT_TRUE(replace("tile", "short"));
    EXPECT_EQ(readFile(folder / "tile"), "short");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(FileReplacement, TakesNamesWithAnyCharacters)
{
    const std::string name = "\xe5\x80\xbe\xe6\x96\x9c %20#'.osgb";
    EXPECT_TRUE(replace(name, "content"));
    EXPECT_EQ(readFile(folder / name), "content");
}

TEST_F(FileReplacement, TakesTheLongestName)
{
    const std::string name(255, 'n');
    EXPECT_TRUE(replace(name, "content"));
    EXPECT_EQ(readFile(folder / name), "content");
    EXPECT_EQ(fileCount(), 1);
}

// Left by a process that had our number before us.
TEST_F(FileReplacement, LeavesTemporaryFilesOfOthersAlone)
{
    constexpr int kLeft = 200;
    const std::string ours = '~' + std::to_string(mvgeo::platform::currentProcessId()) + '_';
    for (int i = 0; i < kLeft; ++i)
        writeFile(folder / (ours + std::to_string(i) + ".tmp"), "theirs");
    EXPECT_TRUE(replace("tile", "content"));
    EXPECT_EQ(readFile(folder / "tile"), "content");
    EXPECT_EQ(fileCount(), kLeft + 1);
    for (int i = 0; i < kLeft; ++i)
        EXPECT_EQ(readFile(folder / (ours + std::to_string(i) + ".tmp")), "theirs");
}

TEST_F(FileReplacement, TakesABareNameForAFileInTheCurrentFolder)
{
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_TRUE(mvgeo::replaceFile("tile", "content", 7));
    fs::current_path(before);
    EXPECT_EQ(readFile(folder / "tile"), "content");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(FileReplacement, FailsInAFolderThatDoesNotExist)
{
    EXPECT_FALSE(replace("missing/tile", "content"));
    EXPECT_EQ(fileCount(), 0);
}

TEST_F(FileReplacement, FailsWhereTheFolderIsAFile)
{
    writeFile(folder / "file", "untouched");
    EXPECT_FALSE(replace("file/tile", "content"));
    EXPECT_EQ(readFile(folder / "file"), "untouched");
}

TEST_F(FileReplacement, FailsWhereTheNameIsAFoldersAndCleansUp)
{
    folder.makeFolder("tile/inside");
    EXPECT_FALSE(replace("tile", "content"));
    EXPECT_TRUE(fs::is_directory(folder / "tile/inside"));
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(FileReplacement, FailsForANameThatIsTooLong)
{
    EXPECT_FALSE(replace(std::string(5000, 'x'), "content"));
    EXPECT_EQ(fileCount(), 0);
}

TEST_F(FileReplacement, FailsInAFolderThatMayNotBeWritten)
{
#if defined(_WIN32)
    GTEST_SKIP() << "a folder's permissions do not keep files out here";
#else
    if (geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to the superuser";
    writeFile(folder / "tile", "untouched");
    fs::permissions(folder.path(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_FALSE(replace("tile", "content"));
    EXPECT_EQ(readFile(folder / "tile"), "untouched");
    EXPECT_EQ(fileCount(), 1);
#endif
}

TEST_F(FileReplacement, KeepsTheOldFileWhenTheNewOneDoesNotFit)
{
#if defined(_WIN32)
    GTEST_SKIP() << "the size of a process's files cannot be limited here";
#else
    writeFile(folder / "tile", "untouched");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handlerBefore = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = before;
    small.rlim_cur = 1000; // bytes: stands for a disk that is full
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool succeeded = replace("tile", std::string(5000, 'x'));
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handlerBefore);

    EXPECT_FALSE(succeeded);
    EXPECT_EQ(readFile(folder / "tile"), "untouched");
    EXPECT_EQ(fileCount(), 1);
#endif
}

TEST_F(FileReplacement, RemovesAFileAndPutsUpWithNone)
{
    writeFile(folder / "tile", "content");
    mvgeo::removeFile(folder / "tile");
    EXPECT_EQ(fileCount(), 0);
    mvgeo::removeFile(folder / "tile");
    mvgeo::removeFile(folder / "missing/tile");
    EXPECT_EQ(fileCount(), 0);
}

// ---- what was left behind

TEST_F(FileReplacement, RemovesAbandonedFilesOnceTheyAreADayOld)
{
    for (const char* name : {"~1_2.tmp", "~12345_678.tmp"})
    {
        writeFile(folder / name, "half");
        setAge(name, std::chrono::hours(24) - std::chrono::minutes(5));
        mvgeo::removeAbandonedFiles(folder.path().string());
        EXPECT_TRUE(fs::exists(folder / name)) << name;
        setAge(name, std::chrono::hours(24) + std::chrono::minutes(5));
        mvgeo::removeAbandonedFiles(folder.path().string());
        EXPECT_FALSE(fs::exists(folder / name)) << name;
    }
}

TEST_F(FileReplacement, RemovesNothingThatCouldBeSomebodys)
{
    const std::vector<std::string> names = {"tile.osgb", "~.tmp",     "1_2.tmp",      "~1_2.jpg",  "~1_2",
                                            "~1_2_tile", "~1_2.tmpx", "~house_1.tmp", "~1_2x.tmp", "x~1_2.tmp"};
    for (const std::string& name : names)
    {
        writeFile(folder / name, "content");
        setAge(name, std::chrono::hours(1000));
    }
    folder.makeFolder("~3_4.tmp/inside");
    setAge("~3_4.tmp", std::chrono::hours(1000));
    mvgeo::removeAbandonedFiles(folder.path().string());
    EXPECT_EQ(fileCount(), static_cast<std::ptrdiff_t>(names.size()) + 1);
}

TEST_F(FileReplacement, PutsUpWithAFolderThatIsNotThereWhenLookingForAbandonedFiles)
{
    mvgeo::removeAbandonedFiles(folder / "missing");
    writeFile(folder / "file", "content");
    mvgeo::removeAbandonedFiles(folder / "file");
    EXPECT_EQ(readFile(folder / "file"), "content");
}

// The process dies of the size of its file.
TEST_F(FileReplacement, KnowsTheFileOfAProcessThatWasKilled)
{
#if defined(_WIN32) || defined(MVGEO_HAS_THREAD_SANITIZER)
    GTEST_SKIP() << "a process cannot be split in two here";
#else
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        const rlimit noCore{0, 0};
        const rlimit small{1000, 1000};
        setrlimit(RLIMIT_CORE, &noCore);
        setrlimit(RLIMIT_FSIZE, &small);
        std::signal(SIGXFSZ, SIG_DFL);
        replace("tile", std::string(5000, 'x'));
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(fileCount(), 1) << "what it left";
    const fs::path left = fs::directory_iterator(folder.path())->path();
    EXPECT_NE(left.filename(), "tile");

    mvgeo::removeAbandonedFiles(folder.path().string());
    EXPECT_EQ(fileCount(), 1) << "it could still be writing";
    setAge(left.filename().string(), std::chrono::hours(25));
    mvgeo::removeAbandonedFiles(folder.path().string());
    EXPECT_EQ(fileCount(), 0);
#endif
}

// Each writer's content is one letter throughout; a mixture or a part would be seen.
TEST_F(FileReplacement, ShowsReadersWholeFilesOnly)
{
    constexpr std::size_t kSize = 100000;
    constexpr int kRounds = 100;
    ASSERT_TRUE(replace("tile", std::string(kSize, 'a')));
    std::atomic<int> writing{2};
    std::vector<std::thread> writers;
    for (const char letter : {'b', 'c'})
        writers.emplace_back(
            [this, &writing, letter]
            {
                for (int round = 0; round < kRounds; ++round)
                    EXPECT_TRUE(replace("tile", std::string(kSize, letter)));
                --writing;
            });
    int reads = 0;
    do
    {
        const std::string content = readFile(folder / "tile");
        ++reads;
        EXPECT_EQ(content, std::string(kSize, content.empty() ? '?' : content[0]));
    } while (writing > 0);
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_GE(reads, 1);
    EXPECT_EQ(fileCount(), 1);
}

} // namespace
