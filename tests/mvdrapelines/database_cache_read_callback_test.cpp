#include "mvdrapelines/DatabaseCacheReadCallback.h"

#include "MemoryFiles.h"
#include "support/LogRecorder.h"
#include "support/TilePyramid.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/observer_ptr>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using testing::ElementsAre;

struct DatabaseCacheReadCallbackTest : public testing::Test
{
    DatabaseCacheReadCallbackTest()
    {
        osg::setNotifyLevel(osg::INFO);
        for (const char* name : {"a", "b", "c", "d"})
            files->addNode(name);
    }
    ~DatabaseCacheReadCallbackTest() override { files->lastOptions = nullptr; }

    osg::ref_ptr<osg::Node> read(const std::string& name) { return cache->readNodeFile(name, options); }

    /** What the cache itself said, without the source path and the line number in front. */
    [[nodiscard]] std::vector<std::string> messages() const
    {
        const std::string path = "src/mvdrapelines ";
        std::vector<std::string> result;
        for (const LogRecorder::Line& line : log.lines())
        {
            if (line.severity != osg::INFO || line.text.compare(0, path.size(), path) != 0) continue;
            const std::size_t message = line.text.find_first_not_of("0123456789", path.size());
            EXPECT_GT(message, path.size()) << "no line number";
            result.push_back(message < line.text.size() ? line.text.substr(message) : "");
        }
        return result;
    }

    LogRecorder log;
    osg::ref_ptr<MemoryFiles> files = new MemoryFiles;
    osg::ref_ptr<osgDB::Options> options = files->options();
    osg::ref_ptr<DatabaseCacheReadCallback> cache = new DatabaseCacheReadCallback(2);
};

} // namespace

TEST_F(DatabaseCacheReadCallbackTest, ReadsAFileOnceAndThenReturnsTheSameNode)
{
    const osg::ref_ptr<osg::Node> first = read("a");
    ASSERT_TRUE(first);
    EXPECT_EQ(read("a"), first);
    EXPECT_THAT(files->reads, ElementsAre("a"));
    EXPECT_EQ(files->lastOptions, options);
    EXPECT_THAT(messages(), ElementsAre("Inserting into cache a", "Getting from cache a"));
}

TEST_F(DatabaseCacheReadCallbackTest, AnswersThroughItsBaseClassFromTheSameStore)
{
    const osg::ref_ptr<osg::Node> first = read("a");
    osgUtil::IntersectionVisitor::ReadCallback& base = *cache;
    EXPECT_EQ(base.readNodeFile("a"), first); // without options nobody would know the file
    EXPECT_FALSE(base.readNodeFile("b"));
}

TEST_F(DatabaseCacheReadCallbackTest, DoesNotRememberAFileThatCannotBeRead)
{
    EXPECT_FALSE(read("missing"));
    EXPECT_FALSE(read("missing"));
    EXPECT_THAT(files->reads, ElementsAre("missing", "missing"));
    EXPECT_THAT(messages(), testing::IsEmpty());
    files->addNode("missing");
    EXPECT_TRUE(read("missing"));
}

TEST_F(DatabaseCacheReadCallbackTest, AReaderThatThrowsIsAFileThatCannotBeRead)
{
    files->throwing = "a";
    EXPECT_FALSE(read("a"));
    EXPECT_EQ(log.count(osg::WARN, "cannot read a: damaged"), 1);
    files->throwing.clear();
    EXPECT_TRUE(read("a"));
}

TEST_F(DatabaseCacheReadCallbackTest, BeyondTheMaximumTheFirstByNameThatNobodyHoldsGoes)
{
    const osg::observer_ptr<osg::Node> b = read("b").get();
    const osg::observer_ptr<osg::Node> a = read("a").get(); // later, yet first by name
    log.clear();
    EXPECT_TRUE(read("c"));
    EXPECT_FALSE(a.valid());
    EXPECT_TRUE(b.valid());
    EXPECT_THAT(messages(), ElementsAre("Erasing a", "And the replacing with c"));
}

TEST_F(DatabaseCacheReadCallbackTest, AHeldNodeStaysAndTheNextByNameGoes)
{
    const osg::ref_ptr<osg::Node> a = read("a");
    const osg::observer_ptr<osg::Node> b = read("b").get();
    read("c");
    EXPECT_EQ(read("a"), a);
    EXPECT_FALSE(b.valid());
    EXPECT_THAT(files->reads, ElementsAre("a", "b", "c"));
}

TEST_F(DatabaseCacheReadCallbackTest, NamesAreComparedByteWiseTheShorterFirst)
{
    cache = new DatabaseCacheReadCallback(3);
    for (const char* name : {"aa", "a", "B", "z"})
        files->addNode(name);
    for (const char* name : {"aa", "a", "B"})
        read(name);
    log.clear();
    for (const char* name : {"z", "z1", "z2"})
    {
        files->addNode(name);
        read(name);
    }
    EXPECT_THAT(messages(), ElementsAre("Erasing B", "And the replacing with z", "Erasing a",
                                        "And the replacing with z1", "Erasing aa", "And the replacing with z2"));
}

TEST_F(DatabaseCacheReadCallbackTest, ANodeIsStoredOnTopWhenAllOthersAreHeld)
{
    const osg::ref_ptr<osg::Node> a = read("a");
    const osg::ref_ptr<osg::Node> b = read("b");
    log.clear();
    const osg::ref_ptr<osg::Node> c = read("c");
    EXPECT_THAT(messages(), ElementsAre("And the replacing with c"));
    EXPECT_EQ(read("a"), a);
    EXPECT_EQ(read("b"), b);
    EXPECT_EQ(read("c"), c);
}

TEST_F(DatabaseCacheReadCallbackTest, OnlyOneGoesAtATimeEvenWhenThereAreTooMany)
{
    std::vector<osg::ref_ptr<osg::Node>> held{read("a"), read("b"), read("c")}; // three, with a maximum of two
    held.clear();
    log.clear();
    read("d");
    EXPECT_THAT(messages(), ElementsAre("Erasing a", "And the replacing with d"));
}

TEST_F(DatabaseCacheReadCallbackTest, HoldsTwoThousandTilesAndOneMoreIfAllAreInUse)
{
    cache = new DatabaseCacheReadCallback(2000);
    std::vector<osg::ref_ptr<osg::Node>> held;
    for (int i = 0; i <= 2000; ++i)
    {
        files->addNode(std::to_string(i));
        held.push_back(read(std::to_string(i)));
    }
    EXPECT_EQ(files->reads.size(), 2001U);
    for (int i = 0; i <= 2000; ++i)
        EXPECT_EQ(read(std::to_string(i)), held[static_cast<std::size_t>(i)]);
    EXPECT_EQ(files->reads.size(), 2001U);
}

TEST_F(DatabaseCacheReadCallbackTest, AMaximumOfNoneStillReadsAndReplaces)
{
    cache = new DatabaseCacheReadCallback(0);
    EXPECT_TRUE(read("a"));
    EXPECT_TRUE(read("b"));
    EXPECT_THAT(messages(), ElementsAre("And the replacing with a", "Erasing a", "And the replacing with b"));
}

TEST_F(DatabaseCacheReadCallbackTest, ReleasesEveryNodeAtItsEnd)
{
    const osg::observer_ptr<osg::Node> a = read("a").get();
    const osg::observer_ptr<osg::Node> b = read("b").get();
    ASSERT_TRUE(a.valid() && b.valid());
    cache = nullptr;
    EXPECT_FALSE(a.valid() || b.valid());
}

TEST_F(DatabaseCacheReadCallbackTest, IsSilentAtTheUsualLevel)
{
    osg::setNotifyLevel(osg::NOTICE);
    for (const char* name : {"a", "a", "b", "c"})
        read(name);
    EXPECT_THAT(messages(), testing::IsEmpty());
}

// The lock is no recursive one: a read under it would hang here.
TEST_F(DatabaseCacheReadCallbackTest, HoldsNoLockWhileAFileIsRead)
{
    files->whileReading = [this](const std::string& name)
    {
        if (name != "a") return;
        EXPECT_TRUE(read("b"));
    };
    EXPECT_TRUE(read("a"));
    EXPECT_THAT(files->reads, ElementsAre("a", "b"));
}

TEST_F(DatabaseCacheReadCallbackTest, OfTwoReadsOfOneFileTheLaterStays)
{
    bool isNested = false;
    osg::ref_ptr<osg::Node> first;
    files->whileReading = [&](const std::string& name)
    {
        if (isNested) return;
        isNested = true;
        first = read(name);
    };
    const osg::ref_ptr<osg::Node> later = read("a");
    EXPECT_NE(first, later);
    EXPECT_EQ(read("a"), later);
}

TEST_F(DatabaseCacheReadCallbackTest, ServesSeveralThreadsAtOnce)
{
    osg::setNotifyLevel(osg::NOTICE);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back(
            [this]
            {
                const osg::ref_ptr<MemoryFiles> own = new MemoryFiles;
                const osg::ref_ptr<osgDB::Options> ownOptions = own->options();
                for (const char* name : {"a", "b", "c", "d"})
                    own->addNode(name);
                for (int round = 0; round < 500; ++round)
                    for (const char* name : {"a", "b", "c", "d"})
                        EXPECT_EQ(cache->readNodeFile(name, ownOptions)->getName(), name);
                own->lastOptions = nullptr;
            });
    for (std::thread& thread : threads)
        thread.join();
}

namespace
{

/** A square with a texture, below nodes with textures of their own. */
struct TexturedTile
{
    TexturedTile()
    {
        for (osg::Node* place : std::initializer_list<osg::Node*>{square, geode, node})
        {
            const osg::ref_ptr<osg::Image> image = makeImage("a.png", 1, 2, 3);
            place->getOrCreateStateSet()->setTextureAttributeAndModes(0, new osg::Texture2D(image));
            images.emplace_back(image);
        }
        geode->addDrawable(square);
        node->addChild(geode);
    }
    [[nodiscard]] int imageCount() const
    {
        return static_cast<int>(
            std::count_if(images.begin(), images.end(), [](const auto& image) { return image.valid(); }));
    }

    osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 1);
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    osg::ref_ptr<osg::MatrixTransform> node = new osg::MatrixTransform;
    std::vector<osg::observer_ptr<osg::Image>> images;
};

} // namespace

TEST_F(DatabaseCacheReadCallbackTest, KeepsOfATileItsGeometryOnly)
{
    TexturedTile tile;
    files->nodes["tile"] = [&tile] { return osg::ref_ptr<osg::Node>(std::exchange(tile.node, nullptr)); };
    const osg::ref_ptr<osg::Node> stored = read("tile");
    ASSERT_TRUE(stored);
    EXPECT_EQ(tile.imageCount(), 0);
    ASSERT_EQ(tile.square->getNumPrimitiveSets(), 1U);
    EXPECT_EQ(tile.square->getVertexArray()->getNumElements(), 4U);
    EXPECT_EQ(stored->asGroup()->getChild(0), tile.geode);
}

// As does a reader that answers from a cache of its own: others draw that tile.
TEST_F(DatabaseCacheReadCallbackTest, LeavesATileAloneThatOthersHold)
{
    TexturedTile tile;
    files->nodes["tile"] = [&tile] { return osg::ref_ptr<osg::Node>(tile.node); };
    EXPECT_EQ(read("tile"), tile.node);
    EXPECT_EQ(tile.imageCount(), 3);
}
