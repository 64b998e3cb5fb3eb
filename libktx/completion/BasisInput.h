#pragma once

#include <ktx.h>

#include <array>

#include <encoder/basisu_comp.h>

namespace mvgeo
{
/** What a compressed texture's channels are. */
enum class BasisChannels
{
    Red,      ///< one channel, in all three colours
    RedGreen, ///< two channels: the first in all three colours, the second in alpha
    Colour    ///< colour, with alpha if an image has any
};

/** Where each of the four channels comes from: 0 to 3 of the source, or kZero, kOne. */
struct BasisSwizzle
{
    static constexpr int kZero = 4;
    static constexpr int kOne = 5;

    std::array<int, 4> from = {0, 1, 2, 3};
    BasisChannels channels = BasisChannels::Colour;
};

/** What is to be encoded, checked. KTX_INVALID_OPERATION for what Basis Universal cannot encode, KTX_INVALID_VALUE for
 * a swizzle that is none. */
ktx_error_code_e chooseBasisSwizzle(const ktxTexture2& texture, const ktxBasisParams& params, BasisSwizzle& swizzle);

/** All images, level by level, in each level layer by layer, in each layer face by face or slice by slice. */
basisu::vector<basisu::image> basisImages(ktxTexture2& texture, const BasisSwizzle& swizzle);
} // namespace mvgeo
