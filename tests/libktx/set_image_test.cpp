#include "KtxTextures.h"

#include <gtest/gtest.h>

using namespace mvgeo;

namespace
{
ktx_error_code_e setFrom(const Ktx2Ptr& texture, std::uint32_t level, std::uint32_t layer, std::uint32_t faceSlice,
                         const KtxBytes& bytes)
{
    return ktxTexture_SetImageFromMemory(ktxTexture(texture.get()), level, layer, faceSlice, bytes.data(),
                                         bytes.size());
}
} // namespace

TEST(KtxSetImage, PutsAnImageWhereItsPlaceIs)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8G8B8A8Unorm, {4, 4, 1, 3, 2, 6});
    const KtxBytes image(2 * 2 * 4, 77); // level 1
    ASSERT_EQ(setFrom(texture, 1, 1, 4, image), KTX_SUCCESS);
    EXPECT_EQ(imageOf(ktxTexture(texture.get()), 1, 1, 4), image);
    EXPECT_NE(imageOf(ktxTexture(texture.get()), 1, 1, 3), image);
    EXPECT_NE(imageOf(ktxTexture(texture.get()), 1, 1, 5), image);
    EXPECT_NE(imageOf(ktxTexture(texture.get()), 1, 0, 4), image);
}

TEST(KtxSetImage, RefusesPlacesThatAreNotThere)
{
    const Ktx2Ptr texture = makeKtx2(vk::kR8G8B8A8Unorm, {4, 4, 1, 2, 2, 6});
    const KtxBytes image(4 * 4 * 4);
    EXPECT_EQ(setFrom(texture, 2, 0, 0, image), KTX_INVALID_OPERATION);
    EXPECT_EQ(setFrom(texture, 0, 2, 0, image), KTX_INVALID_OPERATION);
    EXPECT_EQ(setFrom(texture, 0, 0, 6, image), KTX_INVALID_OPERATION);
}

TEST(KtxSetImage, RefusesSlicesThatALevelNoLongerHas)
{
    const Ktx2Ptr texture = makeKtx2(vk::kR8Unorm, {4, 4, 4, 2, 0, 1});
    EXPECT_EQ(setFrom(texture, 1, 0, 1, KtxBytes(4)), KTX_SUCCESS);
    EXPECT_EQ(setFrom(texture, 1, 0, 2, KtxBytes(4)), KTX_INVALID_OPERATION);
}

TEST(KtxSetImage, RefusesAWrongNumberOfBytes)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8G8B8Unorm, {3, 3, 1, 1, 0, 1});
    const auto before = imagesOf(ktxTexture(texture.get()));
    EXPECT_NE(setFrom(texture, 0, 0, 0, KtxBytes(26)), KTX_SUCCESS);
    EXPECT_NE(setFrom(texture, 0, 0, 0, KtxBytes(28)), KTX_SUCCESS);
    EXPECT_EQ(imagesOf(ktxTexture(texture.get())), before);
}

TEST(KtxSetImage, NeedsStorage)
{
    const ktxTextureCreateInfo info = ktxCreateInfo(vk::kR8Unorm, {2, 2, 1, 1, 0, 1});
    ktxTexture2* created = nullptr;
    ASSERT_EQ(ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_NO_STORAGE, &created), KTX_SUCCESS);
    const Ktx2Ptr texture(created);
    EXPECT_EQ(setFrom(texture, 0, 0, 0, KtxBytes(4)), KTX_INVALID_OPERATION);
}
