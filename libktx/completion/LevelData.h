#pragma once

#include "FileContent.h"

namespace mvgeo
{
/** The image data of a texture's levels after compressing, largest level first. */
struct LevelData
{
    std::vector<Bytes> levels;
    std::vector<std::uint64_t> uncompressedSizes;
    ktxSupercmpScheme scheme = KTX_SS_NONE;
    Bytes globalData;
    /** Where a level may begin. */
    std::size_t alignment = 1;
};

/** Puts the data in place of the texture's own. The texture is left alone unless all went well. */
ktx_error_code_e replaceLevels(ktxTexture2& texture, const LevelData& data);
} // namespace mvgeo
