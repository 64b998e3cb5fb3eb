// ktxTexture2_WriteToMemory: the header with its level index, the format descriptor, the keys and values, the global
// data of Basis LZ, then the levels.

#include "Guarded.h"
#include "KeyValues.h"

#include <ktxint.h>

#include <texture2.h> // needs the one before it

#include <cstdlib>
#include <cstring>
#include <numeric>

namespace mvgeo
{
namespace
{
constexpr std::size_t kHeaderSize = 80;
constexpr std::size_t kLevelIndexEntrySize = 24;
constexpr std::size_t kGlobalDataAlignment = 8;

std::size_t alignedUp(std::size_t offset, std::size_t alignment)
{
    return (offset + alignment - 1) / alignment * alignment;
}

/** Where the parts of a file begin. */
struct Layout
{
    std::size_t dfdOffset;
    std::size_t keyValueOffset;
    std::size_t globalOffset; // 0 without global data
    std::vector<std::size_t> levelOffsets;
    std::size_t fileSize;
};

std::size_t levelAlignment(const ktxTexture2& texture)
{
    if (texture.supercompressionScheme != KTX_SS_NONE) return 1;
    const std::size_t blockSize = texture._protected->_formatSize.blockSizeInBits / 8;
    return std::lcm(blockSize, std::size_t(4));
}

Layout layOut(const ktxTexture2& texture, std::size_t keyValueSize)
{
    Layout layout = {};
    layout.dfdOffset = kHeaderSize + kLevelIndexEntrySize * texture.numLevels;
    layout.keyValueOffset = layout.dfdOffset + texture.pDfd[0]; // a multiple of four, as all before it is
    layout.fileSize = layout.keyValueOffset + keyValueSize;
    if (texture._private->_sgdByteLength > 0)
    {
        layout.globalOffset = alignedUp(layout.fileSize, kGlobalDataAlignment);
        layout.fileSize = layout.globalOffset + texture._private->_sgdByteLength;
    }

    // Smallest first, so that a reader may stop when it has enough.
    layout.levelOffsets.resize(texture.numLevels);
    for (ktx_uint32_t level = texture.numLevels; level-- > 0;)
    {
        layout.levelOffsets[level] = alignedUp(layout.fileSize, levelAlignment(texture));
        layout.fileSize = layout.levelOffsets[level] + texture._private->_levelIndex[level].byteLength;
    }
    return layout;
}

/** All up to the keys and values. */
Bytes headBytes(const ktxTexture2& texture, const Layout& layout, std::size_t keyValueSize)
{
    Bytes head = {0xAB, 'K', 'T', 'X', ' ', '2', '0', 0xBB, '\r', '\n', 0x1A, '\n'};
    append(head, 4, texture.vkFormat);
    append(head, 4, texture._protected->_typeSize);
    append(head, 4, texture.baseWidth);
    append(head, 4, texture.numDimensions > 1 ? texture.baseHeight : 0);
    append(head, 4, texture.numDimensions > 2 ? texture.baseDepth : 0);
    append(head, 4, texture.isArray ? texture.numLayers : 0);
    append(head, 4, texture.numFaces);
    append(head, 4, texture.generateMipmaps ? 0 : texture.numLevels);
    append(head, 4, texture.supercompressionScheme);
    append(head, 4, layout.dfdOffset);
    append(head, 4, texture.pDfd[0]);
    append(head, 4, layout.keyValueOffset);
    append(head, 4, keyValueSize);
    append(head, 8, layout.globalOffset);
    append(head, 8, texture._private->_sgdByteLength);
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        const ktxLevelIndexEntry& entry = texture._private->_levelIndex[level];
        append(head, 8, layout.levelOffsets[level]);
        append(head, 8, entry.byteLength);
        append(head, 8, entry.uncompressedByteLength);
    }
    for (std::size_t word = 0; word < texture.pDfd[0] / 4; ++word)
        append(head, 4, texture.pDfd[word]);
    return head;
}

ktx_error_code_e write(ktxTexture2& texture, ktx_uint8_t** bytes, ktx_size_t* size)
{
    if (!texture.pData || texture.kvData) return KTX_INVALID_OPERATION;
    const Bytes keyValues = keyValueBytes(texture);
    const Layout layout = layOut(texture, keyValues.size());
    const Bytes head = headBytes(texture, layout, keyValues.size());
    auto* const file = static_cast<ktx_uint8_t*>(std::calloc(layout.fileSize, 1)); // the caller's to free()
    if (!file) return KTX_OUT_OF_MEMORY;

    const ktxTexture2_private& own = *texture._private;
    std::memcpy(file, head.data(), head.size());
    std::memcpy(file + layout.keyValueOffset, keyValues.data(), keyValues.size());
    if (layout.globalOffset > 0)
        std::memcpy(file + layout.globalOffset, own._supercompressionGlobalData, own._sgdByteLength);
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
        std::memcpy(file + layout.levelOffsets[level], texture.pData + ktxTexture2_levelDataOffset(&texture, level),
                    own._levelIndex[level].byteLength);
    *bytes = file;
    *size = layout.fileSize;
    return KTX_SUCCESS;
}
} // namespace
} // namespace mvgeo

extern "C" KTX_error_code ktxTexture2_WriteToMemory(ktxTexture2* This, ktx_uint8_t** bytes, ktx_size_t* size)
{
    if (!This || !bytes || !size) return KTX_INVALID_VALUE;
    return mvgeo::guarded([&] { return mvgeo::write(*This, bytes, size); });
}
