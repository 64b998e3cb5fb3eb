#include "Ktx2Content.h"

#include "Metadata.h"

#include <ktxint.h>

#include <texture2.h> // needs the one before it

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

/** Where the parts of a file begin that come before the levels. */
struct Layout
{
    std::size_t dfdOffset;
    std::size_t dfdSize;
    std::size_t metadataOffset;
    std::size_t metadataSize;
    std::size_t globalOffset; // 0 without global data
    std::size_t globalSize;
    std::size_t levelAlignment;
    std::vector<std::size_t> levelOffsets;
};

std::size_t levelAlignment(const ktxTexture2& texture)
{
    if (texture.supercompressionScheme != KTX_SS_NONE) return 1;
    const std::size_t blockSize = texture._protected->_formatSize.blockSizeInBits / 8;
    return std::lcm(blockSize, std::size_t(4));
}

Layout layOut(const ktxTexture2& texture, std::size_t metadataSize)
{
    Layout layout = {};
    layout.dfdOffset = kHeaderSize + kLevelIndexEntrySize * texture.numLevels;
    layout.dfdSize = texture.pDfd[0];
    layout.metadataOffset = layout.dfdOffset + layout.dfdSize; // a multiple of four, as all before it is
    layout.metadataSize = metadataSize;
    std::size_t end = layout.metadataOffset + metadataSize;
    layout.globalSize = texture._private->_sgdByteLength;
    if (layout.globalSize > 0)
    {
        layout.globalOffset = alignedUp(end, kGlobalDataAlignment);
        end = layout.globalOffset + layout.globalSize;
    }

    // Smallest first, so that a reader may stop when it has enough.
    layout.levelAlignment = levelAlignment(texture);
    layout.levelOffsets.resize(texture.numLevels);
    for (ktx_uint32_t level = texture.numLevels; level-- > 0;)
    {
        layout.levelOffsets[level] = alignedUp(end, layout.levelAlignment);
        end = layout.levelOffsets[level] + texture._private->_levelIndex[level].byteLength;
    }
    return layout;
}

Bytes headerBytes(const ktxTexture2& texture, const Layout& layout)
{
    Bytes header = {0xAB, 'K', 'T', 'X', ' ', '2', '0', 0xBB, '\r', '\n', 0x1A, '\n'};
    appendUint32(header, texture.vkFormat);
    appendUint32(header, texture._protected->_typeSize);
    appendUint32(header, texture.baseWidth);
    appendUint32(header, texture.numDimensions > 1 ? texture.baseHeight : 0);
    appendUint32(header, texture.numDimensions > 2 ? texture.baseDepth : 0);
    appendUint32(header, texture.isArray ? texture.numLayers : 0);
    appendUint32(header, texture.numFaces);
    appendUint32(header, texture.generateMipmaps ? 0 : texture.numLevels);
    appendUint32(header, texture.supercompressionScheme);
    appendUint32(header, static_cast<std::uint32_t>(layout.dfdOffset));
    appendUint32(header, static_cast<std::uint32_t>(layout.dfdSize));
    appendUint32(header, static_cast<std::uint32_t>(layout.metadataOffset));
    appendUint32(header, static_cast<std::uint32_t>(layout.metadataSize));
    appendUint64(header, layout.globalOffset);
    appendUint64(header, layout.globalSize);
    return header;
}

Bytes levelIndexBytes(const ktxTexture2& texture, const Layout& layout)
{
    Bytes index;
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        const ktxLevelIndexEntry& entry = texture._private->_levelIndex[level];
        appendUint64(index, layout.levelOffsets[level]);
        appendUint64(index, entry.byteLength);
        appendUint64(index, entry.uncompressedByteLength);
    }
    return index;
}

Bytes dfdBytes(const ktxTexture2& texture)
{
    Bytes dfd;
    for (std::size_t word = 0; word < texture.pDfd[0] / 4; ++word)
    {
        appendUint32(dfd, texture.pDfd[word]);
    }
    return dfd;
}
} // namespace

ktx_error_code_e layOutKtx2(ktxTexture2& texture, FileContent& content)
{
    ktx_error_code_e result = loadImageData(*ktxTexture(&texture));
    if (result != KTX_SUCCESS) return result;
    Bytes metadata;
    result = serializeMetadata(*ktxTexture(&texture), metadata);
    if (result != KTX_SUCCESS) return result;

    const Layout layout = layOut(texture, metadata.size());
    content.add(headerBytes(texture, layout));
    content.add(levelIndexBytes(texture, layout));
    content.add(dfdBytes(texture));
    content.add(std::move(metadata));
    if (layout.globalSize > 0)
    {
        content.padTo(kGlobalDataAlignment);
        content.borrow(texture._private->_supercompressionGlobalData, layout.globalSize);
    }
    for (ktx_uint32_t level = texture.numLevels; level-- > 0;)
    {
        content.padTo(layout.levelAlignment);
        content.borrow(texture.pData + ktxTexture2_levelDataOffset(&texture, level),
                       texture._private->_levelIndex[level].byteLength);
    }
    return KTX_SUCCESS;
}
} // namespace mvgeo
