// The validator must know good from bad before it judges others.

#include "Ktx2FormatFacts.h"
#include "Ktx2Validation.h"
#include "KtxTextures.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace mvgeo;
namespace fs = std::filesystem;

namespace
{
KtxBytes validFile()
{
    return written(ktxTexture(makeFilledKtx2(vk::kR8G8B8Unorm, {4, 4, 1, 3, 0, 1}).get()));
}

class Ktx2ValidationRealData : public testing::Test
{
protected:
    void SetUp() override
    {
        const char* root = std::getenv("MVGEO_REAL_DATA");
        if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
        _folder = fs::path(root) / "ktx";
        if (!fs::exists(_folder)) GTEST_SKIP() << "the real data has no folder ktx";
    }

    std::string faultOfFile(const fs::path& path) const
    {
        std::ifstream file(path, std::ios::binary);
        return faultOf(KtxBytes(std::istreambuf_iterator<char>(file), {}));
    }

    fs::path _folder;
};
} // namespace

TEST(Ktx2Validation, AcceptsWhatLibktxMakes)
{
    EXPECT_EQ(faultOf(validFile()), "");
}

TEST(Ktx2Validation, RefusesAFileThatIsCutAnywhere)
{
    const KtxBytes bytes = validFile();
    for (std::size_t size = 0; size < bytes.size(); ++size)
    {
        EXPECT_NE(ktx2Violation(bytes.data(), size), "") << size;
    }
}

TEST(Ktx2Validation, RefusesAByteTooMany)
{
    KtxBytes bytes = validFile();
    bytes.push_back(0);
    EXPECT_NE(faultOf(bytes), "");
}

// Of the header, the level index and the descriptor no byte can change without being noticed, but for the colour
// primaries (9 others are valid), the transfer function and the flag for premultiplied alpha; and a depth or a number
// of layers of 1 differs from 0 only in what the texture is called. Nor is another format noticed of which no facts are
// known.
TEST(Ktx2Validation, NoticesEveryChangedByteBeforeTheKeyValueData)
{
    for (const std::uint32_t format : {vk::kR8G8B8Unorm, vk::kBc1RgbUnorm, vk::kD16Unorm, vk::kD32Sfloat, vk::kS8Uint,
                                       vk::kPvrtc1_2BppUnorm, vk::kPvrtc1_4BppSrgb})
    {
        const KtxBytes bytes = written(ktxTexture(makeFilledKtx2(format, {16, 16, 1, 3, 0, 1}).get()));
        const std::size_t dfd = 80 + 3 * 24;
        const std::size_t dfdSize = 4 + 24 + (format == vk::kR8G8B8Unorm ? 3 : 1) * 16;
        for (std::size_t at = 0; at < dfd + dfdSize; ++at)
        {
            if (at >= dfd + 4 + 9 && at <= dfd + 4 + 11) continue;
            for (const int change : {1, 0x80})
            {
                if ((at == 28 || at == 32) && change == 1) continue;
                if (at >= 12 && at < 16 && !ktx2FormatFacts(format ^ unsigned(change) << 8 * (at - 12))) continue;
                KtxBytes changed = bytes;
                changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
                EXPECT_NE(faultOf(changed), "") << "format " << format << ", byte " << at << " changed by " << change;
            }
        }
    }
}

TEST_F(Ktx2ValidationRealData, AcceptsTheRealFiles)
{
    int count = 0;
    for (const auto& entry : fs::directory_iterator(_folder))
    {
        if (entry.path().extension() != ".ktx2") continue;
        // Written by an early encoder, whose one sample claims to lie a quarter of a texel off.
        const bool known = entry.path().filename() == "color_grid_uastc_zstd.ktx2";
        EXPECT_EQ(faultOfFile(entry.path()), known ? "a sample is not at the texel's origin" : "") << entry.path();
        ++count;
    }
    EXPECT_GT(count, 0);
}

TEST_F(Ktx2ValidationRealData, RefusesTheBadFiles)
{
    EXPECT_EQ(faultOfFile(_folder / "bad" / "invalid_face_count.ktx2"), "the number of faces is neither 1 nor 6");
    EXPECT_EQ(faultOfFile(_folder / "bad" / "no_nul_on_kvd_val.ktx2"), "the value of KTXswizzle does not end with NUL");
}
