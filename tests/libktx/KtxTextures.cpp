#include "KtxTextures.h"

#include "Ktx2Validation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>

namespace mvgeo
{
namespace
{
std::uint32_t imagesPerLayer(const ktxTexture& texture, std::uint32_t level)
{
    return texture.isCubemap ? texture.numFaces : std::max(1U, texture.baseDepth >> level);
}

/** Calls visit(level, layer, faceSlice) for each image. */
template <typename Visit>
void forEachImage(const ktxTexture& texture, Visit&& visit)
{
    for (std::uint32_t level = 0; level < texture.numLevels; ++level)
    {
        for (std::uint32_t layer = 0; layer < texture.numLayers; ++layer)
        {
            for (std::uint32_t faceSlice = 0; faceSlice < imagesPerLayer(texture, level); ++faceSlice)
            {
                visit(level, layer, faceSlice);
            }
        }
    }
}

void set(ktxTexture2* texture, std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice, const KtxBytes& bytes)
{
    ASSERT_EQ(ktxTexture_SetImageFromMemory(ktxTexture(texture), level, layer, faceSlice, bytes.data(), bytes.size()),
              KTX_SUCCESS);
}
} // namespace

std::ostream& operator<<(std::ostream& out, const KtxShape& shape)
{
    return out << shape.width << " x " << shape.height << " x " << shape.depth << ", " << shape.levels << " levels, "
               << shape.layers << " layers, " << shape.faces << " faces";
}

std::vector<KtxShape> ktxShapes()
{
    std::vector<KtxShape> shapes;
    // 2-D of an odd size, cube map, array, cube-map array, 3-D of an odd depth.
    for (const KtxShape& shape : {KtxShape{13, 9, 1, 1, 0, 1}, KtxShape{8, 8, 1, 1, 0, 6}, KtxShape{12, 8, 1, 1, 3, 1},
                                  KtxShape{8, 8, 1, 1, 2, 6}, KtxShape{8, 8, 5, 1, 0, 1}})
    {
        shapes.push_back(shape);
        shapes.push_back(shape);
        shapes.back().levels = 4; // all of them
    }
    return shapes;
}

ktxTextureCreateInfo ktxCreateInfo(std::uint32_t vkFormat, const KtxShape& shape)
{
    ktxTextureCreateInfo info = {};
    info.vkFormat = vkFormat;
    info.baseWidth = shape.width;
    info.baseHeight = shape.height;
    info.baseDepth = shape.depth;
    info.numDimensions = shape.depth > 1 ? 3 : 2;
    info.numLevels = shape.levels;
    info.numLayers = std::max(1U, shape.layers);
    info.numFaces = shape.faces;
    info.isArray = shape.layers > 0;
    return info;
}

Ktx2Ptr makeKtx2(std::uint32_t vkFormat, const KtxShape& shape)
{
    const ktxTextureCreateInfo info = ktxCreateInfo(vkFormat, shape);
    ktxTexture2* texture = nullptr;
    EXPECT_EQ(ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &texture), KTX_SUCCESS) << vkFormat;
    return Ktx2Ptr(texture);
}

Ktx2Ptr makeFilledKtx2(std::uint32_t vkFormat, const KtxShape& shape)
{
    Ktx2Ptr texture = makeKtx2(vkFormat, shape);
    if (!texture) return texture;
    std::uint8_t value = 1;
    forEachImage(*ktxTexture(texture.get()),
                 [&](std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice)
                 {
                     KtxBytes bytes(ktxTexture_GetImageSize(ktxTexture(texture.get()), level));
                     for (std::uint8_t& byte : bytes)
                     {
                         byte = value = static_cast<std::uint8_t>(value * 5 + 3);
                     }
                     set(texture.get(), level, layer, faceSlice, bytes);
                 });
    return texture;
}

Ktx2Ptr makePictureKtx2(std::uint32_t vkFormat, const KtxShape& shape)
{
    Ktx2Ptr texture = makeKtx2(vkFormat, shape);
    if (!texture) return texture;
    const std::size_t channels = ktxTexture_GetElementSize(ktxTexture(texture.get()));
    std::size_t image = 0;
    forEachImage(*ktxTexture(texture.get()),
                 [&](std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice)
                 {
                     const std::size_t width = std::max(1U, shape.width >> level);
                     const std::size_t height = std::max(1U, shape.height >> level);
                     KtxBytes bytes;
                     for (std::size_t texel = 0; texel < width * height; ++texel)
                     {
                         const std::size_t grey = 100 + 30 * (texel % width) / width + 30 * (texel / width) / height;
                         const std::size_t values[] = {grey, grey, 37 * image % 256, 255 - 29 * image % 256};
                         for (std::size_t channel = 0; channel < channels; ++channel)
                         {
                             bytes.push_back(static_cast<std::uint8_t>(values[channel]));
                         }
                     }
                     set(texture.get(), level, layer, faceSlice, bytes);
                     ++image;
                 });
    return texture;
}

KtxBytes imageOf(ktxTexture* texture, std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice)
{
    ktx_size_t offset = 0;
    EXPECT_EQ(ktxTexture_GetImageOffset(texture, level, layer, faceSlice, &offset), KTX_SUCCESS);
    const std::uint8_t* const begin = ktxTexture_GetData(texture) + offset;
    return KtxBytes(begin, begin + ktxTexture_GetImageSize(texture, level));
}

std::vector<KtxBytes> imagesOf(ktxTexture* texture)
{
    std::vector<KtxBytes> images;
    forEachImage(*texture, [&](std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice)
                 { images.push_back(imageOf(texture, level, layer, faceSlice)); });
    return images;
}

KtxBytes written(ktxTexture* texture)
{
    ktx_uint8_t* bytes = nullptr;
    ktx_size_t size = 0;
    const ktx_error_code_e result = ktxTexture_WriteToMemory(texture, &bytes, &size);
    EXPECT_EQ(result, KTX_SUCCESS);
    if (result != KTX_SUCCESS) return {};
    const std::unique_ptr<ktx_uint8_t, decltype(&std::free)> owner(bytes, &std::free);
    return KtxBytes(bytes, bytes + size);
}

Ktx2Ptr readKtx2(const KtxBytes& bytes)
{
    ktxTexture2* texture = nullptr;
    EXPECT_EQ(
        ktxTexture2_CreateFromMemory(bytes.data(), bytes.size(), KTX_TEXTURE_CREATE_LOAD_IMAGE_DATA_BIT, &texture),
        KTX_SUCCESS);
    return Ktx2Ptr(texture);
}

std::string faultOf(const KtxBytes& bytes)
{
    return ktx2Violation(bytes.data(), bytes.size());
}
} // namespace mvgeo
