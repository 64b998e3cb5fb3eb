#include "readerwriterktx/guard/KtxHeaderCheck.h"

#include "readerwriterktx/KtxTestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace ktxfiles;
using testing::HasSubstr;

namespace
{

std::string faultOf(const std::string& file)
{
    return mvgeo::ktxHeaderFault(reinterpret_cast<const unsigned char*>(file.data()), file.size());
}

/** A number put over a sound file, and what must be said about it. */
struct Damage
{
    const char* what;
    std::size_t offset;
    unsigned int count;
    std::uint64_t number;
    const char* fault;
};

void expectFaults(const std::string& sound, std::initializer_list<Damage> damages)
{
    ASSERT_EQ(faultOf(sound), "");
    for (const Damage& damage : damages)
        EXPECT_THAT(faultOf(patched(sound, damage.offset, damage.number, damage.count)), HasSubstr(damage.fault))
            << damage.what;
}

constexpr std::uint64_t kHuge = 0xFFFFFFFFFFFFFFFF;

} // namespace

TEST(KtxHeader, SoundFilesHaveNoFault)
{
    EXPECT_EQ(faultOf(ktx2Rgba(4, 4, 3)), "");
    EXPECT_EQ(faultOf(ktx2Rgba(7, 3, 1)), "");
    EXPECT_EQ(faultOf(ktx2Zstd(256, 256, 2)), "");
    EXPECT_EQ(faultOf(ktx2Zlib(8, 4)), "");
    EXPECT_EQ(faultOf(ktx1Rgba(8, 4, 4)), "");
    EXPECT_EQ(faultOf(ktx1Rgba(8, 4, 4, true)), "");
}

TEST(KtxHeader, WhatIsNoKtxFileIsCalledThat)
{
    EXPECT_EQ(faultOf(""), "not a KTX file");
    EXPECT_EQ(faultOf("\xABKTX 2"), "not a KTX file");
    EXPECT_EQ(faultOf(std::string(4096, '\0')), "not a KTX file");
    EXPECT_EQ(mvgeo::ktxHeaderFault(nullptr, 0), "not a KTX file");
}

TEST(KtxHeader, NoCutFilePasses)
{
    for (const std::string& file :
         {ktx2Rgba(4, 4, 3), ktx2Zstd(256, 256, 2), ktx1Rgba(8, 4, 4), ktx1Rgba(8, 4, 4, true)})
        for (std::size_t length = 0; length < file.size(); ++length)
            ASSERT_NE(faultOf(file.substr(0, length)), "") << length;
}

TEST(KtxHeader, Ktx2DimensionsMustBePossible)
{
    expectFaults(ktx2Rgba(4, 4, 3), {{"no width", 20, 4, 0, "no width"},
                                     {"too wide", 20, 4, 65537, "too long"},
                                     {"absurdly wide", 20, 4, kHuge, "too long"},
                                     {"depth without height", 24, 8, 0x100000000, "no height"},
                                     {"an array of volumes", 28, 8, 0x100000001, "3-D"},
                                     {"too many layers", 32, 4, 8193, "too many"},
                                     {"no face", 36, 4, 0, "1 or 6 faces, not 0"},
                                     {"four faces", 36, 4, 4, "1 or 6 faces, not 4"},
                                     {"a cube that is none", 24, 4, 2, "must have"}});
    expectFaults(ktx2Rgba(4, 4, 1), {{"a cube with depth", 28, 12, 0, "1 or 6 faces"}});
    EXPECT_THAT(faultOf(patched(ktx2Rgba(4, 2, 1), 36, 6, 4)), HasSubstr("squares"));
}

TEST(KtxHeader, Ktx2LevelsMustBePossible)
{
    expectFaults(ktx2Rgba(4, 4, 3), {{"one too many", 40, 4, 4, "4 levels are more than 4 pixels can have"},
                                     {"a shift of 32", 40, 4, 33, "33 levels"},
                                     {"a size that overflows", 40, 4, 0x80000001, "levels"},
                                     {"fewer than are described", 40, 4, 2, "descriptor is not behind"}});
}

TEST(KtxHeader, Ktx2PartsMustLieInTheFileOneBehindTheOther)
{
    expectFaults(ktx2Rgba(4, 4, 3), {{"descriptor elsewhere", 48, 4, 160, "descriptor is not behind"},
                                     {"descriptor too long", 52, 4, kHuge, "descriptor leaves"},
                                     {"descriptor of another length", 52, 4, 88, "not behind the format descriptor"},
                                     {"keys elsewhere", 56, 4, 248, "not behind the format descriptor"},
                                     {"keys too long", 60, 4, kHuge, "leave the file"},
                                     {"global data without a use", 72, 8, 4, "global data"},
                                     {"level 0 elsewhere", 80, 8, 10000, "level 0 leaves"},
                                     {"level 0 past the end", 80, 8, kHuge - 3, "level 0 leaves"},
                                     {"level 0 too long", 88, 8, kHuge, "level 0 leaves"},
                                     {"level 0 over level 1", 80, 8, 284, "level 0 overlaps"},
                                     {"level 2 over the keys", 128, 8, 240, "level 2 overlaps"},
                                     {"level 1 empty", 112, 8, 0, "level 1 is empty"},
                                     {"level 1 too short", 112, 8, 12, "level 1 must have 16 bytes"},
                                     {"level 1 of another size", 120, 8, 20, "level 1 must have 16 bytes"}});
}

// libktx walks over the blocks of the descriptor by their sizes: with 0 it would never arrive.
TEST(KtxHeader, TheFormatDescriptorMustHoldWhatItSays)
{
    constexpr std::size_t kAt = 152;
    expectFaults(ktx2Rgba(4, 4, 3), {{"total size", kAt, 4, 96, "wrong size"},
                                     {"no samples", kAt + 10, 2, 24, "no samples"},
                                     {"half a sample", kAt + 10, 2, 80, "no samples"},
                                     {"a block of nothing behind", kAt + 10, 2, 72, "leaves it"},
                                     {"a block that is too long", kAt + 10, 2, 104, "leaves it"},
                                     {"blocks of pixels", kAt + 16, 2, 0x0303, "does not fit format 37"},
                                     {"other bytes", kAt + 20, 1, 3, "does not fit format 37"},
                                     {"a second plane", kAt + 21, 1, 4, "does not fit format 37"},
                                     {"a fourth dimension", kAt + 19, 1, 1, "fourth dimension"},
                                     {"newer Basis data", kAt + 12, 1, 167, "UASTC HDR 4x4"},
                                     {"still newer Basis data", kAt + 12, 1, 168, "UASTC HDR 6x6"},
                                     {"Basis data with a format", kAt + 12, 1, 166, "only Basis data"},
                                     {"no format without Basis data", 12, 4, 0, "only Basis data"}});
    // A format that the table lacks goes by the descriptor alone, and that may not divide by zero.
    const std::string unknown = patched(patched(ktx2Rgba(4, 4, 3), 12, 130, 4), kAt + 20, 0, 1);
    std::string oneBit = unknown;
    for (std::size_t sample = 0; sample < 4; ++sample)
        oneBit = patched(oneBit, kAt + 28 + 16 * sample, 0, 3);
    EXPECT_THAT(faultOf(oneBit), HasSubstr("no bytes"));
}

TEST(KtxHeader, KeysAndTheirTextsMustEnd)
{
    constexpr std::size_t kAt = 244;
    expectFaults(ktx2Rgba(4, 4, 3), {{"too long", kAt, 4, 21, "leave it"},
                                     {"longer than any file", kAt, 4, kHuge, "leave it"},
                                     {"nothing", kAt, 4, 0, "leave it"},
                                     {"an empty key", kAt + 4, 1, 0, "a key is empty"},
                                     {"no zero behind the value", kAt + 21, 1, 'x', "the text of KTXorientation"}});
    EXPECT_THAT(faultOf(patched(patched(ktx2Rgba(4, 4, 3), kAt + 18, 'x', 1), kAt + 21, 'x', 1)),
                HasSubstr("a key has no end"));
}

TEST(KtxHeader, Ktx1MustHoldWhatItSays)
{
    expectFaults(ktx1Rgba(8, 4, 4), {{"order of bytes", 12, 4, 0, "order of bytes"},
                                     {"no width", 36, 4, 0, "no width"},
                                     {"too high", 40, 4, kHuge, "too long"},
                                     {"no face", 52, 4, 0, "not 0"},
                                     {"too many levels", 56, 4, 5, "5 levels"},
                                     {"keys past the end", 60, 4, kHuge, "leave the file"},
                                     {"other rows", 40, 4, 3, "level 0 cannot have 128 bytes"},
                                     {"a cube", 40, 16, 8, "1 or 6 faces"},
                                     {"level 0 past the end", 64, 4, kHuge, "level 0 leaves"},
                                     {"level 0 shorter", 64, 4, 124, "level 0 cannot have 124"}});
    EXPECT_THAT(faultOf(patched(ktx1Rgba(8, 4, 4, true), 60, 0x04000000, 4)), HasSubstr("other order"));
}

TEST(KtxHeader, OnlyTheVeryLastRowOfKtx1MayLackItsFilling)
{
    EXPECT_EQ(faultOf(ktx1Rgb565(4, 4, 3, true)), "");
    EXPECT_EQ(faultOf(ktx1Rgb565(4, 4, 3, false)), "");
    EXPECT_EQ(faultOf(ktx1Rgb565(3, 3, 1, false)), "");
    // Level 1 of 6 x 6 has rows of 6 bytes, filled to 8: 24 bytes, and 22 would shift everything behind it.
    const std::string file = ktx1Rgb565(6, 6, 3, true);
    EXPECT_THAT(faultOf(patched(file, 64 + 4 + 72, 22, 4)), HasSubstr("level 1 cannot have 22"));
}

// 4 MiB squeezed to 300 bytes is a picture; what is declared to become more than the limit is none.
TEST(KtxHeader, NothingMayBecomeLargerThanTheLimit)
{
    EXPECT_EQ(faultOf(ktx2Zstd(1024, 1024, 32)), "");
    EXPECT_EQ(faultOf(ktx2Zstd(16384, 16384, 8192)), "");
    EXPECT_THAT(faultOf(ktx2Zstd(32768, 16384, 16384)), HasSubstr("more than 1610612736"));
    // 65536 x 65536 x 4 is 2^34: in 32 bits nothing would be left of it.
    EXPECT_THAT(faultOf(ktx2Zstd(65536, 65536, 1)), HasSubstr("17179869184 bytes"));
    const std::string lying = patched(ktx2Zstd(256, 256, 2), 96, 4 * 256 * 256 + 1, 8);
    EXPECT_THAT(faultOf(lying), HasSubstr("level 0 must have 262144 bytes"));
}
