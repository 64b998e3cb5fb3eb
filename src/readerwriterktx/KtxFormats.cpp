#include "readerwriterktx/KtxFormats.h"

#include <osg/Texture>

#include <algorithm>
#include <iterator>

namespace mvgeo
{

namespace
{

// Formats for which the toolkit's headers have no name.
constexpr GLint kRgb565 = 0x8D62;
constexpr GLint kRgb10A2ui = 0x906F;
constexpr GLint kBgra8 = 0x93A1;
constexpr GLint kSr8 = 0x8FBD;
constexpr GLint kSrg8 = 0x8FBE;
constexpr GLint kStencilIndex8 = 0x8D48;
constexpr GLint kAlpha8Snorm = 0x9014;
constexpr GLint kLuminance8Snorm = 0x9015;
constexpr GLint kLuminance8Alpha8Snorm = 0x9016;
constexpr GLint kIntensity8Snorm = 0x9017;
constexpr GLint kAlpha16Snorm = 0x9018;
constexpr GLint kLuminance16Snorm = 0x9019;
constexpr GLint kLuminance16Alpha16Snorm = 0x901A;
constexpr GLint kIntensity16Snorm = 0x901B;
constexpr GLint kSrgbDxt1 = 0x8C4C;
constexpr GLint kSrgbAlphaDxt1 = 0x8C4D;
constexpr GLint kSrgbAlphaDxt3 = 0x8C4E;
constexpr GLint kSrgbAlphaDxt5 = 0x8C4F;
constexpr GLint kLuminanceLatc1 = 0x8C70;
constexpr GLint kSignedLuminanceLatc1 = 0x8C71;
constexpr GLint kLuminanceAlphaLatc2 = 0x8C72;
constexpr GLint kSignedLuminanceAlphaLatc2 = 0x8C73;
constexpr GLint kRgbaBptcUnorm = 0x8E8C;
constexpr GLint kSrgbAlphaBptcUnorm = 0x8E8D;
constexpr GLint kRgbBptcSignedFloat = 0x8E8E;
constexpr GLint kRgbBptcUnsignedFloat = 0x8E8F;
constexpr GLint kSrgbPvrtc2 = 0x8A54;
constexpr GLint kSrgbPvrtc4 = 0x8A55;
constexpr GLint kSrgbAlphaPvrtc2 = 0x8A56;
constexpr GLint kSrgbAlphaPvrtc4 = 0x8A57;

struct Row
{
    std::uint32_t vkFormat;
    GLint internalFormat; // what is looked up; the image may carry it under another name
    KtxImageFormat image;
    KtxBlock block;
};

constexpr Row pixel(std::uint32_t vk, GLint internalFormat, GLenum pixelFormat, GLenum dataType, unsigned int bytes)
{
    return {vk, internalFormat, {internalFormat, pixelFormat, dataType}, {1, 1, bytes, 1}};
}

constexpr Row block(std::uint32_t vk, GLint internalFormat, GLenum pixelFormat, unsigned int width, unsigned int height,
                    unsigned int bytes)
{
    return {vk, internalFormat, {internalFormat, pixelFormat, GL_UNSIGNED_BYTE}, {width, height, bytes, 1}};
}

constexpr Row block4(std::uint32_t vk, GLint internalFormat, GLenum pixelFormat, unsigned int bytes)
{
    return block(vk, internalFormat, pixelFormat, 4, 4, bytes);
}

constexpr Row astc(std::uint32_t vk, GLint internalFormat, unsigned int width, unsigned int height)
{
    return block(vk, internalFormat, static_cast<GLenum>(internalFormat), width, height, 16);
}

constexpr Row pvrtc(std::uint32_t vk, GLint internalFormat, GLenum pixelFormat, unsigned int width)
{
    return {vk, internalFormat, {internalFormat, pixelFormat, GL_UNSIGNED_BYTE}, {width, 4, 8, 2}};
}

// The first row of a Vulkan format is what reading it gives; the first row of an internal format is what is written for
// it. So each other order of channels stands behind the usual one, and each other name behind the one that we prefer.
//
// Left out, because the toolkit knows no size for them: 10F_11F_11F, RGB9_E5, depth with stencil; PVRTC 2. Left out,
// because the bits lie differently in the two: 24-bit depth.
constexpr Row kRows[] = {
    // 8 bits, normalised. 1 to 4 are the oldest internal formats: the number of channels.
    pixel(9, GL_RED, GL_RED, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_R8, GL_RED, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_ALPHA, GL_ALPHA, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_ALPHA8, GL_ALPHA, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_LUMINANCE, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_LUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_INTENSITY, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(9, GL_INTENSITY8, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(9, 1, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(16, GL_RG, GL_RG, GL_UNSIGNED_BYTE, 2),
    pixel(16, GL_RG8, GL_RG, GL_UNSIGNED_BYTE, 2),
    pixel(16, GL_LUMINANCE_ALPHA, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(16, GL_LUMINANCE8_ALPHA8, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(16, 2, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(23, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(23, GL_RGB8, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(23, 3, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(37, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(37, GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(37, 4, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(30, GL_RGB8, GL_BGR, GL_UNSIGNED_BYTE, 3),
    pixel(30, GL_BGR, GL_BGR, GL_UNSIGNED_BYTE, 3),
    pixel(44, GL_RGBA8, GL_BGRA, GL_UNSIGNED_BYTE, 4),
    pixel(44, GL_BGRA, GL_BGRA, GL_UNSIGNED_BYTE, 4),
    pixel(44, kBgra8, GL_BGRA, GL_UNSIGNED_BYTE, 4),

    // 8 bits, sRGB.
    pixel(15, kSr8, GL_RED, GL_UNSIGNED_BYTE, 1),
    pixel(15, GL_SLUMINANCE, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(15, GL_SLUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE, 1),
    pixel(22, kSrg8, GL_RG, GL_UNSIGNED_BYTE, 2),
    pixel(22, GL_SLUMINANCE_ALPHA, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(22, GL_SLUMINANCE8_ALPHA8, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2),
    pixel(29, GL_SRGB8, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(29, GL_SRGB, GL_RGB, GL_UNSIGNED_BYTE, 3),
    pixel(36, GL_SRGB8, GL_BGR, GL_UNSIGNED_BYTE, 3),
    pixel(43, GL_SRGB8_ALPHA8, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(43, GL_SRGB_ALPHA, GL_RGBA, GL_UNSIGNED_BYTE, 4),
    pixel(50, GL_SRGB8_ALPHA8, GL_BGRA, GL_UNSIGNED_BYTE, 4),

    // 8 bits, normalised with sign.
    pixel(10, GL_R8_SNORM, GL_RED, GL_BYTE, 1),
    pixel(10, GL_RED_SNORM, GL_RED, GL_BYTE, 1),
    pixel(10, kAlpha8Snorm, GL_ALPHA, GL_BYTE, 1),
    pixel(10, kLuminance8Snorm, GL_LUMINANCE, GL_BYTE, 1),
    pixel(10, kIntensity8Snorm, GL_LUMINANCE, GL_BYTE, 1),
    pixel(17, GL_RG8_SNORM, GL_RG, GL_BYTE, 2),
    pixel(17, GL_RG_SNORM, GL_RG, GL_BYTE, 2),
    pixel(17, kLuminance8Alpha8Snorm, GL_LUMINANCE_ALPHA, GL_BYTE, 2),
    pixel(24, GL_RGB8_SNORM, GL_RGB, GL_BYTE, 3),
    pixel(24, GL_RGB_SNORM, GL_RGB, GL_BYTE, 3),
    pixel(38, GL_RGBA8_SNORM, GL_RGBA, GL_BYTE, 4),
    pixel(38, GL_RGBA_SNORM, GL_RGBA, GL_BYTE, 4),
    pixel(31, GL_RGB8_SNORM, GL_BGR, GL_BYTE, 3),
    pixel(45, GL_RGBA8_SNORM, GL_BGRA, GL_BYTE, 4),

    // 8 bits, whole numbers.
    pixel(13, GL_R8UI, GL_RED_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(13, GL_ALPHA8UI_EXT, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(13, GL_LUMINANCE8UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(13, GL_INTENSITY8UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_BYTE, 1),
    pixel(14, GL_R8I, GL_RED_INTEGER_EXT, GL_BYTE, 1),
    pixel(14, GL_ALPHA8I_EXT, GL_ALPHA_INTEGER_EXT, GL_BYTE, 1),
    pixel(14, GL_LUMINANCE8I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_BYTE, 1),
    pixel(14, GL_INTENSITY8I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_BYTE, 1),
    pixel(20, GL_RG8UI, GL_RG8UI, GL_UNSIGNED_BYTE, 2),
    pixel(20, GL_LUMINANCE_ALPHA8UI_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_BYTE, 2),
    pixel(21, GL_RG8I, GL_RG8I, GL_BYTE, 2),
    pixel(21, GL_LUMINANCE_ALPHA8I_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_BYTE, 2),
    pixel(27, GL_RGB8UI_EXT, GL_RGB_INTEGER_EXT, GL_UNSIGNED_BYTE, 3),
    pixel(28, GL_RGB8I_EXT, GL_RGB_INTEGER_EXT, GL_BYTE, 3),
    pixel(41, GL_RGBA8UI_EXT, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_BYTE, 4),
    pixel(42, GL_RGBA8I_EXT, GL_RGBA_INTEGER_EXT, GL_BYTE, 4),
    pixel(34, GL_RGB8UI_EXT, GL_BGR_INTEGER_EXT, GL_UNSIGNED_BYTE, 3),
    pixel(35, GL_RGB8I_EXT, GL_BGR_INTEGER_EXT, GL_BYTE, 3),
    pixel(48, GL_RGBA8UI_EXT, GL_BGRA_INTEGER_EXT, GL_UNSIGNED_BYTE, 4),
    pixel(49, GL_RGBA8I_EXT, GL_BGRA_INTEGER_EXT, GL_BYTE, 4),

    // Several channels in one number; the channel that Vulkan names first has the highest bits.
    pixel(2, GL_RGBA4, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4, 2),
    pixel(3, GL_RGBA4, GL_BGRA, GL_UNSIGNED_SHORT_4_4_4_4, 2),
    pixel(1000340000, GL_RGBA4, GL_BGRA, GL_UNSIGNED_SHORT_4_4_4_4_REV, 2),
    pixel(1000340001, GL_RGBA4, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4_REV, 2),
    pixel(4, kRgb565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 2),
    pixel(5, kRgb565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5_REV, 2),
    pixel(6, GL_RGB5_A1, GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1, 2),
    pixel(7, GL_RGB5_A1, GL_BGRA, GL_UNSIGNED_SHORT_5_5_5_1, 2),
    pixel(8, GL_RGB5_A1, GL_BGRA, GL_UNSIGNED_SHORT_1_5_5_5_REV, 2),
    pixel(64, GL_RGB10_A2, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV, 4),
    pixel(58, GL_RGB10_A2, GL_BGRA, GL_UNSIGNED_INT_2_10_10_10_REV, 4),
    pixel(68, kRgb10A2ui, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_INT_2_10_10_10_REV, 4),
    pixel(62, kRgb10A2ui, GL_BGRA_INTEGER_EXT, GL_UNSIGNED_INT_2_10_10_10_REV, 4),

    // 16 bits, normalised.
    pixel(70, GL_R16, GL_RED, GL_UNSIGNED_SHORT, 2),
    pixel(70, GL_ALPHA16, GL_ALPHA, GL_UNSIGNED_SHORT, 2),
    pixel(70, GL_LUMINANCE16, GL_LUMINANCE, GL_UNSIGNED_SHORT, 2),
    pixel(70, GL_INTENSITY16, GL_LUMINANCE, GL_UNSIGNED_SHORT, 2),
    pixel(71, GL_R16_SNORM, GL_RED, GL_SHORT, 2),
    pixel(71, kAlpha16Snorm, GL_ALPHA, GL_SHORT, 2),
    pixel(71, kLuminance16Snorm, GL_LUMINANCE, GL_SHORT, 2),
    pixel(71, kIntensity16Snorm, GL_LUMINANCE, GL_SHORT, 2),
    pixel(77, GL_RG16, GL_RG, GL_UNSIGNED_SHORT, 4),
    pixel(77, GL_LUMINANCE16_ALPHA16, GL_LUMINANCE_ALPHA, GL_UNSIGNED_SHORT, 4),
    pixel(78, GL_RG16_SNORM, GL_RG, GL_SHORT, 4),
    pixel(78, kLuminance16Alpha16Snorm, GL_LUMINANCE_ALPHA, GL_SHORT, 4),
    pixel(84, GL_RGB16, GL_RGB, GL_UNSIGNED_SHORT, 6),
    pixel(85, GL_RGB16_SNORM, GL_RGB, GL_SHORT, 6),
    pixel(91, GL_RGBA16, GL_RGBA, GL_UNSIGNED_SHORT, 8),
    pixel(92, GL_RGBA16_SNORM, GL_RGBA, GL_SHORT, 8),

    // 16 bits, whole numbers.
    pixel(74, GL_R16UI, GL_RED_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(74, GL_ALPHA16UI_EXT, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(74, GL_LUMINANCE16UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(74, GL_INTENSITY16UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_SHORT, 2),
    pixel(75, GL_R16I, GL_RED_INTEGER_EXT, GL_SHORT, 2),
    pixel(75, GL_ALPHA16I_EXT, GL_ALPHA_INTEGER_EXT, GL_SHORT, 2),
    pixel(75, GL_LUMINANCE16I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_SHORT, 2),
    pixel(75, GL_INTENSITY16I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_SHORT, 2),
    pixel(81, GL_RG16UI, GL_RG16UI, GL_UNSIGNED_SHORT, 4),
    pixel(81, GL_LUMINANCE_ALPHA16UI_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_SHORT, 4),
    pixel(82, GL_RG16I, GL_RG16I, GL_SHORT, 4),
    pixel(82, GL_LUMINANCE_ALPHA16I_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_SHORT, 4),
    pixel(88, GL_RGB16UI_EXT, GL_RGB_INTEGER_EXT, GL_UNSIGNED_SHORT, 6),
    pixel(89, GL_RGB16I_EXT, GL_RGB_INTEGER_EXT, GL_SHORT, 6),
    pixel(95, GL_RGBA16UI_EXT, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_SHORT, 8),
    pixel(96, GL_RGBA16I_EXT, GL_RGBA_INTEGER_EXT, GL_SHORT, 8),

    // 16 bits, floating point.
    pixel(76, GL_R16F, GL_RED, GL_HALF_FLOAT, 2),
    pixel(76, GL_ALPHA16F_ARB, GL_ALPHA, GL_HALF_FLOAT, 2),
    pixel(76, GL_LUMINANCE16F_ARB, GL_LUMINANCE, GL_HALF_FLOAT, 2),
    pixel(76, GL_INTENSITY16F_ARB, GL_LUMINANCE, GL_HALF_FLOAT, 2),
    pixel(83, GL_RG16F, GL_RG, GL_HALF_FLOAT, 4),
    pixel(83, GL_LUMINANCE_ALPHA16F_ARB, GL_LUMINANCE_ALPHA, GL_HALF_FLOAT, 4),
    pixel(90, GL_RGB16F_ARB, GL_RGB, GL_HALF_FLOAT, 6),
    pixel(97, GL_RGBA16F_ARB, GL_RGBA, GL_HALF_FLOAT, 8),

    // 32 bits, whole numbers.
    pixel(98, GL_R32UI, GL_RED_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(98, GL_ALPHA32UI_EXT, GL_ALPHA_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(98, GL_LUMINANCE32UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(98, GL_INTENSITY32UI_EXT, GL_LUMINANCE_INTEGER_EXT, GL_UNSIGNED_INT, 4),
    pixel(99, GL_R32I, GL_RED_INTEGER_EXT, GL_INT, 4),
    pixel(99, GL_ALPHA32I_EXT, GL_ALPHA_INTEGER_EXT, GL_INT, 4),
    pixel(99, GL_LUMINANCE32I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_INT, 4),
    pixel(99, GL_INTENSITY32I_EXT, GL_LUMINANCE_INTEGER_EXT, GL_INT, 4),
    pixel(101, GL_RG32UI, GL_RG32UI, GL_UNSIGNED_INT, 8),
    pixel(101, GL_LUMINANCE_ALPHA32UI_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_UNSIGNED_INT, 8),
    pixel(102, GL_RG32I, GL_RG32I, GL_INT, 8),
    pixel(102, GL_LUMINANCE_ALPHA32I_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT, GL_INT, 8),
    pixel(104, GL_RGB32UI_EXT, GL_RGB_INTEGER_EXT, GL_UNSIGNED_INT, 12),
    pixel(105, GL_RGB32I_EXT, GL_RGB_INTEGER_EXT, GL_INT, 12),
    pixel(107, GL_RGBA32UI_EXT, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_INT, 16),
    pixel(108, GL_RGBA32I_EXT, GL_RGBA_INTEGER_EXT, GL_INT, 16),

    // 32 bits, floating point.
    pixel(100, GL_R32F, GL_RED, GL_FLOAT, 4),
    pixel(100, GL_ALPHA32F_ARB, GL_ALPHA, GL_FLOAT, 4),
    pixel(100, GL_LUMINANCE32F_ARB, GL_LUMINANCE, GL_FLOAT, 4),
    pixel(100, GL_INTENSITY32F_ARB, GL_LUMINANCE, GL_FLOAT, 4),
    pixel(103, GL_RG32F, GL_RG, GL_FLOAT, 8),
    pixel(103, GL_LUMINANCE_ALPHA32F_ARB, GL_LUMINANCE_ALPHA, GL_FLOAT, 8),
    pixel(106, GL_RGB32F_ARB, GL_RGB, GL_FLOAT, 12),
    pixel(109, GL_RGBA32F_ARB, GL_RGBA, GL_FLOAT, 16),

    // Depth, stencil.
    pixel(124, GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT, 2),
    pixel(126, GL_DEPTH_COMPONENT32F, GL_DEPTH_COMPONENT, GL_FLOAT, 4),
    pixel(127, kStencilIndex8, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, 1),
    pixel(127, GL_STENCIL_INDEX, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, 1),

    // BC1 to BC7.
    block4(131, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 8),
    block4(132, kSrgbDxt1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 8),
    block4(133, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 8),
    block4(134, kSrgbAlphaDxt1, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 8),
    block4(135, GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, 16),
    block4(136, kSrgbAlphaDxt3, GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, 16),
    block4(137, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 16),
    block4(138, kSrgbAlphaDxt5, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 16),
    block4(139, GL_COMPRESSED_RED_RGTC1_EXT, GL_COMPRESSED_RED_RGTC1_EXT, 8),
    block4(139, kLuminanceLatc1, GL_COMPRESSED_RED_RGTC1_EXT, 8),
    block4(140, GL_COMPRESSED_SIGNED_RED_RGTC1_EXT, GL_COMPRESSED_SIGNED_RED_RGTC1_EXT, 8),
    block4(140, kSignedLuminanceLatc1, GL_COMPRESSED_SIGNED_RED_RGTC1_EXT, 8),
    block4(141, GL_COMPRESSED_RED_GREEN_RGTC2_EXT, GL_COMPRESSED_RED_GREEN_RGTC2_EXT, 16),
    block4(141, kLuminanceAlphaLatc2, GL_COMPRESSED_RED_GREEN_RGTC2_EXT, 16),
    block4(142, GL_COMPRESSED_SIGNED_RED_GREEN_RGTC2_EXT, GL_COMPRESSED_SIGNED_RED_GREEN_RGTC2_EXT, 16),
    block4(142, kSignedLuminanceAlphaLatc2, GL_COMPRESSED_SIGNED_RED_GREEN_RGTC2_EXT, 16),
    block4(143, kRgbBptcUnsignedFloat, GL_COMPRESSED_RGBA8_ETC2_EAC, 16),
    block4(144, kRgbBptcSignedFloat, GL_COMPRESSED_RGBA8_ETC2_EAC, 16),
    block4(145, kRgbaBptcUnorm, GL_COMPRESSED_RGBA8_ETC2_EAC, 16),
    block4(146, kSrgbAlphaBptcUnorm, GL_COMPRESSED_RGBA8_ETC2_EAC, 16),

    // ETC2 and EAC. ETC1 is a part of ETC2.
    block4(147, GL_COMPRESSED_RGB8_ETC2, GL_COMPRESSED_RGB8_ETC2, 8),
    {147, GL_ETC1_RGB8_OES, {GL_COMPRESSED_RGB8_ETC2, GL_COMPRESSED_RGB8_ETC2, GL_UNSIGNED_BYTE}, {4, 4, 8, 1}},
    block4(148, GL_COMPRESSED_SRGB8_ETC2, GL_COMPRESSED_SRGB8_ETC2, 8),
    block4(149, GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, 8),
    block4(150, GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2, GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2, 8),
    block4(151, GL_COMPRESSED_RGBA8_ETC2_EAC, GL_COMPRESSED_RGBA8_ETC2_EAC, 16),
    block4(152, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, 16),
    block4(153, GL_COMPRESSED_R11_EAC, GL_COMPRESSED_R11_EAC, 8),
    block4(154, GL_COMPRESSED_SIGNED_R11_EAC, GL_COMPRESSED_SIGNED_R11_EAC, 8),
    block4(155, GL_COMPRESSED_RG11_EAC, GL_COMPRESSED_RG11_EAC, 16),
    block4(156, GL_COMPRESSED_SIGNED_RG11_EAC, GL_COMPRESSED_SIGNED_RG11_EAC, 16),

    // ASTC.
    astc(157, GL_COMPRESSED_RGBA_ASTC_4x4_KHR, 4, 4),
    astc(158, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR, 4, 4),
    astc(159, GL_COMPRESSED_RGBA_ASTC_5x4_KHR, 5, 4),
    astc(160, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_5x4_KHR, 5, 4),
    astc(161, GL_COMPRESSED_RGBA_ASTC_5x5_KHR, 5, 5),
    astc(162, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_5x5_KHR, 5, 5),
    astc(163, GL_COMPRESSED_RGBA_ASTC_6x5_KHR, 6, 5),
    astc(164, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x5_KHR, 6, 5),
    astc(165, GL_COMPRESSED_RGBA_ASTC_6x6_KHR, 6, 6),
    astc(166, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x6_KHR, 6, 6),
    astc(167, GL_COMPRESSED_RGBA_ASTC_8x5_KHR, 8, 5),
    astc(168, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x5_KHR, 8, 5),
    astc(169, GL_COMPRESSED_RGBA_ASTC_8x6_KHR, 8, 6),
    astc(170, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x6_KHR, 8, 6),
    astc(171, GL_COMPRESSED_RGBA_ASTC_8x8_KHR, 8, 8),
    astc(172, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x8_KHR, 8, 8),
    astc(173, GL_COMPRESSED_RGBA_ASTC_10x5_KHR, 10, 5),
    astc(174, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x5_KHR, 10, 5),
    astc(175, GL_COMPRESSED_RGBA_ASTC_10x6_KHR, 10, 6),
    astc(176, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x6_KHR, 10, 6),
    astc(177, GL_COMPRESSED_RGBA_ASTC_10x8_KHR, 10, 8),
    astc(178, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x8_KHR, 10, 8),
    astc(179, GL_COMPRESSED_RGBA_ASTC_10x10_KHR, 10, 10),
    astc(180, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x10_KHR, 10, 10),
    astc(181, GL_COMPRESSED_RGBA_ASTC_12x10_KHR, 12, 10),
    astc(182, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x10_KHR, 12, 10),
    astc(183, GL_COMPRESSED_RGBA_ASTC_12x12_KHR, 12, 12),
    astc(184, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x12_KHR, 12, 12),

    // PVRTC, 2 and 4 bits a pixel; Vulkan does not tell opaque data apart.
    pvrtc(1000054000, GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG, GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG, 8),
    pvrtc(1000054000, GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG, GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG, 8),
    pvrtc(1000054001, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG, 4),
    pvrtc(1000054001, GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG, GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG, 4),
    pvrtc(1000054004, kSrgbAlphaPvrtc2, GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG, 8),
    pvrtc(1000054004, kSrgbPvrtc2, GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG, 8),
    pvrtc(1000054005, kSrgbAlphaPvrtc4, GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG, 4),
    pvrtc(1000054005, kSrgbPvrtc4, GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG, 4),
};

template <typename Predicate>
const Row* firstRow(Predicate isWanted)
{
    const Row* found = std::find_if(std::begin(kRows), std::end(kRows), isWanted);
    return found == std::end(kRows) ? nullptr : found;
}

const Row* firstRowOfInternal(GLint internalFormat)
{
    return firstRow([=](const Row& row) { return row.internalFormat == internalFormat; });
}

const Row* firstRowOfVk(std::uint32_t vkFormat)
{
    return firstRow([=](const Row& row) { return row.vkFormat == vkFormat; });
}

bool hasPixels(const Row& row, GLenum pixelFormat, GLenum dataType)
{
    if (row.image.dataType != dataType) return false;
    if (row.image.pixelFormat == pixelFormat) return true;
    // Two-channel integers are carried under their sized name.
    return pixelFormat == GL_RG_INTEGER && osg::Image::computePixelFormat(row.image.pixelFormat) == GL_RG_INTEGER;
}

/** An internal format that leaves the size of its channels to the data. */
bool isUnsized(GLint internalFormat)
{
    static constexpr GLint kUnsized[] = {1,
                                         2,
                                         3,
                                         4,
                                         GL_RED,
                                         GL_RG,
                                         GL_RGB,
                                         GL_RGBA,
                                         GL_BGR,
                                         GL_BGRA,
                                         GL_ALPHA,
                                         GL_LUMINANCE,
                                         GL_LUMINANCE_ALPHA,
                                         GL_INTENSITY,
                                         GL_DEPTH_COMPONENT,
                                         GL_STENCIL_INDEX};
    return std::find(std::begin(kUnsized), std::end(kUnsized), internalFormat) != std::end(kUnsized);
}

/** The row that stores data of this order and type as it is. */
const Row* rowOfPixels(GLint internalFormat, GLenum pixelFormat, GLenum dataType)
{
    const Row* exact = firstRow(
        [=](const Row& row) { return row.internalFormat == internalFormat && hasPixels(row, pixelFormat, dataType); });
    if (exact) return exact;
    if (isUnsized(internalFormat))
        return firstRow([=](const Row& row) { return hasPixels(row, pixelFormat, dataType); });
    // Another name of the same format, whose channels may come in another order.
    const std::uint32_t vkFormat = vkFormatOf(internalFormat);
    return firstRow([=](const Row& row)
                    { return hasPixels(row, pixelFormat, dataType) && vkFormatOf(row.internalFormat) == vkFormat; });
}

} // namespace

std::uint32_t vkFormatOf(GLint internalFormat)
{
    const Row* row = firstRowOfInternal(internalFormat);
    return row ? row->vkFormat : 0;
}

std::uint32_t vkFormatOf(const KtxImageFormat& format)
{
    const Row* row = rowOfPixels(format.internalFormat, format.pixelFormat, format.dataType);
    return row ? row->vkFormat : 0;
}

std::optional<KtxImageFormat> imageFormatOfVk(std::uint32_t vkFormat)
{
    const Row* row = firstRowOfVk(vkFormat);
    return row ? std::optional(row->image) : std::nullopt;
}

std::optional<KtxImageFormat> imageFormatOfGl(GLint glInternalFormat, GLenum glFormat, GLenum glType)
{
    const Row* row = firstRowOfInternal(glInternalFormat);
    const bool isCompressed = row && osg::Image::computeBlockSize(row->image.pixelFormat, 0) > 0;
    if (isCompressed != (glFormat == 0 && glType == 0)) return std::nullopt;
    if (!isCompressed) row = rowOfPixels(glInternalFormat, glFormat, glType);
    return row ? std::optional(row->image) : std::nullopt;
}

std::optional<KtxBlock> blockOfVk(std::uint32_t vkFormat)
{
    const Row* row = firstRowOfVk(vkFormat);
    return row ? std::optional(row->block) : std::nullopt;
}

} // namespace mvgeo
