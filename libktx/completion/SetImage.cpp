// ktxTexture1_SetImage* and ktxTexture2_SetImage*: pixels into a texture that was created with storage.

#include "Guarded.h"

#include <ktxint.h>

#include <texture1.h> // needs the one before it
#include <texture2.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace mvgeo
{
namespace
{
/** One image, or all faces or slices of one layer. */
struct Target
{
    ktx_size_t offset;
    ktx_size_t size;
};

ktx_error_code_e findTarget(ktxTexture& texture, ktx_uint32_t level, ktx_uint32_t layer, ktx_uint32_t faceSlice,
                            Target& target)
{
    if (!texture.pData) return KTX_INVALID_OPERATION;
    const bool whole = faceSlice == KTX_FACESLICE_WHOLE_LEVEL;
    const ktx_error_code_e result =
        ktxTexture_GetImageOffset(&texture, level, layer, whole ? 0 : faceSlice, &target.offset);
    if (result != KTX_SUCCESS) return result;

    target.size = ktxTexture_GetImageSize(&texture, level);
    if (whole) target.size *= texture.isCubemap ? texture.numFaces : std::max(1U, texture.baseDepth >> level);
    return KTX_SUCCESS;
}

ktx_error_code_e setImage2(ktxTexture2& texture, ktx_uint32_t level, ktx_uint32_t layer, ktx_uint32_t faceSlice,
                           const ktx_uint8_t* pixels, ktx_size_t size)
{
    Target target = {};
    const ktx_error_code_e result = findTarget(*ktxTexture(&texture), level, layer, faceSlice, target);
    if (result != KTX_SUCCESS) return result;
    if (size != target.size) return KTX_INVALID_OPERATION;
    std::memcpy(texture.pData + target.offset, pixels, size);
    return KTX_SUCCESS;
}

/** Rows come packed and are kept padded to four bytes. */
ktx_error_code_e setImage1(ktxTexture1& texture, ktx_uint32_t level, ktx_uint32_t layer, ktx_uint32_t faceSlice,
                           const ktx_uint8_t* pixels, ktx_size_t size)
{
    Target target = {};
    const ktx_error_code_e result = findTarget(*ktxTexture(&texture), level, layer, faceSlice, target);
    if (result != KTX_SUCCESS) return result;

    ktx_uint32_t rowsOfImage = 1;
    ktx_uint32_t paddedRow = 0;
    ktx_uint32_t padding = 0;
    if (!texture.isCompressed) ktxTexture_rowInfo(ktxTexture(&texture), level, &rowsOfImage, &paddedRow, &padding);
    if (padding == 0)
    {
        if (size != target.size) return KTX_INVALID_OPERATION;
        std::memcpy(texture.pData + target.offset, pixels, size);
        return KTX_SUCCESS;
    }

    const ktx_size_t rows = target.size / paddedRow;
    const ktx_size_t packedRow = paddedRow - padding;
    if (size != rows * packedRow) return KTX_INVALID_OPERATION;
    for (ktx_size_t row = 0; row < rows; ++row)
    {
        ktx_uint8_t* const begin = texture.pData + target.offset + row * paddedRow;
        std::memcpy(begin, pixels + row * packedRow, packedRow);
        std::memset(begin + packedRow, 0, padding);
    }
    return KTX_SUCCESS;
}

ktx_error_code_e readPixels(FILE* file, std::vector<ktx_uint8_t>& pixels)
{
    if (std::fread(pixels.data(), 1, pixels.size(), file) == pixels.size()) return KTX_SUCCESS;
    return std::feof(file) ? KTX_FILE_UNEXPECTED_EOF : KTX_FILE_READ_ERROR;
}

/** Reads as much as belongs there; a wrong size is refused before anything is read. */
template <typename Texture, typename SetImage>
ktx_error_code_e setFromFile(Texture& texture, ktx_uint32_t level, ktx_uint32_t layer, ktx_uint32_t faceSlice,
                             FILE* file, ktx_size_t size, SetImage&& setImage)
{
    Target target = {};
    ktx_error_code_e result = findTarget(*ktxTexture(&texture), level, layer, faceSlice, target);
    if (result != KTX_SUCCESS) return result;
    if (size > target.size) return KTX_INVALID_OPERATION;

    std::vector<ktx_uint8_t> pixels(size);
    result = readPixels(file, pixels);
    return result == KTX_SUCCESS ? setImage(texture, level, layer, faceSlice, pixels.data(), size) : result;
}
} // namespace
} // namespace mvgeo

extern "C"
{
    KTX_error_code ktxTexture1_SetImageFromMemory(ktxTexture1* This, ktx_uint32_t level, ktx_uint32_t layer,
                                                  ktx_uint32_t faceSlice, const ktx_uint8_t* src, ktx_size_t srcSize)
    {
        if (!This || !src) return KTX_INVALID_VALUE;
        return mvgeo::setImage1(*This, level, layer, faceSlice, src, srcSize);
    }

    KTX_error_code ktxTexture2_SetImageFromMemory(ktxTexture2* This, ktx_uint32_t level, ktx_uint32_t layer,
                                                  ktx_uint32_t faceSlice, const ktx_uint8_t* src, ktx_size_t srcSize)
    {
        if (!This || !src) return KTX_INVALID_VALUE;
        return mvgeo::setImage2(*This, level, layer, faceSlice, src, srcSize);
    }

    KTX_error_code ktxTexture1_SetImageFromStdioStream(ktxTexture1* This, ktx_uint32_t level, ktx_uint32_t layer,
                                                       ktx_uint32_t faceSlice, FILE* src, ktx_size_t srcSize)
    {
        if (!This || !src) return KTX_INVALID_VALUE;
        return mvgeo::guarded(
            [&] { return mvgeo::setFromFile(*This, level, layer, faceSlice, src, srcSize, mvgeo::setImage1); });
    }

    KTX_error_code ktxTexture2_SetImageFromStdioStream(ktxTexture2* This, ktx_uint32_t level, ktx_uint32_t layer,
                                                       ktx_uint32_t faceSlice, FILE* src, ktx_size_t srcSize)
    {
        if (!This || !src) return KTX_INVALID_VALUE;
        return mvgeo::guarded(
            [&] { return mvgeo::setFromFile(*This, level, layer, faceSlice, src, srcSize, mvgeo::setImage2); });
    }
}
