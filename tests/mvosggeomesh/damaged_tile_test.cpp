#include "mvosggeomesh/TiledModelFixture.h"
#include "support/Sanitizers.h"
#include "updatescenegraph/ReadFileCallback.h"

#include <osg/ComputeBoundsVisitor>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

using testing::Contains;

/** Whether reading this file does not end the process. Cut files never do, but flipped bits can: OSG's reader trusts
 * what it has read, and nothing in this process could catch that. Tried in a copy of this process, in which memory
 * is laid out alike, for five seconds. */
bool readingSurvives(const std::string& path)
{
    const pid_t child = fork();
    if (child == 0)
    {
        std::signal(SIGSEGV, SIG_DFL); // end at once: no report of a sanitizer
        alarm(5);
        const osg::ref_ptr<ReadFileCallback> callback = new ReadFileCallback;
        osgDB::ReaderWriter::ReadResult result = callback->readNode(path, nullptr);
        osg::ComputeBoundsVisitor bounds;
        if (result.validNode()) result.getNode()->accept(bounds);
        _exit(0);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

struct DamagedTile : public TiledModelFixture
{
    TilePyramid data = pyramid({2});
    /** Loads these bytes as a model file, looks at it, picks it, and forgets it. @return whether it was taken */
    bool tryAsRoot(const std::string& bytes)
    {
        const std::string path = folder / "damaged.osgb";
        writeFile(path, bytes);
        const bool taken = driver.add(path) >= 0;
        driver.view = fromAbove();
        EXPECT_TRUE(driver.update());
        const KdGePoint3d point(50, 50, 0);
        KdGePoint3d hit;
        model().pickPoint(&KdGeMatrix3d::kIdentity, &point, &hit);
        checkIndices();
        model().clear();
        receiver().forget();
        return taken;
    }

    /** A host that trusts an index beyond the vertices reads beyond its array. */
    void checkIndices()
    {
        for (const RecordingMesh* mesh : receiver().meshes())
            for (const unsigned int index : mesh->indices)
                ASSERT_LT(index, mesh->vertices.size() / 3U);
    }

    /** Puts these bytes in the place of the finer level. */
    void tryAsChild(const std::string& bytes)
    {
        writeFile(data.file("_L1"), bytes);
        ModelDriver one;
        ASSERT_EQ(one.add(data.rootFile()), 0);
        one.view = fromAbove();
        ASSERT_TRUE(one.converge());
        EXPECT_THAT(one.receiver.errors, testing::IsEmpty());
        if (one.statistics().tilesMerged > 0) return;
        EXPECT_EQ(one.statistics().tilesFailed, 1U);
        EXPECT_EQ(one.receiver.visible.size(), 1U); // the coarser tile
    }
};

} // namespace

TEST_F(DamagedTile, CutOffAnywhereIsNoModelAndNoCrash)
{
    const std::string whole = readFile(data.rootFile());
    ASSERT_TRUE(tryAsRoot(whole));
    std::set<std::size_t> lengths;
    for (std::size_t length = 0; length < std::min<std::size_t>(300, whole.size()); ++length)
        lengths.insert(length);
    for (std::size_t length = 0; length < whole.size(); length += 97)
        lengths.insert(length);
    for (std::size_t length = whole.size() - 20; length < whole.size(); ++length)
        lengths.insert(length);
    for (const std::size_t length : lengths)
    {
        SCOPED_TRACE(testing::Message() << length << " of " << whole.size() << " bytes");
        EXPECT_FALSE(tryAsRoot(whole.substr(0, length)));
    }
    EXPECT_TRUE(tryAsRoot(whole));
}

TEST_F(DamagedTile, CutOffAnywhereKeepsItsParentVisible)
{
    const std::string whole = readFile(data.file("_L1"));
    for (std::size_t length = 0; length < whole.size(); length += 397)
    {
        SCOPED_TRACE(testing::Message() << length << " of " << whole.size() << " bytes");
        tryAsChild(whole.substr(0, length));
    }
}

TEST_F(DamagedTile, CompressedAndCutOffIsNoCrash)
{
    TilePyramidOptions options{2};
    options.isCompressed = true;
    const std::string whole = readFile(pyramid(options, "compressed").rootFile());
    for (std::size_t length = 0; length < whole.size(); length += 13)
    {
        SCOPED_TRACE(testing::Message() << length << " of " << whole.size() << " bytes");
        tryAsRoot(whole.substr(0, length));
    }
}

// What is tested is everything behind the reader; files that end the reader itself are passed over.
TEST_F(DamagedTile, WithFlippedBitsThatTheReaderTakesIsNoCrash)
{
#ifdef MVGEO_HAS_THREAD_SANITIZER
    GTEST_SKIP() << "a copy of this process may wait for ever for a lock of the sanitizer";
#endif
    const std::string whole = readFile(data.rootFile());
    constexpr unsigned int kSeed = 20261120;
    constexpr int kRounds = 300;
    std::mt19937 random(kSeed);
    int survived = 0;
    int taken = 0;
    for (int round = 0; round < kRounds; ++round)
    {
        std::string bytes = whole;
        const std::size_t place = random() % bytes.size();
        const unsigned int bit = random() % 8U;
        bytes[place] = static_cast<char>(bytes[place] ^ (1U << bit));
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", round " << round << ": byte " << place << ", bit "
                                        << bit);
        writeFile(folder / "damaged.osgb", bytes);
        if (!readingSurvives(folder / "damaged.osgb")) continue;
        ++survived;
        if (tryAsRoot(bytes)) ++taken;
    }
    std::cout << kRounds - survived << " of " << kRounds << " files end OSG itself or keep it busy\n";
    EXPECT_GT(survived, kRounds / 2);
    EXPECT_GT(taken, kRounds / 4);
}

TEST_F(DamagedTile, ThatNamesVerticesThatItLacksIsNoCrash)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 100);
    square->getPrimitiveSet(0)->getDrawElements()->setElement(4, 1000000000U);
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(square);
    const std::string path = folder / "wild.osgb";
    // Through a file, as such a tile would come.
    writeTile(*geode, path);
    EXPECT_FALSE(tryAsRoot(readFile(path)));
}

TEST_F(DamagedTile, WithoutAnyBytesIsNoModel)
{
    EXPECT_FALSE(tryAsRoot(""));
    tryAsChild("");
}

TEST_F(DamagedTile, ThatIsAFolderIsNoModel)
{
    EXPECT_EQ(driver.add(folder.makeFolder("folder.osgb")), -1);
    fs::remove(data.file("_L1"));
    fs::create_directory(data.file("_L1"));
    ASSERT_EQ(driver.add(data.rootFile()), 0);
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    EXPECT_THAT(receiver().visible, testing::ElementsAre(id("Tile_0.osgb_0")));
}

TEST_F(DamagedTile, ThatIsTextIsNoModel)
{
    EXPECT_FALSE(tryAsRoot("This is no tile.\n"));
    EXPECT_FALSE(tryAsRoot(std::string(100000, 'x')));
    tryAsChild("{\"asset\": {}}");
}

TEST_F(DamagedTile, ThatMayNotBeReadIsNoModel)
{
    if (geteuid() == 0) GTEST_SKIP() << "the super-user may read everything";
    fs::permissions(data.rootFile(), fs::perms::none);
    EXPECT_EQ(driver.add(data.rootFile()), -1);
}

TEST_F(DamagedTile, WhoseNameHasNoExtensionIsNoModel)
{
    fs::copy_file(data.rootFile(), folder / "Tile");
    EXPECT_EQ(driver.add(folder / "Tile"), -1);
}
