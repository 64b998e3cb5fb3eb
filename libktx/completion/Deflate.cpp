// ktxTexture2_DeflateZstd and ktxTexture2_DeflateZLIB.

#include "Guarded.h"
#include "LevelData.h"
#include "Metadata.h"

#include <ktxint.h>

#include <texture2.h> // needs the one before it
#include <zstd.h>

namespace mvgeo
{
namespace
{
ktx_error_code_e deflateZstd(const ktx_uint8_t* bytes, std::size_t size, ktx_uint32_t level, Bytes& deflated)
{
    deflated.resize(ZSTD_compressBound(size));
    const std::size_t written = ZSTD_compress(deflated.data(), deflated.size(), bytes, size, static_cast<int>(level));
    if (ZSTD_isError(written)) return KTX_OUT_OF_MEMORY; // with room enough there is no other error
    deflated.resize(written);
    return KTX_SUCCESS;
}

ktx_error_code_e deflateZlib(const ktx_uint8_t* bytes, std::size_t size, ktx_uint32_t level, Bytes& deflated)
{
    ktx_size_t written = ktxCompressZLIBBounds(size);
    deflated.resize(written);
    const ktx_error_code_e result = ktxCompressZLIBInt(deflated.data(), &written, bytes, size, level);
    deflated.resize(written);
    return result;
}

template <typename DeflateLevel>
ktx_error_code_e deflate(ktxTexture2& texture, ktxSupercmpScheme scheme, DeflateLevel&& deflateLevel)
{
    if (texture.supercompressionScheme != KTX_SS_NONE) return KTX_INVALID_OPERATION;
    ktx_error_code_e result = loadImageData(*ktxTexture(&texture));
    if (result != KTX_SUCCESS) return result;

    LevelData data;
    data.scheme = scheme;
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        const std::size_t size = texture._private->_levelIndex[level].byteLength;
        Bytes deflated;
        result = deflateLevel(texture.pData + ktxTexture2_levelDataOffset(&texture, level), size, deflated);
        if (result != KTX_SUCCESS) return result;
        data.levels.push_back(std::move(deflated));
        data.uncompressedSizes.push_back(size);
    }
    return replaceLevels(texture, data);
}
} // namespace
} // namespace mvgeo

extern "C"
{
    KTX_error_code ktxTexture2_DeflateZstd(ktxTexture2* This, ktx_uint32_t compressionLevel)
    {
        if (!This || compressionLevel < 1 || compressionLevel > 22) return KTX_INVALID_VALUE;
        return mvgeo::guarded(
            [&]
            {
                return mvgeo::deflate(*This, KTX_SS_ZSTD,
                                      [=](const ktx_uint8_t* bytes, std::size_t size, auto& deflated)
                                      { return mvgeo::deflateZstd(bytes, size, compressionLevel, deflated); });
            });
    }

    KTX_error_code ktxTexture2_DeflateZLIB(ktxTexture2* This, ktx_uint32_t compressionLevel)
    {
        if (!This || compressionLevel < 1 || compressionLevel > 9) return KTX_INVALID_VALUE;
        return mvgeo::guarded(
            [&]
            {
                return mvgeo::deflate(*This, KTX_SS_ZLIB,
                                      [=](const ktx_uint8_t* bytes, std::size_t size, auto& deflated)
                                      { return mvgeo::deflateZlib(bytes, size, compressionLevel, deflated); });
            });
    }
}
