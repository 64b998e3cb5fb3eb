#include "KtxTextures.h"
#include "readerwriterktx/KtxTestImages.h"

#include <osg/ValueObject>

// Slices, layers and faces with their levels, and in which order they come.

namespace
{

using Bytes = std::vector<unsigned char>;

struct KtxShapes : public KtxTest
{
    LogRecorder log;
    osg::ref_ptr<osgDB::Options> plain = optionsWith({}); // options, and so no encoder

    static Bytes levelBytes(const std::string& file, unsigned int level)
    {
        const std::string bytes = ktx2::levelOf(file, level);
        return {bytes.begin(), bytes.end()};
    }
    static Bytes counting(unsigned int first, unsigned int count)
    {
        Bytes bytes;
        for (unsigned int i = 0; i < count; ++i)
            bytes.push_back(static_cast<unsigned char>(first + i));
        return bytes;
    }
    static void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }
};

// 2x2x5 pixels of one byte are followed by 1x1x2 and 1x1x1: 20, 2 and 1 bytes.
TEST_F(KtxShapes, SlicesHalveFromLevelToLevel)
{
    const osg::ref_ptr<osg::Image> solid = countingImage(2, 2, 5, GL_RED, GL_RED, GL_UNSIGNED_BYTE, 3, 1);
    const std::string file = written(*solid, plain);
    EXPECT_EQ(u32At(file, ktx2::kDepth), 5U);
    EXPECT_EQ(u32At(file, ktx2::kLevels), 3U);
    EXPECT_EQ(levelBytes(file, 0), counting(1, 20));
    EXPECT_EQ(levelBytes(file, 1), counting(21, 2));
    EXPECT_EQ(levelBytes(file, 2), counting(23, 1));

    const osg::ref_ptr<osg::Image> back = read(file);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->r(), 5);
    ASSERT_EQ(back->getNumMipmapLevels(), 3U);
    EXPECT_EQ(back->getMipmapOffset(1), 20U);
    EXPECT_EQ(back->getMipmapOffset(2), 22U);
    EXPECT_EQ(bytesOf(*back), counting(1, 23));
    EXPECT_TRUE(log.lines().empty());
}

// As many slices of blocks, 8 x 4 pixels of BC1 each: 16 bytes, then 8, then 8.
TEST_F(KtxShapes, SlicesOfBlocksHalveToo)
{
    const osg::ref_ptr<osg::Image> solid = countingImage(8, 4, 4, GL_COMPRESSED_RGB_S3TC_DXT1_EXT,
                                                         GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_UNSIGNED_BYTE, 3, 1);
    const std::string file = written(*solid, plain);
    EXPECT_EQ(levelBytes(file, 0), counting(1, 64));
    EXPECT_EQ(levelBytes(file, 1), counting(65, 16));
    EXPECT_EQ(levelBytes(file, 2), counting(81, 8));
    const osg::ref_ptr<osg::Image> back = read(file);
    ASSERT_TRUE(back);
    EXPECT_EQ(bytesOf(*back), counting(1, 88));
}

// 4x4, 2x2 and 1x1 pixels of one byte: 21 for each face.
TEST_F(KtxShapes, FacesKeepTheirLevels)
{
    std::vector<osg::ref_ptr<osg::Image>> faces;
    Bytes expected[3];
    for (unsigned int face = 0; face < 6; ++face)
    {
        faces.push_back(countingImage(4, 4, 1, GL_RED, GL_RED, GL_UNSIGNED_BYTE, 3, 40 * face));
        append(expected[0], counting(40 * face, 16));
        append(expected[1], counting(40 * face + 16, 4));
        append(expected[2], counting(40 * face + 20, 1));
    }
    const std::string file = written(*sequenceOf(faces), optionsWith({{"SavingCubeMap", "true"}}));
    for (unsigned int level = 0; level < 3; ++level)
        EXPECT_EQ(levelBytes(file, level), expected[level]) << level;

    const osg::ref_ptr<osg::Image> back = read(file);
    const auto* sequence = dynamic_cast<const osg::ImageSequence*>(back.get());
    ASSERT_TRUE(sequence);
    ASSERT_EQ(sequence->getNumImageData(), 6U);
    for (unsigned int face = 0; face < 6; ++face)
    {
        const osg::Image* image = sequence->getImage(static_cast<int>(face));
        ASSERT_EQ(image->getNumMipmapLevels(), 3U);
        EXPECT_EQ(bytesOf(*image), counting(40 * face, 21)) << face;
    }
}

// Two cube maps with four levels, made by the library alone.
TEST_F(KtxShapes, CubeMapsOfAnArrayComeOneAfterTheOther)
{
    const mvgeo::Ktx2Ptr texture = mvgeo::makeFilledKtx2(mvgeo::vk::kR8G8B8A8Unorm, {8, 8, 1, 4, 2, 6});
    ASSERT_TRUE(texture);
    const mvgeo::KtxBytes file = mvgeo::written(ktxTexture(texture.get()));
    const osg::ref_ptr<osg::Image> image = read(std::string(file.begin(), file.end()));
    const auto* sequence = dynamic_cast<const osg::ImageSequence*>(image.get());
    ASSERT_TRUE(sequence);
    ASSERT_EQ(sequence->getNumImageData(), 12U);
    for (unsigned int i = 0; i < 12; ++i)
    {
        Bytes expected;
        for (unsigned int level = 0; level < 4; ++level)
            append(expected, mvgeo::imageOf(ktxTexture(texture.get()), level, i / 6, i % 6));
        EXPECT_EQ(bytesOf(*sequence->getImage(static_cast<int>(i))), expected) << i;
        EXPECT_EQ(sequence->getImage(static_cast<int>(i))->getOrigin(), osg::Image::TOP_LEFT);
    }
    bool isCube = false;
    EXPECT_TRUE(image->getUserValue("KTXcubemap", isCube));
    EXPECT_TRUE(isCube);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace
