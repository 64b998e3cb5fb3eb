#include "BasisInput.h"

#include <dfdutils/dfd.h>

#include <algorithm>

namespace mvgeo
{
namespace
{
int channelsOfFormat(ktx_uint32_t vkFormat)
{
    switch (vkFormat)
    {
    case VK_FORMAT_R8_UNORM:
    case VK_FORMAT_R8_SRGB:
        return 1;
    case VK_FORMAT_R8G8_UNORM:
    case VK_FORMAT_R8G8_SRGB:
        return 2;
    case VK_FORMAT_R8G8B8_UNORM:
    case VK_FORMAT_R8G8B8_SRGB:
        return 3;
    case VK_FORMAT_R8G8B8A8_UNORM:
    case VK_FORMAT_R8G8B8A8_SRGB:
        return 4;
    default:
        return 0;
    }
}

basisu::image basisImage(const ktx_uint8_t* texels, int channels, ktx_uint32_t width, ktx_uint32_t height)
{
    // Where red, green, blue and alpha come from; 4 is full alpha.
    static constexpr std::size_t kSources[][4] = {{0, 0, 0, 4}, {0, 0, 0, 1}, {0, 1, 2, 4}, {0, 1, 2, 3}};
    basisu::image image(width, height);
    ktx_uint8_t values[5] = {0, 0, 0, 0, 255};
    basisu::color_rgba* const pixels = image.get_ptr();
    for (std::size_t at = 0; at < std::size_t(width) * height; ++at, texels += channels)
    {
        std::copy(texels, texels + channels, values);
        for (std::size_t channel = 0; channel < 4; ++channel)
            pixels[at].m_comps[channel] = values[kSources[channels - 1][channel]];
    }
    return image;
}

/** Faces or slices. */
ktx_uint32_t imagesPerLayer(const ktxTexture2& texture, ktx_uint32_t level)
{
    return texture.isCubemap ? texture.numFaces : std::max(1U, texture.baseDepth >> level);
}
} // namespace

int encodableChannels(const ktxTexture2& texture)
{
    // Blocks need two dimensions, and a level that is still to be made cannot be encoded.
    const bool isEncodable = texture.pData && texture.supercompressionScheme == KTX_SS_NONE &&
                             texture.numDimensions > 1 && !texture.generateMipmaps;
    return isEncodable ? channelsOfFormat(texture.vkFormat) : 0;
}

basisu::vector<basisu::image> basisImages(ktxTexture2& texture, int channels)
{
    basisu::vector<basisu::image> images;
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        const ktx_uint32_t width = std::max(1U, texture.baseWidth >> level);
        const ktx_uint32_t height = std::max(1U, texture.baseHeight >> level);
        for (ktx_uint32_t layer = 0; layer < texture.numLayers; ++layer)
            for (ktx_uint32_t faceSlice = 0; faceSlice < imagesPerLayer(texture, level); ++faceSlice)
            {
                ktx_size_t offset = 0;
                ktxTexture2_GetImageOffset(&texture, level, layer, faceSlice, &offset);
                images.push_back(basisImage(texture.pData + offset, channels, width, height));
            }
    }
    return images;
}

std::vector<std::size_t> imagesPerLevel(const ktxTexture2& texture)
{
    std::vector<std::size_t> counts;
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
        counts.push_back(std::size_t(texture.numLayers) * imagesPerLayer(texture, level));
    return counts;
}
} // namespace mvgeo
