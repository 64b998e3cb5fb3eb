#include "readerwriterktx/guard/KtxExtent.h"

#include <algorithm>

namespace mvgeo
{

namespace
{

std::string dimensionsFault(const KtxExtent& extent)
{
    if (extent.width == 0) return "the texture has no width";
    if (extent.depth > 0 && extent.height == 0) return "the texture has depth and no height";
    if (extent.depth > 0 && extent.layers > 0) return "the texture is an array of 3-D images";
    const std::uint32_t longest = std::max({extent.width, extent.height, extent.depth});
    if (longest > kLongestSide) return "a side of " + std::to_string(longest) + " pixels is too long";
    if (extent.layers > kMostLayers) return std::to_string(extent.layers) + " layers are too many";
    return {};
}

std::string facesFault(const KtxExtent& extent)
{
    if (extent.faces == 1) return {};
    if (extent.faces != 6) return "a texture has 1 or 6 faces, not " + std::to_string(extent.faces);
    if (extent.depth > 0 || extent.width != extent.height) return "the faces of a cube are squares";
    return {};
}

std::string levelsFault(const KtxExtent& extent)
{
    const std::uint32_t longest = std::max({extent.width, extent.height, extent.depth});
    const std::uint32_t levels = extent.levelCount();
    if (levels <= 32 && (longest >> (levels - 1)) > 0) return {};
    return std::to_string(levels) + " levels are more than " + std::to_string(longest) + " pixels can have";
}

} // namespace

std::string extentFault(const KtxExtent& extent)
{
    for (const auto partFault : {dimensionsFault, facesFault, levelsFault})
        if (std::string fault = partFault(extent); !fault.empty()) return fault;
    return {};
}

std::uint64_t sliceSize(const KtxExtent& extent, std::uint32_t level, const KtxBlock& block, std::uint32_t rowAlignment)
{
    const auto count = [&block](std::uint64_t pixels, std::uint64_t blockSide)
    { return std::max<std::uint64_t>((pixels + blockSide - 1) / blockSide, block.leastCount); };
    std::uint64_t row = count(extent.widthOf(level), block.width) * block.bytes;
    row = (row + rowAlignment - 1) / rowAlignment * rowAlignment;
    return row * count(extent.heightOf(level), block.height);
}

std::uint64_t levelSize(const KtxExtent& extent, std::uint32_t level, const KtxBlock& block, std::uint32_t rowAlignment)
{
    // Below 2^63: two sides of 2^16, at most 2^14 bytes each, and 2^13 layers of 6 faces or 2^16 slices.
    return sliceSize(extent, level, block, rowAlignment) * extent.depthOf(level) * extent.layerCount() * extent.faces;
}

std::string imageSizeFault(const KtxExtent& extent, const KtxBlock& block)
{
    std::uint64_t size = 0;
    for (std::uint32_t level = 0; level < extent.levelCount(); ++level)
        size += levelSize(extent, level, block, 1);
    if (size <= kLargestImage) return {};
    return "the image would have " + std::to_string(size) + " bytes, more than " + std::to_string(kLargestImage);
}

} // namespace mvgeo
