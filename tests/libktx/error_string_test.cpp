#include <ktx.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(KtxErrorString, IsAnotherForEachError)
{
    std::set<std::string> texts;
    for (int code = KTX_SUCCESS; code <= KTX_ERROR_MAX_ENUM; ++code)
    {
        texts.insert(ktxErrorString(static_cast<ktx_error_code_e>(code)));
    }
    EXPECT_EQ(texts.size(), KTX_ERROR_MAX_ENUM + 1U);
    EXPECT_EQ(texts.count(""), 0U);
}
