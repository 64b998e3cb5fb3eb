#pragma once

#include <osg/Image>

#include <cstdint>
#include <optional>
#include <string>

namespace mvgeo
{

/** What an osg::Image calls its pixels.
 *
 * The pixel format is always one that OSG knows, so that its size functions hold. Where it has no name for the internal
 * format, it is another one with blocks of the same size: the linear variant of an sRGB block format, ETC2 with alpha
 * for BC6H and BC7, the sized name for two-channel integers. So the internal format alone tells what the bytes mean. */
struct KtxImageFormat
{
    GLint internalFormat;
    GLenum pixelFormat;
    GLenum dataType;
};

/** The smallest piece of an image that is stored on its own: a block of pixels, or one pixel. A level has at least
 * `leastCount` blocks in each direction. */
struct KtxBlock
{
    unsigned int width;
    unsigned int height;
    unsigned int bytes;
    unsigned int leastCount;
};

/** vk::kUndefined, which is 0, without an entry. Unsized formats mean 8 bits a channel. */
std::uint32_t vkFormatOf(GLint internalFormat);

/** The same, taking the order and type of the channels as well: GL_RGBA with GL_BGRA data is B8G8R8A8, GL_RGBA with
 * floats R32G32B32A32. vk::kUndefined if no format of the table stores such data as it is. */
std::uint32_t vkFormatOf(const KtxImageFormat& format);

/** Nothing if no image can carry it. */
std::optional<KtxImageFormat> imageFormatOfVk(std::uint32_t vkFormat);

/** What the header of a KTX 1 file names, as osg::Image carries it; format and type are 0 for compressed data. Nothing
 * if no image can carry it. ETC1 becomes ETC2, of which it is a part: OSG takes its blocks for twice their size. */
std::optional<KtxImageFormat> imageFormatOfGl(GLint glInternalFormat, GLenum glFormat, GLenum glType);

/** How red and green, which Vulkan has, stand for luminance, intensity or alpha, which OpenGL's older formats have: as
 * a file's key "KTXswizzle" says it. Empty for all others. */
std::string swizzleOf(const KtxImageFormat& format);

/** The format of that kind whose data has this one's form: GL_RG with "rrrg" is GL_LUMINANCE_ALPHA. Nothing for another
 * swizzle. */
std::optional<KtxImageFormat> formatOfSwizzle(const KtxImageFormat& format, const std::string& swizzle);

/** Nothing for a format that the table lacks. */
std::optional<KtxBlock> blockOfVk(std::uint32_t vkFormat);

/** Whether it is one of Vulkan's formats for depth, stencil or both, in the table or not. */
bool isDepthOrStencil(std::uint32_t vkFormat);

} // namespace mvgeo
