#pragma once

#include <cstddef>
#include <cstdint>

namespace mvgeo
{

struct KtxBlock;

/** The bytes of one slice of one level: rows of blocks, or of pixels. */
struct KtxRows
{
    std::uint32_t vkFormat;
    unsigned int height; // pixels
    std::size_t count;   // rows of blocks
    std::size_t bytes;   // in one of them, without padding

    KtxRows(std::uint32_t format, const KtxBlock& block, unsigned int width, unsigned int heightInPixels);
    [[nodiscard]] std::size_t size() const { return count * bytes; }
};

/** Whether rows of this format can be turned upside down without changing a pixel: pixels always, blocks of BC1 to BC5
 * if the height is a multiple of 4 or below. The other formats tie the rows of a block together. */
[[nodiscard]] bool canFlip(std::uint32_t vkFormat, unsigned int height);

/** Copies a slice whose rows begin every `pitch` bytes; the copy has no padding. */
void copyRows(const KtxRows& rows, const unsigned char* source, std::size_t pitch, unsigned char* target);
/** The same upside down; only where canFlip(). */
void copyRowsFlipped(const KtxRows& rows, const unsigned char* source, std::size_t pitch, unsigned char* target);

} // namespace mvgeo
