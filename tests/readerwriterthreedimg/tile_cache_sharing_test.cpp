#include "TerrainParts.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <map>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace terraintest;

namespace
{

constexpr int kDepth = 3;
constexpr std::size_t kRequests = 1 + 1 + 4; // the root, its children, theirs; those are leaves

/** Reads all tiles down to a depth as the pager would; hands each to `visit` with its name. */
template <typename Visit>
void readPyramid(const TerrainRequest& asked, const Visit& visit)
{
    osg::ref_ptr<osg::Node> root = readRoot(asked);
    visit("root", root);
    std::vector<osg::ref_ptr<osg::PagedLOD>> level = pagedNodesOf(root);
    for (int depth = 1; depth <= kDepth; ++depth)
    {
        std::vector<osg::ref_ptr<osg::PagedLOD>> next;
        for (const osg::ref_ptr<osg::PagedLOD>& node : level)
        {
            const osg::ref_ptr<osg::Node> children = readChildren(*node);
            visit(node->getFileName(1), children);
            for (const osg::ref_ptr<osg::PagedLOD>& child : pagedNodesOf(children))
                next.push_back(child);
        }
        level = next;
    }
}

class SharedTileCache : public TerrainTest
{
protected:
    using Texts = std::map<std::string, std::string>; // what each tile is made of, by its name

    SharedTileCache() { writeNoise(); }

    void SetUp() override
    {
        expected = readTexts();
        ASSERT_EQ(expected.size(), kRequests);
        expectFileNames();
        for (const std::string& name : cachedFiles())
            std::filesystem::remove(cacheDir + "/" + name);
        ASSERT_TRUE(cachedFiles().empty());
        reopenRasters();
    }

    /** A file for each request, nothing half written. */
    void expectFileNames() const
    {
        EXPECT_EQ(cachedFiles().size(), kRequests);
        for (const std::string& name : cachedFiles())
            EXPECT_NE(name.front(), '~') << name;
    }

    /** Every tile has a file, and from that comes the same tile: what is read back is not written again. */
    void expectGoodFiles()
    {
        expectFileNames();
        reopenRasters();
        const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
        for (const std::string& name : cachedFiles())
            std::filesystem::last_write_time(cacheDir + "/" + name, longAgo);
        EXPECT_EQ(readTexts(), expected);
        for (const std::string& name : cachedFiles())
            EXPECT_LT(std::filesystem::last_write_time(cacheDir + "/" + name), longAgo + std::chrono::minutes(30))
                << name;
    }

    Texts readTexts()
    {
        Texts texts;
        readPyramid(request, [&](const std::string& name, const osg::ref_ptr<osg::Node>& node)
                    { texts[name] = describe(node); });
        return texts;
    }

    Texts expected; // built by this thread alone
};

TEST_F(SharedTileCache, IsFilledByThreadsAtOnce)
{
    std::promise<void> start;
    const std::shared_future<void> go = start.get_future().share();
    std::vector<std::future<Texts>> readers;
    for (int i = 0; i < 3; ++i)
        readers.push_back(std::async(std::launch::async,
                                     [&]
                                     {
                                         go.wait();
                                         return readTexts();
                                     }));
    start.set_value();
    for (std::future<Texts>& reader : readers)
        EXPECT_EQ(reader.get(), expected);
    expectGoodFiles();
}

#if defined(_WIN32) || defined(MVGEO_HAS_THREAD_SANITIZER)
TEST_F(SharedTileCache, IsFilledByProcessesAtOnce)
{
    GTEST_SKIP() << "a process cannot be split in two here";
}
#else
TEST_F(SharedTileCache, IsFilledByProcessesAtOnce)
{
    std::vector<pid_t> children;
    for (int i = 0; i < 2; ++i)
    {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
        {
            bool isRight = true;
            for (int round = 0; round < 3; ++round) // the later ones read what the other one writes
                isRight = readTexts() == expected && isRight;
            _exit(isRight ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children)
    {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    expectGoodFiles();
}
#endif

} // namespace
