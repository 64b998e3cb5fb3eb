#include "readerwriterktx/guard/KtxDescriptor.h"

#include "readerwriterktx/VkFormats.h"

#include <optional>

namespace mvgeo
{

namespace
{

// The total size, then blocks that begin with two words: vendor and kind, version and size. In the first one: colour
// model, block dimensions less one, bytes of the planes, then the samples.
constexpr std::uint32_t kFirstBlock = 4;
constexpr std::uint32_t kBlockSize = kFirstBlock + 6;
constexpr std::uint32_t kModel = kFirstBlock + 8;
constexpr std::uint32_t kDimensions = kFirstBlock + 12;
constexpr std::uint32_t kPlanes = kFirstBlock + 16;
constexpr std::uint32_t kSamples = kFirstBlock + 24;
constexpr std::uint32_t kSampleSize = 16;
constexpr std::uint32_t kPvrtc = 164;

std::string blocksFault(const KtxBytes& bytes)
{
    if (bytes.size() < kSamples + kSampleSize || bytes.size() % 4 != 0 || bytes.u32(0) != bytes.size())
        return "the format descriptor has a wrong size";
    const std::uint32_t first = bytes.u16(kBlockSize);
    if (first < kSamples - kFirstBlock + kSampleSize || (first - (kSamples - kFirstBlock)) % kSampleSize != 0)
        return "the format descriptor describes no samples";
    for (std::uint64_t offset = kFirstBlock; offset < bytes.size();)
    {
        const std::uint32_t size = bytes.u16(offset + 6);
        if (size < 8 || size % 4 != 0 || !bytes.has(offset, size)) return "a block of the format descriptor leaves it";
        offset += size;
    }
    return {};
}

/** For data that was compressed once more, the bytes of a block may be left to be found from the samples, as libktx
 * does. */
std::uint32_t bytesFromSamples(const KtxBytes& bytes, std::uint32_t model, std::uint32_t sampleCount)
{
    if (model == KtxDescriptor::kEtc1s) return 8;
    std::uint32_t largest = 0;
    std::uint32_t at = 0;
    for (std::uint32_t sample = 0; sample < sampleCount; ++sample)
    {
        const std::uint32_t bitOffset = bytes.u16(kSamples + sample * kSampleSize);
        if (bitOffset <= largest) continue;
        largest = bitOffset;
        at = sample;
    }
    const std::uint32_t bits = bytes.u8(kSamples + at * kSampleSize + 2) + 1;
    return (largest + bits) / 8;
}

std::string basisFault(const KtxDescriptor& descriptor)
{
    const KtxBlock& block = descriptor.block;
    const bool isEtc1s = descriptor.model == KtxDescriptor::kEtc1s;
    if (block.width != 4 || block.height != 4 || descriptor.blockDepth != 1) return "Basis blocks have 4 x 4 pixels";
    if (descriptor.sampleCount > (isEtc1s ? 2U : 1U)) return "the format descriptor has too many samples";
    if (!isEtc1s && block.bytes != 16) return "UASTC blocks have 16 bytes";
    return {};
}

/** The kinds that came after UASTC, which nothing here transcodes; null for any other colour model. */
const char* newerBasisKind(std::uint32_t model)
{
    if (model == KtxDescriptor::kUastc + 1) return "UASTC HDR 4x4";
    return model == KtxDescriptor::kUastc + 2 ? "UASTC HDR 6x6" : nullptr;
}

std::string formatFault(const KtxBytes& bytes, std::uint32_t vkFormat, const KtxDescriptor& descriptor)
{
    const std::optional<KtxBlock> known = blockOfVk(vkFormat);
    if (!known) return {};
    // libktx takes the bytes of all planes together, and finds those of depth from its samples in a way of its own.
    bool hasOnePlane = true;
    for (std::uint32_t plane = 1; plane < 8; ++plane)
        hasOnePlane = hasOnePlane && bytes.u8(kPlanes + plane) == 0;
    const bool isFromSamples = isDepthOrStencil(vkFormat) && bytes.u8(kPlanes) == 0;
    const KtxBlock& block = descriptor.block;
    const bool isSame = block.width == known->width && block.height == known->height && block.bytes == known->bytes &&
                        block.leastCount == known->leastCount;
    if (isSame && hasOnePlane && !isFromSamples && descriptor.blockDepth == 1) return {};
    return "the format descriptor does not fit format " + std::to_string(vkFormat);
}

} // namespace

std::string readDescriptor(const KtxBytes& bytes, std::uint32_t vkFormat, KtxDescriptor& descriptor)
{
    if (std::string fault = blocksFault(bytes); !fault.empty()) return fault;
    descriptor.model = bytes.u8(kModel);
    descriptor.sampleCount = (bytes.u16(kBlockSize) - (kSamples - kFirstBlock)) / kSampleSize;
    descriptor.blockDepth = bytes.u8(kDimensions + 2) + 1;
    std::uint32_t blockBytes = bytes.u8(kPlanes);
    if (blockBytes == 0) blockBytes = bytesFromSamples(bytes, descriptor.model, descriptor.sampleCount);
    if (blockBytes == 0) return "the format descriptor gives a block no bytes";
    descriptor.block = {bytes.u8(kDimensions) + 1, bytes.u8(kDimensions + 1) + 1, blockBytes,
                        descriptor.model == kPvrtc ? 2U : 1U};
    if (bytes.u8(kDimensions + 3) != 0) return "the format descriptor has a fourth dimension";
    if (const char* kind = newerBasisKind(descriptor.model))
        return std::string(kind) + ", a newer kind of Basis data, is not supported";
    if (descriptor.isBasis() != (vkFormat == vk::kUndefined)) return "only Basis data has no format";
    return descriptor.isBasis() ? basisFault(descriptor) : formatFault(bytes, vkFormat, descriptor);
}

} // namespace mvgeo
