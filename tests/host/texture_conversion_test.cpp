#include <common/ImageBytes.h>
#include <texture/EightBitPixels.h>
#include <texture/TextureConversion.h>

#include <osg/ValueObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

using namespace mvgeo::host;

namespace
{
using Bytes = std::vector<unsigned char>;

struct Shape
{
    const char* name;
    GLenum pixelFormat;
    std::size_t sliceBytes; ///< of 13 x 9
};

constexpr Shape kShapes[] = {
    {"RGB", GL_RGB, 351},
    {"BC1", GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 96},
    {"BC3", GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 192},
    {"ETC2", GL_COMPRESSED_RGB8_ETC2, 96},
    {"ASTC 4x4", GL_COMPRESSED_RGBA_ASTC_4x4_KHR, 192},
    {"ASTC 6x6", GL_COMPRESSED_RGBA_ASTC_6x6_KHR, 96},
    {"PVRTC", GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG, 96},
};

/** 13 x 9 pixels; the bytes count from 1 to 251 and begin again. */
osg::ref_ptr<osg::Image> countingVolume(const Shape& shape, int depth)
{
    const std::size_t size = shape.sliceBytes * static_cast<std::size_t>(depth);
    auto* data = new unsigned char[size];
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<unsigned char>(1 + i % 251);
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setImage(13, 9, depth, static_cast<GLint>(shape.pixelFormat), shape.pixelFormat, GL_UNSIGNED_BYTE, data,
                    osg::Image::USE_NEW_DELETE);
    return image;
}

LoadedTexture loaded(const osg::ref_ptr<osg::Image>& image)
{
    LoadedTexture texture;
    texture.image = image;
    texture.pictures = {image};
    return texture;
}

osg::ref_ptr<osg::Image> premultiplied(GLenum format)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(2, 2, 1, format, GL_UNSIGNED_BYTE);
    std::fill_n(image->data(), imageBytes(*image), static_cast<unsigned char>(100));
    image->setUserValue("KTXpremultipliedAlpha", true);
    return image;
}
} // namespace

TEST(TextureConversion, ASliceOfAVolumeHasItsOwnBytes)
{
    constexpr int kDepth = 3;
    for (const Shape& shape : kShapes)
        for (int layer = 0; layer < kDepth; ++layer)
        {
            SCOPED_TRACE(testing::Message() << shape.name << ", slice " << layer);
            const osg::ref_ptr<osg::Image> volume = countingVolume(shape, kDepth);
            const std::vector<NamedPicture> taken = selectPictures(loaded(volume), "volume.ktx2", layer);
            ASSERT_EQ(taken.size(), 1U);
            const osg::Image& slice = *taken.front().image;
            EXPECT_EQ(slice.s(), 13);
            EXPECT_EQ(slice.t(), 9);
            EXPECT_EQ(slice.r(), 1);
            EXPECT_EQ(slice.getPixelFormat(), shape.pixelFormat);
            ASSERT_EQ(imageBytes(slice), shape.sliceBytes);
            const unsigned char* begin = volume->data() + shape.sliceBytes * static_cast<std::size_t>(layer);
            EXPECT_EQ(Bytes(slice.data(), slice.data() + shape.sliceBytes), Bytes(begin, begin + shape.sliceBytes));
        }
}

TEST(TextureConversion, BytesInMemoryAreThoseOfWholeBlocks)
{
    for (const Shape& shape : kShapes)
        EXPECT_EQ(bytesInMemory(loaded(countingVolume(shape, 2))), 2 * shape.sliceBytes) << shape.name;
}

TEST(TextureConversion, KeepsTheMarkOfPremultipliedAlpha)
{
    EXPECT_TRUE(isPremultiplied(*eightBitPixels(*premultiplied(GL_BGRA), {})));
    EXPECT_FALSE(isPremultiplied(*eightBitPixels(*premultiplied(GL_BGRA), {true, AlphaChoice::drop})));
    const osg::ref_ptr<osg::Image> straight = premultiplied(GL_BGRA);
    straight->setUserValue("KTXpremultipliedAlpha", false);
    EXPECT_FALSE(isPremultiplied(*eightBitPixels(*straight, {})));
}

// One mark stands for all layers.
TEST(TextureConversion, RefusesPicturesOfWhichOneIsPremultiplied)
{
    const osg::ref_ptr<osg::Image> straight = premultiplied(GL_RGBA);
    straight->setUserValue("KTXpremultipliedAlpha", false);
    const std::vector<NamedPicture> both{{"a.ktx2", premultiplied(GL_RGBA)}, {"b.ktx2", straight}};
    EXPECT_ANY_THROW((void)picturesForKtx(both, Basis::none, false));
    const std::vector<NamedPicture> same{{"a.ktx2", premultiplied(GL_RGBA)}, {"b.ktx2", premultiplied(GL_RGBA)}};
    EXPECT_EQ(picturesForKtx(same, Basis::none, false).size(), 2U);
}
