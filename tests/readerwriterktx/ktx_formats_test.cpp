#include "readerwriterktx/KtxFormats.h"

#include "FormatRegistries.h"
#include "readerwriterktx/VkFormats.h"
#include "support/ImageBytes.h"

#include <gtest/gtest.h>

#include <osg/Image>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#ifdef MVGEO_HAVE_KTX
#include <ktx.h>
#endif

using mvgeo::blockOfVk;
using mvgeo::imageFormatOfGl;
using mvgeo::imageFormatOfVk;
using mvgeo::KtxBlock;
using mvgeo::KtxImageFormat;
using mvgeo::vkFormatOf;

namespace mvgeo
{

static bool operator==(const KtxImageFormat& a, const KtxImageFormat& b)
{
    return a.internalFormat == b.internalFormat && a.pixelFormat == b.pixelFormat && a.dataType == b.dataType;
}

} // namespace mvgeo

namespace
{

std::uint32_t vk(const std::string& name)
{
    if (name == "PVRTC1_2BPP_UNORM_BLOCK_IMG") return 1000054000;
    if (name == "PVRTC1_4BPP_UNORM_BLOCK_IMG") return 1000054001;
    if (name == "PVRTC1_2BPP_SRGB_BLOCK_IMG") return 1000054004;
    if (name == "PVRTC1_4BPP_SRGB_BLOCK_IMG") return 1000054005;
    if (name == "A4R4G4B4_UNORM_PACK16") return 1000340000;
    if (name == "A4B4G4R4_UNORM_PACK16") return 1000340001;
    const auto found = std::find(std::begin(kVulkanOrder), std::end(kVulkanOrder), name);
    EXPECT_NE(found, std::end(kVulkanOrder)) << name;
    return static_cast<std::uint32_t>(found - std::begin(kVulkanOrder));
}

std::string nameOf(std::uint32_t vkFormat)
{
    return vkFormat < std::size(kVulkanOrder) ? kVulkanOrder[vkFormat] : std::to_string(vkFormat);
}

/** Everything that the table can read. */
std::vector<std::uint32_t> carriedFormats()
{
    std::vector<std::uint32_t> candidates{1000340000, 1000340001};
    for (std::uint32_t format = 0; format < std::size(kVulkanOrder); ++format)
        candidates.push_back(format);
    for (std::uint32_t format = 1000054000; format < 1000054008; ++format)
        candidates.push_back(format);
    std::vector<std::uint32_t> carried;
    for (const std::uint32_t candidate : candidates)
        if (imageFormatOfVk(candidate)) carried.push_back(candidate);
    return carried;
}

bool isPvrtc(std::uint32_t vkFormat)
{
    return vkFormat >= 1000054000 && vkFormat < 1000054008;
}

unsigned int bytesOfImage(const KtxBlock& block, unsigned int width, unsigned int height)
{
    const unsigned int columns = std::max(block.leastCount, (width + block.width - 1) / block.width);
    const unsigned int rows = std::max(block.leastCount, (height + block.height - 1) / block.height);
    return columns * rows * block.bytes;
}

unsigned int bytesByOsg(const KtxImageFormat& format, int width, int height)
{
    return osg::Image::computeImageSizeInBytes(width, height, 1, format.pixelFormat, format.dataType, 1);
}

} // namespace

TEST(KtxFormats, EveryInternalFormatHasTheNumberThatVulkansRegistryGivesItsTwin)
{
    ASSERT_EQ(std::size(kVulkanOrder), 185U);
    for (const Sample& sample : kSamples)
        EXPECT_EQ(vkFormatOf(sample.internalFormat), vk(sample.vkName)) << sample.vkName;
}

TEST(KtxFormats, ThereIsNoEntryBesideTheNamedOnes)
{
    for (GLint internalFormat = 0; internalFormat < 0x10000; ++internalFormat)
    {
        if (vkFormatOf(internalFormat) == 0) continue;
        EXPECT_TRUE(std::any_of(std::begin(kSamples), std::end(kSamples),
                                [=](const Sample& sample) { return sample.internalFormat == internalFormat; }))
            << "0x" << std::hex << internalFormat;
    }
}

TEST(KtxFormats, UnknownFormatsHaveNoEntry)
{
    EXPECT_EQ(vkFormatOf(0), 0U);
    EXPECT_EQ(vkFormatOf(-1), 0U);
    EXPECT_EQ(vkFormatOf(GL_COMPRESSED_RGBA), 0U); // any compression that the driver likes
    EXPECT_EQ(vkFormatOf(GL_R11F_G11F_B10F), 0U);  // OSG knows no size for it
    EXPECT_FALSE(imageFormatOfVk(0));
    EXPECT_FALSE(imageFormatOfVk(vk("R64_SFLOAT")));
    EXPECT_FALSE(imageFormatOfVk(vk("A8B8G8R8_UNORM_PACK32")));
    EXPECT_FALSE(imageFormatOfVk(0xFFFFFFFFU));
    EXPECT_FALSE(blockOfVk(0));
}

TEST(KtxFormats, ReadingAndWritingAreEachOthersReverse)
{
    const std::vector<std::uint32_t> formats = carriedFormats();
    EXPECT_EQ(formats.size(), 136U);
    for (const std::uint32_t format : formats)
        EXPECT_EQ(vkFormatOf(*imageFormatOfVk(format)), format) << nameOf(format);
}

TEST(KtxFormats, PlainTexturesAreReadAsTheUnsizedBaseFormats)
{
    EXPECT_EQ(*imageFormatOfVk(mvgeo::vk::kR8G8B8A8Unorm), (KtxImageFormat{GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE}));
    EXPECT_EQ(*imageFormatOfVk(mvgeo::vk::kR8G8B8Unorm), (KtxImageFormat{GL_RGB, GL_RGB, GL_UNSIGNED_BYTE}));
    EXPECT_EQ(*imageFormatOfVk(mvgeo::vk::kR8Unorm), (KtxImageFormat{GL_RED, GL_RED, GL_UNSIGNED_BYTE}));
    EXPECT_EQ(imageFormatOfVk(mvgeo::vk::kBc3Unorm)->internalFormat, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT);
    EXPECT_EQ(imageFormatOfVk(mvgeo::vk::kBc1RgbUnorm)->internalFormat, GL_COMPRESSED_RGB_S3TC_DXT1_EXT);
}

TEST(KtxFormats, TheOrderAndTypeOfTheChannelsDecideWhereTheInternalFormatDoesNot)
{
    EXPECT_EQ(vkFormatOf({GL_RGBA, GL_BGRA, GL_UNSIGNED_BYTE}), vk("B8G8R8A8_UNORM"));
    EXPECT_EQ(vkFormatOf({GL_RGBA8, GL_BGRA, GL_UNSIGNED_BYTE}), vk("B8G8R8A8_UNORM"));
    EXPECT_EQ(vkFormatOf({GL_SRGB8_ALPHA8, GL_BGRA, GL_UNSIGNED_BYTE}), vk("B8G8R8A8_SRGB"));
    EXPECT_EQ(vkFormatOf({GL_SRGB_ALPHA, GL_BGRA, GL_UNSIGNED_BYTE}), vk("B8G8R8A8_SRGB"));
    EXPECT_EQ(vkFormatOf({GL_RGB, GL_RGB, GL_UNSIGNED_SHORT_5_6_5}), vk("R5G6B5_UNORM_PACK16"));
    EXPECT_EQ(vkFormatOf({GL_RGBA, GL_RGBA, GL_FLOAT}), vk("R32G32B32A32_SFLOAT"));
    EXPECT_EQ(vkFormatOf({GL_LUMINANCE, GL_LUMINANCE, GL_UNSIGNED_SHORT}), vk("R16_UNORM"));
    EXPECT_EQ(vkFormatOf({GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE}), vk("R8G8B8A8_UNORM"));
    EXPECT_EQ(vkFormatOf({GL_RG16UI, GL_RG_INTEGER, GL_UNSIGNED_SHORT}), vk("R16G16_UINT"));
    EXPECT_EQ(vkFormatOf({GL_RGBA8, GL_RGBA, GL_FLOAT}), 0U); // would have to be converted
}

TEST(KtxFormats, OsgCountsTheBytesOfTheBlocks)
{
    for (const std::uint32_t format : carriedFormats())
    {
        if (isPvrtc(format)) continue;
        SCOPED_TRACE(nameOf(format));
        const KtxImageFormat image = *imageFormatOfVk(format);
        const KtxBlock block = *blockOfVk(format);
        for (const int width : {1, 7, 12, 64})
            for (const int height : {1, 5, 24, 64})
                EXPECT_EQ(bytesByOsg(image, width, height), bytesOfImage(block, width, height))
                    << width << " x " << height;
        const bool isCompressed = block.width > 1;
        EXPECT_EQ(osg::Image::computeBlockSize(image.pixelFormat, 0) > 0, isCompressed);
        EXPECT_GT(osg::Image::computeNumComponents(image.pixelFormat), 0U);
    }
}

// Whatever the sides: the one function that all others ask, and PVRTC too.
TEST(KtxFormats, ImageBytesCountsTheBytesOfEveryFormat)
{
    for (const std::uint32_t format : carriedFormats())
    {
        SCOPED_TRACE(nameOf(format));
        const KtxImageFormat names = *imageFormatOfVk(format);
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        for (const int width : {1, 7, 12, 13, 64})
            for (const int height : {1, 5, 9, 24, 64})
            {
                image->setImage(width, height, 3, names.internalFormat, names.pixelFormat, names.dataType, nullptr,
                                osg::Image::NO_DELETE);
                const auto size = [&](unsigned int w, unsigned int h)
                { return bytesOfImage(*blockOfVk(format), w, h); };
                EXPECT_EQ(mvgeo::imageBytes(*image), 3 * size(unsigned(width), unsigned(height)))
                    << width << " x " << height;
                EXPECT_EQ(mvgeo::sliceBytes(*image, 1),
                          size(std::max(unsigned(width) / 2, 1U), std::max(unsigned(height) / 2, 1U)));
            }
    }
}

// OSG takes a block of 8 bytes for one of 16 when it counts blocks, and is right when it counts pixels.
TEST(KtxFormats, OsgKnowsThePixelsOfPvrtcAndNotItsBlocks)
{
    for (const std::uint32_t format : {1000054000U, 1000054001U, 1000054004U, 1000054005U})
    {
        const KtxImageFormat image = *imageFormatOfVk(format);
        const unsigned int row = osg::Image::computeRowWidthInBytes(64, image.pixelFormat, image.dataType, 1);
        EXPECT_EQ(row * 32, bytesOfImage(*blockOfVk(format), 64, 32));
        EXPECT_EQ(bytesByOsg(image, 64, 32), 2 * bytesOfImage(*blockOfVk(format), 64, 32));
    }
}

TEST(KtxFormats, TheHeaderOfAKtx1FileNamesWhatTheImageCarries)
{
    EXPECT_EQ(*imageFormatOfGl(GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE),
              (KtxImageFormat{GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE}));
    EXPECT_EQ(*imageFormatOfGl(GL_RGBA8, GL_BGRA, GL_UNSIGNED_BYTE),
              (KtxImageFormat{GL_RGBA8, GL_BGRA, GL_UNSIGNED_BYTE}));
    EXPECT_EQ(*imageFormatOfGl(GL_RGB565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5),
              (KtxImageFormat{GL_RGB565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5}));
    EXPECT_EQ(*imageFormatOfGl(GL_LUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE),
              (KtxImageFormat{GL_LUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE}));
    EXPECT_EQ(imageFormatOfGl(GL_RG8UI, GL_RG_INTEGER, GL_UNSIGNED_BYTE)->internalFormat, GL_RG8UI);
    EXPECT_EQ(imageFormatOfGl(GL_RGBA, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4)->internalFormat, GL_RGBA4);
}

TEST(KtxFormats, ACompressedKtx1HeaderHasNeitherFormatNorType)
{
    EXPECT_EQ(imageFormatOfGl(GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 0, 0)->pixelFormat,
              static_cast<GLenum>(GL_COMPRESSED_RGBA_S3TC_DXT5_EXT));
    EXPECT_FALSE(imageFormatOfGl(GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_RGBA, GL_UNSIGNED_BYTE));
    EXPECT_FALSE(imageFormatOfGl(GL_RGBA8, 0, 0));
    EXPECT_FALSE(imageFormatOfGl(GL_RGBA8, GL_RGBA, GL_FLOAT));
    EXPECT_FALSE(imageFormatOfGl(0, 0, 0));
}

TEST(KtxFormats, Etc1IsCarriedAsEtc2)
{
    EXPECT_EQ(*imageFormatOfGl(GL_ETC1_RGB8_OES, 0, 0),
              (KtxImageFormat{GL_COMPRESSED_RGB8_ETC2, GL_COMPRESSED_RGB8_ETC2, GL_UNSIGNED_BYTE}));
}

#ifdef MVGEO_HAVE_KTX

namespace
{

ktxTextureCreateInfo createInfo()
{
    ktxTextureCreateInfo info{};
    info.baseWidth = 23;
    info.baseHeight = 14;
    info.baseDepth = 1;
    info.numDimensions = 2;
    info.numLevels = 1;
    info.numLayers = 1;
    info.numFaces = 1;
    return info;
}

/** An empty 23 x 14 texture of libktx; null if it does not know the format. */
ktxTexture2* makeTexture(std::uint32_t vkFormat)
{
    ktxTextureCreateInfo info = createInfo();
    info.vkFormat = vkFormat;
    ktxTexture2* texture = nullptr;
    if (ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_NO_STORAGE, &texture) != KTX_SUCCESS) return nullptr;
    return texture;
}

} // namespace

TEST(KtxFormats, LibktxCountsTheSameBytesAndChannels)
{
    for (const std::uint32_t format : carriedFormats())
    {
        SCOPED_TRACE(nameOf(format));
        ktxTexture2* texture = makeTexture(format);
        ASSERT_NE(texture, nullptr);
        const KtxBlock block = *blockOfVk(format);
        EXPECT_EQ(ktxTexture_GetElementSize(ktxTexture(texture)), block.bytes);
        EXPECT_EQ(ktxTexture_GetImageSize(ktxTexture(texture), 0), bytesOfImage(block, 23, 14));
        EXPECT_EQ(texture->isCompressed != KTX_FALSE, block.width > 1);
        if (!texture->isCompressed)
        {
            ktx_uint32_t channels = 0;
            ktx_uint32_t channelBytes = 0;
            ktxTexture2_GetComponentInfo(texture, &channels, &channelBytes);
            EXPECT_EQ(channels, osg::Image::computeNumComponents(imageFormatOfVk(format)->pixelFormat));
        }
        ktxTexture_Destroy(ktxTexture(texture));
    }
}

// What the check of a KTX 1 header counts with. libktx refuses the older names: luminance, alpha, the unsized ones. It
// takes the 16 bits of RGB5_A1 for 32, so that the reader gives it another name.
TEST(KtxFormats, LibktxCountsTheSameBytesInKtx1)
{
    int created = 0;
    for (GLint internalFormat = 0; internalFormat < 0x10000; ++internalFormat)
    {
        const std::uint32_t format = vkFormatOf(internalFormat);
        if (format == 0 || internalFormat == GL_RGB5_A1) continue;
        ktxTextureCreateInfo info = createInfo();
        info.glInternalformat = static_cast<ktx_uint32_t>(internalFormat);
        ktxTexture1* texture = nullptr;
        if (ktxTexture1_Create(&info, KTX_TEXTURE_CREATE_NO_STORAGE, &texture) != KTX_SUCCESS) continue;
        ++created;
        EXPECT_EQ(ktxTexture_GetElementSize(ktxTexture(texture)), blockOfVk(format)->bytes)
            << "0x" << std::hex << internalFormat;
        ktxTexture_Destroy(ktxTexture(texture));
    }
    EXPECT_GT(created, 100);
}

#endif
