#include "readerwriterktx/guard/BasisGlobalData.h"

#include "readerwriterktx/guard/BasisCodeTables.h"

namespace mvgeo
{

namespace
{

constexpr std::uint64_t kHeaderSize = 20;
constexpr std::uint64_t kImageSize = 20;

bool readsTables(BasisBits& bits, int count)
{
    for (int i = 0; i < count; ++i)
        if (!readsCompleteCode(bits)) return false;
    return true;
}

bool areEndpointsReadable(const KtxBytes& data)
{
    BasisBits bits(data);
    return readsTables(bits, 4); // three for colours, one for intensities
}

bool areSelectorsReadable(const KtxBytes& data, std::uint32_t count)
{
    BasisBits bits(data);
    const bool isGlobal = bits.take(1) != 0;
    const bool isHybrid = bits.take(1) != 0;
    if (isGlobal || isHybrid) return false; // the transcoder knows neither
    const bool isRaw = bits.take(1) != 0;
    if (isRaw) return true;
    // A single one needs no code; but one that is there must be readable, or the transcoder leaves the palette unset.
    const bool isCodeLeftOut = bits.peek(kSymbolCountBits) == 0;
    return (count == 1 && isCodeLeftOut) || readsTables(bits, 1);
}

bool areTablesReadable(const KtxBytes& data)
{
    constexpr unsigned int kHistorySizeBits = 13;
    BasisBits bits(data);
    return readsTables(bits, 4) && bits.take(kHistorySizeBits) > 0;
}

} // namespace

std::string basisGlobalFault(const KtxBytes& global, std::uint64_t imageCount)
{
    const std::uint32_t endpointCount = global.u16(0);
    const std::uint32_t selectorCount = global.u16(2);
    const std::uint64_t endpointsLength = global.u32(4);
    const std::uint64_t selectorsLength = global.u32(8);
    const std::uint64_t tablesLength = global.u32(12);
    const std::uint64_t endpoints = kHeaderSize + kImageSize * imageCount;
    const std::uint64_t selectors = endpoints + endpointsLength;
    const std::uint64_t tables = selectors + selectorsLength;
    if (!global.has(tables, tablesLength)) return "the parts of the global data leave it";
    if (endpointCount == 0 || selectorCount == 0 || endpointsLength == 0 || selectorsLength == 0 || tablesLength == 0)
        return "a part of the global data is empty";

    if (!areEndpointsReadable(global.part(endpoints, endpointsLength))) return "the palette of colours cannot be read";
    if (!areSelectorsReadable(global.part(selectors, selectorsLength), selectorCount))
        return "the palette of selectors cannot be read";
    if (!areTablesReadable(global.part(tables, tablesLength))) return "the code tables cannot be read";
    return {};
}

BasisImage basisImage(const KtxBytes& global, std::uint64_t index)
{
    const std::uint64_t offset = kHeaderSize + kImageSize * index;
    return {global.u32(offset + 4), global.u32(offset + 8), global.u32(offset + 12), global.u32(offset + 16)};
}

} // namespace mvgeo
