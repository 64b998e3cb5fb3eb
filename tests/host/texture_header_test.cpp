#include "texture/TextureHeader.h"

#include "common/HostError.h"
#include "texture/FormatNames.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace
{
using namespace mvgeo::host;

constexpr const char* kKtx1 = "\xABKTX 11\xBB\r\n\x1A\n";
constexpr const char* kKtx2 = "\xABKTX 20\xBB\r\n\x1A\n";

std::string words(std::initializer_list<std::uint32_t> values, bool isBigEndian = false)
{
    std::string bytes;
    for (const std::uint32_t value : values)
        for (unsigned i = 0; i < 4; ++i)
            bytes += static_cast<char>(value >> (8 * (isBigEndian ? 3 - i : i)));
    return bytes;
}

std::string keyValue(const std::string& pair)
{
    return words({static_cast<std::uint32_t>(pair.size())}) + pair + std::string((4 - pair.size() % 4) % 4, '\0');
}

/** 64 x 32 pixels of GL_RGB8, 2 layers, 6 faces, 7 levels. */
std::string ktx1(bool isBigEndian)
{
    return kKtx1 + words({0x04030201, 0x1401, 1, 0x1907, 0x8051, 0x1907, 64, 32, 0, 2, 6, 7, 0}, isBigEndian);
}

/** 64 x 32 pixels, one level; the descriptor is at 104. */
std::string ktx2(std::uint32_t format, std::uint32_t scheme, std::uint8_t model, std::uint8_t transfer)
{
    const std::string pairs =
        keyValue(std::string("KTXorientation\0rd\0", 18)) + keyValue(std::string("KTXwriter\0somebody\0", 19));
    std::string bytes = kKtx2 + words({format, 1, 64, 32, 0, 0, 1, 1, scheme, 104, 28, 132,
                                       static_cast<std::uint32_t>(pairs.size()), 0, 0, 0, 0});
    bytes += words({0, 0, 0, 0, 0, 0}); // one level's place
    std::string descriptor = words({28, 0, 2, 0, 0, 0, 0});
    descriptor[12] = static_cast<char>(model);
    descriptor[14] = static_cast<char>(transfer);
    return bytes + descriptor + pairs;
}

TEST(TextureHeader, ReadsKtxInBothByteOrders)
{
    for (const bool isBigEndian : {false, true})
    {
        const TextureHeader header = parseTextureHeader(ktx1(isBigEndian), "a.ktx");
        EXPECT_EQ(header.container, Container::ktx1);
        EXPECT_EQ(header.width, 64U);
        EXPECT_EQ(header.height, 32U);
        EXPECT_EQ(header.layers, 2U);
        EXPECT_TRUE(header.isCubeMap());
        EXPECT_EQ(header.levels, 7U);
        EXPECT_EQ(header.glInternalFormat, 0x8051U);
        EXPECT_EQ(header.format, "GL_RGB8");
        EXPECT_EQ(header.pixels, "GL_RGB of GL_UNSIGNED_BYTE");
    }
}

TEST(TextureHeader, ReadsKtx2)
{
    const TextureHeader header = parseTextureHeader(ktx2(43, 2, 1, 2), "a.ktx2");
    EXPECT_EQ(header.container, Container::ktx2);
    EXPECT_EQ(header.vkFormat, 43U);
    EXPECT_EQ(header.format, "VK_FORMAT_R8G8B8A8_SRGB");
    EXPECT_EQ(header.compression, "zstd");
    EXPECT_EQ(header.transfer, "sRGB");
    EXPECT_EQ(header.orientation, "rd");
    EXPECT_EQ(header.writer, "somebody");
}

TEST(TextureHeader, NamesTheBasisEncodings)
{
    EXPECT_EQ(parseTextureHeader(ktx2(0, 1, 163, 1), "a").compression, "ETC1S, BasisLZ");
    EXPECT_EQ(parseTextureHeader(ktx2(0, 0, 166, 1), "a").compression, "UASTC");
    EXPECT_EQ(parseTextureHeader(ktx2(0, 2, 166, 1), "a").compression, "UASTC, zstd");
    EXPECT_EQ(parseTextureHeader(ktx2(1000066000, 2, 167, 1), "a").compression, "UASTC HDR 4x4, zstd");
    EXPECT_EQ(parseTextureHeader(ktx2(0, 0, 168, 1), "a").compression, "UASTC HDR 6x6");
    EXPECT_EQ(parseTextureHeader(ktx2(0, 9, 1, 1), "a").compression, "unknown scheme 9");
}

TEST(TextureHeader, SurvivesEveryLength)
{
    for (const std::string& whole : {ktx1(false), ktx2(43, 0, 1, 2)})
        for (std::size_t length = 0; length < whole.size(); ++length)
        {
            try
            {
                parseTextureHeader(whole.substr(0, length), "cut");
                EXPECT_GE(length, 64U) << "without all of its header";
            }
            catch (const HostError& error)
            {
                EXPECT_NE(std::string(error.what()).find("'cut'"), std::string::npos);
            }
        }
}

TEST(TextureHeader, IgnoresKeysThatRunOverTheEnd)
{
    std::string bytes = ktx1(false);
    bytes[60] = 20; // bytes of key/values
    EXPECT_EQ(parseTextureHeader(bytes + words({0xFFFFFFF0, 0, 0, 0, 0}), "a").writer, "");
}

TEST(TextureHeader, KnowsAGreyPngWithATransparentLevel)
{
    const std::string start = std::string("\x89PNG\r\n\x1A\n", 8) + words({13}, true) + "IHDR" + words({8, 4}, true) +
                              std::string("\x08\x00\x00\x00\x00", 5) + "crc.";
    EXPECT_FALSE(parseTextureHeader(start + words({0}, true) + "IDATcrc.", "a").defect);
    const TextureHeader header = parseTextureHeader(start + words({2}, true) + "tRNS..crc.", "a");
    EXPECT_EQ(header.format, "8-bit grey");
    EXPECT_TRUE(header.defect);
}

TEST(TextureHeader, SaysWhatElseAFileIs)
{
    EXPECT_FALSE(containerOf(""));
    EXPECT_FALSE(containerOf("\xABKTX 30\xBB\r\n\x1A\n"));
    EXPECT_THROW(parseTextureHeader("{}", "a"), HostError);
}

TEST(FormatNames, FollowTheTwoLists)
{
    EXPECT_EQ(vkFormatName(0), "VK_FORMAT_UNDEFINED");
    EXPECT_EQ(vkFormatName(4), "VK_FORMAT_R5G6B5_UNORM_PACK16");
    EXPECT_EQ(vkFormatName(9), "VK_FORMAT_R8_UNORM");
    EXPECT_EQ(vkFormatName(37), "VK_FORMAT_R8G8B8A8_UNORM");
    EXPECT_EQ(vkFormatName(97), "VK_FORMAT_R16G16B16A16_SFLOAT");
    EXPECT_EQ(vkFormatName(131), "VK_FORMAT_BC1_RGB_UNORM_BLOCK");
    EXPECT_EQ(vkFormatName(137), "VK_FORMAT_BC3_UNORM_BLOCK");
    EXPECT_EQ(vkFormatName(184), "VK_FORMAT_ASTC_12x12_SRGB_BLOCK");
    EXPECT_EQ(vkFormatName(185), "unknown");
    EXPECT_EQ(vkFormatName(1000054007), "VK_FORMAT_PVRTC2_4BPP_SRGB_BLOCK_IMG");
    EXPECT_EQ(glName(0x83F0), "GL_COMPRESSED_RGB_S3TC_DXT1_EXT");
    EXPECT_EQ(glName(0x93B7), "GL_COMPRESSED_RGBA_ASTC_8x8_KHR");
    EXPECT_EQ(glName(0x93D0), "GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR");
    EXPECT_EQ(glName(1), "unknown");
    EXPECT_EQ(hexadecimal(0x1907), "0x1907");
}
} // namespace
