#include "Ktx2FormatFacts.h"

#include "readerwriterktx/VkFormats.h"

#include <string_view>

namespace mvgeo
{
namespace
{
constexpr std::uint32_t kFloatOne = 0x3F800000;
constexpr std::uint32_t kFloatMinusOne = 0xBF800000;

constexpr unsigned kLinear = 0x10;
constexpr unsigned kSigned = 0x40;
constexpr unsigned kFloat = 0x80;
constexpr unsigned kStencil = 13;
constexpr unsigned kDepth = 14;
constexpr unsigned kAlpha = 15;

enum class Numbers
{
    unorm,
    snorm,
    uint,
    sint,
    srgb,
    sfloat,
    ufloat
};

unsigned channelOf(char letter)
{
    return letter == 'A' ? kAlpha : static_cast<unsigned>(std::string_view("RGB").find(letter));
}

Ktx2Sample sample(unsigned bitOffset, unsigned bits, unsigned channel, Numbers numbers)
{
    const std::uint32_t most = bits >= 32 ? 0xFFFFFFFF : (1U << bits) - 1;
    switch (numbers)
    {
    case Numbers::unorm:
        return {bitOffset, bits, channel, 0, most};
    case Numbers::snorm:
        return {bitOffset, bits, channel | kSigned, ~(most >> 1) + 1, most >> 1};
    case Numbers::uint:
        return {bitOffset, bits, channel, 0, 1};
    case Numbers::sint:
        return {bitOffset, bits, channel | kSigned, 0xFFFFFFFF, 1};
    case Numbers::srgb:
        return {bitOffset, bits, channel == kAlpha ? kAlpha | kLinear : channel, 0, most};
    case Numbers::sfloat:
        return {bitOffset, bits, channel | kFloat | kSigned, kFloatMinusOne, kFloatOne};
    case Numbers::ufloat:
        return {bitOffset, bits, channel | kFloat, 0, kFloatOne};
    }
    return {};
}

/** Channels one after the other, each as large as the others. */
Ktx2FormatFacts plain(std::string_view letters, unsigned bytesOfChannel, Numbers numbers)
{
    Ktx2FormatFacts facts;
    facts.typeSize = bytesOfChannel;
    facts.blockBytes = bytesOfChannel * static_cast<unsigned>(letters.size());
    facts.srgb = numbers == Numbers::srgb;
    facts.hasSrgbTwin = numbers == Numbers::unorm && bytesOfChannel == 1;
    unsigned bit = 0;
    for (const char letter : letters)
    {
        facts.samples.push_back(sample(bit, bytesOfChannel * 8, channelOf(letter), numbers));
        bit += bytesOfChannel * 8;
    }
    return facts;
}

struct Packed
{
    std::uint32_t vkFormat;
    std::string_view letters; ///< lowest bit first
    std::string_view bits;    ///< of each letter, in hexadecimal
    unsigned bytes;
    Numbers numbers;
};

constexpr Packed kPacked[] = {
    {1, "GR", "44", 1, Numbers::unorm},
    {2, "ABGR", "4444", 2, Numbers::unorm},
    {3, "ARGB", "4444", 2, Numbers::unorm},
    {4, "BGR", "565", 2, Numbers::unorm},
    {5, "RGB", "565", 2, Numbers::unorm},
    {6, "ABGR", "1555", 2, Numbers::unorm},
    {7, "ARGB", "1555", 2, Numbers::unorm},
    {8, "BGRA", "5551", 2, Numbers::unorm},
    {58, "BGRA", "aaa2", 4, Numbers::unorm},
    {59, "BGRA", "aaa2", 4, Numbers::snorm},
    {62, "BGRA", "aaa2", 4, Numbers::uint},
    {63, "BGRA", "aaa2", 4, Numbers::sint},
    {64, "RGBA", "aaa2", 4, Numbers::unorm},
    {65, "RGBA", "aaa2", 4, Numbers::snorm},
    {68, "RGBA", "aaa2", 4, Numbers::uint},
    {69, "RGBA", "aaa2", 4, Numbers::sint},
    {122, "RGB", "bba", 4, Numbers::ufloat},
    {1000340000, "BGRA", "4444", 2, Numbers::unorm},
    {1000340001, "RGBA", "4444", 2, Numbers::unorm},
};

Ktx2FormatFacts packed(const Packed& format)
{
    Ktx2FormatFacts facts;
    facts.typeSize = format.bytes;
    facts.blockBytes = format.bytes;
    unsigned bit = 0;
    for (std::size_t i = 0; i < format.letters.size(); ++i)
    {
        const char digit = format.bits[i];
        const unsigned bits = static_cast<unsigned>(digit >= 'a' ? digit - 'a' + 10 : digit - '0');
        facts.samples.push_back(sample(bit, bits, channelOf(format.letters[i]), format.numbers));
        bit += bits;
    }
    return facts;
}

struct Family
{
    std::uint32_t first;
    std::string_view letters;
    unsigned bytesOfChannel;
};

constexpr Family kFamilies8[] = {{9, "R", 1},    {16, "RG", 1},   {23, "RGB", 1},
                                 {30, "BGR", 1}, {37, "RGBA", 1}, {44, "BGRA", 1}};
constexpr Family kFamilies16[] = {{70, "R", 2}, {77, "RG", 2}, {84, "RGB", 2}, {91, "RGBA", 2}};
constexpr Family kFamilies32[] = {{98, "R", 4},  {101, "RG", 4}, {104, "RGB", 4}, {107, "RGBA", 4},
                                  {110, "R", 8}, {113, "RG", 8}, {116, "RGB", 8}, {119, "RGBA", 8}};

template <typename Families, typename Table>
std::optional<Ktx2FormatFacts> inFamilies(std::uint32_t vkFormat, const Families& families, const Table& table)
{
    for (const Family& family : families)
    {
        if (vkFormat < family.first || vkFormat >= family.first + std::size(table)) continue;
        const std::optional<Numbers> numbers = table[vkFormat - family.first];
        if (numbers) return plain(family.letters, family.bytesOfChannel, *numbers);
    }
    return std::nullopt;
}

std::optional<Ktx2FormatFacts> uncompressed(std::uint32_t vkFormat)
{
    // Third and fourth are the "scaled" ones, which KTX 2 does not allow.
    static const std::optional<Numbers> table8[] = {Numbers::unorm, Numbers::snorm, {},           {},
                                                    Numbers::uint,  Numbers::sint,  Numbers::srgb};
    static const std::optional<Numbers> table16[] = {Numbers::unorm, Numbers::snorm, {}, {}, Numbers::uint,
                                                     Numbers::sint,  Numbers::sfloat};
    static const std::optional<Numbers> table32[] = {Numbers::uint, Numbers::sint, Numbers::sfloat};
    if (auto facts = inFamilies(vkFormat, kFamilies8, table8)) return facts;
    if (auto facts = inFamilies(vkFormat, kFamilies16, table16)) return facts;
    if (auto facts = inFamilies(vkFormat, kFamilies32, table32)) return facts;
    for (const Packed& format : kPacked)
    {
        if (format.vkFormat == vkFormat) return packed(format);
    }
    return std::nullopt;
}

/** One channel that is no colour. */
Ktx2FormatFacts alone(unsigned channel, unsigned bytes, Numbers numbers)
{
    Ktx2FormatFacts facts;
    facts.typeSize = bytes;
    facts.blockBytes = bytes;
    facts.isDepthOrStencil = true;
    facts.samples = {sample(0, bytes * 8, channel, numbers)};
    return facts;
}

std::optional<Ktx2FormatFacts> depthOrStencil(std::uint32_t vkFormat)
{
    switch (vkFormat)
    {
    case vk::kD16Unorm:
        return alone(kDepth, 2, Numbers::unorm);
    case vk::kD32Sfloat:
        return alone(kDepth, 4, Numbers::sfloat);
    case vk::kS8Uint:
        return alone(kStencil, 1, Numbers::uint);
    default:
        return std::nullopt;
    }
}

Ktx2FormatFacts blocks(unsigned model, unsigned bytes, bool srgb, bool hasSrgbTwin, std::vector<Ktx2Sample> samples)
{
    Ktx2FormatFacts facts;
    facts.model = model;
    facts.blockWidth = facts.blockHeight = 4;
    facts.blockBytes = bytes;
    facts.srgb = srgb;
    facts.hasSrgbTwin = hasSrgbTwin;
    facts.samples = std::move(samples);
    return facts;
}

/** BC1 to BC3, BC7, ETC2 and ASTC come in pairs: linear, then sRGB. */
Ktx2FormatFacts pair(unsigned model, unsigned bytes, bool srgb, std::vector<Ktx2Sample> samples)
{
    for (Ktx2Sample& sample : samples)
    {
        if (srgb && sample.channel == kAlpha) sample.channel |= kLinear;
    }
    return blocks(model, bytes, srgb, !srgb, std::move(samples));
}

Ktx2Sample whole(unsigned bitOffset, unsigned bits, unsigned channel)
{
    return {bitOffset, bits, channel, 0, 0xFFFFFFFF};
}

Ktx2Sample wholeSigned(unsigned bitOffset, unsigned bits, unsigned channel)
{
    return {bitOffset, bits, channel | kSigned, 0x80000000, 0x7FFFFFFF};
}

std::optional<Ktx2FormatFacts> blockCompressed(std::uint32_t vkFormat)
{
    const bool second = vkFormat % 2 == 0; // of a pair that begins with an odd number
    switch (vkFormat)
    {
    case vk::kBc1RgbUnorm:
    case vk::kBc1RgbSrgb:
        return pair(128, 8, second, {whole(0, 64, 0)});
    case vk::kBc1RgbaUnorm:
    case vk::kBc1RgbaSrgb:
        return pair(128, 8, second, {whole(0, 64, 1)});
    case vk::kBc2Unorm:
    case vk::kBc2Srgb:
        return pair(129, 16, second, {whole(0, 64, kAlpha), whole(64, 64, 0)});
    case vk::kBc3Unorm:
    case vk::kBc3Srgb:
        return pair(130, 16, second, {whole(0, 64, kAlpha), whole(64, 64, 0)});
    case vk::kBc4Unorm:
        return blocks(131, 8, false, false, {whole(0, 64, 0)});
    case vk::kBc4Snorm:
        return blocks(131, 8, false, false, {wholeSigned(0, 64, 0)});
    case vk::kBc5Unorm:
        return blocks(132, 16, false, false, {whole(0, 64, 0), whole(64, 64, 1)});
    case vk::kBc5Snorm:
        return blocks(132, 16, false, false, {wholeSigned(0, 64, 0), wholeSigned(64, 64, 1)});
    case vk::kBc6hUfloat:
        return blocks(133, 16, false, false, {{0, 128, kFloat, 0, kFloatOne}});
    case vk::kBc6hSfloat:
        return blocks(133, 16, false, false, {{0, 128, kFloat | kSigned, kFloatMinusOne, kFloatOne}});
    case vk::kBc7Unorm:
    case vk::kBc7Srgb:
        return pair(134, 16, second, {whole(0, 128, 0)});
    case vk::kEtc2R8G8B8Unorm:
    case vk::kEtc2R8G8B8Srgb:
        return pair(161, 8, second, {whole(0, 64, 2)});
    case vk::kEtc2R8G8B8A1Unorm:
    case vk::kEtc2R8G8B8A1Srgb:
        return pair(161, 8, second, {whole(0, 64, 2), whole(0, 64, kAlpha)});
    case vk::kEtc2R8G8B8A8Unorm:
    case vk::kEtc2R8G8B8A8Srgb:
        return pair(161, 16, second, {whole(0, 64, kAlpha), whole(64, 64, 2)});
    case vk::kEacR11Unorm:
        return blocks(161, 8, false, false, {whole(0, 64, 0)});
    case vk::kEacR11Snorm:
        return blocks(161, 8, false, false, {wholeSigned(0, 64, 0)});
    case vk::kEacR11G11Unorm:
        return blocks(161, 16, false, false, {whole(0, 64, 0), whole(64, 64, 1)});
    case vk::kEacR11G11Snorm:
        return blocks(161, 16, false, false, {wholeSigned(0, 64, 0), wholeSigned(64, 64, 1)});
    default:
        return std::nullopt;
    }
}

std::optional<Ktx2FormatFacts> astc(std::uint32_t vkFormat)
{
    static constexpr unsigned sizes[][2] = {{4, 4}, {5, 4},  {5, 5},  {6, 5},  {6, 6},   {8, 5},   {8, 6},
                                            {8, 8}, {10, 5}, {10, 6}, {10, 8}, {10, 10}, {12, 10}, {12, 12}};
    constexpr std::uint32_t first = vk::kAstc4x4Unorm;
    if (vkFormat < first || vkFormat >= first + 2 * std::size(sizes)) return std::nullopt;
    Ktx2FormatFacts facts = pair(162, 16, (vkFormat - first) % 2 == 1, {whole(0, 128, 0)});
    facts.blockWidth = sizes[(vkFormat - first) / 2][0];
    facts.blockHeight = sizes[(vkFormat - first) / 2][1];
    return facts;
}

/** The first version: two bits a pixel in wide blocks or four, each first linear and then, four numbers on, sRGB. */
std::optional<Ktx2FormatFacts> pvrtc(std::uint32_t vkFormat)
{
    constexpr std::uint32_t first = vk::kPvrtc1_2BppUnorm;
    if (vkFormat < first || vkFormat >= first + 8 || (vkFormat - first) % 4 > 1) return std::nullopt;
    Ktx2FormatFacts facts = pair(164, 8, vkFormat >= first + 4, {whole(0, 64, 0)});
    facts.blockWidth = vkFormat % 2 == 0 ? 8 : 4;
    facts.leastBlocks = 2;
    return facts;
}
} // namespace

std::optional<Ktx2FormatFacts> ktx2FormatFacts(std::uint32_t vkFormat)
{
    if (auto facts = uncompressed(vkFormat)) return facts;
    if (auto facts = depthOrStencil(vkFormat)) return facts;
    if (auto facts = blockCompressed(vkFormat)) return facts;
    if (auto facts = astc(vkFormat)) return facts;
    return pvrtc(vkFormat);
}

bool isProhibitedInKtx2(std::uint32_t vkFormat)
{
    // The "scaled" ones, and bytes named as a packed word.
    for (const std::uint32_t first : {9U, 16U, 23U, 30U, 37U, 44U, 70U, 77U, 84U, 91U})
    {
        if (vkFormat == first + 2 || vkFormat == first + 3) return true;
    }
    const bool packedBytes = vkFormat >= 51 && vkFormat <= 57;
    return packedBytes || vkFormat == 60 || vkFormat == 61 || vkFormat == 66 || vkFormat == 67;
}
} // namespace mvgeo
