#include "readerwriterktx/KtxReading.h"
#include "readerwriterktx/KtxTestImages.h"
#include "readerwriterktx/KtxWriting.h"
#include "support/TemporaryDirectory.h"

#include <filesystem>
#include <sstream>

// Linked with what stands in where there is no libktx, whether or not this build has one.

namespace
{

constexpr char kMessage[] = "KTX textures are not available: built without libktx";

TEST(KtxWithoutTheLibrary, ReadingSaysSo)
{
    const LogRecorder log;
    mvgeo::KtxFault fault;
    EXPECT_FALSE(mvgeo::readKtx(nullptr, 0, nullptr, fault));
    EXPECT_EQ(fault.reason, kMessage);
    EXPECT_EQ(fault.code, 18); // KTX_LIBRARY_NOT_LINKED
    EXPECT_TRUE(log.lines().empty());
}

TEST(KtxWithoutTheLibrary, WritingSaysSo)
{
    const LogRecorder log;
    const osg::ref_ptr<osg::Image> image = rgbaImage(4, 4);
    EXPECT_EQ(mvgeo::writeKtx({image.get()}, false, {}), "");
    EXPECT_EQ(countOfLine(log, osg::WARN, std::string("[LoaderKTX] ") + kMessage), 1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(KtxWithoutTheLibrary, EveryCallIsRefusedInOneLine)
{
    const TemporaryDirectory folder;
    const LogRecorder log;
    const osg::ref_ptr<ReaderWriterKTX> readerWriter(new ReaderWriterKTX);
    const std::string name = folder / "a.ktx";
    writeFile(name, "anything");
    const auto reading = readerWriter->readImage(name, nullptr);
    EXPECT_EQ(reading.status(), osgDB::ReaderWriter::ReadResult::ERROR_IN_READING_FILE);
    EXPECT_EQ(reading.message(), kMessage);
    EXPECT_EQ(countOfLine(log, osg::WARN, "[LoaderKTX] Unable to read from: " + name + " (" + kMessage + ")"), 1);
    std::istringstream stream("anything");
    EXPECT_FALSE(readerWriter->readImage(stream, nullptr).success());
    EXPECT_EQ(countOfLine(log, osg::WARN, std::string("[LoaderKTX] Unable to read from stream: 18 (") + kMessage + ")"),
              1);
    EXPECT_FALSE(readerWriter->writeImage(*rgbaImage(4, 4), folder / "b.ktx", nullptr).success());
    EXPECT_FALSE(std::filesystem::exists(folder / "b.ktx"));
    EXPECT_EQ(countOfLine(log, osg::WARN, std::string("[LoaderKTX] ") + kMessage), 1);
    EXPECT_EQ(log.lines().size(), 3U);
}

} // namespace
