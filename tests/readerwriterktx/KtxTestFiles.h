#pragma once

#include <cstdint>
#include <string>

/** KTX files made byte by byte, without the library: small, and right in every field unless a test breaks one. */
namespace ktxfiles
{

/** A number in the low-byte-first order of the format. */
std::string little(std::uint64_t number, unsigned int count);
/** The file with a number of `count` bytes put over what is at `offset`. */
std::string patched(std::string file, std::size_t offset, std::uint64_t number, unsigned int count);

/** KTX 2, R8G8B8A8, one key ("KTXorientation" = "rd"). The pixels count upwards from 1. Its places for 4 x 4 pixels
 * with 3 levels: index 80, descriptor 152 (92 bytes), keys and values 244 (24), then the levels 2 (4 bytes), 1 (16) and
 * 0 (64) from 268 to 352. */
std::string ktx2Rgba(unsigned int width, unsigned int height, unsigned int levels);

/** KTX 2 with one level of R8G8B8A8 that Zstandard has squeezed: every byte of it is 7.
 * @param blocks  how many blocks of 128 KiB the compressed data holds; the right number is width * height / 32768 */
std::string ktx2Zstd(unsigned int width, unsigned int height, unsigned int blocks);

/** KTX 2 with one level of R8G8B8A8 packed as zlib does, in one block without compression. */
std::string ktx2Zlib(unsigned int width, unsigned int height);

/** KTX 2 with one level of UASTC blocks in one colour (red highest), whole blocks only. */
std::string ktx2Uastc(unsigned int width, unsigned int height, std::uint32_t rgb);

/** KTX 1, RGBA8, without keys; each number high byte first if so wanted. Pixels as above. */
std::string ktx1Rgba(unsigned int width, unsigned int height, unsigned int levels, bool isBigEndian = false);

/** KTX 1, RGB565 (rows are filled up to 4 bytes); with or without the filling of the last row. */
std::string ktx1Rgb565(unsigned int width, unsigned int height, unsigned int levels, bool isLastRowFilled);

} // namespace ktxfiles
