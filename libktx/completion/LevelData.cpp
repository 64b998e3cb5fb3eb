#include "LevelData.h"

#include <ktxint.h>

#include <texture2.h> // needs the one before it

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace mvgeo
{
namespace
{
struct Free
{
    void operator()(void* memory) const { std::free(memory); }
};
/** libktx frees what belongs to a texture with free(). */
using Memory = std::unique_ptr<ktx_uint8_t, Free>;

Memory allocate(std::size_t size)
{
    Memory memory(static_cast<ktx_uint8_t*>(std::calloc(size, 1)));
    if (!memory) throw std::bad_alloc();
    return memory;
}

Memory copyOf(const void* bytes, std::size_t size)
{
    if (size == 0) return nullptr;
    Memory memory = allocate(size);
    std::memcpy(memory.get(), bytes, size);
    return memory;
}

/** Smallest first, as in a file. */
std::vector<std::size_t> levelOffsets(const LevelData& data, std::size_t& total)
{
    std::vector<std::size_t> offsets(data.levels.size());
    total = 0;
    for (std::size_t level = data.levels.size(); level-- > 0;)
    {
        offsets[level] = (total + data.alignment - 1) / data.alignment * data.alignment;
        total = offsets[level] + data.levels[level].size();
    }
    return offsets;
}
} // namespace

void replaceLevels(ktxTexture2& texture, const LevelData& data, const std::vector<ktx_uint32_t>& dfd)
{
    std::size_t total = 0;
    const std::vector<std::size_t> offsets = levelOffsets(data, total);
    Memory pixels = allocate(total);
    Memory global = copyOf(data.globalData.data(), data.globalData.size());
    Memory descriptor = copyOf(dfd.data(), dfd.size() * sizeof(ktx_uint32_t));

    ktxTexture2_private& own = *texture._private;
    for (std::size_t level = 0; level < offsets.size(); ++level)
    {
        const Bytes& bytes = data.levels[level];
        std::memcpy(pixels.get() + offsets[level], bytes.data(), bytes.size());
        own._levelIndex[level] = {offsets[level], bytes.size(), data.uncompressedSizes[level]};
    }

    std::free(texture.pData);
    std::free(texture.pDfd);
    std::free(own._supercompressionGlobalData);
    texture.pData = pixels.release();
    texture.dataSize = total;
    texture.pDfd = reinterpret_cast<ktx_uint32_t*>(descriptor.release());
    texture.supercompressionScheme = data.scheme;
    own._supercompressionGlobalData = global.release();
    own._sgdByteLength = data.globalData.size();
    own._requiredLevelAlignment = static_cast<ktx_uint32_t>(data.alignment);
    own._firstLevelFileOffset = 0;
}
} // namespace mvgeo
