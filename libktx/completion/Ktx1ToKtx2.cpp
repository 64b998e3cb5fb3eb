#include "Ktx1ToKtx2.h"

#include "Metadata.h"

#include <gl_format.h>
#include <ktxint.h>

#include <texture1.h> // needs the one before it
#include <texture2.h>
#include <vk_format.h>
#include <vkformat_enum.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace mvgeo
{
namespace
{
ktxTextureCreateInfo createInfoOf(const ktxTexture1& texture)
{
    ktxTextureCreateInfo info = {};
    info.vkFormat = vkGetFormatFromOpenGLInternalFormat(texture.glInternalformat);
    if (info.vkFormat == VK_FORMAT_UNDEFINED)
    {
        info.vkFormat = vkGetFormatFromOpenGLFormat(texture.glFormat, texture.glType);
    }
    info.baseWidth = texture.baseWidth;
    info.baseHeight = texture.baseHeight;
    info.baseDepth = texture.baseDepth;
    info.numDimensions = texture.numDimensions;
    info.numLevels = texture.numLevels;
    info.numLayers = texture.numLayers;
    info.numFaces = texture.numFaces;
    info.isArray = texture.isArray;
    info.generateMipmaps = texture.generateMipmaps;
    return info;
}

/** KTX 1 pads rows to four bytes, KTX 2 does not. */
void copyImage(ktxTexture1& from, ktxTexture2& to, ktx_uint32_t level, ktx_uint32_t layer, ktx_uint32_t faceSlice)
{
    ktx_size_t source = 0;
    ktx_size_t target = 0;
    ktxTexture_GetImageOffset(ktxTexture(&from), level, layer, faceSlice, &source);
    ktxTexture_GetImageOffset(ktxTexture(&to), level, layer, faceSlice, &target);
    const ktx_size_t sourceSize = ktxTexture_GetImageSize(ktxTexture(&from), level);
    const ktx_size_t targetSize = ktxTexture_GetImageSize(ktxTexture(&to), level);
    const ktx_size_t rows = from.isCompressed ? 1 : std::max(1U, from.baseHeight >> level);
    for (ktx_size_t row = 0; row < rows; ++row)
    {
        std::memcpy(to.pData + target + row * (targetSize / rows), from.pData + source + row * (sourceSize / rows),
                    targetSize / rows);
    }
}

void copyImages(ktxTexture1& from, ktxTexture2& to)
{
    for (ktx_uint32_t level = 0; level < from.numLevels; ++level)
    {
        const ktx_uint32_t images = from.isCubemap ? from.numFaces : std::max(1U, from.baseDepth >> level);
        for (ktx_uint32_t layer = 0; layer < from.numLayers; ++layer)
        {
            for (ktx_uint32_t faceSlice = 0; faceSlice < images; ++faceSlice)
            {
                copyImage(from, to, level, layer, faceSlice);
            }
        }
    }
}

/** "S=r,T=d" becomes "rd". */
std::string shortOrientation(const std::string& orientation)
{
    std::string letters;
    for (std::size_t at = 0; at + 1 < orientation.size(); ++at)
    {
        if (orientation[at] == '=') letters += orientation[at + 1];
    }
    return letters;
}

void copyPairs(const ktxTexture1& from, ktxTexture2& to)
{
    if (!from.kvDataHead) return;
    ktxHashList_Destruct(&to.kvDataHead);
    ktxHashList_ConstructCopy(&to.kvDataHead, from.kvDataHead);
    unsigned int size = 0;
    void* value = nullptr;
    if (ktxHashList_FindValue(&to.kvDataHead, KTX_ORIENTATION_KEY, &size, &value) != KTX_SUCCESS) return;

    const std::string letters = shortOrientation(std::string(static_cast<const char*>(value), size));
    removePair(to.kvDataHead, KTX_ORIENTATION_KEY);
    if (letters.size() != to.numDimensions) return;
    ktxHashList_AddKVPair(&to.kvDataHead, KTX_ORIENTATION_KEY, static_cast<unsigned int>(letters.size() + 1),
                          letters.c_str());
}
} // namespace

ktx_error_code_e convertToKtx2(ktxTexture1& texture, Ktx2TexturePtr& converted)
{
    ktx_error_code_e result = loadImageData(*ktxTexture(&texture));
    if (result != KTX_SUCCESS) return result;
    const ktxTextureCreateInfo info = createInfoOf(texture);
    if (info.vkFormat == VK_FORMAT_UNDEFINED) return KTX_UNSUPPORTED_TEXTURE_TYPE;

    ktxTexture2* created = nullptr;
    result = ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &created);
    if (result != KTX_SUCCESS) return result;
    converted.reset(created);
    copyImages(texture, *converted);
    copyPairs(texture, *converted);
    return KTX_SUCCESS;
}
} // namespace mvgeo
