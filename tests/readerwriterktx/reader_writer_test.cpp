#include "readerwriterktx/ReaderWriterKTX.h"

#include "library/ReaderWriterRegistration.h"
#include "readerwriterktx/KtxTestImages.h"
#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <osgDB/ReadFile>
#include <osgDB/Registry>
#include <osgDB/WriteFile>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#endif

namespace fs = std::filesystem;

namespace
{

using ReadResult = osgDB::ReaderWriter::ReadResult;
using WriteResult = osgDB::ReaderWriter::WriteResult;

struct ReaderWriterKtxTest : public testing::Test
{
    osg::ref_ptr<ReaderWriterKTX> readerWriter{new ReaderWriterKTX};
    TemporaryDirectory folder;
    LogRecorder log;
    osg::ref_ptr<osgDB::Options> plain = optionsWith({}); // options, and so no encoder
};

/** Where reading and writing really happen. */
struct ReaderWriterKtxFiles : public ReaderWriterKtxTest
{
    void SetUp() override { SKIP_WITHOUT_KTX(); }
};

/** The same through OSG, where the reader-writer is registered as the library does it. */
struct KtxThroughOsg : public ReaderWriterKtxFiles
{
    mvgeo::ReaderWriterRegistration<ReaderWriterKTX> registration;

    static std::vector<std::string> readerNames()
    {
        std::vector<std::string> names;
        for (const auto& reader : osgDB::Registry::instance()->getReaderWriterList())
            names.emplace_back(reader->className());
        return names;
    }
};

TEST_F(ReaderWriterKtxTest, NamesItself)
{
    EXPECT_STREQ(readerWriter->className(), "[luflegle] KTX texture reader");
}

TEST_F(ReaderWriterKtxTest, DeclaresOneExtensionAndAnswersForItsAlias)
{
    const osgDB::ReaderWriter::FormatDescriptionMap expected{{"ktx", "KTX texture file"}};
    EXPECT_EQ(readerWriter->supportedExtensions(), expected);
    for (const char* name : {"ktx", "KTX", "ktx2", "Ktx2"})
        EXPECT_TRUE(readerWriter->acceptsExtension(name)) << name;
    for (const char* name : {"", "ktx3", "kt", "png", ".ktx"})
        EXPECT_FALSE(readerWriter->acceptsExtension(name)) << name;
}

TEST_F(ReaderWriterKtxTest, DeclaresTheOptionsOfWriting)
{
    const osgDB::ReaderWriter::FormatDescriptionMap expected{
        {"SavingCubeMap", "Save KTX cubemap data: default=0"},
        {"UseBASISU", "Save with BASISU encoder: default=0"},
        {"UseUASTC", "Save with UASTC (1), or ETC1S (0): default=0"},
        {"ThreadCount", "Number of threads used for compression: default=1"},
        {"CompressLevel", "Encoding speed vs. quality tradeoff [0-5]: default=1"},
        {"QualityLevel", "Compression quality [1,255]: default=128"}};
    EXPECT_EQ(readerWriter->supportedOptions(), expected);
}

TEST_F(ReaderWriterKtxTest, LeavesOtherNamesToOthersWithoutAWord)
{
    EXPECT_EQ(readerWriter->readImage(folder / "a.png", nullptr).status(), ReadResult::FILE_NOT_HANDLED);
    EXPECT_EQ(readerWriter->readImage("ktx", nullptr).status(), ReadResult::FILE_NOT_HANDLED);
    EXPECT_EQ(readerWriter->writeImage(*rgbaImage(4, 4), folder / "a.png", plain).status(),
              WriteResult::FILE_NOT_HANDLED);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(ReaderWriterKtxTest, SaysThatAFileIsNotThere)
{
    const std::string name = folder / "missing.ktx";
    EXPECT_EQ(readerWriter->readImage(name, nullptr).status(), ReadResult::FILE_NOT_FOUND);
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to read from: " + name), 1);
}

TEST_F(ReaderWriterKtxFiles, BringsBackWhatItWrote)
{
    for (const char* name : {"a.ktx", "a.ktx2", "A.KTX", "with blank.ktx", "\xE5\x9F\x8E\xE5\xB8\x82 \xC3\xA4.ktx"})
    {
        SCOPED_TRACE(name);
        const osg::ref_ptr<osg::Image> image = rgbaImage(5, 3);
        ASSERT_TRUE(readerWriter->writeImage(*image, folder / name, plain).success());
        ReadResult result = readerWriter->readImage(folder / name, nullptr);
        ASSERT_TRUE(result.validImage());
        EXPECT_EQ(bytesOf(*result.getImage()), bytesOf(*image));
        EXPECT_EQ(result.getImage()->getFileName(), folder / name);
        EXPECT_TRUE(readerWriter->readObject(folder / name, nullptr).validImage());
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ReaderWriterKtxFiles, FindsAFileInTheDatabasePath)
{
    ASSERT_TRUE(readerWriter->writeImage(*rgbaImage(4, 4), folder / "there.ktx", plain).success());
    const osg::ref_ptr<osgDB::Options> options(new osgDB::Options);
    options->getDatabasePathList().push_back(folder.path().string());
    EXPECT_TRUE(readerWriter->readImage("there.ktx", options).validImage());
}

TEST_F(ReaderWriterKtxFiles, RefusesWhatIsNoTextureWithItsName)
{
    for (const std::string& content : {std::string(), std::string("no texture"), std::string(5000, 'x')})
    {
        writeFile(folder / "bad.ktx", content);
        const ReadResult result = readerWriter->readImage(folder / "bad.ktx", nullptr);
        EXPECT_EQ(result.status(), ReadResult::ERROR_IN_READING_FILE);
        EXPECT_FALSE(result.message().empty());
        EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to read from: " + (folder / "bad.ktx")), 1);
        EXPECT_EQ(log.lines().size(), 1U);
        log.clear();
    }
}

TEST_F(ReaderWriterKtxFiles, RefusesAFolder)
{
    folder.makeFolder("folder.ktx");
    EXPECT_FALSE(readerWriter->readImage(folder / "folder.ktx", nullptr).success());
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to read from: "), 1);
}

TEST_F(ReaderWriterKtxFiles, ReadsAStreamFromWhereItStands)
{
    const osg::ref_ptr<osg::Image> image = rgbaImage(4, 4);
    std::istringstream stream("before" + written(*image, plain));
    stream.ignore(6);
    ReadResult result = readerWriter->readImage(stream, nullptr);
    ASSERT_TRUE(result.validImage());
    EXPECT_EQ(bytesOf(*result.getImage()), bytesOf(*image));
}

TEST_F(ReaderWriterKtxFiles, SaysTheErrorCodeOfAStream)
{
    std::istringstream noTexture(std::string(100, 'x'));
    EXPECT_EQ(readerWriter->readImage(noTexture, nullptr).status(), ReadResult::ERROR_IN_READING_FILE);
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to read from stream: 15 "), 1); // KTX_UNKNOWN_FILE_FORMAT
    std::istringstream nothing;
    EXPECT_FALSE(readerWriter->readImage(nothing, nullptr).success());
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to read from stream: 7 "), 1); // KTX_FILE_UNEXPECTED_EOF
    const std::string whole = written(*rgbaImage(4, 4), plain);
    std::istringstream cut(whole.substr(0, whole.size() - 1));
    EXPECT_FALSE(readerWriter->readImage(cut, nullptr).success());
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to read from stream: 1 "), 1); // KTX_FILE_DATA_ERROR
}

// Each cut is a refusal with one line and no image.
TEST_F(ReaderWriterKtxFiles, RefusesATextureThatWasCutAnywhere)
{
    const std::string whole = written(*rgbaImage(16, 8, 5), plain);
    ASSERT_TRUE(read(whole));
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        log.clear();
        ASSERT_FALSE(read(whole.substr(0, size))) << size;
        const char* code = size < 12 ? "7 (" : "1 ("; // KTX_FILE_UNEXPECTED_EOF, KTX_FILE_DATA_ERROR
        ASSERT_EQ(log.count(osg::WARN, std::string("[LoaderKTX] Unable to read from stream: ") + code), 1) << size;
        ASSERT_EQ(log.lines().size(), 1U) << size;
    }
}

TEST_F(ReaderWriterKtxFiles, WritesNothingWhereItCannot)
{
    const std::string name = folder / "no such folder/a.ktx";
    EXPECT_EQ(readerWriter->writeImage(*rgbaImage(4, 4), name, plain).status(), WriteResult::ERROR_IN_WRITING_FILE);
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Unable to write to: " + name), 1);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

#if !defined(_WIN32)
// There it separates nothing.
TEST_F(ReaderWriterKtxFiles, TakesABackslashForALetter)
{
    const std::string name = folder / "a\\b.ktx2";
    EXPECT_EQ(readerWriter->writeImage(*rgbaImage(4, 4), name, plain).status(), WriteResult::FILE_SAVED);
    EXPECT_TRUE(fs::is_regular_file(name));
    EXPECT_TRUE(readerWriter->readImage(name, nullptr).validImage());
}
#endif

TEST_F(ReaderWriterKtxFiles, LeavesAnExistingFileAloneWhenItHasNothingToWrite)
{
    writeFile(folder / "old.ktx", "old");
    const osg::ref_ptr<osg::Image> empty(new osg::Image);
    EXPECT_FALSE(readerWriter->writeImage(*empty, folder / "old.ktx", plain).success());
    EXPECT_EQ(readFile(folder / "old.ktx"), "old");
}

TEST_F(ReaderWriterKtxFiles, TellsAStreamThatTakesNothing)
{
    std::ostringstream stream;
    stream.setstate(std::ios::badbit);
    EXPECT_EQ(readerWriter->writeImage(*rgbaImage(4, 4), stream, plain).status(), WriteResult::ERROR_IN_WRITING_FILE);
}

#if !defined(_WIN32)
TEST_F(ReaderWriterKtxFiles, LeavesTheOldFileWhenTheDiskIsFull)
{
    writeFile(folder / "old.ktx", "old");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit tight = before;
    tight.rlim_cur = 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const WriteResult result = readerWriter->writeImage(*rgbaImage(64, 64), folder / "old.ktx", plain);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(result.status(), WriteResult::ERROR_IN_WRITING_FILE);
    EXPECT_EQ(readFile(folder / "old.ktx"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST_F(ReaderWriterKtxFiles, TellsAFullDeviceBehindAStream)
{
    std::ofstream stream("/dev/full", std::ios::binary);
    if (!stream) GTEST_SKIP() << "there is no /dev/full";
    EXPECT_FALSE(readerWriter->writeImage(*rgbaImage(64, 64), stream, plain).success());
}
#endif

TEST_F(KtxThroughOsg, OpensBothNames)
{
    for (const char* name : {"a.ktx", "a.ktx2"})
    {
        ASSERT_TRUE(osgDB::writeImageFile(*rgbaImage(8, 8), folder / name, plain)) << name;
        EXPECT_TRUE(osgDB::readRefImageFile(folder / name)) << name;
        EXPECT_TRUE(osgDB::readRefFile<osg::Image>(folder / name)) << name;
    }
}

// OSG's own plug-in for the extension would take a file on trust that was refused, and write another one
// instead of nothing.
TEST_F(KtxThroughOsg, AsksNobodyElseAfterARefusal)
{
    const std::vector<std::string> before = readerNames();
    writeFile(folder / "bad.ktx", "no texture");
    EXPECT_FALSE(osgDB::readRefImageFile(folder / "bad.ktx"));
    const std::vector<osg::ref_ptr<osg::Image>> five(5, rgbaImage(4, 4));
    EXPECT_FALSE(
        osgDB::writeImageFile(*sequenceOf(five), folder / "five.ktx", optionsWith({{"SavingCubeMap", "true"}})));
    EXPECT_FALSE(fs::exists(folder / "five.ktx"));
    EXPECT_EQ(readerNames(), before);
}

} // namespace
