#include "texture/FormatNames.h"

#include "common/TextParsing.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace mvgeo::host
{
namespace
{
/** Formats with consecutive numbers: each name with each kind of numbers, whose order is theirs. */
struct VkRun
{
    std::uint32_t first;
    const char* names; ///< separated by spaces, as are the kinds
    const char* kinds;
    const char* ending;
};

constexpr const char* kSix = "UNORM SNORM USCALED SSCALED UINT SINT";
constexpr const char* kEightBit = "UNORM SNORM USCALED SSCALED UINT SINT SRGB";
constexpr const char* kSixteenBit = "UNORM SNORM USCALED SSCALED UINT SINT SFLOAT";
constexpr const char* kWide = "UINT SINT SFLOAT";
constexpr const char* kColour = "UNORM SRGB";
constexpr const char* kSigned = "UNORM SNORM";
constexpr const char* kPvrtc = "PVRTC1_2BPP PVRTC1_4BPP PVRTC2_2BPP PVRTC2_4BPP";
constexpr const char* kAstc = "ASTC_4x4 ASTC_5x4 ASTC_5x5 ASTC_6x5 ASTC_6x6 ASTC_8x5 ASTC_8x6 ASTC_8x8 ASTC_10x5 "
                              "ASTC_10x6 ASTC_10x8 ASTC_10x10 ASTC_12x10 ASTC_12x12";

constexpr VkRun kVkRuns[] = {
    {1, "R4G4", "UNORM", "_PACK8"},
    {2, "R4G4B4A4 B4G4R4A4 R5G6B5 B5G6R5 R5G5B5A1 B5G5R5A1 A1R5G5B5", "UNORM", "_PACK16"},
    {9, "R8 R8G8 R8G8B8 B8G8R8 R8G8B8A8 B8G8R8A8", kEightBit, ""},
    {51, "A8B8G8R8", kEightBit, "_PACK32"},
    {58, "A2R10G10B10 A2B10G10R10", kSix, "_PACK32"},
    {70, "R16 R16G16 R16G16B16 R16G16B16A16", kSixteenBit, ""},
    {98, "R32 R32G32 R32G32B32 R32G32B32A32 R64 R64G64 R64G64B64 R64G64B64A64", kWide, ""},
    {122, "B10G11R11 E5B9G9R9", "UFLOAT", "_PACK32"},
    {124, "D16", "UNORM", ""},
    {125, "X8_D24", "UNORM", "_PACK32"},
    {126, "D32", "SFLOAT", ""},
    {127, "S8", "UINT", ""},
    {128, "D16 D24", "UNORM", "_S8_UINT"},
    {130, "D32", "SFLOAT", "_S8_UINT"},
    {131, "BC1_RGB BC1_RGBA BC2 BC3", kColour, "_BLOCK"},
    {139, "BC4 BC5", kSigned, "_BLOCK"},
    {143, "BC6H", "UFLOAT SFLOAT", "_BLOCK"},
    {145, "BC7 ETC2_R8G8B8 ETC2_R8G8B8A1 ETC2_R8G8B8A8", kColour, "_BLOCK"},
    {153, "EAC_R11 EAC_R11G11", kSigned, "_BLOCK"},
    {157, kAstc, kColour, "_BLOCK"},
    {1000054000, kPvrtc, "UNORM", "_BLOCK_IMG"},
    {1000054004, kPvrtc, "SRGB", "_BLOCK_IMG"},
    {1000340000, "A4R4G4B4 A4B4G4R4", "UNORM", "_PACK16"},
};

struct GlName
{
    std::uint32_t value;
    const char* name; ///< behind "GL_"
};
constexpr GlName gl(std::uint32_t value, const char* name)
{
    return {value, name};
}

constexpr GlName kGlNames[] = {
    // data types
    gl(0x1400, "BYTE"), gl(0x1401, "UNSIGNED_BYTE"), gl(0x1402, "SHORT"), gl(0x1403, "UNSIGNED_SHORT"),
    gl(0x1404, "INT"), gl(0x1405, "UNSIGNED_INT"), gl(0x1406, "FLOAT"), gl(0x140B, "HALF_FLOAT"),
    gl(0x8033, "UNSIGNED_SHORT_4_4_4_4"), gl(0x8034, "UNSIGNED_SHORT_5_5_5_1"), gl(0x8363, "UNSIGNED_SHORT_5_6_5"),
    gl(0x8364, "UNSIGNED_SHORT_5_6_5_REV"), gl(0x8365, "UNSIGNED_SHORT_4_4_4_4_REV"),
    gl(0x8366, "UNSIGNED_SHORT_1_5_5_5_REV"), gl(0x8367, "UNSIGNED_INT_8_8_8_8_REV"),
    gl(0x8368, "UNSIGNED_INT_2_10_10_10_REV"), gl(0x8C3B, "UNSIGNED_INT_10F_11F_11F_REV"),
    gl(0x8C3E, "UNSIGNED_INT_5_9_9_9_REV"),
    // pixel formats and unsized internal formats
    gl(0x1902, "DEPTH_COMPONENT"), gl(0x1903, "RED"), gl(0x1906, "ALPHA"), gl(0x1907, "RGB"), gl(0x1908, "RGBA"),
    gl(0x1909, "LUMINANCE"), gl(0x190A, "LUMINANCE_ALPHA"), gl(0x8049, "INTENSITY"), gl(0x80E0, "BGR"),
    gl(0x80E1, "BGRA"), gl(0x8227, "RG"), gl(0x8228, "RG_INTEGER"), gl(0x8D94, "RED_INTEGER"),
    gl(0x8D98, "RGB_INTEGER"), gl(0x8D99, "RGBA_INTEGER"),
    // sized internal formats
    gl(0x803C, "ALPHA8"), gl(0x803E, "ALPHA16"), gl(0x8040, "LUMINANCE8"), gl(0x8042, "LUMINANCE16"),
    gl(0x8045, "LUMINANCE8_ALPHA8"), gl(0x8048, "LUMINANCE16_ALPHA16"), gl(0x804B, "INTENSITY8"), gl(0x8051, "RGB8"),
    gl(0x8054, "RGB16"), gl(0x8056, "RGBA4"), gl(0x8057, "RGB5_A1"), gl(0x8058, "RGBA8"), gl(0x8059, "RGB10_A2"),
    gl(0x805B, "RGBA16"), gl(0x81A5, "DEPTH_COMPONENT16"), gl(0x81A6, "DEPTH_COMPONENT24"), gl(0x8229, "R8"),
    gl(0x822A, "R16"), gl(0x822B, "RG8"), gl(0x822C, "RG16"), gl(0x822D, "R16F"), gl(0x822E, "R32F"),
    gl(0x822F, "RG16F"), gl(0x8230, "RG32F"), gl(0x8231, "R8I"), gl(0x8232, "R8UI"), gl(0x8233, "R16I"),
    gl(0x8234, "R16UI"), gl(0x8235, "R32I"), gl(0x8236, "R32UI"), gl(0x8237, "RG8I"), gl(0x8238, "RG8UI"),
    gl(0x8239, "RG16I"), gl(0x823A, "RG16UI"), gl(0x823B, "RG32I"), gl(0x823C, "RG32UI"), gl(0x8814, "RGBA32F"),
    gl(0x8815, "RGB32F"), gl(0x881A, "RGBA16F"), gl(0x881B, "RGB16F"), gl(0x8C3A, "R11F_G11F_B10F"),
    gl(0x8C3D, "RGB9_E5"), gl(0x8C41, "SRGB8"), gl(0x8C43, "SRGB8_ALPHA8"), gl(0x8D62, "RGB565"),
    gl(0x8D70, "RGBA32UI"), gl(0x8D71, "RGB32UI"), gl(0x8D76, "RGBA16UI"), gl(0x8D77, "RGB16UI"), gl(0x8D7C, "RGBA8UI"),
    gl(0x8D7D, "RGB8UI"), gl(0x8D82, "RGBA32I"), gl(0x8D83, "RGB32I"), gl(0x8D88, "RGBA16I"), gl(0x8D89, "RGB16I"),
    gl(0x8D8E, "RGBA8I"), gl(0x8D8F, "RGB8I"), gl(0x8F94, "R8_SNORM"), gl(0x8F95, "RG8_SNORM"),
    gl(0x8F96, "RGB8_SNORM"), gl(0x8F97, "RGBA8_SNORM"), gl(0x8F98, "R16_SNORM"), gl(0x8F99, "RG16_SNORM"),
    gl(0x8F9A, "RGB16_SNORM"), gl(0x8F9B, "RGBA16_SNORM"), gl(0x8FBD, "SR8_EXT"), gl(0x8FBE, "SRG8_EXT"),
    gl(0x906F, "RGB10_A2UI"),
    // blocks
    gl(0x83F0, "COMPRESSED_RGB_S3TC_DXT1_EXT"), gl(0x83F1, "COMPRESSED_RGBA_S3TC_DXT1_EXT"),
    gl(0x83F2, "COMPRESSED_RGBA_S3TC_DXT3_EXT"), gl(0x83F3, "COMPRESSED_RGBA_S3TC_DXT5_EXT"),
    gl(0x8C4C, "COMPRESSED_SRGB_S3TC_DXT1_EXT"), gl(0x8C4D, "COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT"),
    gl(0x8C4E, "COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT"), gl(0x8C4F, "COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT"),
    gl(0x8DBB, "COMPRESSED_RED_RGTC1"), gl(0x8DBC, "COMPRESSED_SIGNED_RED_RGTC1"), gl(0x8DBD, "COMPRESSED_RG_RGTC2"),
    gl(0x8DBE, "COMPRESSED_SIGNED_RG_RGTC2"), gl(0x8E8C, "COMPRESSED_RGBA_BPTC_UNORM"),
    gl(0x8E8D, "COMPRESSED_SRGB_ALPHA_BPTC_UNORM"), gl(0x8E8E, "COMPRESSED_RGB_BPTC_SIGNED_FLOAT"),
    gl(0x8E8F, "COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT"), gl(0x8D64, "ETC1_RGB8_OES"), gl(0x9270, "COMPRESSED_R11_EAC"),
    gl(0x9271, "COMPRESSED_SIGNED_R11_EAC"), gl(0x9272, "COMPRESSED_RG11_EAC"),
    gl(0x9273, "COMPRESSED_SIGNED_RG11_EAC"), gl(0x9274, "COMPRESSED_RGB8_ETC2"), gl(0x9275, "COMPRESSED_SRGB8_ETC2"),
    gl(0x9276, "COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2"), gl(0x9277, "COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2"),
    gl(0x9278, "COMPRESSED_RGBA8_ETC2_EAC"), gl(0x9279, "COMPRESSED_SRGB8_ALPHA8_ETC2_EAC"),
    gl(0x8C00, "COMPRESSED_RGB_PVRTC_4BPPV1_IMG"), gl(0x8C01, "COMPRESSED_RGB_PVRTC_2BPPV1_IMG"),
    gl(0x8C02, "COMPRESSED_RGBA_PVRTC_4BPPV1_IMG"), gl(0x8C03, "COMPRESSED_RGBA_PVRTC_2BPPV1_IMG")};

constexpr std::uint32_t kFirstAstc = 0x93B0;
constexpr std::uint32_t kFirstSrgbAstc = 0x93D0;
} // namespace

std::string vkFormatName(std::uint32_t format)
{
    if (format == 0) return "VK_FORMAT_UNDEFINED";
    const VkRun* run = std::upper_bound(std::begin(kVkRuns), std::end(kVkRuns), format,
                                        [](std::uint32_t value, const VkRun& r) { return value < r.first; }) -
                       1; // the first run begins with 1
    const std::vector<std::string_view> names = splitText(run->names, " ");
    const std::vector<std::string_view> kinds = splitText(run->kinds, " ");
    const std::size_t index = format - run->first;
    if (index >= names.size() * kinds.size()) return "unknown";
    return "VK_FORMAT_" + std::string(names[index / kinds.size()]) + '_' + std::string(kinds[index % kinds.size()]) +
           run->ending;
}

std::string glName(std::uint32_t value)
{
    for (const GlName& known : kGlNames)
        if (known.value == value) return std::string("GL_") + known.name;
    const std::vector<std::string_view> astc = splitText(kAstc, " ");
    if (value - kFirstAstc < astc.size()) return "GL_COMPRESSED_RGBA_" + std::string(astc[value - kFirstAstc]) + "_KHR";
    if (value - kFirstSrgbAstc < astc.size())
        return "GL_COMPRESSED_SRGB8_ALPHA8_" + std::string(astc[value - kFirstSrgbAstc]) + "_KHR";
    return "unknown";
}

std::string hexadecimal(std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}
} // namespace mvgeo::host
