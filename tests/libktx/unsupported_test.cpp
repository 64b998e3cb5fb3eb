#include "KtxTextures.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace mvgeo;

// What our completion of libktx leaves out: whoever calls it is told, and nothing happens.

TEST(KtxUnsupported, WritingToFilesIsRefused)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8G8B8A8Unorm, {});
    ktxTexture* base = ktxTexture(texture.get());
    const std::string path = testing::TempDir() + "mvgeo_ktx_unsupported.ktx2";
    std::remove(path.c_str());
    EXPECT_EQ(ktxTexture_WriteToNamedFile(base, path.c_str()), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(std::fopen(path.c_str(), "rb"), nullptr) << "and there is no file";

    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(ktxTexture_WriteToStdioStream(base, file), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(std::ftell(file), 0);
    std::fclose(file);

    ktxStream stream{};
    EXPECT_EQ(ktxTexture_WriteToStream(base, &stream), KTX_UNSUPPORTED_FEATURE);
}

TEST(KtxUnsupported, AnImageFromAFileIsRefused)
{
    const Ktx2Ptr texture = makeFilledKtx2(vk::kR8G8B8A8Unorm, {2, 2});
    const auto before = imagesOf(ktxTexture(texture.get()));
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fwrite("0123456789ABCDEF", 1, 16, file), 16U);
    std::rewind(file);
    EXPECT_EQ(ktxTexture_SetImageFromStdioStream(ktxTexture(texture.get()), 0, 0, 0, file, 16),
              KTX_UNSUPPORTED_FEATURE);
    std::fclose(file);
    EXPECT_EQ(imagesOf(ktxTexture(texture.get())), before);
}

// Settings that would change the result are not passed over.
TEST(KtxUnsupported, SettingsOfTheEncoderThatNobodyHereSetsAreRefused)
{
    const auto resultOf = [](auto change)
    {
        const Ktx2Ptr texture = makePictureKtx2(vk::kR8G8B8A8Unorm, {});
        ktxBasisParams params = {};
        params.structSize = sizeof(params);
        params.threadCount = 1;
        params.compressionLevel = 1;
        params.qualityLevel = 128;
        change(params);
        const ktx_error_code_e result = ktxTexture2_CompressBasisEx(texture.get(), &params);
        EXPECT_EQ(texture->vkFormat == 0, result == KTX_SUCCESS); // and a refusal leaves the texture as it was
        return result;
    };
    EXPECT_EQ(resultOf([](ktxBasisParams&) {}), KTX_SUCCESS);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.inputSwizzle[0] = 'b'; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.preSwizzle = KTX_TRUE; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.normalMap = KTX_TRUE; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.maxEndpoints = 100; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.maxSelectors = 100; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.endpointRDOThreshold = 1.0F; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.selectorRDOThreshold = 1.0F; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.noEndpointRDO = KTX_TRUE; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.noSelectorRDO = KTX_TRUE; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.uastcRDO = KTX_TRUE; }), KTX_UNSUPPORTED_FEATURE);
    EXPECT_EQ(resultOf([](ktxBasisParams& p) { p.uastcFlags = KTX_PACK_UASTC_LEVEL_SLOWER; }), KTX_UNSUPPORTED_FEATURE);
}
