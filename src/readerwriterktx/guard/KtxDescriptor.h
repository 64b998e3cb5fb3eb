#pragma once

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/guard/KtxBytes.h"

#include <cstdint>
#include <string>

namespace mvgeo
{

/** What the data format descriptor of a KTX 2 file says of its blocks. libktx goes by it, whatever the header's format
 * is. */
struct KtxDescriptor
{
    static constexpr std::uint32_t kEtc1s = 163;
    static constexpr std::uint32_t kUastc = 166;

    std::uint32_t model;
    std::uint32_t sampleCount;
    std::uint32_t blockDepth;
    KtxBlock block;

    [[nodiscard]] bool isBasis() const { return model == kEtc1s || model == kUastc; }
};

/** Fills the descriptor, or says what is wrong with it: sizes that lead outside, no samples, blocks without bytes,
 * blocks that are not those of the header's format. */
[[nodiscard]] std::string readDescriptor(const KtxBytes& bytes, std::uint32_t vkFormat, KtxDescriptor& descriptor);

} // namespace mvgeo
