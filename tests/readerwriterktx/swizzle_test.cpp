#include "readerwriterktx/KtxTestImages.h"

#include <osg/Texture>
#include <osg/ValueObject>

#include <GL/glext.h>

namespace
{

struct KtxSwizzle : public KtxTest
{
    osg::ref_ptr<osgDB::Options> plain = optionsWith({});
    osg::ref_ptr<osgDB::Options> rgba = optionsWith({{"UseRGBA", "1"}});

    static osg::ref_ptr<osg::Image> imageOf(GLenum format, GLint internalFormat = 0)
    {
        return countingImage(8, 8, 1, internalFormat != 0 ? internalFormat : static_cast<GLint>(format), format,
                             GL_UNSIGNED_BYTE);
    }
    static osg::ref_ptr<osg::Image> with(const std::string& swizzle, GLenum format)
    {
        const osg::ref_ptr<osg::Image> image = imageOf(format);
        image->setUserValue("KTXswizzle", swizzle);
        return image;
    }
    static std::string keyOf(const osg::Image& image, const osg::ref_ptr<osgDB::Options>& options)
    {
        return metadataOf(written(image, options.get()), "KTXswizzle");
    }
    static std::string valueOf(const osg::Image& image)
    {
        std::string value;
        image.getUserValue("KTXswizzle", value);
        return value;
    }
};

struct KtxSwizzleOfBasis : public KtxSwizzle, public testing::WithParamInterface<const char*>
{
    osg::ref_ptr<osgDB::Options> basis = optionsWith({{"UseBASISU", "1"}, {"UseUASTC", GetParam()}});

    /** One colour everywhere, of 1 or 2 channels. */
    static osg::ref_ptr<osg::Image> even(GLenum format, const std::vector<unsigned char>& colour)
    {
        const osg::ref_ptr<osg::Image> image = imageOf(format);
        for (std::size_t byte = 0; byte < image->getTotalSizeInBytes(); ++byte)
            image->data()[byte] = colour[byte % colour.size()];
        return image;
    }
};

// Vulkan has no luminance: a reader of red and green alone would show them.
TEST_F(KtxSwizzle, SaysHowRedAndGreenStandForLuminanceAndAlpha)
{
    EXPECT_EQ(keyOf(*imageOf(GL_LUMINANCE), plain), "rrr1");
    EXPECT_EQ(keyOf(*imageOf(GL_LUMINANCE_ALPHA), plain), "rrrg");
    EXPECT_EQ(keyOf(*imageOf(GL_ALPHA), plain), "000r");
    EXPECT_EQ(keyOf(*imageOf(GL_LUMINANCE, GL_INTENSITY8), plain), "rrrr");
    EXPECT_EQ(keyOf(*imageOf(GL_RED), plain), "");
    EXPECT_EQ(keyOf(*imageOf(GL_RGB), plain), "");
}

// Whatever the size and kind of the numbers, and for blocks of luminance too.
TEST_F(KtxSwizzle, SaysSoForEveryFormatOfLuminanceIntensityAndAlpha)
{
    struct Case
    {
        GLint internalFormat;
        GLenum pixelFormat;
        GLenum dataType;
        const char* swizzle;
    };
    for (const Case& c :
         {Case{GL_INTENSITY, GL_LUMINANCE, GL_UNSIGNED_BYTE, "rrrr"},
          Case{GL_INTENSITY16, GL_LUMINANCE, GL_UNSIGNED_SHORT, "rrrr"},
          Case{GL_INTENSITY8_SNORM, GL_LUMINANCE, GL_BYTE, "rrrr"},
          Case{GL_INTENSITY16_SNORM, GL_LUMINANCE, GL_SHORT, "rrrr"},
          Case{GL_INTENSITY16F_ARB, GL_LUMINANCE, GL_HALF_FLOAT, "rrrr"},
          Case{GL_INTENSITY32F_ARB, GL_LUMINANCE, GL_FLOAT, "rrrr"},
          Case{GL_INTENSITY8UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_BYTE, "rrrr"},
          Case{GL_INTENSITY8I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_BYTE, "rrrr"},
          Case{GL_INTENSITY16UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_SHORT, "rrrr"},
          Case{GL_INTENSITY16I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_SHORT, "rrrr"},
          Case{GL_INTENSITY32UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_INT, "rrrr"},
          Case{GL_INTENSITY32I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_INT, "rrrr"},
          Case{GL_LUMINANCE8UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_BYTE, "rrr1"},
          Case{GL_LUMINANCE32I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_INT, "rrr1"},
          Case{GL_LUMINANCE16, GL_LUMINANCE, GL_UNSIGNED_SHORT, "rrr1"},
          Case{GL_LUMINANCE_ALPHA8I_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_BYTE, "rrrg"},
          Case{GL_LUMINANCE_ALPHA16UI_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_SHORT, "rrrg"},
          Case{GL_ALPHA8UI_EXT, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_BYTE, "000r"},
          Case{GL_ALPHA16I_EXT, GL_ALPHA_INTEGER_EXT, GL_SHORT, "000r"},
          Case{GL_R8UI, GL_RED_INTEGER_EXT, GL_UNSIGNED_BYTE, ""},
          Case{GL_R16, GL_RED, GL_UNSIGNED_SHORT, ""},
          Case{GL_COMPRESSED_LUMINANCE_LATC1_EXT, GL_COMPRESSED_RED_RGTC1_EXT, GL_UNSIGNED_BYTE, "rrr1"},
          Case{GL_COMPRESSED_SIGNED_LUMINANCE_LATC1_EXT, GL_COMPRESSED_SIGNED_RED_RGTC1_EXT, GL_UNSIGNED_BYTE, "rrr1"},
          Case{GL_COMPRESSED_LUMINANCE_ALPHA_LATC2_EXT, GL_COMPRESSED_RED_GREEN_RGTC2_EXT, GL_UNSIGNED_BYTE, "rrrg"},
          Case{GL_COMPRESSED_SIGNED_LUMINANCE_ALPHA_LATC2_EXT, GL_COMPRESSED_SIGNED_RED_GREEN_RGTC2_EXT,
               GL_UNSIGNED_BYTE, "rrrg"},
          Case{GL_COMPRESSED_RED_RGTC1_EXT, GL_COMPRESSED_RED_RGTC1_EXT, GL_UNSIGNED_BYTE, ""}})
    {
        SCOPED_TRACE(testing::Message() << std::hex << c.internalFormat);
        const std::string file = written(*countingImage(8, 8, 1, c.internalFormat, c.pixelFormat, c.dataType), plain);
        EXPECT_EQ(violationOf(file), "");
        EXPECT_EQ(metadataOf(file, "KTXswizzle"), c.swizzle);
    }
}

TEST_F(KtxSwizzle, GoesFromFileToImageToFile)
{
    const osg::ref_ptr<osg::Image> image = read(written(*with("bgr1", GL_RGBA), plain.get()));
    ASSERT_TRUE(image);
    EXPECT_EQ(valueOf(*image), "bgr1");
    EXPECT_EQ(keyOf(*image, plain), "bgr1");
}

TEST_F(KtxSwizzle, IsKnownToEachImageOfASequence)
{
    const std::string file =
        written(*sequenceOf({with("rg01", GL_RG), with("rg01", GL_RG)}), optionsWith({{"UseBASISU", "0"}}).get());
    const osg::ref_ptr<osg::Image> image = read(file);
    const auto* sequence = dynamic_cast<const osg::ImageSequence*>(image.get());
    ASSERT_TRUE(sequence);
    ASSERT_EQ(sequence->getNumImageData(), 2U);
    EXPECT_EQ(valueOf(*sequence), "rg01");
    EXPECT_EQ(valueOf(*sequence->getImage(0)), "rg01");
    EXPECT_EQ(valueOf(*sequence->getImage(1)), "rg01");
}

TEST_F(KtxSwizzle, ThatIsNoneIsNotWritten)
{
    for (const char* text : {"", "rgb", "rgbaa", "rgbx", "RGBA"})
        EXPECT_EQ(keyOf(*with(text, GL_RGBA), plain), "") << text;
    EXPECT_EQ(keyOf(*with("rgba", GL_RGBA), plain), ""); // says nothing
    EXPECT_EQ(keyOf(*with("rgbx", GL_LUMINANCE), plain), "rrr1");
}

TEST_P(KtxSwizzleOfBasis, IsNotNeededForLuminance)
{
    for (const GLenum format : {GL_LUMINANCE, GL_LUMINANCE_ALPHA})
    {
        const std::string file =
            written(*even(format, {200, static_cast<unsigned char>(format == GL_LUMINANCE ? 200 : 60)}), basis.get());
        EXPECT_EQ(metadataOf(file, "KTXswizzle"), "");
        const osg::ref_ptr<osg::Image> image = read(file, rgba.get());
        ASSERT_TRUE(image);
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(image->data()[channel], 200, 4) << channel;
        EXPECT_NEAR(image->data()[3], format == GL_LUMINANCE ? 255 : 60, 4);
    }
}

// The encoder puts the first channel into all three colours and the second into alpha.
TEST_P(KtxSwizzleOfBasis, FitsWhereTheEncoderPutsTheChannels)
{
    EXPECT_EQ(keyOf(*even(GL_ALPHA, {60}), basis), "000r");
    EXPECT_EQ(keyOf(*with("rg01", GL_RG), basis), "ra01");
    EXPECT_EQ(keyOf(*with("bgr1", GL_RGBA), basis), "bgr1");
}

INSTANTIATE_TEST_SUITE_P(Etc1sAndUastc, KtxSwizzleOfBasis, testing::Values("0", "1"));

} // namespace
