#include "readerwriterktx/guard/KtxKeyValueCheck.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace mvgeo
{

namespace
{

bool isText(std::string_view key)
{
    // Not KTXwriter: several writers leave out its zero, and nobody reads on there.
    static constexpr std::array<std::string_view, 4> kTexts = {"KTXorientation", "KTXswizzle", "KTXwriterScParams",
                                                               "KTXastcDecodeMode"};
    return std::find(kTexts.begin(), kTexts.end(), key) != kTexts.end();
}

std::string entryFault(const KtxBytes& entry)
{
    std::string key;
    while (key.size() < entry.size() && entry.u8(key.size()) != 0)
        key += static_cast<char>(entry.u8(key.size()));
    if (key.size() == entry.size()) return "a key has no end";
    if (key.empty()) return "a key is empty";
    const bool hasValue = key.size() + 1 < entry.size();
    if (isText(key) && !(hasValue && entry.u8(entry.size() - 1) == 0)) return "the text of " + key + " has no end";
    return {};
}

} // namespace

std::string keyValuesFault(const KtxBytes& block)
{
    for (std::uint64_t offset = 0; offset < block.size();)
    {
        const std::uint64_t length = block.u32(offset);
        if (!block.has(offset, 4) || length < 2 || !block.has(offset + 4, length))
            return "the key and value at byte " + std::to_string(offset) + " of their block leave it";
        if (std::string fault = entryFault(block.part(offset + 4, length)); !fault.empty()) return fault;
        offset += 4 + (length + 3) / 4 * 4;
    }
    return {};
}

} // namespace mvgeo
