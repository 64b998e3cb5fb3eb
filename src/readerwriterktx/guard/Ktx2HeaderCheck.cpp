#include "readerwriterktx/guard/Ktx2HeaderCheck.h"

#include "readerwriterktx/guard/BasisGlobalData.h"
#include "readerwriterktx/guard/KtxBytes.h"
#include "readerwriterktx/guard/KtxDescriptor.h"
#include "readerwriterktx/guard/KtxExtent.h"
#include "readerwriterktx/guard/KtxKeyValueCheck.h"

namespace mvgeo
{

namespace
{

constexpr std::uint64_t kKtx2HeaderSize = 80;
constexpr std::uint64_t kLevelEntrySize = 24;
constexpr KtxBlock kRgba8{1, 1, 4, 1};
/** Holds any slice: the size of a level, counted in these, is the number of its images. */
constexpr KtxBlock kOneBlock{kLongestSide, kLongestSide, 1, 1};

// The schemes of compression: Zstandard is between the last two.
constexpr std::uint32_t kNone = 0, kBasisLz = 1, kZlib = 3;

struct Level
{
    std::uint64_t offset;
    std::uint64_t length;
    std::uint64_t uncompressed;
};

/** The header with its level index; only there if the file is long enough for both. */
struct Header
{
    explicit Header(const KtxBytes& bytes)
        : file(bytes),
          vkFormat(bytes.u32(12)),
          extent{bytes.u32(20), bytes.u32(24), bytes.u32(28), bytes.u32(32), bytes.u32(36), bytes.u32(40)},
          scheme(bytes.u32(44)),
          descriptorOffset(bytes.u32(48)),
          descriptorLength(bytes.u32(52)),
          keyValueOffset(bytes.u32(56)),
          keyValueLength(bytes.u32(60)),
          globalOffset(bytes.u64(64)),
          globalLength(bytes.u64(72))
    {
    }

    [[nodiscard]] std::uint64_t indexEnd() const { return kKtx2HeaderSize + kLevelEntrySize * extent.levelCount(); }
    [[nodiscard]] std::uint64_t metadataEnd() const
    {
        const std::uint64_t descriptorEnd = std::uint64_t{descriptorOffset} + descriptorLength;
        return keyValueLength > 0 ? std::uint64_t{keyValueOffset} + keyValueLength : descriptorEnd;
    }
    [[nodiscard]] Level level(std::uint32_t index) const
    {
        const std::uint64_t entry = kKtx2HeaderSize + kLevelEntrySize * index;
        return {file.u64(entry), file.u64(entry + 8), file.u64(entry + 16)};
    }

    KtxBytes file;
    std::uint32_t vkFormat;
    KtxExtent extent;
    std::uint32_t scheme;
    std::uint32_t descriptorOffset;
    std::uint32_t descriptorLength;
    std::uint32_t keyValueOffset;
    std::uint32_t keyValueLength;
    std::uint64_t globalOffset;
    std::uint64_t globalLength;
};

// libktx reads the descriptor, and the keys and values, from where it stands: right behind what was before.
std::string metadataFault(const Header& header)
{
    const KtxBytes& file = header.file;
    if (!file.has(0, header.indexEnd())) return "the level index leaves the file";
    if (header.descriptorOffset != header.indexEnd()) return "the format descriptor is not behind the level index";
    if (!file.has(header.descriptorOffset, header.descriptorLength)) return "the format descriptor leaves the file";
    if (header.keyValueLength == 0) return {};
    if (header.keyValueOffset != std::uint64_t{header.descriptorOffset} + header.descriptorLength)
        return "the keys and values are not behind the format descriptor";
    if (!file.has(header.keyValueOffset, header.keyValueLength)) return "the keys and values leave the file";
    return keyValuesFault(file.part(header.keyValueOffset, header.keyValueLength));
}

/** The smallest level comes first, as libktx expects them; each behind the one before. */
std::string levelPlacesFault(const Header& header, std::uint64_t end)
{
    for (std::uint32_t index = header.extent.levelCount(); index-- > 0;)
    {
        const Level level = header.level(index);
        const std::string name = "level " + std::to_string(index);
        if (level.length == 0) return name + " is empty";
        if (level.offset < end) return name + " overlaps what is before it";
        if (!header.file.has(level.offset, level.length)) return name + " leaves the file";
        end = level.offset + level.length;
    }
    return {};
}

std::string levelSizesFault(const Header& header, const KtxDescriptor& descriptor)
{
    const KtxExtent& extent = header.extent;
    for (std::uint32_t index = 0; index < extent.levelCount(); ++index)
    {
        const Level level = header.level(index);
        const std::uint64_t slices = (extent.depthOf(index) + descriptor.blockDepth - 1) / descriptor.blockDepth;
        const std::uint64_t wanted =
            sliceSize(extent, index, descriptor.block, 1) * slices * extent.layerCount() * extent.faces;
        const bool isPlain = header.scheme == kNone;
        if (level.uncompressed != wanted || (isPlain && level.length != wanted))
            return "level " + std::to_string(index) + " must have " + std::to_string(wanted) + " bytes";
    }
    return {};
}

bool isInside(std::uint32_t offset, std::uint32_t length, const Level& level)
{
    return length > 0 && std::uint64_t{offset} + length <= level.length;
}

std::string slicesFault(const Header& header, const KtxBytes& global, bool hasAlpha)
{
    const KtxExtent& extent = header.extent;
    std::uint64_t image = 0;
    for (std::uint32_t index = 0; index < extent.levelCount(); ++index)
    {
        const Level level = header.level(index);
        const std::uint64_t count = levelSize(extent, index, kOneBlock, 1);
        for (std::uint64_t i = 0; i < count; ++i, ++image)
        {
            const BasisImage slices = basisImage(global, image);
            if (!isInside(slices.colourOffset, slices.colourLength, level) ||
                (hasAlpha && !isInside(slices.alphaOffset, slices.alphaLength, level)))
                return "image " + std::to_string(image) + " leaves level " + std::to_string(index);
            // To libktx 0 means that there is none; it gives up then, and leaks.
            if (hasAlpha && slices.alphaOffset == 0) return "image " + std::to_string(image) + " has no alpha";
        }
    }
    return {};
}

std::uint64_t imageCount(const KtxExtent& extent)
{
    std::uint64_t count = 0;
    for (std::uint32_t index = 0; index < extent.levelCount(); ++index)
        count += levelSize(extent, index, kOneBlock, 1);
    return count;
}

std::string basisLzFault(const Header& header, const KtxDescriptor& descriptor)
{
    const KtxBytes global = header.file.part(header.globalOffset, header.globalLength);
    if (std::string fault = basisGlobalFault(global, imageCount(header.extent)); !fault.empty()) return fault;
    return slicesFault(header, global, descriptor.sampleCount == 2);
}

std::string schemeFault(const Header& header, const KtxDescriptor& descriptor)
{
    if (header.scheme > kZlib) return "scheme " + std::to_string(header.scheme) + " of compression is unknown";
    const bool isBasisLz = header.scheme == kBasisLz;
    if (isBasisLz != (descriptor.model == KtxDescriptor::kEtc1s))
        return "ETC1S data is compressed as Basis LZ, and only that";
    if (isBasisLz != (header.globalLength > 0)) return "Basis LZ has global data, and only that";
    if (isBasisLz &&
        (header.globalOffset < header.metadataEnd() || !header.file.has(header.globalOffset, header.globalLength)))
        return "the global data leaves its place";
    return {};
}

std::string dataFault(const Header& header, const KtxDescriptor& descriptor)
{
    if (std::string fault = schemeFault(header, descriptor); !fault.empty()) return fault;
    const KtxBlock& block = descriptor.isBasis() ? kRgba8 : descriptor.block;
    if (std::string fault = imageSizeFault(header.extent, block); !fault.empty()) return fault;
    const bool isBasisLz = header.scheme == kBasisLz;
    const std::uint64_t begin = isBasisLz ? header.globalOffset + header.globalLength : header.metadataEnd();
    if (std::string fault = levelPlacesFault(header, begin); !fault.empty()) return fault;
    return isBasisLz ? basisLzFault(header, descriptor) : levelSizesFault(header, descriptor);
}

} // namespace

std::string ktx2HeaderFault(const unsigned char* bytes, std::size_t size)
{
    const KtxBytes file(bytes, size);
    if (!file.has(0, kKtx2HeaderSize)) return "the header is cut off";
    const Header header(file);
    if (std::string fault = extentFault(header.extent); !fault.empty()) return fault;
    if (std::string fault = metadataFault(header); !fault.empty()) return fault;
    KtxDescriptor descriptor{};
    if (std::string fault =
            readDescriptor(file.part(header.descriptorOffset, header.descriptorLength), header.vkFormat, descriptor);
        !fault.empty())
        return fault;
    return dataFault(header, descriptor);
}

} // namespace mvgeo
