#include "readerwriterktx/KtxRows.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/VkFormats.h"

#include <algorithm>
#include <cstring>

namespace mvgeo
{

namespace
{

constexpr unsigned int kRowsOfBlock = 4; // of BC1 to BC5

bool isBc1To5(std::uint32_t vkFormat)
{
    return vkFormat >= vk::kBc1RgbUnorm && vkFormat <= vk::kBc5Snorm;
}

bool isOfPixels(std::uint32_t vkFormat)
{
    const std::optional<KtxBlock> block = blockOfVk(vkFormat);
    return block && block->width == 1 && block->height == 1;
}

/** Half a block, or all of BC1 and BC4: 64 bits, lowest first, as the processors we build for have them. From bit
 * `kBegin` on it has `kWidth` bits for each row of pixels; what is before and behind them concerns all rows. */
template <unsigned int kBegin, unsigned int kWidth>
struct Half
{
    /** @tparam kRows  how many rows from the first one change places: constant, since every tile passes here */
    template <unsigned int kRows>
    static void flip(unsigned char* half, const unsigned char* end, std::size_t step)
    {
        constexpr std::uint64_t kRow = (1ULL << kWidth) - 1;
        constexpr std::uint64_t kAllRows = ((1ULL << (kWidth * kRows - 1)) * 2 - 1) << kBegin;
        for (; half < end; half += step)
        {
            std::uint64_t word = 0;
            std::memcpy(&word, half, sizeof(word));
            std::uint64_t flipped = word & ~kAllRows;
            for (unsigned int row = 0; row < kRows; ++row)
                flipped |= (word >> (kBegin + kWidth * row) & kRow) << (kBegin + kWidth * (kRows - 1 - row));
            std::memcpy(half, &flipped, sizeof(flipped));
        }
    }

    static void flip(unsigned int rows, unsigned char* half, const unsigned char* end, std::size_t step)
    {
        if (rows == 4) flip<4>(half, end, step);
        if (rows == 3) flip<3>(half, end, step);
        if (rows == 2) flip<2>(half, end, step);
    }
};

using Colours = Half<32, 8>;     // behind two colours of 16 bits, four choices of 2 bits for each row
using PlainAlphas = Half<0, 16>; // 4 bits for each pixel
using Choices = Half<16, 12>;    // behind two values of 8 bits, four choices of 3 bits for each row

void flipBlocks(const KtxRows& rows, unsigned char* row)
{
    const unsigned int inside = std::min(rows.height, kRowsOfBlock); // below them a small level has only filling
    const unsigned char* end = row + rows.bytes;
    if (rows.vkFormat <= vk::kBc1RgbaSrgb)
        Colours::flip(inside, row, end, 8);
    else if (rows.vkFormat <= vk::kBc2Srgb)
        PlainAlphas::flip(inside, row, end, 16);
    else if (rows.vkFormat == vk::kBc4Unorm || rows.vkFormat == vk::kBc4Snorm)
        Choices::flip(inside, row, end, 8);
    else // BC3, BC5
        Choices::flip(inside, row, end, 16);
    if (rows.vkFormat >= vk::kBc2Unorm && rows.vkFormat <= vk::kBc3Srgb)
        Colours::flip(inside, row + 8, end, 16);
    else if (rows.vkFormat >= vk::kBc5Unorm)
        Choices::flip(inside, row + 8, end, 16);
}

} // namespace

KtxRows::KtxRows(std::uint32_t format, const KtxBlock& block, unsigned int width, unsigned int heightInPixels)
    : vkFormat(format), height(heightInPixels)
{
    const auto blocks = [&block](unsigned int pixels, unsigned int size)
    { return std::max<std::size_t>((std::size_t{pixels} + size - 1) / size, block.leastCount); };
    count = blocks(heightInPixels, block.height);
    bytes = blocks(width, block.width) * block.bytes;
}

bool canFlip(std::uint32_t vkFormat, unsigned int height)
{
    if (height <= 1 || isOfPixels(vkFormat)) return true;
    return isBc1To5(vkFormat) && (height % kRowsOfBlock == 0 || height < kRowsOfBlock);
}

void copyRows(const KtxRows& rows, const unsigned char* source, std::size_t pitch, unsigned char* target)
{
    if (pitch == rows.bytes)
    {
        std::memcpy(target, source, rows.size());
        return;
    }
    for (std::size_t row = 0; row < rows.count; ++row)
        std::memcpy(target + row * rows.bytes, source + row * pitch, rows.bytes);
}

void copyRowsFlipped(const KtxRows& rows, const unsigned char* source, std::size_t pitch, unsigned char* target)
{
    const bool areBlocks = rows.height > 1 && !isOfPixels(rows.vkFormat);
    for (std::size_t row = 0; row < rows.count; ++row)
    {
        unsigned char* to = target + (rows.count - 1 - row) * rows.bytes;
        std::memcpy(to, source + row * pitch, rows.bytes);
        if (areBlocks) flipBlocks(rows, to);
    }
}

} // namespace mvgeo
