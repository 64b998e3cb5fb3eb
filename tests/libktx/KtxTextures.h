#pragma once

#include "readerwriterktx/VkFormats.h"

#include <ktx.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mvgeo
{
struct Ktx2Destroy
{
    void operator()(ktxTexture2* texture) const { ktxTexture_Destroy(ktxTexture(texture)); }
};
using Ktx2Ptr = std::unique_ptr<ktxTexture2, Ktx2Destroy>;

/** What a texture is like; 0 layers: not an array. */
struct KtxShape
{
    std::uint32_t width = 8;
    std::uint32_t height = 8;
    std::uint32_t depth = 1;
    std::uint32_t levels = 1;
    std::uint32_t layers = 0;
    std::uint32_t faces = 1;
};
std::ostream& operator<<(std::ostream& out, const KtxShape& shape);

/** 2-D, cube map, array, cube-map array and 3-D, each with and without levels. */
std::vector<KtxShape> ktxShapes();

ktxTextureCreateInfo ktxCreateInfo(std::uint32_t vkFormat, const KtxShape& shape);

/** With storage for its images; fails the test and is null if it cannot be made. */
Ktx2Ptr makeKtx2(std::uint32_t vkFormat, const KtxShape& shape);

/** The same, every image filled with bytes that differ from image to image. */
Ktx2Ptr makeFilledKtx2(std::uint32_t vkFormat, const KtxShape& shape);

/** The same with smooth pictures that blue and alpha tell apart; for eight-bit formats. */
Ktx2Ptr makePictureKtx2(std::uint32_t vkFormat, const KtxShape& shape);

using KtxBytes = std::vector<std::uint8_t>;
KtxBytes imageOf(ktxTexture* texture, std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice);
/** All of them: level by level, layer by layer, face by face or slice by slice. */
std::vector<KtxBytes> imagesOf(ktxTexture* texture);

/** Empty if writing failed, which fails the test. */
KtxBytes written(ktxTexture* texture);
Ktx2Ptr readKtx2(const KtxBytes& bytes);

/** What ktx2Violation() says about the bytes. */
std::string faultOf(const KtxBytes& bytes);
} // namespace mvgeo
