#include "Ktx1Content.h"

#include "Metadata.h"

#include <ktxint.h>

#include <texture1.h> // needs the one before it

namespace mvgeo
{
namespace
{
constexpr std::uint32_t kLittleEndian = 0x04030201;

Bytes headerBytes(ktxTexture1& texture, std::size_t metadataSize)
{
    Bytes header = {0xAB, 'K', 'T', 'X', ' ', '1', '1', 0xBB, '\r', '\n', 0x1A, '\n'};
    appendUint32(header, kLittleEndian);
    appendUint32(header, texture.glType);
    appendUint32(header, ktxTexture1_glTypeSize(&texture));
    appendUint32(header, texture.glFormat);
    appendUint32(header, texture.glInternalformat);
    appendUint32(header, texture.glBaseInternalformat);
    appendUint32(header, texture.baseWidth);
    appendUint32(header, texture.numDimensions > 1 ? texture.baseHeight : 0);
    appendUint32(header, texture.numDimensions > 2 ? texture.baseDepth : 0);
    appendUint32(header, texture.isArray ? texture.numLayers : 0);
    appendUint32(header, texture.numFaces);
    appendUint32(header, texture.generateMipmaps ? 0 : texture.numLevels);
    appendUint32(header, static_cast<std::uint32_t>(metadataSize));
    return header;
}

void addLevel(ktxTexture1& texture, ktx_uint32_t level, FileContent& content)
{
    ktx_size_t offset = 0;
    ktxTexture_GetImageOffset(ktxTexture(&texture), level, 0, 0, &offset);
    const ktx_size_t size = ktxTexture_GetLevelSize(ktxTexture(&texture), level);
    // Of a plain cube map the size of one face is told, of all else the size of the level.
    const bool facesApart = texture.isCubemap && !texture.isArray;
    Bytes imageSize;
    appendUint32(imageSize, static_cast<std::uint32_t>(facesApart ? size / texture.numFaces : size));
    content.add(std::move(imageSize));
    content.borrow(texture.pData + offset, size);
    content.padTo(4);
}
} // namespace

ktx_error_code_e layOutKtx1(ktxTexture1& texture, FileContent& content)
{
    ktx_error_code_e result = loadImageData(*ktxTexture(&texture));
    if (result != KTX_SUCCESS) return result;
    Bytes metadata;
    result = serializeMetadata(*ktxTexture(&texture), metadata);
    if (result != KTX_SUCCESS) return result;

    content.add(headerBytes(texture, metadata.size()));
    content.add(std::move(metadata));
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        addLevel(texture, level, content);
    }
    return KTX_SUCCESS;
}
} // namespace mvgeo
