#include "BasisInput.h"

#include <dfdutils/dfd.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace mvgeo
{
namespace
{
/** Bytes in a texel of the formats that can be encoded, 0 for all others. */
int channelCount(ktx_uint32_t vkFormat)
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

std::string metadataSwizzle(const ktxTexture2& texture)
{
    ktxHashList pairs = texture.kvDataHead;
    unsigned int size = 0;
    void* value = nullptr;
    if (!pairs || ktxHashList_FindValue(&pairs, KTX_SWIZZLE_KEY, &size, &value) != KTX_SUCCESS) return {};
    return std::string(static_cast<const char*>(value), std::min(size, 4U));
}

std::string letters(const ktxTexture2& texture, const ktxBasisParams& params)
{
    if (params.inputSwizzle[0] != 0) return std::string(params.inputSwizzle, 4);
    const std::string ofTexture = params.preSwizzle ? metadataSwizzle(texture) : std::string();
    if (!ofTexture.empty()) return ofTexture;
    static constexpr std::string_view byChannelCount[] = {"", "rrr1", "rrrg", "rgb1", "rgba"};
    return std::string(byChannelCount[channelCount(texture.vkFormat)]);
}

bool canBeEncoded(const ktxTexture2& texture)
{
    // Blocks need two dimensions, and a level that is still to be made cannot be compressed.
    return texture.supercompressionScheme == KTX_SS_NONE && channelCount(texture.vkFormat) != 0 &&
           texture.numDimensions > 1 && !texture.generateMipmaps;
}

bool isSrgb(const ktxTexture2& texture)
{
    return KHR_DFDVAL(texture.pDfd + 1, TRANSFER) == KHR_DF_TRANSFER_SRGB;
}

BasisChannels channelsOf(const std::string& letters)
{
    if (letters == "rrr1") return BasisChannels::Red;
    return letters == "rrrg" ? BasisChannels::RedGreen : BasisChannels::Colour;
}

/** A channel that the source does not have reads as a texture unit reads it: no colour, full alpha. */
int sourceOf(char letter, int channels)
{
    const std::size_t index = std::string_view("rgba01").find(letter);
    if (index >= 4 || static_cast<int>(index) < channels) return static_cast<int>(index);
    return index == 3 ? BasisSwizzle::kOne : BasisSwizzle::kZero;
}

basisu::image basisImage(const ktx_uint8_t* texels, int channels, ktx_uint32_t width, ktx_uint32_t height,
                         const BasisSwizzle& swizzle)
{
    basisu::image image(width, height);
    ktx_uint8_t values[6] = {0, 0, 0, 0, 0, 255};
    basisu::color_rgba* const pixels = image.get_ptr();
    for (std::size_t at = 0; at < std::size_t(width) * height; ++at, texels += channels)
    {
        std::copy(texels, texels + channels, values);
        for (std::size_t channel = 0; channel < 4; ++channel)
        {
            pixels[at].m_comps[channel] = values[swizzle.from[channel]];
        }
    }
    return image;
}
} // namespace

ktx_error_code_e chooseBasisSwizzle(const ktxTexture2& texture, const ktxBasisParams& params, BasisSwizzle& swizzle)
{
    if (!canBeEncoded(texture)) return KTX_INVALID_OPERATION;
    const int channels = channelCount(texture.vkFormat);
    if (params.normalMap && (isSrgb(texture) || channels == 1)) return KTX_INVALID_OPERATION;
    if (params.inputSwizzle[0] != 0 && params.preSwizzle) return KTX_INVALID_OPERATION;

    const std::string chosen = letters(texture, params);
    if (chosen.size() != 4 || chosen.find_first_not_of("rgba01") != std::string::npos) return KTX_INVALID_VALUE;
    for (std::size_t channel = 0; channel < 4; ++channel)
    {
        swizzle.from[channel] = sourceOf(chosen[channel], channels);
    }
    swizzle.channels = channelsOf(chosen);
    return KTX_SUCCESS;
}

basisu::vector<basisu::image> basisImages(ktxTexture2& texture, const BasisSwizzle& swizzle)
{
    const int channels = channelCount(texture.vkFormat);
    basisu::vector<basisu::image> images;
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        const ktx_uint32_t width = std::max(1U, texture.baseWidth >> level);
        const ktx_uint32_t height = std::max(1U, texture.baseHeight >> level);
        const ktx_uint32_t perLayer = texture.isCubemap ? texture.numFaces : std::max(1U, texture.baseDepth >> level);
        for (ktx_uint32_t layer = 0; layer < texture.numLayers; ++layer)
        {
            for (ktx_uint32_t faceSlice = 0; faceSlice < perLayer; ++faceSlice)
            {
                ktx_size_t offset = 0;
                ktxTexture2_GetImageOffset(&texture, level, layer, faceSlice, &offset);
                images.push_back(basisImage(texture.pData + offset, channels, width, height, swizzle));
            }
        }
    }
    return images;
}
} // namespace mvgeo
