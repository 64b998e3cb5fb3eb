#include "readerwriterktx/guard/Ktx1HeaderCheck.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/guard/KtxBytes.h"
#include "readerwriterktx/guard/KtxExtent.h"
#include "readerwriterktx/guard/KtxKeyValueCheck.h"

#include <optional>

namespace mvgeo
{

namespace
{

constexpr std::size_t kKtx1HeaderSize = 64;
constexpr std::uint32_t kRowAlignment = 4;

// The words of the header, by their place.
constexpr std::size_t kEndianness = 12, kInternalFormat = 28, kKeyValueSize = 60;
constexpr std::size_t kWidth = 36, kHeight = 40, kDepth = 44, kLayers = 48, kFaces = 52, kLevels = 56;

/** Nothing if no image can carry the format: libktx then only copies what the file holds. */
std::optional<KtxBlock> blockOf(const KtxBytes& file)
{
    return blockOfVk(vkFormatOf(static_cast<GLint>(file.u32(kInternalFormat))));
}

/** Whether a level's size is the right one. Some writers leave out the filling of the very last row. */
bool isRightSize(std::uint64_t size, const KtxExtent& extent, std::uint32_t level, const KtxBlock& block)
{
    const bool isPixels = block.width == 1;
    const bool isFaceByFace = extent.faces == 6 && extent.layers == 0;
    const std::uint32_t alignment = isPixels ? kRowAlignment : 1;
    const std::uint64_t wanted =
        isFaceByFace ? sliceSize(extent, level, block, alignment) : levelSize(extent, level, block, alignment);
    if (size == wanted) return true;
    const std::uint64_t row = std::uint64_t{extent.widthOf(level)} * block.bytes;
    const bool isLast = level + 1 == extent.levelCount();
    return isPixels && isLast && extent.faces == 1 &&
           size == wanted - (kRowAlignment - row % kRowAlignment) % kRowAlignment;
}

std::string levelsFault(const KtxBytes& file, const KtxExtent& extent)
{
    const std::optional<KtxBlock> block = blockOf(file);
    if (block)
        if (std::string fault = imageSizeFault(extent, *block); !fault.empty()) return fault;
    const std::uint32_t pieces = extent.faces == 6 && extent.layers == 0 ? 6 : 1;
    std::uint64_t offset = kKtx1HeaderSize + file.u32(kKeyValueSize);
    for (std::uint32_t level = 0; level < extent.levelCount(); ++level)
    {
        const std::string name = "level " + std::to_string(level);
        const std::uint64_t size = file.u32(offset);
        if (!file.has(offset, 4) || !file.has(offset + 4, pieces * size)) return name + " leaves the file";
        if (block && !isRightSize(size, extent, level, *block))
            return name + " cannot have " + std::to_string(size) + " bytes";
        offset += 4 + pieces * size;
    }
    return {};
}

} // namespace

std::string ktx1HeaderFault(const unsigned char* bytes, std::size_t size)
{
    constexpr std::uint32_t kSame = 0x04030201;
    constexpr std::uint32_t kReversed = 0x01020304;
    const std::uint32_t endianness = KtxBytes(bytes, size).u32(kEndianness);
    const KtxBytes file(bytes, size, endianness == kReversed);
    if (!file.has(0, kKtx1HeaderSize)) return "the header is cut off";
    if (endianness != kSame && endianness != kReversed) return "the order of bytes is unknown";

    const KtxExtent extent{file.u32(kWidth),  file.u32(kHeight), file.u32(kDepth),
                           file.u32(kLayers), file.u32(kFaces),  file.u32(kLevels)};
    if (std::string fault = extentFault(extent); !fault.empty()) return fault;

    const std::uint32_t keyValueSize = file.u32(kKeyValueSize);
    if (!file.has(kKtx1HeaderSize, keyValueSize)) return "the keys and values leave the file";
    // libktx turns the sizes in there around while it takes wrong steps from one to the next.
    if (endianness == kReversed && keyValueSize > 0) return "keys and values in the other order of bytes";
    if (std::string fault = keyValuesFault(file.part(kKtx1HeaderSize, keyValueSize)); !fault.empty()) return fault;
    return levelsFault(file, extent);
}

} // namespace mvgeo
