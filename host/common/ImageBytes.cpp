#include "common/ImageBytes.h"

#include <osg/Texture>

#include <GL/glext.h>

#include <algorithm>

namespace mvgeo::host
{

namespace
{

int sideAt(int side, unsigned int level)
{
    constexpr unsigned int kLevelsOfAnInt = 31;
    return level < kLevelsOfAnInt ? std::max(side >> level, 1) : 1;
}

/** Blocks of 8 bytes, at least `leastCount` of them in each direction. */
std::size_t bytesOfBlocks(int width, int height, int blockWidth, int leastCount)
{
    constexpr int kBlockHeight = 4;
    constexpr std::size_t kBlockBytes = 8;
    const auto columns = static_cast<std::size_t>(std::max((width + blockWidth - 1) / blockWidth, leastCount));
    const auto rows = static_cast<std::size_t>(std::max((height + kBlockHeight - 1) / kBlockHeight, leastCount));
    return columns * rows * kBlockBytes;
}

/** OSG knows BC1 to BC3 with sRGB as internal formats only; there are readers that name the pixels so too. */
GLenum knownFormat(GLenum pixelFormat)
{
    constexpr GLenum kCount = 4;
    const GLenum kind = pixelFormat - GL_COMPRESSED_SRGB_S3TC_DXT1_EXT;
    return kind < kCount ? GL_COMPRESSED_RGB_S3TC_DXT1_EXT + kind : pixelFormat;
}

} // namespace

std::size_t sliceBytes(const osg::Image& image, unsigned int level)
{
    if (image.s() <= 0 || image.t() <= 0) return 0;
    const int width = sideAt(image.s(), level);
    const int height = sideAt(image.t(), level);
    const GLenum format = knownFormat(image.getPixelFormat());
    switch (format) // those whose blocks OSG takes for twice their size
    {
    case GL_COMPRESSED_RGB_PVRTC_2BPPV1_IMG:
    case GL_COMPRESSED_RGBA_PVRTC_2BPPV1_IMG:
        return bytesOfBlocks(width, height, 8, 2);
    case GL_COMPRESSED_RGB_PVRTC_4BPPV1_IMG:
    case GL_COMPRESSED_RGBA_PVRTC_4BPPV1_IMG:
        return bytesOfBlocks(width, height, 4, 2);
    case GL_ETC1_RGB8_OES:
        return bytesOfBlocks(width, height, 4, 1);
    default:
        break;
    }
    const GLenum type = image.getDataType();
    if (osg::Image::computeBlockSize(format, 0) > 0)
        return osg::Image::computeImageSizeInBytes(width, height, 1, format, type);
    const int packing = std::max(static_cast<int>(image.getPacking()), 1);
    return std::size_t{osg::Image::computeRowWidthInBytes(width, format, type, packing)} *
           static_cast<std::size_t>(height);
}

std::size_t levelBytes(const osg::Image& image, unsigned int level)
{
    return image.r() <= 0 ? 0 : sliceBytes(image, level) * static_cast<std::size_t>(sideAt(image.r(), level));
}

std::size_t imageBytes(const osg::Image& image)
{
    std::size_t end = 0;
    for (unsigned int level = 0; level < image.getNumMipmapLevels(); ++level)
        end = std::max(end, image.getMipmapOffset(level) + levelBytes(image, level));
    return end;
}

} // namespace mvgeo::host
