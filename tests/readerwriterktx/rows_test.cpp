#include "readerwriterktx/KtxRows.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/VkFormats.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>
#include <numeric>
#include <random>
#include <vector>

namespace
{

namespace vk = mvgeo::vk;

mvgeo::KtxRows rowsOf(std::uint32_t format, unsigned int width, unsigned int height)
{
    return {format, *mvgeo::blockOfVk(format), width, height};
}

unsigned int bitsAt(const unsigned char* bytes, unsigned int first, unsigned int count)
{
    unsigned int value = 0;
    for (unsigned int i = 0; i < count; ++i)
        value |= (bytes[(first + i) / 8] >> ((first + i) % 8) & 1U) << i;
    return value;
}

/** From the first to the last format of each family. */
constexpr std::uint32_t kTurnable[] = {vk::kBc1RgbUnorm, vk::kBc1RgbSrgb, vk::kBc1RgbaUnorm, vk::kBc1RgbaSrgb,
                                       vk::kBc2Unorm,    vk::kBc2Srgb,    vk::kBc3Unorm,     vk::kBc3Srgb,
                                       vk::kBc4Unorm,    vk::kBc4Snorm,   vk::kBc5Unorm,     vk::kBc5Snorm};

/** What a decoder sees of a pixel: the numbers that its block keeps for all pixels and the choice for this one. Half a
 * block each: 2-bit choices (colour), 4-bit values (plain alpha), 3-bit choices. */
using Seen = std::array<unsigned int, 6>;

Seen seenAt(std::uint32_t format, const unsigned char* block, unsigned int pixel)
{
    const auto colour = [pixel](const unsigned char* half) { return bitsAt(half, 32 + 2 * pixel, 2); };
    const auto choice = [pixel](const unsigned char* half) { return bitsAt(half, 16 + 3 * pixel, 3); };
    const auto ends = [](const unsigned char* half) { return bitsAt(half, 0, 16); };
    switch (format)
    {
    case vk::kBc1RgbUnorm:
    case vk::kBc1RgbSrgb:
    case vk::kBc1RgbaUnorm:
    case vk::kBc1RgbaSrgb:
        return {ends(block), bitsAt(block, 16, 16), colour(block)};
    case vk::kBc2Unorm:
    case vk::kBc2Srgb:
        return {bitsAt(block, 4 * pixel, 4), ends(block + 8), bitsAt(block, 80, 16), colour(block + 8)};
    case vk::kBc3Unorm:
    case vk::kBc3Srgb:
        return {ends(block), choice(block), ends(block + 8), bitsAt(block, 80, 16), colour(block + 8)};
    case vk::kBc4Unorm:
    case vk::kBc4Snorm:
        return {ends(block), choice(block)};
    case vk::kBc5Unorm:
    case vk::kBc5Snorm:
        return {ends(block), choice(block), ends(block + 8), choice(block + 8)};
    default:
        ADD_FAILURE() << "nobody can look into format " << format;
        return {};
    }
}

Seen seenAt(const mvgeo::KtxRows& rows, const std::vector<unsigned char>& bytes, unsigned int column, unsigned int row)
{
    const std::size_t blockBytes = mvgeo::blockOfVk(rows.vkFormat)->bytes;
    const unsigned char* block = bytes.data() + row / 4 * rows.bytes + column / 4 * blockBytes;
    return seenAt(rows.vkFormat, block, row % 4 * 4 + column % 4);
}

std::vector<unsigned char> randomBytes(std::size_t size)
{
    std::mt19937 random(7);
    std::vector<unsigned char> bytes(size);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

TEST(KtxRows, CountBlocksAndPixelsUpwards)
{
    EXPECT_EQ(rowsOf(vk::kR8G8B8A8Unorm, 5, 3).bytes, 20U);
    EXPECT_EQ(rowsOf(vk::kR8G8B8A8Unorm, 5, 3).count, 3U);
    EXPECT_EQ(rowsOf(vk::kBc1RgbUnorm, 5, 3).bytes, 16U); // two blocks of 8 bytes
    EXPECT_EQ(rowsOf(vk::kBc1RgbUnorm, 5, 3).count, 1U);
    EXPECT_EQ(rowsOf(vk::kAstc6x6Unorm, 13, 12).bytes, 48U);
    EXPECT_EQ(rowsOf(vk::kAstc6x6Unorm, 13, 12).count, 2U);
    EXPECT_EQ(rowsOf(1000054001, 4, 4).size(), 32U); // PVRTC has at least two blocks each way
}

TEST(KtxRows, LoseTheirPaddingWhenCopied)
{
    const std::vector<unsigned char> source{1, 2, 3, 99, 4, 5, 6, 99};
    std::vector<unsigned char> target(6);
    mvgeo::copyRows(rowsOf(23, 1, 2), source.data(), 4, target.data());
    EXPECT_EQ(target, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    mvgeo::copyRowsFlipped(rowsOf(23, 1, 2), source.data(), 4, target.data());
    EXPECT_EQ(target, (std::vector<unsigned char>{4, 5, 6, 1, 2, 3}));
}

TEST(KtxRows, AreTurnedOverWhereNoPixelChanges)
{
    for (const std::uint32_t format : kTurnable)
    {
        for (const unsigned int height : {1U, 2U, 3U, 4U, 8U, 256U})
            EXPECT_TRUE(mvgeo::canFlip(format, height)) << format << ' ' << height;
        for (const unsigned int height : {5U, 6U, 7U, 94U})
            EXPECT_FALSE(mvgeo::canFlip(format, height)) << format << ' ' << height;
    }
    for (const unsigned int height : {1U, 2U, 4U, 5U, 256U})
        EXPECT_TRUE(mvgeo::canFlip(vk::kR8G8B8A8Unorm, height));
    for (const std::uint32_t format : {vk::kBc6hUfloat, vk::kBc7Unorm, vk::kEtc2R8G8B8Unorm, vk::kAstc6x6Unorm})
    {
        EXPECT_FALSE(mvgeo::canFlip(format, 4)) << format;
        EXPECT_TRUE(mvgeo::canFlip(format, 1)) << format;
    }
}

TEST(KtxRows, OfBlocksShowTheSamePixelsUpsideDown)
{
    constexpr unsigned int kWidth = 8;
    for (const std::uint32_t format : kTurnable)
        for (const unsigned int height : {1U, 2U, 3U, 4U, 8U, 12U})
        {
            SCOPED_TRACE(testing::Message() << "format " << format << ", height " << height);
            const mvgeo::KtxRows rows = rowsOf(format, kWidth, height);
            const std::vector<unsigned char> source = randomBytes(rows.size());
            std::vector<unsigned char> target(rows.size());
            mvgeo::copyRowsFlipped(rows, source.data(), rows.bytes, target.data());
            for (unsigned int row = 0; row < height; ++row)
                for (unsigned int column = 0; column < kWidth; ++column)
                    ASSERT_EQ(seenAt(rows, target, column, row), seenAt(rows, source, column, height - 1 - row))
                        << column << ' ' << row;
        }
}

TEST(KtxRows, TurnedTwiceAreAsBefore)
{
    std::vector<std::uint32_t> formats(std::begin(kTurnable), std::end(kTurnable));
    formats.push_back(vk::kR8G8B8A8Unorm);
    for (const std::uint32_t format : formats)
        for (const unsigned int height : {2U, 3U, 4U, 16U})
        {
            const mvgeo::KtxRows rows = rowsOf(format, 12, height);
            const std::vector<unsigned char> source = randomBytes(rows.size());
            std::vector<unsigned char> once(rows.size());
            std::vector<unsigned char> twice(rows.size());
            mvgeo::copyRowsFlipped(rows, source.data(), rows.bytes, once.data());
            mvgeo::copyRowsFlipped(rows, once.data(), rows.bytes, twice.data());
            EXPECT_NE(once, source);
            EXPECT_EQ(twice, source) << format << ' ' << height;
        }
}

} // namespace
