#include "readerwriterktx/KtxTestImages.h"
#include "readerwriterktx/VkFormats.h"

#include <osg/Texture>

#include <ktx.h>

namespace
{

struct KtxWritingErrors : public KtxTest
{
    LogRecorder log;
    osg::ref_ptr<osgDB::Options> plain = optionsWith({}); // options, and so no encoder

    /** One line was logged since the last time: this, with what libktx calls the code behind it. */
    void expectLine(const std::string& text, ktx_error_code_e code)
    {
        EXPECT_EQ(countOfLine(log, osg::WARN, "[LoaderKTX] " + text + ktxErrorString(code)), 1) << text;
        EXPECT_EQ(log.lines().size(), 1U) << text;
        log.clear();
    }
    void expectNotCreated(const osg::Image& image, const osg::ref_ptr<osgDB::Options>& options, ktx_error_code_e code)
    {
        EXPECT_TRUE(written(image, options.get()).empty());
        expectLine("Unable to create KTX for saving: ", code);
    }
};

TEST_F(KtxWritingErrors, SayWhatTheLibraryDoesNotTake)
{
    const osg::ref_ptr<osgDB::Options> cubeMap = optionsWith({{"SavingCubeMap", "true"}});
    const std::vector<osg::ref_ptr<osg::Image>> seven(7, rgbaImage(4, 4));
    expectNotCreated(*sequenceOf(seven), cubeMap, KTX_INVALID_VALUE);
    const std::vector<osg::ref_ptr<osg::Image>> oblongs(6, rgbaImage(4, 2));
    expectNotCreated(*sequenceOf(oblongs), cubeMap, KTX_INVALID_OPERATION);
    const std::vector<osg::ref_ptr<osg::Image>> solids(2, countingImage(4, 4, 4, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE));
    expectNotCreated(*sequenceOf(solids), plain, KTX_INVALID_OPERATION); // an array of 3-D images
    expectNotCreated(*countingImage(4, 4, 4, GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT), plain,
                     KTX_INVALID_OPERATION);
    expectNotCreated(*rgbaImage(2, 2, 3), plain, KTX_INVALID_OPERATION); // 2x2, 1x1 and then?
}

// PVRTC has two blocks of 8 bytes in each direction at least, 32 bytes a level; OSG takes 16 for 4 x 4 pixels.
TEST_F(KtxWritingErrors, SayWhichImageOrLevelIsTooShort)
{
    const auto pvrtc = [](int size, unsigned int levels)
    {
        return countingImage(size, size, 1, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG,
                             GL_UNSIGNED_BYTE, levels);
    };
    EXPECT_TRUE(written(*pvrtc(4, 1), plain).empty());
    expectLine("Unable to save image 0 to KTX texture: ", KTX_INVALID_VALUE);
    EXPECT_TRUE(written(*sequenceOf({pvrtc(8, 2), pvrtc(8, 2)}), plain).empty());
    expectLine("Unable to save mipmap level 1 of image 0 to KTX texture: ", KTX_INVALID_VALUE);
}

TEST_F(KtxWritingErrors, DoNotKeepWhatCannotBeEncodedFromBeingStored)
{
    const osg::ref_ptr<osg::Image> image = countingImage(8, 8, 1, GL_RGBA16F_ARB, GL_RGBA, GL_HALF_FLOAT);
    const std::string file = written(*image, nullptr);
    expectLine("Failed to compress ktxTexture2: ", KTX_INVALID_OPERATION);
    EXPECT_EQ(violationOf(file), "");
    EXPECT_EQ(u32At(file, ktx2::kVkFormat), mvgeo::vk::kR16G16B16A16Sfloat);
    const std::vector<unsigned char> bytes = bytesOf(*image);
    EXPECT_EQ(ktx2::levelOf(file, 0), std::string(bytes.begin(), bytes.end()));
}

} // namespace
