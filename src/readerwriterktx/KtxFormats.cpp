#include "readerwriterktx/KtxFormats.h"

#include "readerwriterktx/VkFormats.h"

#include <osg/Texture>

#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace mvgeo
{

namespace
{

using namespace vk;

// GL_COMPRESSED_SRGB_PVRTC_2BPPV1_EXT and its like: only the headers of OpenGL ES name them.
constexpr GLint kSrgbPvrtc2 = 0x8A54, kSrgbPvrtc4 = 0x8A55, kSrgbAlphaPvrtc2 = 0x8A56, kSrgbAlphaPvrtc4 = 0x8A57;

/** OpenGL's names of one format, zeros behind them. */
using Names = std::array<GLint, 5>;

struct Row
{
    std::uint32_t vkFormat;
    Names internalFormats; // reading gives the first one
    GLenum pixelFormat;
    GLenum dataType;
    KtxBlock block;

    [[nodiscard]] bool hasName(GLint internalFormat) const
    {
        return internalFormat != 0 &&
               std::find(internalFormats.begin(), internalFormats.end(), internalFormat) != internalFormats.end();
    }
};

constexpr Row pixel(std::uint32_t vkFormat, const Names& names, GLenum pixelFormat, GLenum dataType, unsigned int bytes)
{
    return {vkFormat, names, pixelFormat, dataType, {1, 1, bytes, 1}};
}

/** The pixel format is the first name unless another is given. */
constexpr Row blocks(std::uint32_t vkFormat, const Names& names, const KtxBlock& block, GLenum pixelFormat = 0)
{
    return {vkFormat, names, pixelFormat == 0 ? static_cast<GLenum>(names[0]) : pixelFormat, GL_UNSIGNED_BYTE, block};
}

constexpr Row block4(std::uint32_t vkFormat, const Names& names, unsigned int bytes, GLenum pixelFormat = 0)
{
    return blocks(vkFormat, names, {4, 4, bytes, 1}, pixelFormat);
}

constexpr Row astc(std::uint32_t vkFormat, const Names& names, unsigned int width, unsigned int height)
{
    return blocks(vkFormat, names, {width, height, 16, 1});
}

constexpr Row pvrtc(std::uint32_t vkFormat, const Names& names, unsigned int width, GLenum pixelFormat = 0)
{
    return blocks(vkFormat, names, {width, 4, 8, 2}, pixelFormat);
}

// The first row of a Vulkan format is what reading it gives; the first row of an internal format is what is written for
// it. So each other order of channels stands behind the usual one.
//
// Left out, because OSG knows no size for them: 10F_11F_11F, RGB9_E5, depth with stencil; PVRTC 2. Left out, because
// the bits lie differently in the two: 24-bit depth.
constexpr Row kRows[] = {
    // 8 bits, normalised. 1 to 4 are the oldest internal formats: the number of channels.
    pixel(kR8Unorm, {GL_RED, GL_R8}, GL_RED, GL_UNSIGNED_BYTE, 1),
    pixel(kR8Unorm, {GL_ALPHA, GL_ALPHA8}, GL_ALPHA, GL_UNSIGNED_BYTE, 1),
    pixel(kR8Unorm, {GL_LUMINANCE, GL_LUMINANCE8, GL_INTENSITY, GL_INTENSITY8, 1}, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(kR8G8Unorm, {GL_RG, GL_RG8}, GL_RG, GL_UNSIGNED_BYTE, 2),
    pixel(kR8G8Unorm, {GL_LUMINANCE_ALPHA, GL_LUMINANCE8_ALPHA8, 2}, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(kR8G8B8Unorm, {GL_RGB, GL_RGB8, 3}, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(kR8G8B8A8Unorm, {GL_RGBA, GL_RGBA8, 4}, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(kB8G8R8Unorm, {GL_RGB8, GL_BGR}, GL_BGR, GL_UNSIGNED_BYTE, 3),
    pixel(kB8G8R8A8Unorm, {GL_RGBA8, GL_BGRA, GL_BGRA8_EXT}, GL_BGRA, GL_UNSIGNED_BYTE, 4),

    // 8 bits, sRGB.
    pixel(kR8Srgb, {GL_SR8_EXT}, GL_RED, GL_UNSIGNED_BYTE, 1),
    pixel(kR8Srgb, {GL_SLUMINANCE, GL_SLUMINANCE8}, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(kR8G8Srgb, {GL_SRG8_EXT}, GL_RG, GL_UNSIGNED_BYTE, 2),
    pixel(kR8G8Srgb, {GL_SLUMINANCE_ALPHA, GL_SLUMINANCE8_ALPHA8}, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(kR8G8B8Srgb, {GL_SRGB8, GL_SRGB}, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(kB8G8R8Srgb, {GL_SRGB8}, GL_BGR, GL_UNSIGNED_BYTE, 3),
    pixel(kR8G8B8A8Srgb, {GL_SRGB8_ALPHA8, GL_SRGB_ALPHA}, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(kB8G8R8A8Srgb, {GL_SRGB8_ALPHA8}, GL_BGRA, GL_UNSIGNED_BYTE, 4),

    // 8 bits, normalised with sign.
    pixel(kR8Snorm, {GL_R8_SNORM, GL_RED_SNORM}, GL_RED, GL_BYTE, 1),
    pixel(kR8Snorm, {GL_ALPHA8_SNORM}, GL_ALPHA, GL_BYTE, 1),
    pixel(kR8Snorm, {GL_LUMINANCE8_SNORM, GL_INTENSITY8_SNORM}, GL_LUMINANCE, GL_BYTE, 1),
    pixel(kR8G8Snorm, {GL_RG8_SNORM, GL_RG_SNORM}, GL_RG, GL_BYTE, 2),
    pixel(kR8G8Snorm, {GL_LUMINANCE8_ALPHA8_SNORM}, GL_LUMINANCE_ALPHA, GL_BYTE, 2),
    pixel(kR8G8B8Snorm, {GL_RGB8_SNORM, GL_RGB_SNORM}, GL_RGB, GL_BYTE, 3),
    pixel(kR8G8B8A8Snorm, {GL_RGBA8_SNORM, GL_RGBA_SNORM}, GL_RGBA, GL_BYTE, 4),
    pixel(kB8G8R8Snorm, {GL_RGB8_SNORM}, GL_BGR, GL_BYTE, 3),
    pixel(kB8G8R8A8Snorm, {GL_RGBA8_SNORM}, GL_BGRA, GL_BYTE, 4),

    // 8 bits, whole numbers.
    pixel(kR8Uint, {GL_R8UI}, GL_RED_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(kR8Uint, {GL_ALPHA8UI_EXT}, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(kR8Uint, {GL_LUMINANCE8UI_EXT, GL_INTENSITY8UI_EXT}, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(kR8Sint, {GL_R8I}, GL_RED_INTEGER_EXT, GL_BYTE, 1),
    pixel(kR8Sint, {GL_ALPHA8I_EXT}, GL_ALPHA_INTEGER_EXT, GL_BYTE, 1),
    pixel(kR8Sint, {GL_LUMINANCE8I_EXT, GL_INTENSITY8I_EXT}, GL_LUMINANCE_INTEGER_EXT, GL_BYTE, 1),
    pixel(kR8G8Uint, {GL_RG8UI}, GL_RG8UI, GL_UNSIGNED_BYTE, 2),
    pixel(kR8G8Uint, {GL_LUMINANCE_ALPHA8UI_EXT}, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_BYTE, 2),
    pixel(kR8G8Sint, {GL_RG8I}, GL_RG8I, GL_BYTE, 2),
    pixel(kR8G8Sint, {GL_LUMINANCE_ALPHA8I_EXT}, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_BYTE, 2),
    pixel(kR8G8B8Uint, {GL_RGB8UI_EXT}, GL_RGB_INTEGER_EXT, GL_UNSIGNED_BYTE, 3),
    pixel(kR8G8B8Sint, {GL_RGB8I_EXT}, GL_RGB_INTEGER_EXT, GL_BYTE, 3),
    pixel(kR8G8B8A8Uint, {GL_RGBA8UI_EXT}, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_BYTE, 4),
    pixel(kR8G8B8A8Sint, {GL_RGBA8I_EXT}, GL_RGBA_INTEGER_EXT, GL_BYTE, 4),
    pixel(kB8G8R8Uint, {GL_RGB8UI_EXT}, GL_BGR_INTEGER_EXT, GL_UNSIGNED_BYTE, 3),
    pixel(kB8G8R8Sint, {GL_RGB8I_EXT}, GL_BGR_INTEGER_EXT, GL_BYTE, 3),
    pixel(kB8G8R8A8Uint, {GL_RGBA8UI_EXT}, GL_BGRA_INTEGER_EXT, GL_UNSIGNED_BYTE, 4),
    pixel(kB8G8R8A8Sint, {GL_RGBA8I_EXT}, GL_BGRA_INTEGER_EXT, GL_BYTE, 4),

    // Several channels in one number; the channel that Vulkan names first has the highest bits.
    pixel(kR4G4B4A4Unorm, {GL_RGBA4}, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4, 2),
    pixel(kB4G4R4A4Unorm, {GL_RGBA4}, GL_BGRA, GL_UNSIGNED_SHORT_4_4_4_4, 2),
    pixel(kA4R4G4B4Unorm, {GL_RGBA4}, GL_BGRA, GL_UNSIGNED_SHORT_4_4_4_4_REV, 2),
    pixel(kA4B4G4R4Unorm, {GL_RGBA4}, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4_REV, 2),
    pixel(kR5G6B5Unorm, {GL_RGB565}, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 2),
    pixel(kB5G6R5Unorm, {GL_RGB565}, GL_RGB, GL_UNSIGNED_SHORT_5_6_5_REV, 2),
    pixel(kR5G5B5A1Unorm, {GL_RGB5_A1}, GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1, 2),
    pixel(kB5G5R5A1Unorm, {GL_RGB5_A1}, GL_BGRA, GL_UNSIGNED_SHORT_5_5_5_1, 2),
    pixel(kA1R5G5B5Unorm, {GL_RGB5_A1}, GL_BGRA, GL_UNSIGNED_SHORT_1_5_5_5_REV, 2),
    pixel(kA2B10G10R10Unorm, {GL_RGB10_A2}, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV, 4),
    pixel(kA2R10G10B10Unorm, {GL_RGB10_A2}, GL_BGRA, GL_UNSIGNED_INT_2_10_10_10_REV, 4),
    pixel(kA2B10G10R10Uint, {GL_RGB10_A2UI}, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_INT_2_10_10_10_REV, 4),
    pixel(kA2R10G10B10Uint, {GL_RGB10_A2UI}, GL_BGRA_INTEGER_EXT, GL_UNSIGNED_INT_2_10_10_10_REV, 4),

    // 16 bits, normalised.
    pixel(kR16Unorm, {GL_R16}, GL_RED, GL_UNSIGNED_SHORT, 2),
    pixel(kR16Unorm, {GL_ALPHA16}, GL_ALPHA, GL_UNSIGNED_SHORT, 2),
    pixel(kR16Unorm, {GL_LUMINANCE16, GL_INTENSITY16}, GL_LUMINANCE, GL_UNSIGNED_SHORT, 2),
    pixel(kR16Snorm, {GL_R16_SNORM}, GL_RED, GL_SHORT, 2),
    pixel(kR16Snorm, {GL_ALPHA16_SNORM}, GL_ALPHA, GL_SHORT, 2),
    pixel(kR16Snorm, {GL_LUMINANCE16_SNORM, GL_INTENSITY16_SNORM}, GL_LUMINANCE, GL_SHORT, 2),
    pixel(kR16G16Unorm, {GL_RG16}, GL_RG, GL_UNSIGNED_SHORT, 4),
    pixel(kR16G16Unorm, {GL_LUMINANCE16_ALPHA16}, GL_LUMINANCE_ALPHA, GL_UNSIGNED_SHORT, 4),
    pixel(kR16G16Snorm, {GL_RG16_SNORM}, GL_RG, GL_SHORT, 4),
    pixel(kR16G16Snorm, {GL_LUMINANCE16_ALPHA16_SNORM}, GL_LUMINANCE_ALPHA, GL_SHORT, 4),
    pixel(kR16G16B16Unorm, {GL_RGB16}, GL_RGB, GL_UNSIGNED_SHORT, 6),
    pixel(kR16G16B16Snorm, {GL_RGB16_SNORM}, GL_RGB, GL_SHORT, 6),
    pixel(kR16G16B16A16Unorm, {GL_RGBA16}, GL_RGBA, GL_UNSIGNED_SHORT, 8),
    pixel(kR16G16B16A16Snorm, {GL_RGBA16_SNORM}, GL_RGBA, GL_SHORT, 8),

    // 16 bits, whole numbers.
    pixel(kR16Uint, {GL_R16UI}, GL_RED_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(kR16Uint, {GL_ALPHA16UI_EXT}, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(kR16Uint, {GL_LUMINANCE16UI_EXT, GL_INTENSITY16UI_EXT}, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(kR16Sint, {GL_R16I}, GL_RED_INTEGER_EXT, GL_SHORT, 2),
    pixel(kR16Sint, {GL_ALPHA16I_EXT}, GL_ALPHA_INTEGER_EXT, GL_SHORT, 2),
    pixel(kR16Sint, {GL_LUMINANCE16I_EXT, GL_INTENSITY16I_EXT}, GL_LUMINANCE_INTEGER_EXT, GL_SHORT, 2),
    pixel(kR16G16Uint, {GL_RG16UI}, GL_RG16UI, GL_UNSIGNED_SHORT, 4),
    pixel(kR16G16Uint, {GL_LUMINANCE_ALPHA16UI_EXT}, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_SHORT, 4),
    pixel(kR16G16Sint, {GL_RG16I}, GL_RG16I, GL_SHORT, 4),
    pixel(kR16G16Sint, {GL_LUMINANCE_ALPHA16I_EXT}, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_SHORT, 4),
    pixel(kR16G16B16Uint, {GL_RGB16UI_EXT}, GL_RGB_INTEGER_EXT, GL_UNSIGNED_SHORT, 6),
    pixel(kR16G16B16Sint, {GL_RGB16I_EXT}, GL_RGB_INTEGER_EXT, GL_SHORT, 6),
    pixel(kR16G16B16A16Uint, {GL_RGBA16UI_EXT}, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_SHORT, 8),
    pixel(kR16G16B16A16Sint, {GL_RGBA16I_EXT}, GL_RGBA_INTEGER_EXT, GL_SHORT, 8),

    // 16 bits, floating point.
    pixel(kR16Sfloat, {GL_R16F}, GL_RED, GL_HALF_FLOAT, 2),
    pixel(kR16Sfloat, {GL_ALPHA16F_ARB}, GL_ALPHA, GL_HALF_FLOAT, 2),
    pixel(kR16Sfloat, {GL_LUMINANCE16F_ARB, GL_INTENSITY16F_ARB}, GL_LUMINANCE, GL_HALF_FLOAT, 2),
    pixel(kR16G16Sfloat, {GL_RG16F}, GL_RG, GL_HALF_FLOAT, 4),
    pixel(kR16G16Sfloat, {GL_LUMINANCE_ALPHA16F_ARB}, GL_LUMINANCE_ALPHA, GL_HALF_FLOAT, 4),
    pixel(kR16G16B16Sfloat, {GL_RGB16F_ARB}, GL_RGB, GL_HALF_FLOAT, 6),
    pixel(kR16G16B16A16Sfloat, {GL_RGBA16F_ARB}, GL_RGBA, GL_HALF_FLOAT, 8),

    // 32 bits, whole numbers.
    pixel(kR32Uint, {GL_R32UI}, GL_RED_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(kR32Uint, {GL_ALPHA32UI_EXT}, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(kR32Uint, {GL_LUMINANCE32UI_EXT, GL_INTENSITY32UI_EXT}, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(kR32Sint, {GL_R32I}, GL_RED_INTEGER_EXT, GL_INT, 4),
    pixel(kR32Sint, {GL_ALPHA32I_EXT}, GL_ALPHA_INTEGER_EXT, GL_INT, 4),
    pixel(kR32Sint, {GL_LUMINANCE32I_EXT, GL_INTENSITY32I_EXT}, GL_LUMINANCE_INTEGER_EXT, GL_INT, 4),
    pixel(kR32G32Uint, {GL_RG32UI}, GL_RG32UI, GL_UNSIGNED_INT, 8),
    pixel(kR32G32Uint, {GL_LUMINANCE_ALPHA32UI_EXT}, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_INT, 8),
    pixel(kR32G32Sint, {GL_RG32I}, GL_RG32I, GL_INT, 8),
    pixel(kR32G32Sint, {GL_LUMINANCE_ALPHA32I_EXT}, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_INT, 8),
    pixel(kR32G32B32Uint, {GL_RGB32UI_EXT}, GL_RGB_INTEGER_EXT, GL_UNSIGNED_INT, 12),
    pixel(kR32G32B32Sint, {GL_RGB32I_EXT}, GL_RGB_INTEGER_EXT, GL_INT, 12),
    pixel(kR32G32B32A32Uint, {GL_RGBA32UI_EXT}, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_INT, 16),
    pixel(kR32G32B32A32Sint, {GL_RGBA32I_EXT}, GL_RGBA_INTEGER_EXT, GL_INT, 16),

    // 32 bits, floating point.
    pixel(kR32Sfloat, {GL_R32F}, GL_RED, GL_FLOAT, 4),
    pixel(kR32Sfloat, {GL_ALPHA32F_ARB}, GL_ALPHA, GL_FLOAT, 4),
    pixel(kR32Sfloat, {GL_LUMINANCE32F_ARB, GL_INTENSITY32F_ARB}, GL_LUMINANCE, GL_FLOAT, 4),
    pixel(kR32G32Sfloat, {GL_RG32F}, GL_RG, GL_FLOAT, 8),
    pixel(kR32G32Sfloat, {GL_LUMINANCE_ALPHA32F_ARB}, GL_LUMINANCE_ALPHA, GL_FLOAT, 8),
    pixel(kR32G32B32Sfloat, {GL_RGB32F_ARB}, GL_RGB, GL_FLOAT, 12),
    pixel(kR32G32B32A32Sfloat, {GL_RGBA32F_ARB}, GL_RGBA, GL_FLOAT, 16),

    // Depth, stencil.
    pixel(kD16Unorm, {GL_DEPTH_COMPONENT16}, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT, 2),
    pixel(kD32Sfloat, {GL_DEPTH_COMPONENT32F}, GL_DEPTH_COMPONENT, GL_FLOAT, 4),
    pixel(kS8Uint, {GL_STENCIL_INDEX8, GL_STENCIL_INDEX}, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, 1),

    // BC1 to BC7.
    block4(kBc1RgbUnorm, {GL_COMPRESSED_RGB_S3TC_DXT1_EXT}, 8),
    block4(kBc1RgbSrgb, {GL_COMPRESSED_SRGB_S3TC_DXT1_EXT}, 8, GL_COMPRESSED_RGB_S3TC_DXT1_EXT),
    block4(kBc1RgbaUnorm, {GL_COMPRESSED_RGBA_S3TC_DXT1_EXT}, 8),
    block4(kBc1RgbaSrgb, {GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT}, 8, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT),
    block4(kBc2Unorm, {GL_COMPRESSED_RGBA_S3TC_DXT3_EXT}, 16),
    block4(kBc2Srgb, {GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT}, 16, GL_COMPRESSED_RGBA_S3TC_DXT3_EXT),
    block4(kBc3Unorm, {GL_COMPRESSED_RGBA_S3TC_DXT5_EXT}, 16),
    block4(kBc3Srgb, {GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT}, 16, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT),
    block4(kBc4Unorm, {GL_COMPRESSED_RED_RGTC1_EXT, GL_COMPRESSED_LUMINANCE_LATC1_EXT}, 8),
    block4(kBc4Snorm, {GL_COMPRESSED_SIGNED_RED_RGTC1_EXT, GL_COMPRESSED_SIGNED_LUMINANCE_LATC1_EXT}, 8),
    block4(kBc5Unorm, {GL_COMPRESSED_RED_GREEN_RGTC2_EXT, GL_COMPRESSED_LUMINANCE_ALPHA_LATC2_EXT}, 16),
    block4(kBc5Snorm, {GL_COMPRESSED_SIGNED_RED_GREEN_RGTC2_EXT, GL_COMPRESSED_SIGNED_LUMINANCE_ALPHA_LATC2_EXT}, 16),
    block4(kBc6hUfloat, {GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT}, 16, GL_COMPRESSED_RGBA8_ETC2_EAC),
    block4(kBc6hSfloat, {GL_COMPRESSED_RGB_BPTC_SIGNED_FLOAT}, 16, GL_COMPRESSED_RGBA8_ETC2_EAC),
    block4(kBc7Unorm, {GL_COMPRESSED_RGBA_BPTC_UNORM}, 16, GL_COMPRESSED_RGBA8_ETC2_EAC),
    block4(kBc7Srgb, {GL_COMPRESSED_SRGB_ALPHA_BPTC_UNORM}, 16, GL_COMPRESSED_RGBA8_ETC2_EAC),

    // ETC2 and EAC. ETC1 is a part of ETC2.
    block4(kEtc2R8G8B8Unorm, {GL_COMPRESSED_RGB8_ETC2, GL_ETC1_RGB8_OES}, 8),
    block4(kEtc2R8G8B8Srgb, {GL_COMPRESSED_SRGB8_ETC2}, 8),
    block4(kEtc2R8G8B8A1Unorm, {GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2}, 8),
    block4(kEtc2R8G8B8A1Srgb, {GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2}, 8),
    block4(kEtc2R8G8B8A8Unorm, {GL_COMPRESSED_RGBA8_ETC2_EAC}, 16),
    block4(kEtc2R8G8B8A8Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC}, 16),
    block4(kEacR11Unorm, {GL_COMPRESSED_R11_EAC}, 8),
    block4(kEacR11Snorm, {GL_COMPRESSED_SIGNED_R11_EAC}, 8),
    block4(kEacR11G11Unorm, {GL_COMPRESSED_RG11_EAC}, 16),
    block4(kEacR11G11Snorm, {GL_COMPRESSED_SIGNED_RG11_EAC}, 16),

    // ASTC.
    astc(kAstc4x4Unorm, {GL_COMPRESSED_RGBA_ASTC_4x4_KHR}, 4, 4),
    astc(kAstc4x4Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR}, 4, 4),
    astc(kAstc5x4Unorm, {GL_COMPRESSED_RGBA_ASTC_5x4_KHR}, 5, 4),
    astc(kAstc5x4Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_5x4_KHR}, 5, 4),
    astc(kAstc5x5Unorm, {GL_COMPRESSED_RGBA_ASTC_5x5_KHR}, 5, 5),
    astc(kAstc5x5Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_5x5_KHR}, 5, 5),
    astc(kAstc6x5Unorm, {GL_COMPRESSED_RGBA_ASTC_6x5_KHR}, 6, 5),
    astc(kAstc6x5Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x5_KHR}, 6, 5),
    astc(kAstc6x6Unorm, {GL_COMPRESSED_RGBA_ASTC_6x6_KHR}, 6, 6),
    astc(kAstc6x6Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x6_KHR}, 6, 6),
    astc(kAstc8x5Unorm, {GL_COMPRESSED_RGBA_ASTC_8x5_KHR}, 8, 5),
    astc(kAstc8x5Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x5_KHR}, 8, 5),
    astc(kAstc8x6Unorm, {GL_COMPRESSED_RGBA_ASTC_8x6_KHR}, 8, 6),
    astc(kAstc8x6Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x6_KHR}, 8, 6),
    astc(kAstc8x8Unorm, {GL_COMPRESSED_RGBA_ASTC_8x8_KHR}, 8, 8),
    astc(kAstc8x8Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x8_KHR}, 8, 8),
    astc(kAstc10x5Unorm, {GL_COMPRESSED_RGBA_ASTC_10x5_KHR}, 10, 5),
    astc(kAstc10x5Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x5_KHR}, 10, 5),
    astc(kAstc10x6Unorm, {GL_COMPRESSED_RGBA_ASTC_10x6_KHR}, 10, 6),
    astc(kAstc10x6Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x6_KHR}, 10, 6),
    astc(kAstc10x8Unorm, {GL_COMPRESSED_RGBA_ASTC_10x8_KHR}, 10, 8),
    astc(kAstc10x8Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x8_KHR}, 10, 8),
    astc(kAstc10x10Unorm, {GL_COMPRESSED_RGBA_ASTC_10x10_KHR}, 10, 10),
    astc(kAstc10x10Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x10_KHR}, 10, 10),
    astc(kAstc12x10Unorm, {GL_COMPRESSED_RGBA_ASTC_12x10_KHR}, 12, 10),
    astc(kAstc12x10Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x10_KHR}, 12, 10),
    astc(kAstc12x12Unorm, {GL_COMPRESSED_RGBA_ASTC_12x12_KHR}, 12, 12),
    astc(kAstc12x12Srgb, {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x12_KHR}, 12, 12),

    // PVRTC, 2 and 4 bits a pixel; Vulkan does not tell opaque data apart.
    pvrtc(kPvrtc1_2BppUnorm, {GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG}, 8),
    pvrtc(kPvrtc1_2BppUnorm, {GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG}, 8),
    pvrtc(kPvrtc1_4BppUnorm, {GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG}, 4),
    pvrtc(kPvrtc1_4BppUnorm, {GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG}, 4),
    pvrtc(kPvrtc1_2BppSrgb, {kSrgbAlphaPvrtc2}, 8, GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG),
    pvrtc(kPvrtc1_2BppSrgb, {kSrgbPvrtc2}, 8, GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG),
    pvrtc(kPvrtc1_4BppSrgb, {kSrgbAlphaPvrtc4}, 4, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG),
    pvrtc(kPvrtc1_4BppSrgb, {kSrgbPvrtc4}, 4, GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG),
};

template <typename Predicate>
const Row* firstRow(Predicate isWanted)
{
    const Row* found = std::find_if(std::begin(kRows), std::end(kRows), isWanted);
    return found == std::end(kRows) ? nullptr : found;
}

const Row* firstRowOfInternal(GLint internalFormat)
{
    return firstRow([=](const Row& row) { return row.hasName(internalFormat); });
}

const Row* firstRowOfVk(std::uint32_t vkFormat)
{
    return firstRow([=](const Row& row) { return row.vkFormat == vkFormat; });
}

bool hasPixels(const Row& row, GLenum pixelFormat, GLenum dataType)
{
    if (row.dataType != dataType) return false;
    if (row.pixelFormat == pixelFormat) return true;
    // Two-channel integers are carried under their sized name.
    return pixelFormat == GL_RG_INTEGER && osg::Image::computePixelFormat(row.pixelFormat) == GL_RG_INTEGER;
}

/** Whether an internal format leaves the size of its channels to the data. */
bool isUnsized(GLint internalFormat)
{
    const auto isOneOf = [internalFormat](auto... formats) { return ((internalFormat == formats) || ...); };
    return isOneOf(1, 2, 3, 4, GL_RED, GL_RG, GL_RGB, GL_RGBA, GL_BGR, GL_BGRA, GL_ALPHA, GL_LUMINANCE,
                   GL_LUMINANCE_ALPHA, GL_INTENSITY, GL_DEPTH_COMPONENT, GL_STENCIL_INDEX);
}

constexpr char kLuminance[] = "rrr1";
constexpr char kLuminanceAlpha[] = "rrrg";
constexpr char kIntensity[] = "rrrr";
constexpr char kAlpha[] = "000r";

/** By OpenGL's names. */
std::string swizzleOfNames(GLint internalFormat, GLenum pixelFormat)
{
    switch (internalFormat)
    {
    case GL_INTENSITY:
    case GL_INTENSITY8:
    case GL_INTENSITY8_SNORM:
    case GL_INTENSITY8UI_EXT:
    case GL_INTENSITY8I_EXT:
    case GL_INTENSITY16:
    case GL_INTENSITY16_SNORM:
    case GL_INTENSITY16UI_EXT:
    case GL_INTENSITY16I_EXT:
    case GL_INTENSITY16F_ARB:
    case GL_INTENSITY32UI_EXT:
    case GL_INTENSITY32I_EXT:
    case GL_INTENSITY32F_ARB:
        return kIntensity;
    case GL_COMPRESSED_LUMINANCE_LATC1_EXT:
    case GL_COMPRESSED_SIGNED_LUMINANCE_LATC1_EXT:
        return kLuminance;
    case GL_COMPRESSED_LUMINANCE_ALPHA_LATC2_EXT:
    case GL_COMPRESSED_SIGNED_LUMINANCE_ALPHA_LATC2_EXT:
        return kLuminanceAlpha;
    default:
        break;
    }
    switch (pixelFormat)
    {
    case GL_LUMINANCE:
    case GL_LUMINANCE_INTEGER_EXT:
        return kLuminance;
    case GL_LUMINANCE_ALPHA:
    case GL_LUMINANCE_ALPHA_INTEGER_EXT:
        return kLuminanceAlpha;
    case GL_ALPHA:
    case GL_ALPHA_INTEGER_EXT:
        return kAlpha;
    default:
        return {};
    }
}

/** The row that stores data of this order and type as it is. */
const Row* rowOfPixels(GLint internalFormat, GLenum pixelFormat, GLenum dataType)
{
    const Row* exact =
        firstRow([=](const Row& row) { return row.hasName(internalFormat) && hasPixels(row, pixelFormat, dataType); });
    if (exact) return exact;
    if (isUnsized(internalFormat))
        return firstRow([=](const Row& row) { return hasPixels(row, pixelFormat, dataType); });
    // Another name of the same format, whose channels may come in another order.
    const std::uint32_t vkFormat = vkFormatOf(internalFormat);
    return firstRow(
        [=](const Row& row)
        { return hasPixels(row, pixelFormat, dataType) && vkFormatOf(row.internalFormats[0]) == vkFormat; });
}

} // namespace

std::uint32_t vkFormatOf(GLint internalFormat)
{
    const Row* row = firstRowOfInternal(internalFormat);
    return row ? row->vkFormat : kUndefined;
}

std::uint32_t vkFormatOf(const KtxImageFormat& format)
{
    const Row* row = rowOfPixels(format.internalFormat, format.pixelFormat, format.dataType);
    return row ? row->vkFormat : kUndefined;
}

std::optional<KtxImageFormat> imageFormatOfVk(std::uint32_t vkFormat)
{
    const Row* row = firstRowOfVk(vkFormat);
    if (!row) return std::nullopt;
    return KtxImageFormat{row->internalFormats[0], row->pixelFormat, row->dataType};
}

std::optional<KtxImageFormat> imageFormatOfGl(GLint glInternalFormat, GLenum glFormat, GLenum glType)
{
    const Row* row = firstRowOfInternal(glInternalFormat);
    const bool isCompressed = row && osg::Image::computeBlockSize(row->pixelFormat, 0) > 0;
    if (isCompressed != (glFormat == 0 && glType == 0)) return std::nullopt;
    if (!isCompressed) row = rowOfPixels(glInternalFormat, glFormat, glType);
    if (!row) return std::nullopt;
    const bool keepsName = row->hasName(glInternalFormat) && glInternalFormat != GL_ETC1_RGB8_OES;
    return KtxImageFormat{keepsName ? glInternalFormat : row->internalFormats[0], row->pixelFormat, row->dataType};
}

std::string swizzleOf(const KtxImageFormat& format)
{
    return swizzleOfNames(format.internalFormat, format.pixelFormat);
}

std::optional<KtxImageFormat> formatOfSwizzle(const KtxImageFormat& format, const std::string& swizzle)
{
    const std::uint32_t vkFormat = vkFormatOf(format);
    if (vkFormat == kUndefined || swizzle.empty()) return std::nullopt;
    for (const Row& row : kRows)
    {
        if (row.vkFormat != vkFormat) continue;
        for (const GLint name : row.internalFormats)
            if (name != 0 && swizzleOfNames(name, row.pixelFormat) == swizzle)
                return KtxImageFormat{name, row.pixelFormat, row.dataType};
    }
    return std::nullopt;
}

std::optional<KtxBlock> blockOfVk(std::uint32_t vkFormat)
{
    const Row* row = firstRowOfVk(vkFormat);
    return row ? std::optional(row->block) : std::nullopt;
}

bool isDepthOrStencil(std::uint32_t vkFormat)
{
    return vkFormat >= kD16Unorm && vkFormat <= kD32SfloatS8Uint;
}

} // namespace mvgeo
