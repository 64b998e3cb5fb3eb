#include "BareKtx.h"

#include <ktx.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace mvgeo::bench
{

namespace
{

constexpr ktx_uint32_t kRgb8 = 23;      // VK_FORMAT_R8G8B8_UNORM
constexpr ktx_uint32_t kBc1 = 131;      // VK_FORMAT_BC1_RGB_UNORM_BLOCK
constexpr ktx_uint32_t kBc1Srgb = 132;  // VK_FORMAT_BC1_RGB_SRGB_BLOCK
constexpr ktx_uint32_t kBc1Alpha = 133; // VK_FORMAT_BC1_RGBA_UNORM_BLOCK
constexpr ktx_uint32_t kBc1AlphaSrgb = 134;

void check(KTX_error_code result)
{
    if (result != KTX_SUCCESS) throw std::runtime_error("libktx: error " + std::to_string(result));
}

/** Destroyed with the scope. */
struct Texture
{
    ktxTexture2* handle = nullptr;

    Texture() = default;
    ~Texture()
    {
        if (handle) ktxTexture_Destroy(ktxTexture(handle));
    }
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;
};

void turnRows(unsigned char* to, const unsigned char* from, std::size_t rowBytes, std::size_t rows)
{
    for (std::size_t row = 0; row < rows; ++row)
        std::memcpy(to + (rows - 1 - row) * rowBytes, from + row * rowBytes, rowBytes);
}

/** A byte of colour indices for each row, behind the two colours. */
std::uint64_t turnedColours(std::uint64_t block)
{
    const auto indices = static_cast<std::uint32_t>(block >> 32U);
    const std::uint32_t turned =
        indices << 24U | (indices & 0xFF00U) << 8U | (indices >> 8U & 0xFF00U) | indices >> 24U;
    return (block & 0xFFFFFFFFU) | std::uint64_t{turned} << 32U;
}

/** Twelve bits of alpha indices for each row, behind the two alphas. */
std::uint64_t turnedAlphas(std::uint64_t block)
{
    std::uint64_t turned = block & 0xFFFFU;
    for (unsigned row = 0; row < 4; ++row)
        turned |= (block >> (16 + 12 * row) & 0xFFFU) << (16 + 12 * (3 - row));
    return turned;
}

void turnBlocks(unsigned char* to, const unsigned char* from, std::size_t blocksPerRow, std::size_t rows, bool hasAlpha)
{
    const std::size_t words = blocksPerRow * (hasAlpha ? 2 : 1);
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t i = 0; i < words; ++i)
        {
            std::uint64_t block = 0;
            std::memcpy(&block, from + (row * words + i) * sizeof block, sizeof block);
            block = hasAlpha && i % 2 == 0 ? turnedAlphas(block) : turnedColours(block);
            std::memcpy(to + ((rows - 1 - row) * words + i) * sizeof block, &block, sizeof block);
        }
}

bool isBc1(ktx_uint32_t format)
{
    return format == kBc1 || format == kBc1Srgb || format == kBc1Alpha || format == kBc1AlphaSrgb;
}

ktxBasisParams paramsOf(const KtxEncoding& encoding)
{
    ktxBasisParams params{};
    params.structSize = sizeof params;
    params.uastc = encoding.uastc ? KTX_TRUE : KTX_FALSE;
    params.threadCount = static_cast<ktx_uint32_t>(encoding.threads);
    params.compressionLevel = static_cast<ktx_uint32_t>(encoding.level);
    params.qualityLevel = static_cast<ktx_uint32_t>(encoding.quality);
    return params;
}

/** A texture of one level with storage for its pixels. */
void create(Texture& texture, const osg::Image& picture)
{
    ktxTextureCreateInfo info{};
    info.vkFormat = kRgb8;
    info.baseWidth = static_cast<ktx_uint32_t>(picture.s());
    info.baseHeight = static_cast<ktx_uint32_t>(picture.t());
    info.baseDepth = info.numLevels = info.numLayers = info.numFaces = 1;
    info.numDimensions = 2;
    check(ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &texture.handle));
}

void setPixels(Texture& texture, const osg::Image& picture, bool isTopFirst)
{
    const std::size_t rowBytes = picture.getRowSizeInBytes();
    const auto rows = static_cast<std::size_t>(picture.t());
    std::unique_ptr<unsigned char[]> turned;
    if (isTopFirst)
    {
        turned.reset(new unsigned char[rowBytes * rows]);
        turnRows(turned.get(), picture.data(), rowBytes, rows);
    }
    check(ktxTexture_SetImageFromMemory(ktxTexture(texture.handle), 0, 0, 0, turned ? turned.get() : picture.data(),
                                        rowBytes * rows));
}

} // namespace

PixelBuffer readBare(const std::string& file, bool toBlocks)
{
    Texture texture;
    check(ktxTexture2_CreateFromMemory(reinterpret_cast<const ktx_uint8_t*>(file.data()), file.size(),
                                       KTX_TEXTURE_CREATE_LOAD_IMAGE_DATA_BIT, &texture.handle));
    check(ktxTexture2_TranscodeBasis(texture.handle, toBlocks ? KTX_TTF_BC1_OR_3 : KTX_TTF_RGBA32, 0));
    const auto width = std::size_t{texture.handle->baseWidth};
    const auto height = std::size_t{texture.handle->baseHeight};
    const unsigned char* from = ktxTexture_GetData(ktxTexture(texture.handle));

    PixelBuffer buffer;
    buffer.size = texture.handle->dataSize;
    buffer.bytes.reset(new unsigned char[buffer.size]); // not filled with zeros first
    if (toBlocks)
        turnBlocks(buffer.bytes.get(), from, width / 4, height / 4, !isBc1(texture.handle->vkFormat));
    else
        turnRows(buffer.bytes.get(), from, 4 * width, height);
    return buffer;
}

std::string writeBare(const osg::Image& picture, const KtxEncoding& encoding)
{
    Texture texture;
    create(texture, picture);
    setPixels(texture, picture, encoding.isTopFirst);
    const std::string orientation(encoding.isTopFirst ? "rd" : "ru");
    check(ktxHashList_AddKVPair(&texture.handle->kvDataHead, KTX_ORIENTATION_KEY,
                                static_cast<unsigned>(orientation.size() + 1), orientation.c_str()));
    ktxBasisParams params = paramsOf(encoding);
    check(ktxTexture2_CompressBasisEx(texture.handle, &params));

    ktx_uint8_t* bytes = nullptr;
    ktx_size_t size = 0;
    check(ktxTexture_WriteToMemory(ktxTexture(texture.handle), &bytes, &size));
    std::string file(reinterpret_cast<const char*>(bytes), size);
    std::free(bytes);
    return file;
}

} // namespace mvgeo::bench
