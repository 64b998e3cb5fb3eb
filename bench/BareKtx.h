#pragma once

#include <osg/Image>

#include <cstddef>
#include <memory>
#include <string>

namespace mvgeo::bench
{

struct KtxEncoding
{
    bool isTopFirst = false; // turns the rows over, as most files have them
    bool uastc = false;
    int quality = 128; // of ETC1S
    int level = 2;     // of ETC1S
    int threads = 1;
};

/** An image's pixels, the lowest row first, as a renderer takes them. */
struct PixelBuffer
{
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size = 0;
};

/** The least that reading a Basis texture into an upright image costs with libktx alone: the texture is made from bytes
 * in memory, its one level transcoded, and copied once into a buffer of its own, since the texture's goes with it. The
 * rows of such files run from top to bottom, so the copy turns them over: whole rows of pixels, or rows of BC1 and BC3
 * blocks and the rows within each. Throws if libktx fails.
 * @param toBlocks  BC1 or BC3, else RGBA */
[[nodiscard]] PixelBuffer readBare(const std::string& file, bool toBlocks);

/** The same for writing: a texture is made, gets the pixels with one copy and the key that tells the order of their
 * rows, is compressed and written to memory. */
[[nodiscard]] std::string writeBare(const osg::Image& picture, const KtxEncoding& encoding);

} // namespace mvgeo::bench
