#include "KtxTextures.h"

#include <gtest/gtest.h>

using namespace mvgeo;

class DeflateShapes : public testing::TestWithParam<KtxShape>
{
};

TEST_P(DeflateShapes, ZstdMakesAValidFileThatReadsBackTheSame)
{
    for (const std::uint32_t format : {kRgb8, kRgba16Float, kBc7})
    {
        SCOPED_TRACE(testing::Message() << "VkFormat " << format << ", " << GetParam());
        const Ktx2Ptr texture = makeFilledKtx2(format, GetParam());
        const auto images = imagesOf(ktxTexture(texture.get()));
        ASSERT_EQ(ktxTexture2_DeflateZstd(texture.get(), 5), KTX_SUCCESS);
        EXPECT_EQ(texture->supercompressionScheme, KTX_SS_ZSTD);

        const KtxBytes bytes = written(ktxTexture(texture.get()));
        ASSERT_EQ(faultOf(bytes), "");
        EXPECT_EQ(imagesOf(ktxTexture(readKtx2(bytes).get())), images);
    }
}

TEST_P(DeflateShapes, ZlibMakesAValidFileThatReadsBackTheSame)
{
    const Ktx2Ptr texture = makeFilledKtx2(kRgba8, GetParam());
    const auto images = imagesOf(ktxTexture(texture.get()));
    ASSERT_EQ(ktxTexture2_DeflateZLIB(texture.get(), 6), KTX_SUCCESS);
    const KtxBytes bytes = written(ktxTexture(texture.get()));
    ASSERT_EQ(faultOf(bytes), "");
    EXPECT_EQ(imagesOf(ktxTexture(readKtx2(bytes).get())), images);
}

INSTANTIATE_TEST_SUITE_P(Ktx, DeflateShapes, testing::ValuesIn(ktxShapes()));

TEST(Deflate, MakesAPlainImageSmaller)
{
    const Ktx2Ptr texture = makeKtx2(kR8, {64, 64, 1, 1, 0, 1});
    const KtxBytes grey(64 * 64, 128);
    ASSERT_EQ(ktxTexture_SetImageFromMemory(ktxTexture(texture.get()), 0, 0, 0, grey.data(), grey.size()), KTX_SUCCESS);
    ASSERT_EQ(ktxTexture2_DeflateZstd(texture.get(), 3), KTX_SUCCESS);
    EXPECT_LT(written(ktxTexture(texture.get())).size(), 400U);
}

TEST(Deflate, IsDoneOnceOnly)
{
    const Ktx2Ptr texture = makeFilledKtx2(kR8, {});
    ASSERT_EQ(ktxTexture2_DeflateZstd(texture.get(), 3), KTX_SUCCESS);
    EXPECT_EQ(ktxTexture2_DeflateZstd(texture.get(), 3), KTX_INVALID_OPERATION);
}
