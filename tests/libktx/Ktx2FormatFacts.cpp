#include "Ktx2FormatFacts.h"

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
    Unorm,
    Snorm,
    Uint,
    Sint,
    Srgb,
    Sfloat,
    Ufloat
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
    case Numbers::Unorm:
        return {bitOffset, bits, channel, 0, most};
    case Numbers::Snorm:
        return {bitOffset, bits, channel | kSigned, ~(most >> 1) + 1, most >> 1};
    case Numbers::Uint:
        return {bitOffset, bits, channel, 0, 1};
    case Numbers::Sint:
        return {bitOffset, bits, channel | kSigned, 0xFFFFFFFF, 1};
    case Numbers::Srgb:
        return {bitOffset, bits, channel == kAlpha ? kAlpha | kLinear : channel, 0, most};
    case Numbers::Sfloat:
        return {bitOffset, bits, channel | kFloat | kSigned, kFloatMinusOne, kFloatOne};
    case Numbers::Ufloat:
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
    facts.srgb = numbers == Numbers::Srgb;
    facts.hasSrgbTwin = numbers == Numbers::Unorm && bytesOfChannel == 1;
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
    {1, "GR", "44", 1, Numbers::Unorm},
    {2, "ABGR", "4444", 2, Numbers::Unorm},
    {3, "ARGB", "4444", 2, Numbers::Unorm},
    {4, "BGR", "565", 2, Numbers::Unorm},
    {5, "RGB", "565", 2, Numbers::Unorm},
    {6, "ABGR", "1555", 2, Numbers::Unorm},
    {7, "ARGB", "1555", 2, Numbers::Unorm},
    {8, "BGRA", "5551", 2, Numbers::Unorm},
    {58, "BGRA", "aaa2", 4, Numbers::Unorm},
    {59, "BGRA", "aaa2", 4, Numbers::Snorm},
    {62, "BGRA", "aaa2", 4, Numbers::Uint},
    {63, "BGRA", "aaa2", 4, Numbers::Sint},
    {64, "RGBA", "aaa2", 4, Numbers::Unorm},
    {65, "RGBA", "aaa2", 4, Numbers::Snorm},
    {68, "RGBA", "aaa2", 4, Numbers::Uint},
    {69, "RGBA", "aaa2", 4, Numbers::Sint},
    {122, "RGB", "bba", 4, Numbers::Ufloat},
    {1000340000, "BGRA", "4444", 2, Numbers::Unorm},
    {1000340001, "RGBA", "4444", 2, Numbers::Unorm},
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
    static const std::optional<Numbers> table8[] = {Numbers::Unorm, Numbers::Snorm, {},           {},
                                                    Numbers::Uint,  Numbers::Sint,  Numbers::Srgb};
    static const std::optional<Numbers> table16[] = {Numbers::Unorm, Numbers::Snorm, {}, {}, Numbers::Uint,
                                                     Numbers::Sint,  Numbers::Sfloat};
    static const std::optional<Numbers> table32[] = {Numbers::Uint, Numbers::Sint, Numbers::Sfloat};
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
    case 124:
        return alone(kDepth, 2, Numbers::Unorm);
    case 126:
        return alone(kDepth, 4, Numbers::Sfloat);
    case 127:
        return alone(kStencil, 1, Numbers::Uint);
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
    case 131:
    case 132:
        return pair(128, 8, second, {whole(0, 64, 0)});
    case 133:
    case 134:
        return pair(128, 8, second, {whole(0, 64, 1)});
    case 135:
    case 136:
        return pair(129, 16, second, {whole(0, 64, kAlpha), whole(64, 64, 0)});
    case 137:
    case 138:
        return pair(130, 16, second, {whole(0, 64, kAlpha), whole(64, 64, 0)});
    case 139:
        return blocks(131, 8, false, false, {whole(0, 64, 0)});
    case 140:
        return blocks(131, 8, false, false, {wholeSigned(0, 64, 0)});
    case 141:
        return blocks(132, 16, false, false, {whole(0, 64, 0), whole(64, 64, 1)});
    case 142:
        return blocks(132, 16, false, false, {wholeSigned(0, 64, 0), wholeSigned(64, 64, 1)});
    case 143:
        return blocks(133, 16, false, false, {{0, 128, kFloat, 0, kFloatOne}});
    case 144:
        return blocks(133, 16, false, false, {{0, 128, kFloat | kSigned, kFloatMinusOne, kFloatOne}});
    case 145:
    case 146:
        return pair(134, 16, second, {whole(0, 128, 0)});
    case 147:
    case 148:
        return pair(161, 8, second, {whole(0, 64, 2)});
    case 149:
    case 150:
        return pair(161, 8, second, {whole(0, 64, 2), whole(0, 64, kAlpha)});
    case 151:
    case 152:
        return pair(161, 16, second, {whole(0, 64, kAlpha), whole(64, 64, 2)});
    case 153:
        return blocks(161, 8, false, false, {whole(0, 64, 0)});
    case 154:
        return blocks(161, 8, false, false, {wholeSigned(0, 64, 0)});
    case 155:
        return blocks(161, 16, false, false, {whole(0, 64, 0), whole(64, 64, 1)});
    case 156:
        return blocks(161, 16, false, false, {wholeSigned(0, 64, 0), wholeSigned(64, 64, 1)});
    default:
        return std::nullopt;
    }
}

std::optional<Ktx2FormatFacts> astc(std::uint32_t vkFormat)
{
    static constexpr unsigned sizes[][2] = {{4, 4}, {5, 4},  {5, 5},  {6, 5},  {6, 6},   {8, 5},   {8, 6},
                                            {8, 8}, {10, 5}, {10, 6}, {10, 8}, {10, 10}, {12, 10}, {12, 12}};
    constexpr std::uint32_t first = 157;
    if (vkFormat < first || vkFormat >= first + 2 * std::size(sizes)) return std::nullopt;
    Ktx2FormatFacts facts = pair(162, 16, (vkFormat - first) % 2 == 1, {whole(0, 128, 0)});
    facts.blockWidth = sizes[(vkFormat - first) / 2][0];
    facts.blockHeight = sizes[(vkFormat - first) / 2][1];
    return facts;
}

/** The first version: two bits a pixel in wide blocks or four, each first linear and then, four numbers on, sRGB. */
std::optional<Ktx2FormatFacts> pvrtc(std::uint32_t vkFormat)
{
    constexpr std::uint32_t first = 1000054000;
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
