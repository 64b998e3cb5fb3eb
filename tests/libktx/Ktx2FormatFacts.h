#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace mvgeo
{
/** A sample of a data format descriptor. channel is the byte with the qualifiers in its upper half. */
struct Ktx2Sample
{
    unsigned bitOffset;
    unsigned bits;
    unsigned channel;
    std::uint32_t lower;
    std::uint32_t upper;

    bool operator==(const Ktx2Sample& other) const
    {
        return bitOffset == other.bitOffset && bits == other.bits && channel == other.channel && lower == other.lower &&
               upper == other.upper;
    }
};

/** What a KTX 2 file with a Vulkan format must say about it. */
struct Ktx2FormatFacts
{
    unsigned typeSize = 1;
    unsigned model = 1; ///< colour model: 1 is RGBSDA
    unsigned blockWidth = 1;
    unsigned blockHeight = 1;
    unsigned blockBytes = 0;
    unsigned leastBlocks = 1; ///< of a level, in each direction
    bool srgb = false;
    bool isDepthOrStencil = false;
    bool hasSrgbTwin = false; ///< another format is this one in sRGB
    std::vector<Ktx2Sample> samples;
};

std::optional<Ktx2FormatFacts> ktx2FormatFacts(std::uint32_t vkFormat);
bool isProhibitedInKtx2(std::uint32_t vkFormat);
} // namespace mvgeo
