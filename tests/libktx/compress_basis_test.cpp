#include "KtxTextures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace mvgeo;

namespace
{
ktxBasisParams basisParams(bool uastc)
{
    ktxBasisParams params = {};
    params.structSize = sizeof(params);
    params.uastc = uastc;
    params.threadCount = 2;
    params.compressionLevel = 1;
    params.qualityLevel = 200;
    return params;
}

ktx_error_code_e compress(const Ktx2Ptr& texture, ktxBasisParams params)
{
    return ktxTexture2_CompressBasisEx(texture.get(), &params);
}

/** Decibels between the bytes of two pictures. */
double psnr(const KtxBytes& a, const KtxBytes& b)
{
    EXPECT_EQ(a.size(), b.size());
    double squares = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        squares += (double(a[i]) - b[i]) * (double(a[i]) - b[i]);
    }
    return squares == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / squares);
}

/** Four channels each, after a trip through a file; the file must be valid. */
std::vector<KtxBytes> decoded(const Ktx2Ptr& texture)
{
    const KtxBytes bytes = written(ktxTexture(texture.get()));
    EXPECT_EQ(faultOf(bytes), "");
    const Ktx2Ptr back = readKtx2(bytes);
    if (!back) return {};
    EXPECT_TRUE(ktxTexture2_NeedsTranscoding(back.get()));
    EXPECT_EQ(ktxTexture2_TranscodeBasis(back.get(), KTX_TTF_RGBA32, 0), KTX_SUCCESS);
    return imagesOf(ktxTexture(back.get()));
}

class CompressBasisShapes : public testing::TestWithParam<std::tuple<KtxShape, bool>>
{
};
} // namespace

TEST_P(CompressBasisShapes, MakesAValidFileWithEachPictureInItsPlace)
{
    const auto& [shape, uastc] = GetParam();
    const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8A8Unorm, shape);
    const std::vector<KtxBytes> pictures = imagesOf(ktxTexture(texture.get()));
    ASSERT_EQ(compress(texture, basisParams(uastc)), KTX_SUCCESS);
    EXPECT_EQ(texture->vkFormat, 0U);
    EXPECT_EQ(texture->supercompressionScheme, uastc ? KTX_SS_NONE : KTX_SS_BASIS_LZ);

    const std::vector<KtxBytes> back = decoded(texture);
    ASSERT_EQ(back.size(), pictures.size());
    for (std::size_t i = 0; i < back.size(); ++i)
    {
        // Blue and alpha tell the pictures apart: the next one in its place would be at 20.5 dB.
        EXPECT_GT(psnr(back[i], pictures[i]), uastc ? 40.0 : 28.0) << "picture " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Ktx, CompressBasisShapes, testing::Combine(testing::ValuesIn(ktxShapes()), testing::Bool()));

TEST(CompressBasis, TakesOneToFourChannelsInBothTransferFunctions)
{
    for (const std::uint32_t format : {vk::kR8Unorm, vk::kR8Srgb, vk::kR8G8Unorm, vk::kR8G8Srgb, vk::kR8G8B8Unorm,
                                       vk::kR8G8B8Srgb, vk::kR8G8B8A8Unorm, vk::kR8G8B8A8Srgb})
    {
        for (const bool uastc : {false, true})
        {
            SCOPED_TRACE(testing::Message() << "VkFormat " << format << (uastc ? ", UASTC" : ", ETC1S"));
            const Ktx2Ptr texture = makePictureKtx2(format, {16, 16, 1, 1, 0, 1});
            const khr_df_transfer_e transfer = ktxTexture2_GetTransferFunction_e(texture.get());
            ASSERT_EQ(compress(texture, basisParams(uastc)), KTX_SUCCESS);
            EXPECT_EQ(ktxTexture2_GetTransferFunction_e(texture.get()), transfer);
            EXPECT_EQ(decoded(texture).size(), 1U);
        }
    }
}

TEST(CompressBasis, KeepsTheMarkOfPremultipliedAlpha)
{
    for (const bool uastc : {false, true})
    {
        const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8A8Unorm, {});
        EXPECT_FALSE(ktxTexture2_GetPremultipliedAlpha(texture.get()));
        ktx_uint32_t* descriptor = texture->pDfd + 1;
        KHR_DFDSETVAL(descriptor, FLAGS, KHR_DF_FLAG_ALPHA_PREMULTIPLIED);
        ASSERT_EQ(compress(texture, basisParams(uastc)), KTX_SUCCESS);
        EXPECT_TRUE(ktxTexture2_GetPremultipliedAlpha(readKtx2(written(ktxTexture(texture.get()))).get())) << uastc;
    }
}

// The first channel goes into all three colours, the second into alpha.
TEST(CompressBasis, SpreadsTwoChannelsOverColourAndAlpha)
{
    const Ktx2Ptr texture = makeKtx2(vk::kR8G8Unorm, {8, 8, 1, 1, 0, 1});
    KtxBytes texels;
    for (int i = 0; i < 64; ++i)
        texels.insert(texels.end(), {200, 60});
    ASSERT_EQ(ktxTexture_SetImageFromMemory(ktxTexture(texture.get()), 0, 0, 0, texels.data(), texels.size()),
              KTX_SUCCESS);
    ASSERT_EQ(compress(texture, basisParams(true)), KTX_SUCCESS);
    const KtxBytes back = decoded(texture).at(0);
    EXPECT_NEAR(back[0], 200, 3);
    EXPECT_NEAR(back[1], 200, 3);
    EXPECT_NEAR(back[2], 200, 3);
    EXPECT_NEAR(back[3], 60, 3);
}

TEST(CompressBasis, QualityDecidesTheSize)
{
    std::minstd_rand random(1);
    KtxBytes noise(128 * 128 * 3);
    for (std::uint8_t& byte : noise)
    {
        byte = static_cast<std::uint8_t>(random() >> 8);
    }
    const auto sizeAt = [&](ktx_uint32_t quality)
    {
        const Ktx2Ptr texture = makeKtx2(vk::kR8G8B8Unorm, {128, 128, 1, 1, 0, 1});
        EXPECT_EQ(ktxTexture_SetImageFromMemory(ktxTexture(texture.get()), 0, 0, 0, noise.data(), noise.size()),
                  KTX_SUCCESS);
        ktxBasisParams params = basisParams(false);
        params.qualityLevel = quality;
        EXPECT_EQ(compress(texture, params), KTX_SUCCESS);
        return written(ktxTexture(texture.get())).size();
    };
    EXPECT_LT(sizeAt(1), sizeAt(255));
}

// 128 as a compression level is what a caller may hand on who mixes the two up.
TEST(CompressBasis, TakesACompressionLevelBeyondTheHighestAsTheHighest)
{
    const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8Unorm, {32, 32, 1, 1, 0, 1});
    ktxBasisParams params = basisParams(false);
    params.compressionLevel = 128;
    params.qualityLevel = 1;
    ASSERT_EQ(compress(texture, params), KTX_SUCCESS);
    EXPECT_EQ(decoded(texture).size(), 1U);
}

TEST(CompressBasis, CanBeTranscodedAtOnce)
{
    const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8Unorm, {16, 16, 1, 3, 0, 1});
    ASSERT_EQ(compress(texture, basisParams(false)), KTX_SUCCESS);
    ASSERT_EQ(ktxTexture2_TranscodeBasis(texture.get(), KTX_TTF_BC1_OR_3, 0), KTX_SUCCESS);
    EXPECT_EQ(texture->vkFormat, vk::kBc1RgbUnorm);
    EXPECT_EQ(faultOf(written(ktxTexture(texture.get()))), "");
}

TEST(CompressBasis, RefusesWhatIsNotEightBitsAChannel)
{
    for (const std::uint32_t format : {vk::kR5G6B5Unorm, vk::kR16Unorm, vk::kR16G16B16A16Sfloat,
                                       vk::kR32G32B32A32Sfloat, vk::kBc1RgbUnorm, vk::kBc7Unorm})
    {
        const Ktx2Ptr texture = makeFilledKtx2(format, {});
        const auto images = imagesOf(ktxTexture(texture.get()));
        EXPECT_EQ(compress(texture, basisParams(false)), KTX_INVALID_OPERATION) << format;
        EXPECT_EQ(imagesOf(ktxTexture(texture.get())), images) << format;
    }
}

TEST(CompressBasis, RefusesWhatIsCompressedAlready)
{
    const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8Unorm, {});
    ASSERT_EQ(compress(texture, basisParams(false)), KTX_SUCCESS);
    EXPECT_EQ(compress(texture, basisParams(false)), KTX_INVALID_OPERATION);
}

TEST(CompressBasis, RefusesAParameterBlockOfAnotherSize)
{
    const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8Unorm, {});
    ktxBasisParams params = basisParams(false);
    params.structSize = 1;
    EXPECT_EQ(compress(texture, params), KTX_INVALID_VALUE);
}

// The parameter block has kept its size since its last field was added.
TEST(CompressBasis, HasAParameterBlockOf76Bytes)
{
    EXPECT_EQ(sizeof(ktxBasisParams), 76U);
}
