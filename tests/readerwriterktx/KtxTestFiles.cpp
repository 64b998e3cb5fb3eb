#include "readerwriterktx/KtxTestFiles.h"

#include "readerwriterktx/VkFormats.h"

#include <osg/GL>

#include <GL/glext.h>

#include <algorithm>
#include <vector>

namespace ktxfiles
{

namespace
{

std::string counting(std::size_t count)
{
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i)
        bytes += static_cast<char>(1 + i);
    return bytes;
}

void fillTo4(std::string& bytes)
{
    bytes.append((4 - bytes.size() % 4) % 4, '\0');
}

/** Four channels of 8 bits. */
std::string rgbaDescriptor(unsigned int blockBytes)
{
    std::string bytes = little(92, 4) + little(0, 4) + little(2, 2) + little(88, 2); // version 2, size of the block
    bytes += little(1, 1) + little(1, 1) + little(1, 1) + little(0, 1);              // RGB model, BT.709, linear
    bytes += little(0, 4) + little(blockBytes, 8); // 1 x 1 x 1 x 1, bytes in one plane
    for (const unsigned int channel : {0U, 1U, 2U, 15U})
    {
        const unsigned int bitOffset = 8 * std::min(channel, 3U);
        bytes +=
            little(bitOffset, 2) + little(7, 1) + little(channel, 1) + little(0, 4) + little(0, 4) + little(255, 4);
    }
    return bytes;
}

/** One sample of 128 bits in blocks of 4 x 4 pixels. */
std::string uastcDescriptor()
{
    constexpr unsigned int kModel = 166;
    std::string bytes = little(44, 4) + little(0, 4) + little(2, 2) + little(40, 2); // version 2, size of the block
    bytes += little(kModel, 1) + little(1, 1) + little(1, 1) + little(0, 1);         // BT.709, linear
    bytes += little(0x0303, 4) + little(16, 8);                                      // 4 x 4 x 1 x 1, bytes of a block
    return bytes + little(0, 2) + little(127, 1) + little(0, 1) + little(0, 4) + little(0, 4) + little(0xFFFFFFFF, 4);
}

struct Level
{
    std::string bytes;
    std::uint64_t uncompressed;
};

std::string ktx2(unsigned int width, unsigned int height, std::uint32_t vkFormat, const std::string& descriptor,
                 unsigned int scheme, const std::vector<Level>& levels)
{
    std::string keys = little(18, 4) + std::string("KTXorientation\0rd\0", 18);
    fillTo4(keys);
    const std::uint64_t descriptorOffset = 80 + 24 * levels.size();

    std::string file("\xABKTX 20\xBB\r\n\x1A\n", 12);
    file += little(vkFormat, 4) + little(1, 4) + little(width, 4) + little(height, 4) + little(0, 4) + little(0, 4) +
            little(1, 4) + little(levels.size(), 4) + little(scheme, 4);
    file += little(descriptorOffset, 4) + little(descriptor.size(), 4) +
            little(descriptorOffset + descriptor.size(), 4) + little(keys.size(), 4) + little(0, 8) + little(0, 8);

    std::uint64_t end = descriptorOffset + descriptor.size() + keys.size();
    std::string data(vkFormat == 0 ? (16 - end % 16) % 16 : 0, '\0'); // levels begin at multiples of their blocks
    end += data.size();
    std::string index;
    for (auto level = levels.rbegin(); level != levels.rend(); ++level)
    {
        index = little(end, 8) + little(level->bytes.size(), 8) + little(level->uncompressed, 8) + index;
        data += level->bytes;
        end += level->bytes.size();
    }
    return file + index + descriptor + keys + data;
}

std::string rgba(unsigned int width, unsigned int height, unsigned int scheme, const std::vector<Level>& levels)
{
    return ktx2(width, height, mvgeo::vk::kR8G8B8A8Unorm, rgbaDescriptor(scheme == 0 ? 4 : 0), scheme, levels);
}

std::string number(std::uint32_t value, bool isBigEndian)
{
    std::string bytes = little(value, 4);
    if (isBigEndian) std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

} // namespace

std::string little(std::uint64_t number, unsigned int count)
{
    std::string bytes;
    for (unsigned int i = 0; i < count; ++i, number >>= 8)
        bytes += static_cast<char>(number & 0xFF);
    return bytes;
}

std::string patched(std::string file, std::size_t offset, std::uint64_t number, unsigned int count)
{
    return file.replace(offset, count, little(number, count));
}

std::string ktx2Rgba(unsigned int width, unsigned int height, unsigned int levels)
{
    std::vector<Level> data;
    for (unsigned int level = 0; level < levels; ++level)
    {
        const std::size_t size = std::size_t{4} * std::max(width >> level, 1U) * std::max(height >> level, 1U);
        data.push_back({counting(size), size});
    }
    return rgba(width, height, 0, data);
}

std::string ktx2Zstd(unsigned int width, unsigned int height, unsigned int blocks)
{
    constexpr unsigned int kBlockSize = 131072;
    constexpr unsigned int kRunOfOneByte = 1;
    std::string frame = little(0xFD2FB528, 4) + little(0xA0, 1) + little(std::uint64_t{4} * width * height, 4);
    for (unsigned int i = 0; i < blocks; ++i)
    {
        const unsigned int isLast = i + 1 == blocks ? 1 : 0;
        frame += little(isLast | kRunOfOneByte << 1 | kBlockSize << 3, 3) + '\7';
    }
    constexpr unsigned int kZstd = 2;
    return rgba(width, height, kZstd, {{frame, std::uint64_t{4} * width * height}});
}

std::string ktx2Zlib(unsigned int width, unsigned int height)
{
    const std::string pixels = counting(std::size_t{4} * width * height);
    std::uint32_t sum = 1;
    std::uint32_t sumOfSums = 0;
    for (const char byte : pixels)
    {
        sum = (sum + static_cast<unsigned char>(byte)) % 65521;
        sumOfSums = (sumOfSums + sum) % 65521;
    }
    const std::uint32_t checksum = sumOfSums << 16 | sum;
    std::string packed = "\x78\x01\x01" + little(pixels.size(), 2) + little(~pixels.size(), 2) + pixels;
    for (int shift = 24; shift >= 0; shift -= 8)
        packed += static_cast<char>(checksum >> shift & 0xFF);
    constexpr unsigned int kZlib = 3;
    return rgba(width, height, kZlib, {{packed, pixels.size()}});
}

std::string ktx2Uastc(unsigned int width, unsigned int height, std::uint32_t rgb)
{
    constexpr std::uint64_t kOneColour = 0x17; // the five bits that a block of a single colour begins with
    const std::uint64_t red = rgb >> 16 & 0xFF;
    const std::uint64_t green = rgb >> 8 & 0xFF;
    const std::uint64_t blue = rgb & 0xFF;
    const std::uint64_t alpha = 0xFF;
    const std::string block =
        little(kOneColour | red << 5 | green << 13 | blue << 21 | alpha << 29, 8) + std::string(8, '\0');
    std::string data;
    for (unsigned int i = 0; i < (width / 4) * (height / 4); ++i)
        data += block;
    return ktx2(width, height, 0, uastcDescriptor(), 0, {{data, data.size()}});
}

std::string ktx1Rgba(unsigned int width, unsigned int height, unsigned int levels, bool isBigEndian)
{
    std::string file("\xABKTX 11\xBB\r\n\x1A\n", 12);
    for (const std::uint32_t word : {0x04030201U, unsigned{GL_UNSIGNED_BYTE}, 1U, unsigned{GL_RGBA}, unsigned{GL_RGBA8},
                                     unsigned{GL_RGBA}, width, height, 0U, 0U, 1U, levels, 0U})
        file += number(word, isBigEndian);
    for (unsigned int level = 0; level < levels; ++level)
    {
        const unsigned int size = 4 * std::max(width >> level, 1U) * std::max(height >> level, 1U);
        file += number(size, isBigEndian) + counting(size);
    }
    return file;
}

std::string ktx1Rgb565(unsigned int width, unsigned int height, unsigned int levels, bool isLastRowFilled)
{
    std::string file("\xABKTX 11\xBB\r\n\x1A\n", 12);
    for (const std::uint32_t word : {0x04030201U, unsigned{GL_UNSIGNED_SHORT_5_6_5}, 2U, unsigned{GL_RGB},
                                     unsigned{GL_RGB565}, unsigned{GL_RGB}, width, height, 0U, 0U, 1U, levels, 0U})
        file += little(word, 4);
    for (unsigned int level = 0; level < levels; ++level)
    {
        const unsigned int row = 2 * std::max(width >> level, 1U);
        unsigned int size = (row + 3) / 4 * 4 * std::max(height >> level, 1U);
        if (level + 1 == levels && !isLastRowFilled) size -= (row + 3) / 4 * 4 - row;
        file += little(size, 4) + counting(size);
    }
    return file;
}

} // namespace ktxfiles
