#include <common/HostError.h>
#include <hosting/BlockTexture.h>
#include <hosting/TextureCache.h>
#include <view/SceneRenderer.h>

#include <osg/Geode>
#include <osg/Geometry>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace mvgeo::host;

namespace
{
using Bytes = std::vector<unsigned char>;
using Rgb = std::array<int, 3>;

constexpr GLint kBptc = 0x8E8C;    // GL_COMPRESSED_RGBA_BPTC_UNORM
constexpr GLint kSrgbBc1 = 0x8C4C; // GL_COMPRESSED_SRGB_S3TC_DXT1_EXT

/** A block of BC1 in one colour of 5, 6 and 5 bits: both its colours are that one, and all indices are 0. */
Bytes bc1(unsigned int colour)
{
    const auto low = static_cast<unsigned char>(colour & 0xFFU);
    const auto high = static_cast<unsigned char>(colour >> 8U);
    return {low, high, low, high, 0, 0, 0, 0};
}

constexpr unsigned int kRed = 0xF800;
constexpr unsigned int kGreen = 0x07E0;
constexpr unsigned int kBlue = 0x001F;
constexpr unsigned int kWhite = 0xFFFF;

Bytes joined(const std::vector<Bytes>& parts)
{
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/** 8 x 8 pixels, blocks from the bottom up: red, green; above them blue, white. */
Bytes fourColours()
{
    return joined({bc1(kRed), bc1(kGreen), bc1(kBlue), bc1(kWhite)});
}

/** A block of BC7 in mode 5 that is orange everywhere: seven bits for each of both colours, eight for each alpha. */
Bytes orangeBc7()
{
    Bytes block(16, 0);
    const auto put = [&block](unsigned int place, unsigned int count, unsigned int value)
    {
        for (unsigned int bit = 0; bit < count; ++bit)
            if ((value >> bit & 1U) != 0U)
                block[(place + bit) / 8] |= static_cast<unsigned char>(1U << (place + bit) % 8);
    };
    put(5, 1, 1);                  // the mode: five zeros and a one; then two bits of rotation
    put(8, 14, 127U | 127U << 7U); // red of both colours
    put(22, 14, 64U | 64U << 7U);  // green
    put(50, 16, 0xFFFF);           // alpha; blue stays 0
    return block;
}

/** A texture in blocks as the library hands it over. */
class BlockImage : public KdGiGeoMeshImage
{
public:
    BlockImage(int size, GLint internalFormat, GLenum pixelFormat, Bytes bytes, int* deleted = nullptr)
        : _size(static_cast<unsigned int>(size)),
          _internalFormat(static_cast<unsigned int>(internalFormat)),
          _pixelFormat(pixelFormat),
          _bytes(std::move(bytes)),
          _deleted(deleted)
    {
    }
    ~BlockImage() override
    {
        if (_deleted) ++*_deleted;
    }

    const std::string& key() const override { return _key; }
    bool imageData(unsigned int& width, unsigned int& height, unsigned int& dataType, unsigned int& pixelFormat,
                   unsigned int& internalFormat, unsigned char*& data) override
    {
        width = height = _size;
        dataType = GL_UNSIGNED_BYTE;
        pixelFormat = _pixelFormat;
        internalFormat = _internalFormat;
        data = _bytes.data();
        return true;
    }
    void releaseImage() override {}

private:
    std::string _key = "blocks";
    unsigned int _size;
    unsigned int _internalFormat;
    GLenum _pixelFormat;
    Bytes _bytes;
    int* _deleted;
};

osg::ref_ptr<osg::Image> imageOf(int width, int height, GLenum format, const Bytes& bytes)
{
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    auto* data = new unsigned char[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), data);
    image->setImage(width, height, 1, static_cast<GLint>(format), format, GL_UNSIGNED_BYTE, data,
                    osg::Image::USE_NEW_DELETE);
    return image;
}

using Rgba = std::array<int, 4>;
Rgba pixelOf(const osg::Image& image, int column, int row)
{
    const unsigned char* texel = image.data(static_cast<unsigned int>(column), static_cast<unsigned int>(row));
    return {texel[0], texel[1], texel[2], texel[3]};
}

/** Draws one texture over the whole of a picture of 64 x 64 pixels. */
class BlockTexture : public testing::Test
{
protected:
    void draw(std::unique_ptr<KdGiGeoMeshImage> image)
    {
        const std::shared_ptr<HostTexture> texture = cache.adopt(std::move(image));
        cache.loadPending();
        ASSERT_NE(texture->texture(), nullptr);
        const osg::ref_ptr<osg::Geometry> quad =
            osg::createTexturedQuadGeometry({-1.0F, -1.0F, 0.0F}, {2.0F, 0.0F, 0.0F}, {0.0F, 2.0F, 0.0F});
        quad->getOrCreateStateSet()->setTextureAttributeAndModes(0, texture->texture());
        const osg::ref_ptr<osg::Geode> scene = new osg::Geode;
        scene->addDrawable(quad);
        ViewFrame frame;
        frame.width = frame.height = 64;
        const SceneRenderer renderer(*scene, frame.width, frame.height);
        picture = new osg::Image(const_cast<SceneRenderer&>(renderer).draw(frame), osg::CopyOp::DEEP_COPY_ALL);
    }

    void SetUp() override
    {
        try
        {
            const OffscreenContext context;
        }
        catch (const HostError& error)
        {
            GTEST_SKIP() << error.what();
        }
    }

    Rgb at(int column, int row) const
    {
        const unsigned char* pixel =
            picture->data(static_cast<unsigned int>(column), static_cast<unsigned int>(row)); // from the bottom up
        return {pixel[0], pixel[1], pixel[2]};
    }

    void expectFourColours() const
    {
        EXPECT_EQ(at(16, 16), (Rgb{255, 0, 0}));
        EXPECT_EQ(at(48, 16), (Rgb{0, 255, 0}));
        EXPECT_EQ(at(16, 48), (Rgb{0, 0, 255}));
        EXPECT_EQ(at(48, 48), (Rgb{255, 255, 255}));
    }

    TextureCache cache;
    osg::ref_ptr<osg::Image> picture;
};
} // namespace

TEST_F(BlockTexture, BlocksThatOpenGlTakesAreDrawnUpright)
{
    draw(std::make_unique<BlockImage>(8, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT,
                                      fourColours()));
    expectFourColours();
    EXPECT_EQ(cache.undrawableCount(), 0U);
}

// 0x8410 of 5, 6 and 5 bits is 16, 32, 16: a mid grey, which linearising would make dark.
TEST_F(BlockTexture, NumbersAreDrawnAsTheyAreThoughTheFormatCallsThemSrgb)
{
    draw(std::make_unique<BlockImage>(4, kSrgbBc1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, bc1(0x8410)));
    EXPECT_NEAR(at(32, 32)[0], 132, 1); // 16 of 31
    EXPECT_NEAR(at(32, 32)[1], 130, 1); // 32 of 63
}

// OSG has no name for this format, so that its own upload would not do. The block says: one colour, orange.
TEST_F(BlockTexture, TheInternalFormatTellsWhatTheBlocksMean)
{
    draw(std::make_unique<BlockImage>(4, kBptc, GL_COMPRESSED_RGBA8_ETC2_EAC, orangeBc7()));
    if (cache.undrawableCount() > 0) GTEST_SKIP() << "OpenGL here does not take BC7";
    EXPECT_EQ(at(32, 32)[0], 255);
    EXPECT_NEAR(at(32, 32)[1], 129, 1); // 64 of 127
    EXPECT_EQ(at(32, 32)[2], 0);
}

TEST_F(BlockTexture, BlocksThatNobodyCanReadAreDrawnGreyAndCounted)
{
    draw(std::make_unique<BlockImage>(8, 0x1234, GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG, Bytes(256, 0)));
    EXPECT_EQ(at(32, 32), (Rgb{199, 196, 191}));
    EXPECT_EQ(cache.undrawableCount(), 1U);
}

// No OpenGL knows the number 0x1234, whereas the pixel format says how the host can decode the blocks.
TEST_F(BlockTexture, BlocksThatOpenGlDoesNotTakeAreDecodedByTheHost)
{
    draw(std::make_unique<BlockImage>(8, 0x1234, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, fourColours()));
    expectFourColours();
    EXPECT_EQ(cache.undrawableCount(), 0U);
}

// 13 x 13 pixels are 4 x 4 blocks; OSG counts the bytes of 13 x 13 pixels, which the card refuses.
TEST_F(BlockTexture, BlocksWhoseSidesAreNoMultipleOfFourAreDrawn)
{
    draw(std::make_unique<BlockImage>(4, kBptc, GL_COMPRESSED_RGBA8_ETC2_EAC, orangeBc7()));
    if (cache.undrawableCount() > 0) GTEST_SKIP() << "OpenGL here does not take BC7";
    cache = TextureCache();
    draw(std::make_unique<BlockImage>(13, kBptc, GL_COMPRESSED_RGBA8_ETC2_EAC,
                                      joined(std::vector<Bytes>(16, orangeBc7()))));
    EXPECT_EQ(cache.undrawableCount(), 0U);
    EXPECT_EQ(at(32, 32)[0], 255);
    EXPECT_NEAR(at(32, 32)[1], 129, 1); // 64 of 127
}

TEST_F(BlockTexture, BlocksAreGivenBackWhenTheCardHasThem)
{
    int deleted = 0;
    draw(std::make_unique<BlockImage>(8, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT,
                                      fourColours(), &deleted));
    EXPECT_EQ(deleted, 1);
}

TEST(HostTextureCache, CountsTheBytesOfBlocks)
{
    TextureCache cache;
    const auto texture = cache.adopt(std::make_unique<BlockImage>(8, GL_COMPRESSED_RGB_S3TC_DXT1_EXT,
                                                                  GL_COMPRESSED_RGB_S3TC_DXT1_EXT, fourColours()));
    cache.loadPending();
    EXPECT_EQ(cache.byteCount(), 32U); // four blocks of eight
}

TEST(HostTextureCache, CountsTheBytesOfBlocksThatReachBeyondTheSides)
{
    TextureCache cache;
    const Bytes sixteen = joined(std::vector<Bytes>(16, bc1(kRed)));
    const auto texture = cache.adopt(
        std::make_unique<BlockImage>(13, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, sixteen));
    cache.loadPending();
    EXPECT_EQ(cache.byteCount(), 128U); // 4 x 4 blocks of eight
}

TEST(DecodeBlocks, Bc1MixesItsColoursByThirds)
{
    // Red and blue; the rows from the first: red, blue, two thirds red, two thirds blue.
    const Bytes block = {0x00, 0xF8, 0x1F, 0x00, 0x00, 0x55, 0xAA, 0xFF};
    const auto pixels = decodeBlocks(*imageOf(4, 4, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, block));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->getPixelFormat(), static_cast<GLenum>(GL_RGBA));
    EXPECT_EQ(pixelOf(*pixels, 0, 0), (Rgba{255, 0, 0, 255}));
    EXPECT_EQ(pixelOf(*pixels, 3, 1), (Rgba{0, 0, 255, 255}));
    EXPECT_NEAR(pixelOf(*pixels, 1, 2)[0], 170, 5); // OSG mixes in five bits
    EXPECT_NEAR(pixelOf(*pixels, 1, 2)[2], 85, 5);
    EXPECT_NEAR(pixelOf(*pixels, 2, 3)[0], 85, 5);
    EXPECT_NEAR(pixelOf(*pixels, 2, 3)[2], 170, 5);
}

TEST(DecodeBlocks, Bc3HasAlphaOfItsOwn)
{
    // Alphas 200 and 40; the first pixel has index 0, the second index 1, all others 0.
    Bytes block = {200, 40, 0x08, 0, 0, 0, 0, 0};
    block = joined({block, bc1(kGreen)});
    const auto pixels = decodeBlocks(*imageOf(4, 4, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, block));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixelOf(*pixels, 0, 0), (Rgba{0, 255, 0, 200}));
    EXPECT_EQ(pixelOf(*pixels, 1, 0), (Rgba{0, 255, 0, 40}));
}

// 5 x 6 pixels lie in 2 x 2 blocks.
TEST(DecodeBlocks, FindsTheBlockOfEachPixelWhateverTheSides)
{
    const auto pixels = decodeBlocks(*imageOf(5, 6, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, fourColours()));
    ASSERT_TRUE(pixels);
    for (int row = 0; row < 6; ++row)
        for (int column = 0; column < 5; ++column)
        {
            const Rgba below = column < 4 ? Rgba{255, 0, 0, 255} : Rgba{0, 255, 0, 255};
            const Rgba above = column < 4 ? Rgba{0, 0, 255, 255} : Rgba{255, 255, 255, 255};
            EXPECT_EQ(pixelOf(*pixels, column, row), row < 4 ? below : above) << column << ", " << row;
        }
}

TEST(DecodeBlocks, LeavesOtherFormatsAlone)
{
    EXPECT_FALSE(decodeBlocks(*imageOf(4, 4, GL_COMPRESSED_RGB8_ETC2, Bytes(8, 0))));
    EXPECT_FALSE(decodeBlocks(*imageOf(4, 4, GL_RGBA, Bytes(64, 0))));
}

TEST(WithoutSrgb, NamesTheSameBytesWithoutLinearising)
{
    EXPECT_EQ(withoutSrgb(0x8C43), GL_RGBA8);
    EXPECT_EQ(withoutSrgb(0x8C4F), GL_COMPRESSED_RGBA_S3TC_DXT5_EXT);
    EXPECT_EQ(withoutSrgb(0x8E8D), kBptc);
    EXPECT_EQ(withoutSrgb(GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC), GL_COMPRESSED_RGBA8_ETC2_EAC);
    EXPECT_EQ(withoutSrgb(GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x8_KHR), GL_COMPRESSED_RGBA_ASTC_8x8_KHR);
}

TEST(WithoutSrgb, LeavesOthersAsTheyAre)
{
    for (const GLint format :
         {GL_RGB, GL_RGBA8, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, kBptc, GL_COMPRESSED_RGBA_ASTC_4x4_KHR})
        EXPECT_EQ(withoutSrgb(format), format);
}
