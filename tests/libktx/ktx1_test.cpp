#include "KtxTextures.h"

#include <gtest/gtest.h>

using namespace mvgeo;

namespace
{
constexpr std::uint32_t kGlRgb8 = 0x8051;
constexpr std::uint32_t kGlR8 = 0x8229;

Ktx1Ptr makeKtx1(std::uint32_t glInternalFormat, const KtxShape& shape)
{
    ktxTextureCreateInfo info = ktxCreateInfo(0, shape);
    info.glInternalformat = glInternalFormat;
    ktxTexture1* texture = nullptr;
    EXPECT_EQ(ktxTexture1_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &texture), KTX_SUCCESS);
    return Ktx1Ptr(texture);
}

ktx_error_code_e setFrom(const Ktx1Ptr& texture, std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice,
                         const KtxBytes& bytes)
{
    return ktxTexture_SetImageFromMemory(ktxTexture(texture.get()), level, layer, faceSlice, bytes.data(),
                                         bytes.size());
}

Ktx1Ptr readKtx1(const KtxBytes& bytes)
{
    ktxTexture1* texture = nullptr;
    EXPECT_EQ(
        ktxTexture1_CreateFromMemory(bytes.data(), bytes.size(), KTX_TEXTURE_CREATE_LOAD_IMAGE_DATA_BIT, &texture),
        KTX_SUCCESS);
    return Ktx1Ptr(texture);
}
} // namespace

// Rows of three texels are nine bytes, and KTX 1 pads them to twelve.
TEST(Ktx1, PadsItsRows)
{
    const Ktx1Ptr texture = makeKtx1(kGlRgb8, {3, 2, 1, 1, 0, 1});
    ASSERT_EQ(setFrom(texture, 0, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19}), KTX_SUCCESS);
    const KtxBytes padded = imageOf(ktxTexture(texture.get()), 0, 0, 0);
    ASSERT_EQ(padded.size(), 24U);
    EXPECT_EQ(KtxBytes(padded.begin(), padded.begin() + 9), (KtxBytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(KtxBytes(padded.begin() + 12, padded.begin() + 21), (KtxBytes{11, 12, 13, 14, 15, 16, 17, 18, 19}));
}

TEST(Ktx1, ReadsBackWhatItWrote)
{
    for (const KtxShape& shape : ktxShapes())
    {
        SCOPED_TRACE(testing::Message() << shape);
        const Ktx1Ptr texture = makeKtx1(kGlR8, shape);
        std::uint8_t value = 0;
        for (std::uint32_t level = 0; level < shape.levels; ++level)
        {
            const KtxBytes image(std::size_t(std::max(1U, shape.width >> level)) * std::max(1U, shape.height >> level),
                                 ++value);
            const std::uint32_t images = shape.faces > 1 ? shape.faces : std::max(1U, shape.depth >> level);
            for (std::uint32_t layer = 0; layer < std::max(1U, shape.layers); ++layer)
            {
                for (std::uint32_t i = 0; i < images; ++i)
                    ASSERT_EQ(setFrom(texture, level, layer, i, image), KTX_SUCCESS);
            }
        }
        const Ktx1Ptr back = readKtx1(written(ktxTexture(texture.get())));
        ASSERT_TRUE(back);
        EXPECT_EQ(back->glInternalformat, kGlR8);
        EXPECT_EQ(back->numLevels, shape.levels);
        EXPECT_EQ(back->numFaces, shape.faces);
        EXPECT_EQ(imagesOf(ktxTexture(back.get())), imagesOf(ktxTexture(texture.get())));
    }
}

TEST(Ktx1, BecomesAValidKtx2FileWithThePackedRows)
{
    const Ktx1Ptr texture = makeKtx1(kGlRgb8, {3, 2, 1, 1, 0, 1});
    const KtxBytes image = {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    ASSERT_EQ(setFrom(texture, 0, 0, 0, image), KTX_SUCCESS);
    ASSERT_EQ(ktxHashList_AddKVPair(&texture->kvDataHead, KTX_ORIENTATION_KEY, 8, "S=r,T=u"), KTX_SUCCESS);

    ktx_uint8_t* bytes = nullptr;
    ktx_size_t size = 0;
    ASSERT_EQ(ktxTexture1_WriteKTX2ToMemory(texture.get(), &bytes, &size), KTX_SUCCESS);
    const KtxBytes file(bytes, bytes + size);
    free(bytes);
    ASSERT_EQ(faultOf(file), "");
    const Ktx2Ptr back = readKtx2(file);
    EXPECT_EQ(back->vkFormat, kRgb8);
    EXPECT_EQ(back->orientation.y, KTX_ORIENT_Y_UP);
    EXPECT_EQ(imageOf(ktxTexture(back.get()), 0, 0, 0), image);
}
