#include "support/ImageBytes.h"

#include "support/LogRecorder.h"

#include <osg/Texture>

#include <gtest/gtest.h>

namespace
{

/** Without pixels: only their number is asked for. */
osg::ref_ptr<osg::Image> shaped(int width, int height, int depth, GLenum pixelFormat, GLenum type = GL_UNSIGNED_BYTE,
                                int packing = 1)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setImage(width, height, depth, static_cast<GLint>(pixelFormat), pixelFormat, type, nullptr,
                    osg::Image::NO_DELETE, packing);
    return image;
}

constexpr GLenum kSrgbBc1 = 0x8C4C;
constexpr GLenum kSrgbBc3 = 0x8C4F;

} // namespace

TEST(ImageBytes, CountWholeBlocks)
{
    const LogRecorder log;
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(13, 9, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT)), 96U); // 4 x 3 blocks of 8
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(13, 9, 1, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT)), 192U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(2, 2, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT)), 8U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(1, 1, 1, GL_COMPRESSED_RED_GREEN_RGTC2_EXT)), 16U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(5, 5, 1, GL_COMPRESSED_RGB8_ETC2)), 32U);           // 2 x 2 of 8
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(16, 8, 1, GL_COMPRESSED_RGBA_ASTC_4x4_KHR)), 128U); // 4 x 2 of 16
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(13, 9, 1, GL_COMPRESSED_RGBA_ASTC_6x6_KHR)), 96U);  // 3 x 2 of 16
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(13, 9, 1, GL_COMPRESSED_RGBA_ASTC_12x10_KHR)), 32U);
    EXPECT_TRUE(log.lines().empty());
}

// OSG takes these for twice their size or does not know them at all.
TEST(ImageBytes, CountBlocksThatOsgDoesNot)
{
    const LogRecorder log;
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(5, 8, 1, GL_ETC1_RGB8_OES)), 32U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(16, 8, 1, GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG)), 64U);  // 4 x 2 of 8
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(16, 8, 1, GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG)), 32U); // 2 x 2
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(1, 1, 1, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG)), 32U);  // never fewer than 2 x 2
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(13, 9, 1, kSrgbBc1)), 96U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(13, 9, 1, kSrgbBc3)), 192U);
    EXPECT_TRUE(log.lines().empty());
}

TEST(ImageBytes, CountRowsWithTheirFilling)
{
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(3, 2, 1, GL_RGB)), 18U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(3, 2, 1, GL_RGB, GL_UNSIGNED_BYTE, 4)), 24U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(3, 2, 1, GL_RGBA, GL_FLOAT, 8)), 96U);
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(3, 2, 1, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 4)), 16U);
}

TEST(ImageBytes, CountSlicesAndLevels)
{
    const osg::ref_ptr<osg::Image> solid = shaped(13, 9, 5, GL_COMPRESSED_RGB_S3TC_DXT1_EXT);
    EXPECT_EQ(mvgeo::levelBytes(*solid), 480U);   // 5 of 96
    EXPECT_EQ(mvgeo::levelBytes(*solid, 1), 32U); // 6 x 4 x 2: 2 of 16
    EXPECT_EQ(mvgeo::levelBytes(*solid, 40), 8U); // 1 x 1 x 1
    EXPECT_EQ(mvgeo::imageBytes(*solid), 480U);   // one level as yet
    solid->setMipmapLevels({480, 520});           // a gap of 8 between them
    EXPECT_EQ(mvgeo::imageBytes(*solid), 528U);   // the third: 3 x 2 x 1
    solid->setMipmapLevels({480, 16});            // one that lies in another
    EXPECT_EQ(mvgeo::imageBytes(*solid), 512U);
}

TEST(ImageBytes, OfNothingAreNone)
{
    EXPECT_EQ(mvgeo::imageBytes(*osg::ref_ptr<osg::Image>(new osg::Image)), 0U);
    EXPECT_EQ(mvgeo::imageBytes(*shaped(0, 4, 1, GL_RGB)), 0U);
    EXPECT_EQ(mvgeo::imageBytes(*shaped(4, -4, 1, GL_RGB)), 0U);
    EXPECT_EQ(mvgeo::imageBytes(*shaped(4, 4, 0, GL_RGB)), 0U);
}

// 65536 x 65536 x 4 is 2^34: nothing would be left of it in 32 bits.
TEST(ImageBytes, DoNotOverflow)
{
    EXPECT_EQ(mvgeo::sliceBytes(*shaped(65536, 65536, 1, GL_RGBA)), std::size_t{1} << 34U);
}
