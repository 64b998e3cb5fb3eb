// ktxTexture2_SetImageFromMemory: pixels into a texture that was created with storage.

#include <ktx.h>

#include <cstring>

extern "C" KTX_error_code ktxTexture2_SetImageFromMemory(ktxTexture2* This, ktx_uint32_t level, ktx_uint32_t layer,
                                                         ktx_uint32_t faceSlice, const ktx_uint8_t* src,
                                                         ktx_size_t srcSize)
{
    if (!This || !src) return KTX_INVALID_VALUE;
    if (!This->pData) return KTX_INVALID_OPERATION;
    ktx_size_t offset = 0;
    const KTX_error_code result = ktxTexture2_GetImageOffset(This, level, layer, faceSlice, &offset);
    if (result != KTX_SUCCESS) return result;
    if (srcSize != ktxTexture_GetImageSize(ktxTexture(This), level)) return KTX_INVALID_OPERATION;
    std::memcpy(This->pData + offset, src, srcSize);
    return KTX_SUCCESS;
}
