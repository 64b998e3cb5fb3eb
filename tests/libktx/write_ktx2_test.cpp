#include "KtxTextures.h"

#include "Ktx2FormatFacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace mvgeo;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{
/** All of which the facts are known. */
std::vector<std::uint32_t> knownFormats()
{
    std::vector<std::uint32_t> formats;
    for (std::uint32_t format = 1; format <= 184; ++format)
    {
        if (ktx2FormatFacts(format) && !isProhibitedInKtx2(format)) formats.push_back(format);
    }
    for (const std::uint32_t base : {1000054000U, 1000340000U}) // PVRTC; the other orders of 4444
        for (std::uint32_t format = base; format < base + 8; ++format)
            if (ktx2FormatFacts(format)) formats.push_back(format);
    return formats;
}

std::string valueOf(const Ktx2Ptr& texture, const char* key)
{
    unsigned int size = 0;
    void* value = nullptr;
    if (ktxHashList_FindValue(&texture->kvDataHead, key, &size, &value) != KTX_SUCCESS) return {};
    return std::string(static_cast<const char*>(value), size);
}

void setValue(const Ktx2Ptr& texture, const char* key, const std::string& value)
{
    ASSERT_EQ(
        ktxHashList_AddKVPair(&texture->kvDataHead, key, static_cast<unsigned int>(value.size() + 1), value.c_str()),
        KTX_SUCCESS);
}

class WriteKtx2Shapes : public testing::TestWithParam<KtxShape>
{
};
} // namespace

TEST_P(WriteKtx2Shapes, EveryFormatMakesAValidFileThatReadsBackTheSame)
{
    for (const std::uint32_t format : knownFormats())
    {
        SCOPED_TRACE(testing::Message() << "VkFormat " << format << ", " << GetParam());
        if (GetParam().depth > 1 && ktx2FormatFacts(format)->isDepthOrStencil) continue; // there are none
        const Ktx2Ptr texture = makeFilledKtx2(format, GetParam());
        ASSERT_TRUE(texture);
        const KtxBytes bytes = written(ktxTexture(texture.get()));
        ASSERT_EQ(faultOf(bytes), "");

        const Ktx2Ptr back = readKtx2(bytes);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->vkFormat, format);
        EXPECT_EQ(back->baseWidth, GetParam().width);
        EXPECT_EQ(back->baseHeight, GetParam().height);
        EXPECT_EQ(back->baseDepth, GetParam().depth);
        EXPECT_EQ(back->numLevels, GetParam().levels);
        EXPECT_EQ(back->isArray, GetParam().layers > 0);
        EXPECT_EQ(back->numLayers, std::max(1U, GetParam().layers));
        EXPECT_EQ(back->numFaces, GetParam().faces);
        EXPECT_EQ(imagesOf(ktxTexture(back.get())), imagesOf(ktxTexture(texture.get())));
    }
}

INSTANTIATE_TEST_SUITE_P(Ktx, WriteKtx2Shapes, testing::ValuesIn(ktxShapes()));

TEST(WriteKtx2, AOneDimensionalTextureHasNoHeight)
{
    ktxTextureCreateInfo info = ktxCreateInfo(vk::kR8G8B8A8Unorm, {5, 1, 1, 3, 0, 1});
    info.numDimensions = 1;
    ktxTexture2* created = nullptr;
    ASSERT_EQ(ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &created), KTX_SUCCESS);
    const Ktx2Ptr texture(created);
    for (const std::uint32_t level : {0U, 1U, 2U})
    {
        const KtxBytes texels((5U >> level) * 4, 9);
        ASSERT_EQ(ktxTexture_SetImageFromMemory(ktxTexture(created), level, 0, 0, texels.data(), texels.size()),
                  KTX_SUCCESS);
    }
    EXPECT_EQ(faultOf(written(ktxTexture(created))), "");
    EXPECT_EQ(written(ktxTexture(created))[24], 0);
}

TEST(WriteKtx2, SaysThatTheReaderShallMakeTheLevels)
{
    ktxTextureCreateInfo info = ktxCreateInfo(vk::kR8G8B8A8Unorm, {4, 4, 1, 1, 0, 1});
    info.generateMipmaps = KTX_TRUE;
    ktxTexture2* created = nullptr;
    ASSERT_EQ(ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &created), KTX_SUCCESS);
    const Ktx2Ptr texture(created);
    const KtxBytes texels(4 * 4 * 4, 9);
    ASSERT_EQ(ktxTexture_SetImageFromMemory(ktxTexture(created), 0, 0, 0, texels.data(), texels.size()), KTX_SUCCESS);
    const KtxBytes bytes = written(ktxTexture(created));
    EXPECT_EQ(faultOf(bytes), "");
    EXPECT_TRUE(readKtx2(bytes)->generateMipmaps);
}

TEST(WriteKtx2, NamesWhoWroteTheFile)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8Unorm, {});
    EXPECT_THAT(valueOf(readKtx2(written(ktxTexture(texture.get()))), "KTXwriter"), HasSubstr(" / libktx v"));
}

TEST(WriteKtx2, KeepsTheNameOfTheApplicationThatFilledTheTexture)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8Unorm, {});
    setValue(texture, "KTXwriter", "painter 7");
    EXPECT_THAT(valueOf(readKtx2(written(ktxTexture(texture.get()))), "KTXwriter"), StartsWith("painter 7 / libktx v"));
}

// A texture that was read carries the whole name.
TEST(WriteKtx2, NamesTheLibraryOnceHoweverOftenAFileIsRewritten)
{
    Ktx2Ptr texture = makeFilledKtx2(vk::kR8Unorm, {});
    setValue(texture, "KTXwriter", "painter 7");
    const KtxBytes once = written(ktxTexture(texture.get()));
    const std::string name = valueOf(readKtx2(once), "KTXwriter");
    KtxBytes again = once;
    for (int round = 0; round < 3; ++round)
    {
        texture = readKtx2(again);
        again = written(ktxTexture(texture.get()));
        EXPECT_EQ(valueOf(readKtx2(again), "KTXwriter"), name);
    }
    EXPECT_EQ(again, once);
}

TEST(WriteKtx2, SortsTheKeysByCodePoint)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8Unorm, {});
    for (const char* key : {"b", "\xC3\xA4", "a", "Z", "KTXorientation"})
    {
        setValue(texture, key, "rd");
    }
    const KtxBytes bytes = written(ktxTexture(texture.get()));
    EXPECT_EQ(faultOf(bytes), "");
    EXPECT_EQ(valueOf(readKtx2(bytes), "\xC3\xA4"), std::string("rd\0", 3));
}

TEST(WriteKtx2, NeedsImages)
{
    const ktxTextureCreateInfo info = ktxCreateInfo(vk::kR8Unorm, {});
    ktxTexture2* created = nullptr;
    ASSERT_EQ(ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_NO_STORAGE, &created), KTX_SUCCESS);
    const Ktx2Ptr texture(created);
    ktx_uint8_t* bytes = nullptr;
    ktx_size_t size = 0;
    EXPECT_EQ(ktxTexture_WriteToMemory(ktxTexture(created), &bytes, &size), KTX_INVALID_OPERATION);
}
