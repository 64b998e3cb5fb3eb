#include "platform/NewFile.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace
{

using mvgeo::platform::NewFile;
using mvgeo::platform::writeNewFile;

class NewFiles : public testing::Test
{
protected:
    NewFiles() { fs::create_directories(folder); }
    ~NewFiles() override
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    static NewFile write(const fs::path& path, const std::string& bytes)
    {
        return writeNewFile(path, bytes.data(), bytes.size());
    }

    static std::string read(const fs::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    const fs::path folder = fs::temp_directory_path() / ("mvgeo_new_file_" + std::to_string(std::random_device{}()));
};

TEST_F(NewFiles, HoldWhatWasWritten)
{
    const std::string bytes("a\0b\r\n\xff\x1a", 7);
    EXPECT_EQ(write(folder / "file", bytes), NewFile::written);
    EXPECT_EQ(read(folder / "file"), bytes);
    EXPECT_EQ(write(folder / "large", std::string(5000000, 'x')), NewFile::written);
    EXPECT_EQ(fs::file_size(folder / "large"), 5000000U);
    EXPECT_EQ(writeNewFile(folder / "empty", nullptr, 0), NewFile::written);
    EXPECT_EQ(fs::file_size(folder / "empty"), 0U);
}

TEST_F(NewFiles, LeaveWhatIsThere)
{
    EXPECT_EQ(write(folder / "file", "before"), NewFile::written);
    EXPECT_EQ(write(folder / "file", "after"), NewFile::taken);
    EXPECT_EQ(read(folder / "file"), "before");
}

// Whoever could put a link there would otherwise have us write where he likes.
TEST_F(NewFiles, DoNotFollowALink)
{
    std::error_code failure;
    fs::create_symlink(folder / "target", folder / "link", failure);
    if (failure) GTEST_SKIP() << "no links can be made here";
    EXPECT_EQ(write(folder / "link", "content"), NewFile::taken);
    EXPECT_FALSE(fs::exists(folder / "target"));
}

TEST_F(NewFiles, FailWithoutAFolder)
{
    EXPECT_EQ(write(folder / "missing" / "file", "content"), NewFile::failed);
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(NewFiles, TakeAnyName)
{
    const fs::path name = fs::u8path("\xE5\x80\xBE\xE6\x96\x9C %20#'.osgb");
    EXPECT_EQ(write(folder / name, "content"), NewFile::written);
    EXPECT_EQ(read(folder / name), "content");
}

TEST_F(NewFiles, AreOneWritersWhereSeveralAsk)
{
    for (int round = 0; round < 50; ++round)
    {
        const fs::path path = folder / std::to_string(round);
        std::atomic<int> winners{0};
        std::vector<std::thread> writers;
        for (int i = 0; i < 4; ++i)
            writers.emplace_back([&] { winners += write(path, "content") == NewFile::written ? 1 : 0; });
        for (std::thread& writer : writers)
            writer.join();
        EXPECT_EQ(winners, 1);
    }
}

} // namespace
