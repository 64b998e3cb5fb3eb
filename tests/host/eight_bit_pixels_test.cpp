#include "texture/EightBitPixels.h"

#include <osg/Texture>
#include <osg/ValueObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace
{
using namespace mvgeo::host;
using testing::ElementsAre;

/** One pixel of these bytes. */
template <typename T>
osg::ref_ptr<osg::Image> pixel(GLenum pixelFormat, GLenum dataType, const std::vector<T>& values)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(1, 1, 1, pixelFormat, dataType);
    std::memcpy(image->data(), values.data(), values.size() * sizeof(T));
    return image;
}

std::vector<int> bytesOf(const osg::Image& image)
{
    return {image.data(), image.data() + image.getTotalSizeInBytesIncludingMipmaps()};
}

std::vector<int> converted(const osg::ref_ptr<osg::Image>& image, ChannelChoice channels = {})
{
    const osg::ref_ptr<osg::Image> result = eightBitPixels(*image, channels);
    return result ? bytesOf(*result) : std::vector<int>();
}

TEST(EightBitPixels, SortsTheChannels)
{
    using Bytes = std::vector<unsigned char>;
    EXPECT_THAT(converted(pixel(GL_BGRA, GL_UNSIGNED_BYTE, Bytes{1, 2, 3, 4})), ElementsAre(3, 2, 1, 4));
    EXPECT_THAT(converted(pixel(GL_BGR, GL_UNSIGNED_BYTE, Bytes{1, 2, 3})), ElementsAre(3, 2, 1));
    EXPECT_THAT(converted(pixel(GL_RED, GL_UNSIGNED_BYTE, Bytes{9})), ElementsAre(9));
    EXPECT_THAT(converted(pixel(GL_RG, GL_UNSIGNED_BYTE, Bytes{9, 7})), ElementsAre(9, 7, 0));
    EXPECT_THAT(converted(pixel(GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, Bytes{9, 7})), ElementsAre(9, 7));
}

TEST(EightBitPixels, HeedsTheChoiceOfChannels)
{
    const auto grey = pixel(GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, std::vector<unsigned char>{9, 7});
    EXPECT_THAT(converted(grey, {false, AlphaChoice::keep}), ElementsAre(9, 9, 9, 7));
    EXPECT_THAT(converted(grey, {false, AlphaChoice::drop}), ElementsAre(9, 9, 9));
    EXPECT_THAT(converted(grey, {true, AlphaChoice::drop}), ElementsAre(9));
    const auto rgb = pixel(GL_RGB, GL_UNSIGNED_BYTE, std::vector<unsigned char>{1, 2, 3});
    EXPECT_THAT(converted(rgb, {true, AlphaChoice::add}), ElementsAre(1, 2, 3, 255));
}

TEST(EightBitPixels, TakesTheChannelsFromWhereTheFileSaysTheyAre)
{
    const auto swizzled = [](GLenum format, const char* swizzle)
    {
        std::vector<unsigned char> bytes{9, 7, 5, 3};
        bytes.resize(osg::Image::computeNumComponents(format));
        const auto image = pixel(format, GL_UNSIGNED_BYTE, bytes);
        image->setUserValue("KTXswizzle", std::string(swizzle));
        EXPECT_FALSE(isEightBit(*image, {}));
        return converted(image);
    };
    EXPECT_THAT(swizzled(GL_RG, "rrrg"), ElementsAre(9, 7)); // grey with alpha
    EXPECT_THAT(swizzled(GL_RG, "rrr1"), ElementsAre(9));
    EXPECT_THAT(swizzled(GL_RED, "000r"), ElementsAre(0, 9));
    EXPECT_THAT(swizzled(GL_RED, "r001"), ElementsAre(9, 0, 0));
    EXPECT_THAT(swizzled(GL_RGBA, "bgra"), ElementsAre(5, 7, 9, 3));
    EXPECT_THAT(swizzled(GL_RGBA, "bgr1"), ElementsAre(5, 7, 9));
}

TEST(EightBitPixels, ScalesWiderNumbersAndCutsThemOff)
{
    EXPECT_THAT(converted(pixel(GL_RGB, GL_UNSIGNED_SHORT, std::vector<std::uint16_t>{0, 32896, 65535})),
                ElementsAre(0, 128, 255));
    EXPECT_THAT(converted(pixel(GL_RGB, GL_FLOAT, std::vector<float>{-1.0F, 0.2F, 7.0F})), ElementsAre(0, 51, 255));
    EXPECT_THAT(converted(pixel(GL_RGB, 0x140B, std::vector<std::uint16_t>{0x3C00, 0x3800, 0xBC00})), // 1, 0.5, -1
                ElementsAre(255, 128, 0));
    EXPECT_THAT(converted(pixel(GL_RGB, GL_BYTE, std::vector<signed char>{127, 0, -127})), ElementsAre(255, 0, 0));
}

TEST(EightBitPixels, UnpacksTheBits)
{
    using Words = std::vector<std::uint16_t>;
    EXPECT_THAT(converted(pixel(GL_RGB, GL_UNSIGNED_SHORT_5_6_5, Words{0xF800})), ElementsAre(255, 0, 0));
    EXPECT_THAT(converted(pixel(GL_RGB, GL_UNSIGNED_SHORT_5_6_5, Words{0x07E0})), ElementsAre(0, 255, 0));
    EXPECT_THAT(converted(pixel(GL_RGB, GL_UNSIGNED_SHORT_5_6_5_REV, Words{0xF800})), ElementsAre(0, 0, 255));
    EXPECT_THAT(converted(pixel(GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4, Words{0xF00F})), ElementsAre(255, 0, 0, 255));
    EXPECT_THAT(converted(pixel(GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1, Words{0x003E})), ElementsAre(0, 0, 255, 0));
    EXPECT_THAT(converted(pixel(GL_BGRA, GL_UNSIGNED_SHORT_1_5_5_5_REV, Words{0x801F})), ElementsAre(0, 0, 255, 255));
}

TEST(EightBitPixels, TurnsPicturesThatBeginAtTheTop)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(1, 2, 1, GL_LUMINANCE, GL_UNSIGNED_BYTE);
    image->data()[0] = 1;
    image->data()[1] = 2;
    image->setOrigin(osg::Image::TOP_LEFT);
    EXPECT_FALSE(isEightBit(*image, {}));
    EXPECT_THAT(converted(image), ElementsAre(2, 1));
}

TEST(EightBitPixels, KeepsTheMipmaps)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    auto* data = new unsigned char[5]{1, 2, 3, 4, 9}; // 2 x 2 and 1 x 1
    image->setImage(2, 2, 1, GL_LUMINANCE, GL_LUMINANCE, GL_UNSIGNED_BYTE, data, osg::Image::USE_NEW_DELETE);
    image->setMipmapLevels({4});
    const osg::ref_ptr<osg::Image> result = eightBitPixels(*image, {false, AlphaChoice::keep});
    EXPECT_EQ(result->getNumMipmapLevels(), 2U);
    EXPECT_THAT(bytesOf(*result), ElementsAre(1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 9, 9, 9));
}

// Two colours, red and black, and for all pixels of the lowest row the second one.
TEST(EightBitPixels, DecodesBc1)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(4, 4, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_UNSIGNED_BYTE);
    const unsigned char block[] = {0x00, 0xF8, 0x00, 0x00, 0x55, 0x00, 0x00, 0x00};
    std::memcpy(image->data(), block, sizeof block);
    const osg::ref_ptr<osg::Image> result = eightBitPixels(*image, {});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->getPixelFormat(), static_cast<GLenum>(GL_RGB));
    EXPECT_EQ(result->data(0, 0)[0], 0);
    EXPECT_EQ(result->data(0, 1)[0], 255);
}

TEST(EightBitPixels, RefusesIntegersAndOtherBlocks)
{
    EXPECT_FALSE(canBecomeEightBit(*pixel(GL_RED_INTEGER_EXT, GL_UNSIGNED_BYTE, std::vector<unsigned char>{1})));
    osg::ref_ptr<osg::Image> blocks = new osg::Image;
    blocks->allocateImage(4, 4, 1, GL_COMPRESSED_RGB8_ETC2, GL_UNSIGNED_BYTE);
    EXPECT_FALSE(canBecomeEightBit(*blocks));
    EXPECT_FALSE(eightBitPixels(*blocks, {}));
}
} // namespace
