#include "TerrainParts.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <map>
#include <mutex>
#include <thread>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace terraintest;

namespace
{

constexpr int kDepth = 3;

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
    SharedTileCache() { writeNoise(); }

    /** Every file there is can be read and is whole. */
    void expectGoodFiles(const std::map<std::string, std::string>& expected)
    {
        for (const std::string& name : cachedFiles())
            EXPECT_NE(name.front(), '~') << name;
        reopenRasters();
        readPyramid(request, [&](const std::string& name, const osg::ref_ptr<osg::Node>& node)
                    { EXPECT_EQ(describe(node), expected.at(name)) << name; });
    }

    std::map<std::string, std::string> readTexts()
    {
        std::map<std::string, std::string> texts;
        readPyramid(request, [&](const std::string& name, const osg::ref_ptr<osg::Node>& node)
                    { texts[name] = describe(node); });
        return texts;
    }
};

TEST_F(SharedTileCache, IsFilledByThreadsAtOnce)
{
    std::promise<void> start;
    const std::shared_future<void> go = start.get_future().share();
    std::vector<std::future<std::map<std::string, std::string>>> readers;
    for (int i = 0; i < 3; ++i)
        readers.push_back(std::async(std::launch::async,
                                     [&]
                                     {
                                         go.wait();
                                         return readTexts();
                                     }));
    start.set_value();
    const std::map<std::string, std::string> first = readers[0].get();
    EXPECT_GT(first.size(), 5U);
    for (std::size_t i = 1; i < readers.size(); ++i)
        EXPECT_EQ(readers[i].get(), first);
    expectGoodFiles(first);
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
            bool isWhole = true;
            for (int round = 0; round < 3; ++round) // the later ones read what the other one writes
                readPyramid(request, [&](const std::string&, const osg::ref_ptr<osg::Node>& node)
                            { isWhole = isWhole && node != nullptr; });
            _exit(isWhole ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children)
    {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const std::map<std::string, std::string> readBack = readTexts();
    const std::string otherDir = folder.makeFolder("other");
    EXPECT_GT(readBack.size(), 5U);
    expectGoodFiles(readBack);
    // The same as built alone, but for the folder's name.
    for (const std::string& name : cachedFiles())
        std::filesystem::remove(cacheDir + "/" + name);
    EXPECT_EQ(readTexts(), readBack);
}
#endif

} // namespace
