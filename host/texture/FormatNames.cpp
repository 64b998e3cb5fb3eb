#include "texture/FormatNames.h"

#include "CommandLineValues.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace mvgeo::host
{
namespace
{
/** Formats with consecutive numbers that differ in the kind of their numbers only. */
struct VkRun
{
    std::uint32_t first;
    const char* channels;
    const char* kinds; ///< separated by spaces, in the order of the numbers
    const char* ending;
};

constexpr const char* kSix = "UNORM SNORM USCALED SSCALED UINT SINT";
constexpr const char* kEightBit = "UNORM SNORM USCALED SSCALED UINT SINT SRGB";
constexpr const char* kSixteenBit = "UNORM SNORM USCALED SSCALED UINT SINT SFLOAT";
constexpr const char* kWide = "UINT SINT SFLOAT";
constexpr const char* kColour = "UNORM SRGB";
constexpr const char* kSigned = "UNORM SNORM";

constexpr VkRun kVkRuns[] = {
    {0, "UNDEFINED", "", ""},
    {1, "R4G4", "UNORM", "_PACK8"},
    {2, "R4G4B4A4", "UNORM", "_PACK16"},
    {3, "B4G4R4A4", "UNORM", "_PACK16"},
    {4, "R5G6B5", "UNORM", "_PACK16"},
    {5, "B5G6R5", "UNORM", "_PACK16"},
    {6, "R5G5B5A1", "UNORM", "_PACK16"},
    {7, "B5G5R5A1", "UNORM", "_PACK16"},
    {8, "A1R5G5B5", "UNORM", "_PACK16"},
    {9, "R8", kEightBit, ""},
    {16, "R8G8", kEightBit, ""},
    {23, "R8G8B8", kEightBit, ""},
    {30, "B8G8R8", kEightBit, ""},
    {37, "R8G8B8A8", kEightBit, ""},
    {44, "B8G8R8A8", kEightBit, ""},
    {51, "A8B8G8R8", kEightBit, "_PACK32"},
    {58, "A2R10G10B10", kSix, "_PACK32"},
    {64, "A2B10G10R10", kSix, "_PACK32"},
    {70, "R16", kSixteenBit, ""},
    {77, "R16G16", kSixteenBit, ""},
    {84, "R16G16B16", kSixteenBit, ""},
    {91, "R16G16B16A16", kSixteenBit, ""},
    {98, "R32", kWide, ""},
    {101, "R32G32", kWide, ""},
    {104, "R32G32B32", kWide, ""},
    {107, "R32G32B32A32", kWide, ""},
    {110, "R64", kWide, ""},
    {113, "R64G64", kWide, ""},
    {116, "R64G64B64", kWide, ""},
    {119, "R64G64B64A64", kWide, ""},
    {122, "B10G11R11", "UFLOAT", "_PACK32"},
    {123, "E5B9G9R9", "UFLOAT", "_PACK32"},
    {124, "D16", "UNORM", ""},
    {125, "X8_D24", "UNORM", "_PACK32"},
    {126, "D32", "SFLOAT", ""},
    {127, "S8", "UINT", ""},
    {128, "D16", "UNORM", "_S8_UINT"},
    {129, "D24", "UNORM", "_S8_UINT"},
    {130, "D32", "SFLOAT", "_S8_UINT"},
    {131, "BC1_RGB", kColour, "_BLOCK"},
    {133, "BC1_RGBA", kColour, "_BLOCK"},
    {135, "BC2", kColour, "_BLOCK"},
    {137, "BC3", kColour, "_BLOCK"},
    {139, "BC4", kSigned, "_BLOCK"},
    {141, "BC5", kSigned, "_BLOCK"},
    {143, "BC6H", "UFLOAT SFLOAT", "_BLOCK"},
    {145, "BC7", kColour, "_BLOCK"},
    {147, "ETC2_R8G8B8", kColour, "_BLOCK"},
    {149, "ETC2_R8G8B8A1", kColour, "_BLOCK"},
    {151, "ETC2_R8G8B8A8", kColour, "_BLOCK"},
    {153, "EAC_R11", kSigned, "_BLOCK"},
    {155, "EAC_R11G11", kSigned, "_BLOCK"},
    {157, "ASTC_4x4", kColour, "_BLOCK"},
    {159, "ASTC_5x4", kColour, "_BLOCK"},
    {161, "ASTC_5x5", kColour, "_BLOCK"},
    {163, "ASTC_6x5", kColour, "_BLOCK"},
    {165, "ASTC_6x6", kColour, "_BLOCK"},
    {167, "ASTC_8x5", kColour, "_BLOCK"},
    {169, "ASTC_8x6", kColour, "_BLOCK"},
    {171, "ASTC_8x8", kColour, "_BLOCK"},
    {173, "ASTC_10x5", kColour, "_BLOCK"},
    {175, "ASTC_10x6", kColour, "_BLOCK"},
    {177, "ASTC_10x8", kColour, "_BLOCK"},
    {179, "ASTC_10x10", kColour, "_BLOCK"},
    {181, "ASTC_12x10", kColour, "_BLOCK"},
    {183, "ASTC_12x12", kColour, "_BLOCK"},
    {1000054000, "PVRTC1_2BPP", "UNORM", "_BLOCK_IMG"},
    {1000054001, "PVRTC1_4BPP", "UNORM", "_BLOCK_IMG"},
    {1000054002, "PVRTC2_2BPP", "UNORM", "_BLOCK_IMG"},
    {1000054003, "PVRTC2_4BPP", "UNORM", "_BLOCK_IMG"},
    {1000054004, "PVRTC1_2BPP", "SRGB", "_BLOCK_IMG"},
    {1000054005, "PVRTC1_4BPP", "SRGB", "_BLOCK_IMG"},
    {1000054006, "PVRTC2_2BPP", "SRGB", "_BLOCK_IMG"},
    {1000054007, "PVRTC2_4BPP", "SRGB", "_BLOCK_IMG"},
    {1000340000, "A4R4G4B4", "UNORM", "_PACK16"},
    {1000340001, "A4B4G4R4", "UNORM", "_PACK16"},
};

struct GlValue
{
    std::uint32_t value;
    const char* name;
};

constexpr GlValue kGlValues[] = {
    // data types
    {0x1400, "GL_BYTE"},
    {0x1401, "GL_UNSIGNED_BYTE"},
    {0x1402, "GL_SHORT"},
    {0x1403, "GL_UNSIGNED_SHORT"},
    {0x1404, "GL_INT"},
    {0x1405, "GL_UNSIGNED_INT"},
    {0x1406, "GL_FLOAT"},
    {0x140B, "GL_HALF_FLOAT"},
    {0x8033, "GL_UNSIGNED_SHORT_4_4_4_4"},
    {0x8034, "GL_UNSIGNED_SHORT_5_5_5_1"},
    {0x8363, "GL_UNSIGNED_SHORT_5_6_5"},
    {0x8364, "GL_UNSIGNED_SHORT_5_6_5_REV"},
    {0x8365, "GL_UNSIGNED_SHORT_4_4_4_4_REV"},
    {0x8366, "GL_UNSIGNED_SHORT_1_5_5_5_REV"},
    {0x8367, "GL_UNSIGNED_INT_8_8_8_8_REV"},
    {0x8368, "GL_UNSIGNED_INT_2_10_10_10_REV"},
    {0x8C3B, "GL_UNSIGNED_INT_10F_11F_11F_REV"},
    {0x8C3E, "GL_UNSIGNED_INT_5_9_9_9_REV"},
    // pixel formats and unsized internal formats
    {0x1902, "GL_DEPTH_COMPONENT"},
    {0x1903, "GL_RED"},
    {0x1906, "GL_ALPHA"},
    {0x1907, "GL_RGB"},
    {0x1908, "GL_RGBA"},
    {0x1909, "GL_LUMINANCE"},
    {0x190A, "GL_LUMINANCE_ALPHA"},
    {0x8049, "GL_INTENSITY"},
    {0x80E0, "GL_BGR"},
    {0x80E1, "GL_BGRA"},
    {0x8227, "GL_RG"},
    {0x8228, "GL_RG_INTEGER"},
    {0x8D94, "GL_RED_INTEGER"},
    {0x8D98, "GL_RGB_INTEGER"},
    {0x8D99, "GL_RGBA_INTEGER"},
    // sized internal formats
    {0x803C, "GL_ALPHA8"},
    {0x803E, "GL_ALPHA16"},
    {0x8040, "GL_LUMINANCE8"},
    {0x8042, "GL_LUMINANCE16"},
    {0x8045, "GL_LUMINANCE8_ALPHA8"},
    {0x8048, "GL_LUMINANCE16_ALPHA16"},
    {0x804B, "GL_INTENSITY8"},
    {0x8051, "GL_RGB8"},
    {0x8054, "GL_RGB16"},
    {0x8056, "GL_RGBA4"},
    {0x8057, "GL_RGB5_A1"},
    {0x8058, "GL_RGBA8"},
    {0x8059, "GL_RGB10_A2"},
    {0x805B, "GL_RGBA16"},
    {0x81A5, "GL_DEPTH_COMPONENT16"},
    {0x81A6, "GL_DEPTH_COMPONENT24"},
    {0x8229, "GL_R8"},
    {0x822A, "GL_R16"},
    {0x822B, "GL_RG8"},
    {0x822C, "GL_RG16"},
    {0x822D, "GL_R16F"},
    {0x822E, "GL_R32F"},
    {0x822F, "GL_RG16F"},
    {0x8230, "GL_RG32F"},
    {0x8231, "GL_R8I"},
    {0x8232, "GL_R8UI"},
    {0x8233, "GL_R16I"},
    {0x8234, "GL_R16UI"},
    {0x8235, "GL_R32I"},
    {0x8236, "GL_R32UI"},
    {0x8237, "GL_RG8I"},
    {0x8238, "GL_RG8UI"},
    {0x8239, "GL_RG16I"},
    {0x823A, "GL_RG16UI"},
    {0x823B, "GL_RG32I"},
    {0x823C, "GL_RG32UI"},
    {0x8814, "GL_RGBA32F"},
    {0x8815, "GL_RGB32F"},
    {0x881A, "GL_RGBA16F"},
    {0x881B, "GL_RGB16F"},
    {0x8C3A, "GL_R11F_G11F_B10F"},
    {0x8C3D, "GL_RGB9_E5"},
    {0x8C41, "GL_SRGB8"},
    {0x8C43, "GL_SRGB8_ALPHA8"},
    {0x8D62, "GL_RGB565"},
    {0x8D70, "GL_RGBA32UI"},
    {0x8D71, "GL_RGB32UI"},
    {0x8D76, "GL_RGBA16UI"},
    {0x8D77, "GL_RGB16UI"},
    {0x8D7C, "GL_RGBA8UI"},
    {0x8D7D, "GL_RGB8UI"},
    {0x8D82, "GL_RGBA32I"},
    {0x8D83, "GL_RGB32I"},
    {0x8D88, "GL_RGBA16I"},
    {0x8D89, "GL_RGB16I"},
    {0x8D8E, "GL_RGBA8I"},
    {0x8D8F, "GL_RGB8I"},
    {0x8F94, "GL_R8_SNORM"},
    {0x8F95, "GL_RG8_SNORM"},
    {0x8F96, "GL_RGB8_SNORM"},
    {0x8F97, "GL_RGBA8_SNORM"},
    {0x8F98, "GL_R16_SNORM"},
    {0x8F99, "GL_RG16_SNORM"},
    {0x8F9A, "GL_RGB16_SNORM"},
    {0x8F9B, "GL_RGBA16_SNORM"},
    {0x8FBD, "GL_SR8_EXT"},
    {0x8FBE, "GL_SRG8_EXT"},
    {0x906F, "GL_RGB10_A2UI"},
    // blocks
    {0x83F0, "GL_COMPRESSED_RGB_S3TC_DXT1_EXT"},
    {0x83F1, "GL_COMPRESSED_RGBA_S3TC_DXT1_EXT"},
    {0x83F2, "GL_COMPRESSED_RGBA_S3TC_DXT3_EXT"},
    {0x83F3, "GL_COMPRESSED_RGBA_S3TC_DXT5_EXT"},
    {0x8C4C, "GL_COMPRESSED_SRGB_S3TC_DXT1_EXT"},
    {0x8C4D, "GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT"},
    {0x8C4E, "GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT"},
    {0x8C4F, "GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT"},
    {0x8DBB, "GL_COMPRESSED_RED_RGTC1"},
    {0x8DBC, "GL_COMPRESSED_SIGNED_RED_RGTC1"},
    {0x8DBD, "GL_COMPRESSED_RG_RGTC2"},
    {0x8DBE, "GL_COMPRESSED_SIGNED_RG_RGTC2"},
    {0x8E8C, "GL_COMPRESSED_RGBA_BPTC_UNORM"},
    {0x8E8D, "GL_COMPRESSED_SRGB_ALPHA_BPTC_UNORM"},
    {0x8E8E, "GL_COMPRESSED_RGB_BPTC_SIGNED_FLOAT"},
    {0x8E8F, "GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT"},
    {0x8D64, "GL_ETC1_RGB8_OES"},
    {0x9270, "GL_COMPRESSED_R11_EAC"},
    {0x9271, "GL_COMPRESSED_SIGNED_R11_EAC"},
    {0x9272, "GL_COMPRESSED_RG11_EAC"},
    {0x9273, "GL_COMPRESSED_SIGNED_RG11_EAC"},
    {0x9274, "GL_COMPRESSED_RGB8_ETC2"},
    {0x9275, "GL_COMPRESSED_SRGB8_ETC2"},
    {0x9276, "GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2"},
    {0x9277, "GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2"},
    {0x9278, "GL_COMPRESSED_RGBA8_ETC2_EAC"},
    {0x9279, "GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC"},
    {0x8C00, "GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG"},
    {0x8C01, "GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG"},
    {0x8C02, "GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG"},
    {0x8C03, "GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG"},
};

constexpr std::uint32_t kFirstAstc = 0x93B0;
constexpr std::uint32_t kFirstSrgbAstc = 0x93D0;
constexpr const char* kAstcBlocks[] = {"4x4", "5x4",  "5x5",  "6x5",  "6x6",   "8x5",   "8x6",
                                       "8x8", "10x5", "10x6", "10x8", "10x10", "12x10", "12x12"};
} // namespace

std::string vkFormatName(std::uint32_t format)
{
    const VkRun* run = std::upper_bound(std::begin(kVkRuns), std::end(kVkRuns), format,
                                        [](std::uint32_t value, const VkRun& r) { return value < r.first; }) -
                       1; // the first run begins with 0
    const std::vector<std::string_view> kinds = splitText(run->kinds, " ");
    const std::string name = std::string("VK_FORMAT_") + run->channels;
    const std::uint32_t index = format - run->first;
    if (kinds.empty() && index == 0) return name;
    return index < kinds.size() ? name + '_' + std::string(kinds[index]) + run->ending : "unknown";
}

std::string glName(std::uint32_t value)
{
    const auto* found = std::find_if(std::begin(kGlValues), std::end(kGlValues),
                                     [value](const GlValue& v) { return v.value == value; });
    if (found != std::end(kGlValues)) return found->name;
    if (value - kFirstAstc < std::size(kAstcBlocks))
        return std::string("GL_COMPRESSED_RGBA_ASTC_") + kAstcBlocks[value - kFirstAstc] + "_KHR";
    if (value - kFirstSrgbAstc < std::size(kAstcBlocks))
        return std::string("GL_COMPRESSED_SRGB8_ALPHA8_ASTC_") + kAstcBlocks[value - kFirstSrgbAstc] + "_KHR";
    return "unknown";
}

std::string hexadecimal(std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}
} // namespace mvgeo::host
