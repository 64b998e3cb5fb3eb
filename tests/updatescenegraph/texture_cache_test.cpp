#include "support/LogRecorder.h"
#include "updatescenegraph/TextureCache.h"

#include "SceneParts.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"

#include <osg/Geometry>
#include <osg/Texture1D>
#include <osg/Texture2D>
#include <osgDB/ReadFile>
#include <osgDB/Registry>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>

namespace
{

using Names = std::vector<std::string>;

osg::ref_ptr<osg::Geometry> textured(osg::StateAttribute* texture)
{
    osg::ref_ptr<osg::Geometry> geometry = makeSquare(0, 0, 0, 1);
    geometry->getOrCreateStateSet()->setTextureAttribute(0, texture);
    return geometry;
}

std::string imagePathOf(const osg::Object& texture)
{
    const std::string* path = mvgeo::userValue<std::string>(texture, "imagePath");
    return path ? *path : "-";
}

class TextureCache : public testing::Test
{
protected:
    Names files() const
    {
        Names names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string directory() const { return folder.path().string(); }

    TemporaryDirectory folder;
};

TEST_F(TextureCache, ImageIsWrittenUnderItsSimpleName)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("a/b/c.png", 10, 20, 30));
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(files(), Names{"c.png"}) << "and nothing temporary is left";
    EXPECT_EQ(imagePathOf(*texture), directory() + "/c.png");

    const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(folder / "c.png");
    ASSERT_TRUE(written);
    EXPECT_EQ(written->s(), 8);
    EXPECT_EQ(written->t(), 4);
    EXPECT_EQ(written->data()[0], 10);
    EXPECT_EQ(written->data()[1], 20);
    EXPECT_EQ(written->data()[2], 30);
    EXPECT_EQ(texture->getImage()->getFileName(), "a/b/c.png") << "the image keeps its own name";
}

TEST_F(TextureCache, BackSlashesSeparateFoldersToo)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("a\\b\\c.png", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(files(), Names{"c.png"});
}

TEST_F(TextureCache, DirectoryIsJoinedAsPlainText)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("c.png", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), directory() + "/");
    EXPECT_EQ(imagePathOf(*texture), directory() + "//c.png");
    EXPECT_EQ(files(), Names{"c.png"});
}

TEST_F(TextureCache, FolderWithAChineseNameWorks)
{
    const std::string chinese = folder.makeFolder("\xE5\x80\xBE\xE6\x96\x9C");
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("\xE7\x93\xA6.png", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), chinese);
    EXPECT_TRUE(std::filesystem::exists(chinese + "/\xE7\x93\xA6.png"));
}

TEST_F(TextureCache, ExistingFileIsTakenWhateverItHolds)
{
    writeFile(folder / "c.png", "no picture");
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("c.png", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(readFile(folder / "c.png"), "no picture");
    EXPECT_EQ(imagePathOf(*texture), folder / "c.png");
}

TEST_F(TextureCache, TextureThatHasItsPathIsLeftAlone)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("c.png", 1, 2, 3));
    texture->setUserValue("imagePath", std::string("elsewhere.png"));
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(files(), Names{});
    EXPECT_EQ(imagePathOf(*texture), "elsewhere.png");
}

TEST_F(TextureCache, PathOfAnotherTypeIsReplaced)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("c.png", 1, 2, 3));
    texture->setUserValue("imagePath", 5);
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(imagePathOf(*texture), folder / "c.png");
}

TEST_F(TextureCache, ImageWithoutNameIsNamedByItsPixels)
{
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(1, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, 1);
    image->data()[0] = 'a';
    image->data()[1] = 'b';
    image->data()[2] = 'c';
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
    mvgeo::cacheTextures(*textured(texture), directory());
    // The digest of "abc", byte by byte in decimal.
    const std::string name = std::string("18612022191"
                                         "1431207234"
                                         "656564222"
                                         "931743435") +
                             "176397163"
                             "15023122156"
                             "1801625597"
                             "242021173"
                             ".jpg";
    EXPECT_EQ(image->getFileName(), name);
    EXPECT_EQ(files(), Names{name});
    EXPECT_EQ(imagePathOf(*texture), folder / name);
}

TEST_F(TextureCache, ImageWithoutPixelsIsNamedJpgAndWritesNothing)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(new osg::Image);
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(texture->getImage()->getFileName(), ".jpg");
    EXPECT_EQ(imagePathOf(*texture), folder / ".jpg");
    EXPECT_EQ(files(), Names{});
}

TEST_F(TextureCache, NamedImageWithoutPixelsWritesNothing)
{
    for (const char* name : {"gone.png", "gone.jpg", "gone.bmp", "gone.tga"})
    {
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        image->setFileName(name);
        const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
        mvgeo::cacheTextures(*textured(texture), directory());
        EXPECT_EQ(imagePathOf(*texture), folder / name);
    }
    EXPECT_EQ(files(), Names{});
}

TEST_F(TextureCache, OnlyTexture2DOfUnitZeroWithAnImageCounts)
{
    const osg::ref_ptr<osg::Texture2D> empty = new osg::Texture2D;
    const osg::ref_ptr<osg::Texture1D> line = new osg::Texture1D(makeImage("line.png", 1, 2, 3));
    const osg::ref_ptr<osg::Texture2D> unitOne = new osg::Texture2D(makeImage("one.png", 1, 2, 3));
    const osg::ref_ptr<osg::Geometry> onUnitOne = makeSquare(0, 0, 0, 1);
    onUnitOne->getOrCreateStateSet()->setTextureAttribute(1, unitOne);
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    tile->addChild(makeSquare(0, 0, 0, 1));
    tile->addChild(textured(empty));
    tile->addChild(textured(line));
    tile->addChild(onUnitOne);
    mvgeo::cacheTextures(*tile, directory());
    EXPECT_EQ(files(), Names{});
    EXPECT_EQ(imagePathOf(*empty), "-");
    EXPECT_EQ(imagePathOf(*line), "-");
    EXPECT_EQ(imagePathOf(*unitOne), "-");
}

TEST_F(TextureCache, EveryTextureOfATileIsCached)
{
    const osg::ref_ptr<osg::Texture2D> one = new osg::Texture2D(makeImage("one.png", 1, 2, 3));
    const osg::ref_ptr<osg::Texture2D> two = new osg::Texture2D(makeImage("two.png", 1, 2, 3));
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    tile->addChild(textured(one));
    tile->addChild(textured(two));
    mvgeo::cacheTextures(*tile, directory());
    EXPECT_EQ(files(), (Names{"one.png", "two.png"}));
}

TEST_F(TextureCache, MissingDirectoryIsNotMadeAndNothingIsSaid)
{
    const LogRecorder log;
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("c.png", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), folder / "missing");
    EXPECT_EQ(files(), Names{});
    EXPECT_EQ(imagePathOf(*texture), folder / "missing/c.png");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(TextureCache, FileInPlaceOfTheDirectoryIsBorneInSilence)
{
    writeFile(folder / "file", "x");
    const LogRecorder log;
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("c.png", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), folder / "file");
    EXPECT_EQ(files(), Names{"file"});
    EXPECT_EQ(imagePathOf(*texture), folder / "file/c.png");
    EXPECT_TRUE(log.lines().empty());
}

// Without libktx there is no exact copy of what a name's own format cannot hold.
#if defined(MVGEO_HAVE_KTX)
constexpr bool kHasCopies = true;
#else
constexpr bool kHasCopies = false;
#endif

TEST_F(TextureCache, NameThatNoWriterKnowsIsKeptAsACopyBesideIt)
{
    for (const char* name : {"c.nosuchformat", "c"})
    {
        const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage(name, 1, 2, 3));
        mvgeo::cacheTextures(*textured(texture), directory());
        EXPECT_EQ(imagePathOf(*texture), folder / name);
    }
    EXPECT_EQ(files(), kHasCopies ? (Names{"c.ktx", "c.nosuchformat.ktx"}) : Names{});
}

TEST_F(TextureCache, WhatTheNamesFormatHoldsHasNoSecondCopy)
{
    for (const char* name : {"c.png", "c.jpg", "c.JPEG", "c.bmp", "c.tga"})
        mvgeo::cacheTextures(*textured(new osg::Texture2D(makeImage(name, 1, 2, 3))), directory());
    EXPECT_EQ(files(), (Names{"c.JPEG", "c.bmp", "c.jpg", "c.png", "c.tga"}));
}

TEST_F(TextureCache, AlphaThatJpegLeavesOutIsKeptInACopy)
{
    for (const char* name : {"c.jpg", "c.png"})
    {
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        image->allocateImage(8, 8, 1, GL_RGBA, GL_UNSIGNED_BYTE, 1);
        std::fill_n(image->data(), 256, static_cast<unsigned char>(77));
        image->setFileName(name);
        mvgeo::cacheTextures(*textured(new osg::Texture2D(image)), directory());
    }
    const Names found = files();
    EXPECT_EQ(std::count(found.begin(), found.end(), "c.jpg.ktx"), kHasCopies ? 1 : 0);
    EXPECT_EQ(std::count(found.begin(), found.end(), "c.png.ktx"), 0);
    EXPECT_EQ(std::count(found.begin(), found.end(), "c.png"), 1);
}

// OSG's writer of BMP would read behind pixels of one or two bytes, and its writer of JPEG take four for three.
TEST_F(TextureCache, PixelsThatAWriterWouldMistakeAreGivenToItAsColours)
{
    struct Case
    {
        const char* name;
        GLenum format;
        std::vector<unsigned char> pixel;
        osg::Vec3 colour; // of 255
    };
    for (const Case& c : {Case{"grey.bmp", GL_LUMINANCE, {90}, {90, 90, 90}},
                          Case{"grey alpha.bmp", GL_LUMINANCE_ALPHA, {90, 30}, {90, 90, 90}},
                          Case{"grey alpha.jpg", GL_LUMINANCE_ALPHA, {90, 30}, {90, 90, 90}},
                          Case{"alpha.jpg", GL_RGBA, {200, 90, 30, 77}, {200, 90, 30}},
                          Case{"turned.jpg", GL_BGRA, {30, 90, 200, 77}, {200, 90, 30}},
                          Case{"turned.jpeg", GL_BGR, {30, 90, 200}, {200, 90, 30}}})
    {
        SCOPED_TRACE(c.name);
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        image->allocateImage(7, 5, 1, c.format, GL_UNSIGNED_BYTE, 1);
        for (std::size_t at = 0; at < 35 * c.pixel.size(); ++at)
            image->data()[at] = c.pixel[at % c.pixel.size()];
        image->setFileName(c.name);
        mvgeo::cacheTextures(*textured(new osg::Texture2D(image)), directory());
        const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(folder / c.name);
        ASSERT_TRUE(written);
        for (unsigned int row = 0; row < 5; ++row)
            for (int channel = 0; channel < 3; ++channel)
                EXPECT_NEAR(written->getColor(6U, row)[channel] * 255, c.colour[channel], 4) << row << ' ' << channel;
    }
}

TEST_F(TextureCache, CopyThatIsThereIsNotWrittenAgain)
{
    writeFile(folder / "c.nosuchformat.ktx", "mine");
    mvgeo::cacheTextures(*textured(new osg::Texture2D(makeImage("c.nosuchformat", 1, 2, 3))), directory());
    EXPECT_EQ(readFile(folder / "c.nosuchformat.ktx"), "mine");
}

// A format that no file holds is passed over in silence, tile by tile.
TEST_F(TextureCache, PixelsThatNoFormatHoldsWriteNothingAndSayNothing)
{
    const LogRecorder log;
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(4, 4, 1, GL_RGB, GL_UNSIGNED_BYTE_3_3_2, 1);
    image->setFileName("c.nosuchformat");
    mvgeo::cacheTextures(*textured(new osg::Texture2D(image)), directory());
    EXPECT_EQ(files(), Names{});
    EXPECT_TRUE(log.lines().empty());
}

/** 4 x 4 pixels in one block of BC1: red, blue, red, blue from the first row on. */
osg::ref_ptr<osg::Image> redAndBlueRows(const std::string& name, GLenum format = GL_COMPRESSED_RGB_S3TC_DXT1_EXT)
{
    const unsigned char block[8] = {0x00, 0xF8, 0x1F, 0x00, 0x00, 0x55, 0x00, 0x55};
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setImage(4, 4, 1, static_cast<GLint>(format), format, GL_UNSIGNED_BYTE, new unsigned char[8],
                    osg::Image::USE_NEW_DELETE);
    std::copy(std::begin(block), std::end(block), image->data());
    image->setFileName(name);
    return image;
}

TEST_F(TextureCache, BlocksAreDecodedWhereTheFormatHoldsPixels)
{
    for (const char* name : {"c.png", "c.bmp", "c.tga"})
    {
        SCOPED_TRACE(name);
        const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(redAndBlueRows(name));
        mvgeo::cacheTextures(*textured(texture), directory());
        const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(folder / name);
        ASSERT_TRUE(written);
        ASSERT_EQ(written->s(), 4);
        ASSERT_EQ(written->t(), 4);
        for (unsigned int row = 0; row < 4; ++row)
        {
            EXPECT_EQ(written->getColor(1U, row).r(), row % 2 == 0 ? 1.0F : 0.0F) << row;
            EXPECT_EQ(written->getColor(1U, row).b(), row % 2 == 0 ? 0.0F : 1.0F) << row;
        }
        EXPECT_TRUE(texture->getImage()->isCompressed()) << "the host still gets the blocks";
    }
}

TEST_F(TextureCache, BlocksWithoutNameBecomeAJpegOfTheirPixels)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(redAndBlueRows(""));
    mvgeo::cacheTextures(*textured(texture), directory());
    const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(imagePathOf(*texture));
    ASSERT_TRUE(written);
    EXPECT_EQ(written->s(), 4);
    EXPECT_EQ(written->t(), 4);
}

TEST_F(TextureCache, BlocksThatCannotBeDecodedAreKeptInACopyOnly)
{
    for (const char* name : {"c.png", "c.bmp", "c.tga", "c.jpg"})
    {
        const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(redAndBlueRows(name, GL_COMPRESSED_RGB8_ETC2));
        mvgeo::cacheTextures(*textured(texture), directory());
        EXPECT_EQ(imagePathOf(*texture), folder / name);
    }
    EXPECT_EQ(files(), kHasCopies ? (Names{"c.bmp.ktx", "c.jpg.ktx", "c.png.ktx", "c.tga.ktx"}) : Names{});
}

TEST_F(TextureCache, BlocksStayBlocksInDds)
{
    const osg::ref_ptr<osg::Image> image = redAndBlueRows("c.dds");
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
    mvgeo::cacheTextures(*textured(texture), directory());
    const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(folder / "c.dds");
    ASSERT_TRUE(written);
    ASSERT_TRUE(written->isCompressed());
    EXPECT_TRUE(std::equal(image->data(), image->data() + 8, written->data()));
    EXPECT_EQ(files(), Names{"c.dds"});
}

// 5 x 5 pixels are four blocks; OSG's writer would store the bytes of three.
TEST_F(TextureCache, BlocksWithOddSidesAreNotCutOffInDds)
{
    const osg::ref_ptr<osg::Image> image = redAndBlueRows("c.dds");
    image->setImage(5, 5, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_UNSIGNED_BYTE,
                    new unsigned char[32](), osg::Image::USE_NEW_DELETE);
    mvgeo::cacheTextures(*textured(new osg::Texture2D(image)), directory());
    EXPECT_EQ(files(), kHasCopies ? Names{"c.dds.ktx"} : Names{});
}

// 5 x 6 pixels in 2 x 2 blocks: red, green, and above them blue, white.
TEST_F(TextureCache, BlocksWithOddSidesAreDecodedWhereTheyLie)
{
    const unsigned char blocks[32] = {0x00, 0xF8, 0x00, 0xF8, 0, 0, 0, 0, 0xE0, 0x07, 0xE0, 0x07, 0, 0, 0, 0,
                                      0x1F, 0x00, 0x1F, 0x00, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0};
    auto* data = new unsigned char[sizeof(blocks)];
    std::copy(std::begin(blocks), std::end(blocks), data);
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setImage(5, 6, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_UNSIGNED_BYTE, data,
                    osg::Image::USE_NEW_DELETE);
    image->setFileName("c.png");
    mvgeo::cacheTextures(*textured(new osg::Texture2D(image)), directory());
    const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(folder / "c.png");
    ASSERT_TRUE(written);
    for (unsigned int row = 0; row < 6; ++row)
        for (unsigned int column = 0; column < 5; ++column)
        {
            const osg::Vec4 colour = written->getColor(column, row);
            const osg::Vec4 below = column < 4 ? osg::Vec4(1, 0, 0, 1) : osg::Vec4(0, 1, 0, 1);
            const osg::Vec4 above = column < 4 ? osg::Vec4(0, 0, 1, 1) : osg::Vec4(1, 1, 1, 1);
            EXPECT_EQ(colour, row < 4 ? below : above) << column << ", " << row;
        }
}

TEST_F(TextureCache, NameThatIsAFolderIsNotWrittenOver)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(makeImage("a/..", 1, 2, 3));
    mvgeo::cacheTextures(*textured(texture), directory());
    EXPECT_EQ(files(), Names{});
}

TEST_F(TextureCache, ManyWritersOfOneFileLeaveOneWholeFile)
{
    std::vector<osg::ref_ptr<osg::Geometry>> tiles;
    for (int i = 0; i < 8; ++i)
        tiles.push_back(textured(new osg::Texture2D(makeImage("c.png", 10, 20, 30))));
    osgDB::Registry::instance()->getReaderWriterForExtension("png"); // loaded before the threads ask for it
    std::vector<std::thread> threads;
    for (const auto& tile : tiles)
        threads.emplace_back([this, tile] { mvgeo::cacheTextures(*tile, directory()); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(files(), Names{"c.png"});
    const osg::ref_ptr<osg::Image> written = osgDB::readRefImageFile(folder / "c.png");
    ASSERT_TRUE(written);
    EXPECT_EQ(written->data()[3 * 31], 10);
}

} // namespace
