#pragma once

#include "Bytes.h"

#include <ktx.h>

#include <cstddef>

namespace mvgeo
{
/** The image data of a texture's levels after encoding, largest level first. */
struct LevelData
{
    std::vector<Bytes> levels;
    std::vector<std::uint64_t> uncompressedSizes;
    ktxSupercmpScheme scheme = KTX_SS_NONE;
    Bytes globalData;
    /** Where a level may begin. */
    std::size_t alignment = 1;
};

/** Puts the data and its format descriptor in place of the texture's own. The texture is left alone if there is no
 * memory, which throws std::bad_alloc. */
void replaceLevels(ktxTexture2& texture, const LevelData& data, const std::vector<ktx_uint32_t>& dfd);
} // namespace mvgeo
