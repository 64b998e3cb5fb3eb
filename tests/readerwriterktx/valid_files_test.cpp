#include "readerwriterktx/KtxTestImages.h"

#include <algorithm>

// What is written is a KTX 2.0 file to the letter, as the checker of the tests has it; every format by itself is
// looked at where all of them are read back.

namespace
{

using Images = std::vector<osg::ref_ptr<osg::Image>>;

struct Format
{
    GLint internalFormat;
    GLenum pixelFormat;
};

constexpr Format blocksOf(GLenum format)
{
    return {static_cast<GLint>(format), format};
}

constexpr Format kRgba = {GL_RGBA, GL_RGBA};
constexpr Format kRgb = {GL_RGB, GL_RGB};
constexpr Format kBc1 = blocksOf(GL_COMPRESSED_RGB_S3TC_DXT1_EXT);
constexpr Format kBc3 = blocksOf(GL_COMPRESSED_RGBA_S3TC_DXT5_EXT);
constexpr Format kEtc2 = blocksOf(GL_COMPRESSED_RGB8_ETC2);
constexpr Format kAstc6x5 = blocksOf(GL_COMPRESSED_RGBA_ASTC_6x5_KHR);

osg::ref_ptr<osg::Image> imageOf(const Format& format, int width, int height, int depth = 1, unsigned int levels = 1)
{
    return countingImage(width, height, depth, format.internalFormat, format.pixelFormat, GL_UNSIGNED_BYTE, levels);
}

/** Down to one pixel. */
unsigned int allLevels(int width, int height, int depth = 1)
{
    return static_cast<unsigned int>(osg::Image::computeNumberOfMipmapLevels(width, height, depth));
}

struct KtxValidFiles : public KtxTest
{
    LogRecorder log;
    osg::ref_ptr<osgDB::Options> plain = optionsWith({{"UseBASISU", "0"}});
    osg::ref_ptr<osgDB::Options> cubeMap = optionsWith({{"UseBASISU", "0"}, {"SavingCubeMap", "true"}});

    void TearDown() override { EXPECT_TRUE(log.lines().empty()); }

    /** @return the file */
    static std::string expectValid(const osg::Image& image, const osg::ref_ptr<osgDB::Options>& options)
    {
        const std::string file = written(image, options.get());
        EXPECT_FALSE(file.empty());
        EXPECT_EQ(violationOf(file), "");
        return file;
    }
};

TEST_F(KtxValidFiles, OfOneDimension)
{
    for (const Format& format : {kRgba, kRgb})
        for (const int width : {1, 7, 8})
        {
            SCOPED_TRACE(testing::Message() << format.internalFormat << ", " << width);
            EXPECT_EQ(u32At(expectValid(*imageOf(format, width, 1), plain), ktx2::kHeight), 0U);
            expectValid(*imageOf(format, width, 1, 1, allLevels(width, 1)), plain);
            expectValid(*sequenceOf({imageOf(format, width, 1), imageOf(format, width, 1)}), plain);
        }
}

TEST_F(KtxValidFiles, OfTwoDimensionsWithAllLevels)
{
    for (const Format& format : {kRgba, kRgb, kBc1, kBc3, kEtc2, kAstc6x5})
        for (const auto& [width, height] : {std::pair{16, 16}, {13, 9}, {5, 3}, {100, 60}, {1, 7}, {2, 2}})
        {
            SCOPED_TRACE(testing::Message() << format.internalFormat << ", " << width << " x " << height);
            const unsigned int levels = allLevels(width, height);
            const std::string file = expectValid(*imageOf(format, width, height, 1, levels), plain);
            EXPECT_EQ(u32At(file, ktx2::kLevels), levels);
            expectValid(*imageOf(format, width, height), plain);
        }
}

TEST_F(KtxValidFiles, OfThreeDimensionsWithAllLevels)
{
    for (const Format& format : {kRgba, kRgb, kBc1})
        for (const auto& [width, height, depth] :
             {std::tuple{8, 4, 5}, std::tuple{6, 6, 3}, std::tuple{4, 4, 16}, std::tuple{5, 1, 2}})
        {
            SCOPED_TRACE(testing::Message() << format.internalFormat << ", " << width << ' ' << height << ' ' << depth);
            const unsigned int levels = allLevels(width, height, depth);
            const std::string file = expectValid(*imageOf(format, width, height, depth, levels), plain);
            EXPECT_EQ(u32At(file, ktx2::kLevels), levels);
            EXPECT_EQ(u32At(file, ktx2::kDepth), static_cast<unsigned int>(depth));
        }
}

TEST_F(KtxValidFiles, OfArraysAndCubeMaps)
{
    for (const Format& format : {kRgba, kRgb, kBc1, kAstc6x5})
        for (const unsigned int levels : {1U, 4U})
        {
            SCOPED_TRACE(testing::Message() << format.internalFormat << ", " << levels << " levels");
            const std::string array = expectValid(*sequenceOf(Images(3, imageOf(format, 13, 9, 1, levels))), plain);
            EXPECT_EQ(u32At(array, ktx2::kLayers), 3U);
            const std::string cube = expectValid(*sequenceOf(Images(6, imageOf(format, 12, 12, 1, levels))), cubeMap);
            EXPECT_EQ(u32At(cube, ktx2::kFaces), 6U);
        }
}

TEST_F(KtxValidFiles, WhoseFirstRowIsTheHighest)
{
    const osg::ref_ptr<osg::Image> image = imageOf(kEtc2, 8, 8, 1, 4);
    image->setOrigin(osg::Image::TOP_LEFT);
    EXPECT_EQ(metadataOf(expectValid(*image, plain), "KTXorientation"), "rd");
}

TEST_F(KtxValidFiles, OfLuminanceAndAlpha)
{
    for (const GLenum format : {GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_ALPHA})
    {
        SCOPED_TRACE(format);
        const Format both = {static_cast<GLint>(format), format};
        EXPECT_NE(metadataOf(expectValid(*imageOf(both, 5, 3), plain), "KTXswizzle"), "");
        EXPECT_NE(metadataOf(expectValid(*imageOf(both, 8, 1), plain), "KTXswizzle"), "");
    }
    EXPECT_NE(metadataOf(expectValid(*imageOf({GL_INTENSITY8, GL_LUMINANCE}, 5, 3), plain), "KTXswizzle"), "");
}

// The format has no blocks of one dimension.
TEST_F(KtxValidFiles, OfBlocksOneRowHigh)
{
    for (const Format& format : {kBc1, kBc3, kEtc2, kAstc6x5})
        for (const int width : {8, 3})
        {
            SCOPED_TRACE(testing::Message() << format.internalFormat << ", " << width);
            const std::string file = expectValid(*imageOf(format, width, 1, 1, allLevels(width, 1)), plain);
            EXPECT_EQ(u32At(file, ktx2::kHeight), 1U);
            EXPECT_EQ(metadataOf(file, "KTXorientation"), "ru");
        }
}

struct KtxValidBasisFiles : public KtxValidFiles, public testing::WithParamInterface<const char*>
{
    osg::ref_ptr<osgDB::Options> basis =
        optionsWith({{"UseBASISU", "1"}, {"UseUASTC", GetParam()}, {"CompressLevel", "1"}, {"QualityLevel", "128"}});
    osg::ref_ptr<osgDB::Options> basisCubeMap = optionsWith({{"UseBASISU", "1"},
                                                             {"UseUASTC", GetParam()},
                                                             {"CompressLevel", "1"},
                                                             {"QualityLevel", "128"},
                                                             {"SavingCubeMap", "true"}});

    /** The same, and encoded at that. */
    static void expectValidBasis(const osg::Image& image, const osg::ref_ptr<osgDB::Options>& options)
    {
        EXPECT_EQ(u32At(expectValid(image, options), ktx2::kVkFormat), 0U);
    }
};

TEST_P(KtxValidBasisFiles, OfOneToFourChannels)
{
    for (const GLenum format : {GL_RED, GL_LUMINANCE, GL_ALPHA, GL_RG, GL_LUMINANCE_ALPHA, GL_RGB, GL_RGBA})
    {
        SCOPED_TRACE(format);
        const Format both = {static_cast<GLint>(format), format};
        expectValidBasis(*imageOf(both, 16, 16), basis);
        expectValidBasis(*imageOf(both, 13, 9, 1, allLevels(13, 9)), basis);
        expectValidBasis(*sequenceOf(Images(3, imageOf(both, 13, 9, 1, 2))), basis);
        expectValidBasis(*sequenceOf(Images(6, imageOf(both, 8, 8, 1, 2))), basisCubeMap);
    }
}

TEST_P(KtxValidBasisFiles, OfSrgb)
{
    expectValidBasis(*imageOf({GL_SRGB8, GL_RGB}, 16, 16), basis);
    expectValidBasis(*imageOf({GL_SRGB8_ALPHA8, GL_RGBA}, 16, 16, 1, 5), basis);
}

TEST_P(KtxValidBasisFiles, OfThreeDimensions)
{
    expectValidBasis(*imageOf(kRgb, 8, 8, 3), basis);
    expectValidBasis(*imageOf(kRgba, 8, 8, 5, 4), basis);
}

INSTANTIATE_TEST_SUITE_P(Etc1sAndUastc, KtxValidBasisFiles, testing::Values("0", "1"));

} // namespace
