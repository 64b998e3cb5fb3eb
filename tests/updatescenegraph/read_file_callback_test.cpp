#include "updatescenegraph/ReadFileCallback.h"

#include "SceneParts.h"
#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"
#include "support/VisitorGeometry.h"

#include <osg/Geometry>
#include <osg/PagedLOD>
#include <osg/Texture2D>
#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <stdexcept>

namespace
{

using ReadResult = osgDB::ReaderWriter::ReadResult;
using std::chrono::milliseconds;
using std::chrono::seconds;

/** A callback with a clock that only moves when told to, and options that name it. */
class ReadFileCallbackTest : public testing::Test
{
protected:
    ReadFileCallbackTest() { options->setReadFileCallback(callback); }

    ReadResult read(const std::string& file) const { return callback->readNode(file, options); }
    std::string squareTile(const std::string& name) const
    {
        writeTile(*makeSquare(0, 0, 0, 1), folder / name);
        return folder / name;
    }
    /** A square with a picture of this name in it. */
    std::string texturedTile(const std::string& name, const std::string& imageName) const
    {
        const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 1);
        square->getOrCreateStateSet()->setTextureAttribute(0, new osg::Texture2D(makeImage(imageName, 10, 20, 30)));
        writeTile(*square, folder / name);
        return folder / name;
    }
    static osg::Texture2D* textureOf(const ReadResult& result)
    {
        const auto* geometry = dynamic_cast<osg::Geometry*>(const_cast<ReadResult&>(result).getNode());
        return geometry ? mvgeo::textureOf(*geometry) : nullptr;
    }
    static std::string imagePathOf(const ReadResult& result)
    {
        const std::string* path = mvgeo::userValue<std::string>(*textureOf(result), "imagePath");
        return path ? *path : "-";
    }
    static bool hasNormals(const ReadResult& result)
    {
        const auto* geometry = dynamic_cast<osg::Geometry*>(const_cast<ReadResult&>(result).getNode());
        return geometry && geometry->getNormalArray();
    }

    TemporaryDirectory folder;
    mvgeo::FailedReads::Clock::time_point now{};
    osg::ref_ptr<ReadFileCallback> callback = new ReadFileCallback([this] { return now; });
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
};

TEST_F(ReadFileCallbackTest, ReadsATileWithAndWithoutOptions)
{
    const std::string tile = squareTile("a.osgb");
    EXPECT_TRUE(read(tile).validNode());
    EXPECT_TRUE(callback->readNode(tile, nullptr).validNode());
    EXPECT_EQ(callback->loadedCount(), 2U);
    EXPECT_EQ(callback->failedCount(), 0U);
}

TEST_F(ReadFileCallbackTest, MakesNoNormalsUnlessAskedTo)
{
    EXPECT_FALSE(callback->generatesNormals());
    EXPECT_FALSE(hasNormals(read(squareTile("a.osgb"))));
}

TEST_F(ReadFileCallbackTest, OptionNormalSwitchesNormalsOnAndOff)
{
    const std::string tile = squareTile("a.osgb");
    options->setUserValue("normal", true);
    EXPECT_TRUE(hasNormals(read(tile)));
    EXPECT_TRUE(callback->generatesNormals());
    EXPECT_TRUE(hasNormals(callback->readNode(tile, nullptr))) << "stays as it was without options";
    options->setUserValue("normal", false);
    EXPECT_FALSE(hasNormals(read(tile)));
    EXPECT_FALSE(callback->generatesNormals());
}

TEST_F(ReadFileCallbackTest, OptionNormalOfAnotherTypeChangesNothing)
{
    options->setUserValue("normal", 1);
    EXPECT_FALSE(hasNormals(read(squareTile("a.osgb"))));
    callback->setGenerateNormals(true);
    EXPECT_TRUE(hasNormals(read(squareTile("b.osgb"))));
}

TEST_F(ReadFileCallbackTest, OptionNormalIsReadEvenIfTheFileCannotBe)
{
    options->setUserValue("normal", true);
    EXPECT_FALSE(read(folder / "missing.osgb").validNode());
    EXPECT_TRUE(callback->generatesNormals());
}

TEST_F(ReadFileCallbackTest, PagedNodesAreReadLikeTheirTile)
{
    writeTile(*pagedNode(makeSquare(0, 0, 0, 1), "fine.osgb"), folder / "a.osgb");
    options->setUserValue("cachePathDir", std::string("D:/cache"));
    ReadResult result = read(folder / "a.osgb");
    auto* paged = dynamic_cast<osg::PagedLOD*>(result.getNode());
    ASSERT_TRUE(paged);
    auto* childOptions = dynamic_cast<osgDB::Options*>(paged->getDatabaseOptions());
    ASSERT_TRUE(childOptions);
    EXPECT_EQ(childOptions->getReadFileCallback(), callback);
    const std::string* cache = mvgeo::userValue<std::string>(*childOptions, "cachePathDir");
    ASSERT_TRUE(cache);
    EXPECT_EQ(*cache, "D:/cache");
}

TEST_F(ReadFileCallbackTest, PagedNodesAreLeftAloneIfTheOptionsNameNoCallback)
{
    writeTile(*pagedNode(makeSquare(0, 0, 0, 1), "fine.osgb"), folder / "a.osgb");
    options->setReadFileCallback(nullptr);
    ReadResult result = read(folder / "a.osgb");
    auto* paged = dynamic_cast<osg::PagedLOD*>(result.getNode());
    ASSERT_TRUE(paged);
    EXPECT_FALSE(paged->getDatabaseOptions());
}

TEST_F(ReadFileCallbackTest, TexturesGoToTheCacheDirectory)
{
    const std::string cache = folder.makeFolder("cache");
    options->setUserValue("cachePathDir", cache);
    const ReadResult result = read(texturedTile("a.osgb", "pictures/c.png"));
    EXPECT_EQ(imagePathOf(result), cache + "/c.png");
    EXPECT_TRUE(std::filesystem::exists(cache + "/c.png"));
}

TEST_F(ReadFileCallbackTest, SecondReadDoesNotWriteAgainButNamesThePathOnTheNewTexture)
{
    const std::string cache = folder.makeFolder("cache");
    options->setUserValue("cachePathDir", cache);
    const std::string tile = texturedTile("a.osgb", "c.png");
    const ReadResult first = read(tile);
    writeFile(cache + "/c.png", "marked");
    const ReadResult second = read(tile);
    EXPECT_NE(textureOf(first), textureOf(second));
    EXPECT_EQ(imagePathOf(second), cache + "/c.png");
    EXPECT_EQ(readFile(cache + "/c.png"), "marked");
}

TEST_F(ReadFileCallbackTest, WithoutACacheDirectoryTexturesHaveNoPath)
{
    const std::string tile = texturedTile("a.osgb", "c.png");
    EXPECT_EQ(imagePathOf(read(tile)), "-");
    options->setUserValue("cachePathDir", 5);
    EXPECT_EQ(imagePathOf(read(tile)), "-") << "no string";
    options->getUserDataContainer()->removeUserObject(0);
    options->setUserValue("cachePathDir", std::string());
    EXPECT_EQ(imagePathOf(read(tile)), "-") << "empty means none";
    EXPECT_EQ(imagePathOf(callback->readNode(tile, nullptr)), "-");
}

// Whoever gets a failure writes a line of its own, OSG's pager to a stream that its threads do not share well.
TEST_F(ReadFileCallbackTest, FirstFailureIsOneLineOfOursAndNoFailureToTheCaller)
{
    const LogRecorder log;
    const std::string missing = folder / "missing.osgb";
    ReadResult result = read(missing);
    EXPECT_TRUE(result.success());
    EXPECT_FALSE(result.validNode());
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].severity, osg::WARN);
    EXPECT_THAT(log.lines()[0].text, testing::MatchesRegex("src/updatescenegraph [0-9]+cannot read .*"));
    EXPECT_THAT(log.lines()[0].text, testing::EndsWith("cannot read " + missing + ": file not found"));
    EXPECT_EQ(callback->failedCount(), 1U);
    EXPECT_EQ(callback->loadedCount(), 0U);
}

TEST_F(ReadFileCallbackTest, LaterFailuresAreEmptySuccessesWithoutALine)
{
    const LogRecorder log;
    const std::string missing = folder / "missing.osgb";
    EXPECT_FALSE(read(missing).validNode());
    ReadResult paused = read(missing);
    EXPECT_TRUE(paused.success());
    EXPECT_FALSE(paused.validNode());

    now += seconds(1);
    ReadResult again = read(missing); // a real attempt, which fails too
    EXPECT_TRUE(again.success());
    EXPECT_FALSE(again.validNode());
    EXPECT_EQ(callback->failedCount(), 1U);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(ReadFileCallbackTest, PausedFileIsNotReadEvenIfItIsThereNow)
{
    const std::string late = folder / "late.osgb";
    EXPECT_FALSE(read(late).validNode());
    squareTile("late.osgb");
    now += milliseconds(999);
    EXPECT_FALSE(read(late).validNode());
    now += milliseconds(1);
    EXPECT_TRUE(read(late).validNode());
    EXPECT_EQ(callback->failedCount(), 0U);
}

TEST_F(ReadFileCallbackTest, SecondFailurePausesTwoSeconds)
{
    const std::string late = folder / "late.osgb";
    EXPECT_FALSE(read(late).validNode());
    now += seconds(1);
    EXPECT_FALSE(read(late).validNode());
    squareTile("late.osgb");
    now += milliseconds(1999);
    EXPECT_FALSE(read(late).validNode());
    now += milliseconds(1);
    EXPECT_TRUE(read(late).validNode());
}

TEST_F(ReadFileCallbackTest, SuccessForgetsTheFailuresSoThatTheNextIsAFirstOne)
{
    const LogRecorder log;
    const std::string tile = folder / "a.osgb";
    EXPECT_FALSE(read(tile).validNode());
    squareTile("a.osgb");
    now += seconds(1);
    EXPECT_TRUE(read(tile).validNode());
    EXPECT_EQ(log.count("cannot read " + tile), 1);
    std::filesystem::remove(tile);
    EXPECT_FALSE(read(tile).validNode());
    EXPECT_EQ(log.count("cannot read " + tile), 2);
}

TEST_F(ReadFileCallbackTest, ForgottenFailureIsTriedAtOnce)
{
    const std::string late = folder / "late.osgb";
    EXPECT_FALSE(read(late).validNode());
    squareTile("late.osgb");
    callback->forgetFailure(late);
    EXPECT_TRUE(read(late).validNode());
}

TEST_F(ReadFileCallbackTest, FilesThatAreNoTilesFail)
{
    const LogRecorder log;
    writeFile(folder / "empty.osgb", "");
    writeFile(folder / "text.osgb", "this is not a tile at all, but it is longer than a header");
    std::filesystem::create_directory(folder / "folder.osgb");
    for (const char* name : {"empty.osgb", "text.osgb", "folder.osgb", "no_extension", ""})
        EXPECT_FALSE(read(name[0] ? folder / name : "").validNode()) << name;
    EXPECT_EQ(callback->failedCount(), 5U);
    EXPECT_EQ(log.count("src/updatescenegraph "), 5);
}

// OSG alone runs on behind the end of such a file for minutes and writes gigabytes to the log.
TEST_F(ReadFileCallbackTest, TileCutOffAnywhereFails)
{
    const std::string whole = readFile(texturedTile("whole.osgb", "c.png"));
    ASSERT_GT(whole.size(), 200U);
    options->setUserValue("normal", true);
    options->setUserValue("cachePathDir", folder.makeFolder("cache"));
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        const std::string name = folder / (std::to_string(size) + ".osgb");
        writeFile(name, whole.substr(0, size));
        EXPECT_FALSE(read(name).validNode()) << size << " of " << whole.size() << " bytes";
        std::filesystem::remove(name);
    }
    EXPECT_TRUE(read(folder / "whole.osgb").validNode());
}

TEST_F(ReadFileCallbackTest, CompressedTileIsReadAndFailsWhenCutOff)
{
    writeTile(*makeSquare(0, 0, 0, 1), folder / "whole.osgb", /*isCompressed*/ true);
    EXPECT_TRUE(read(folder / "whole.osgb").validNode());
    const std::string whole = readFile(folder / "whole.osgb");
    for (std::size_t size = 0; size + 4 < whole.size(); ++size) // the last four bytes are only a checksum
    {
        const std::string name = folder / (std::to_string(size) + ".osgb");
        writeFile(name, whole.substr(0, size));
        EXPECT_FALSE(read(name).validNode()) << size << " of " << whole.size() << " bytes";
    }
}

/** Reads "*.throws" by throwing what its base name asks for. */
class ThrowingReader : public osgDB::ReaderWriter
{
public:
    ThrowingReader() { supportsExtension("throws", "throws on reading"); }
    ReadResult readNode(const std::string& file, const osgDB::Options*) const override
    {
        if (osgDB::getStrippedName(file) == "number") throw 5;
        if (osgDB::getStrippedName(file) == "memory") throw std::bad_alloc();
        throw std::runtime_error("length is absurd");
    }
};

TEST_F(ReadFileCallbackTest, ReaderThatThrowsIsAFailedRead)
{
    const LogRecorder log;
    const osg::ref_ptr<ThrowingReader> reader = new ThrowingReader;
    osgDB::Registry::instance()->addReaderWriter(reader);
    for (const char* name : {"error.throws", "memory.throws", "number.throws"})
        EXPECT_FALSE(read(name).validNode()) << name;
    EXPECT_FALSE(read("error.throws").validNode());
    osgDB::Registry::instance()->removeReaderWriter(reader);

    EXPECT_EQ(callback->failedCount(), 3U);
    EXPECT_EQ(log.lines().size(), 3U) << "remembered like any failure";
    EXPECT_EQ(log.count("cannot read error.throws: read error (length is absurd)"), 1);
    EXPECT_EQ(log.count(std::string("cannot read memory.throws: read error (") + std::bad_alloc().what() + ")"), 1);
    EXPECT_EQ(log.count("cannot read number.throws: read error (unknown exception)"), 1);
}

TEST_F(ReadFileCallbackTest, BackSlashesOfIndexFilesSeparateFolders)
{
    folder.makeFolder("Tile_1");
    squareTile("Tile_1/a.osgb");
    EXPECT_TRUE(read(folder / "Tile_1\\a.osgb").validNode());
    EXPECT_TRUE(read(folder / ".\\Tile_1\\a.osgb").validNode());
}

#if !defined(_WIN32)
TEST_F(ReadFileCallbackTest, BackSlashThatIsPartOfAnExistingNameIsKept)
{
    squareTile("odd\\name.osgb");
    EXPECT_TRUE(read(folder / "odd\\name.osgb").validNode());
}
#endif

TEST_F(ReadFileCallbackTest, ChineseFolderIsRead)
{
    folder.makeFolder("\xE5\x80\xBE\xE6\x96\x9C");
    EXPECT_TRUE(read(squareTile("\xE5\x80\xBE\xE6\x96\x9C/a.osgb")).validNode());
}

} // namespace
