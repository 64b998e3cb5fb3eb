#pragma once

#include "readerwriterktx/KtxFormats.h"

#include <cstdint>
#include <string>

namespace mvgeo
{

/** The largest image that is read, with all its levels, layers and faces: 16384 x 16384 pixels of 4 bytes, the largest
 * texture of common graphics hardware, with its mipmaps (4/3 GiB), and a little more. Still below 2 GiB, where OSG's
 * sizes end. Basis data counts as what it becomes: 4 bytes a pixel. */
constexpr std::uint64_t kLargestImage = 3ULL << 29;

/** The longest side and the most layers; also twice and four times what common graphics hardware takes. libktx counts
 * blocks with floats, which are exact up to here and far beyond. */
constexpr std::uint32_t kLongestSide = 65536;
constexpr std::uint32_t kMostLayers = 8192;

/** How large a header says that its texture is. As in the file: 0 for a direction, or for layers, that it does not
 * have, and 0 levels for one whose others are to be made from it. */
struct KtxExtent
{
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t depth;
    std::uint32_t layers;
    std::uint32_t faces;
    std::uint32_t levels;

    [[nodiscard]] std::uint32_t levelCount() const { return levels == 0 ? 1 : levels; }
    [[nodiscard]] std::uint32_t layerCount() const { return layers == 0 ? 1 : layers; }
    [[nodiscard]] std::uint32_t widthOf(std::uint32_t level) const { return side(width, level); }
    [[nodiscard]] std::uint32_t heightOf(std::uint32_t level) const { return side(height, level); }
    [[nodiscard]] std::uint32_t depthOf(std::uint32_t level) const { return side(depth, level); }

private:
    static std::uint32_t side(std::uint32_t base, std::uint32_t level)
    {
        const std::uint32_t pixels = base >> level;
        return pixels == 0 ? 1 : pixels;
    }
};

/** Empty if there can be such a texture. Then no level index is above 16. */
[[nodiscard]] std::string extentFault(const KtxExtent& extent);

/** One slice of one level, in bytes; a row of pixels is filled up to a multiple of `rowAlignment`. */
[[nodiscard]] std::uint64_t sliceSize(const KtxExtent& extent, std::uint32_t level, const KtxBlock& block,
                                      std::uint32_t rowAlignment);

/** All layers, faces and slices of one level, in bytes. */
[[nodiscard]] std::uint64_t levelSize(const KtxExtent& extent, std::uint32_t level, const KtxBlock& block,
                                      std::uint32_t rowAlignment);

/** Empty unless the levels together are larger than kLargestImage. */
[[nodiscard]] std::string imageSizeFault(const KtxExtent& extent, const KtxBlock& block);

} // namespace mvgeo
