#include <ktx.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(KtxStrings, EveryErrorHasATextOfItsOwn)
{
    std::set<std::string> texts;
    for (int code = KTX_SUCCESS; code <= KTX_ERROR_MAX_ENUM; ++code)
    {
        texts.insert(ktxErrorString(static_cast<ktx_error_code_e>(code)));
    }
    EXPECT_EQ(texts.size(), KTX_ERROR_MAX_ENUM + 1U);
    EXPECT_EQ(texts.count(""), 0U);
}

TEST(KtxStrings, NamesTheSupercompressionSchemes)
{
    EXPECT_STREQ(ktxSupercompressionSchemeString(KTX_SS_NONE), "KTX_SS_NONE");
    EXPECT_STREQ(ktxSupercompressionSchemeString(KTX_SS_BASIS_LZ), "KTX_SS_BASIS_LZ");
    EXPECT_STREQ(ktxSupercompressionSchemeString(KTX_SS_ZSTD), "KTX_SS_ZSTD");
}

TEST(KtxStrings, EveryTranscodeTargetHasANameOfItsOwn)
{
    std::set<std::string> names;
    for (const ktx_transcode_fmt_e target :
         {KTX_TTF_ETC1_RGB, KTX_TTF_ETC2_RGBA, KTX_TTF_BC1_RGB, KTX_TTF_BC3_RGBA, KTX_TTF_BC4_R, KTX_TTF_BC5_RG,
          KTX_TTF_BC7_RGBA, KTX_TTF_ASTC_4x4_RGBA, KTX_TTF_RGBA32, KTX_TTF_RGB565, KTX_TTF_ETC, KTX_TTF_BC1_OR_3})
    {
        names.insert(ktxTranscodeFormatString(target));
    }
    EXPECT_EQ(names.size(), 12U);
    EXPECT_STREQ(ktxTranscodeFormatString(KTX_TTF_BC7_RGBA), "BC7_RGBA");
}
