#include "mvgeothirdparty/MvRegConfig.h"

#include "fuzz/FuzzTarget.h"
#include "mvregconfig/FakeSettingsStore.h"

#include <MvErrorStatus.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

// Reads any stored type and bytes into a variant of any tag and block. The store may lie about the size and change its
// mind between the two queries. Afterwards the variant must be whole: what its size field says can be read, text ends
// in a zero, and it survives being copied and stored again.

namespace
{

using mvgeo::fuzz::Input;
using mvgeo::fuzz::require;
using mvgeo::platform::SettingHeader;
namespace type = mvgeo::platform::setting_type;

std::uint32_t sizeFieldOf(const OrloVariant& value)
{
    std::uint32_t size = 0;
    std::memcpy(&size, value.payload(), sizeof(size));
    return size;
}

OrloVariant variantFrom(Input& input)
{
    OrloVariant value;
    const auto tag = static_cast<OrloVariant::Tag>(static_cast<signed char>(input.byte() % 8) - 1);
    const std::string bytes = input.bytes(input.byte() % 24);
    if (input.byte() % 4 == 0)
    {
        value.adopt(tag, nullptr);
        return value;
    }
    unsigned char* payload = OrloVariant::allocatePayload(static_cast<std::uint32_t>(bytes.size()) + 4);
    if (!bytes.empty()) std::memcpy(payload + 4, bytes.data(), bytes.size());
    value.adopt(tag, payload);
    return value;
}

/** A store that says one thing and then, perhaps, another. Sizes that it only claims are small enough for a buffer, or
 * too large for any. */
void fillStore(Input& input)
{
    constexpr std::uint32_t kTypes[] = {type::kString, type::kBinary, type::kDword,        type::kQword,
                                        type::kString, type::kBinary, type::kExpandString, type::kMultiString};
    FakeSettingsStore& store = fakeSettings();
    store = FakeSettingsStore();
    const unsigned char kind = input.byte();
    const std::uint32_t firstType = kTypes[kind % 8];
    const unsigned char lie = input.byte();
    store.secondType = lie & 1 ? kTypes[lie / 32] : firstType;
    store.secondFails = (lie & 6) == 6;
    store.secondFillsTheRoom = (lie & 24) == 24;
    const std::uint32_t claimed = input.number();
    store.secondBytes = input.rest();
    auto size = static_cast<std::uint32_t>(store.secondBytes.size());
    const std::uint32_t tooLarge = firstType == type::kString ? 0x3FFFFFFFu : 0xFFFFFFFCu;
    if (kind >= 128) size = claimed < 0x3FFFFFF0u ? claimed % 5000 : std::max(claimed, tooLarge);
    store.first = SettingHeader{firstType, size};
    if (kind == 127) store.first.reset();
}

void requireWhole(const OrloVariant& value)
{
    if (!value.payload()) return;
    const std::uint32_t size = sizeFieldOf(value);
    std::uint32_t sum = 0;
    for (std::uint32_t at = 4; at < size; ++at)
        sum += value.payload()[at];
    static_cast<void>(sum);
    const OrloVariant copy(value);
    require(sizeFieldOf(copy) == size, "a copy has the same size");
}

template <typename Number>
void requireNumber(const OrloVariant& value, OrloVariant::Tag tag)
{
    require(value.tag() == tag, "a number of its type");
    require(value.payload() && sizeFieldOf(value) >= 4 + sizeof(Number), "a block for the number");
    std::string bytes = fakeSettings().secondBytes;
    bytes.resize(sizeof(Number)); // what is stored may be shorter; the rest is zero
    require(std::memcmp(value.payload() + 4, bytes.data(), bytes.size()) == 0, "the number is what was stored");
}

void requireWhatWasStored(const OrloVariant& value)
{
    const FakeSettingsStore& store = fakeSettings();
    const std::string& bytes = store.secondBytes;
    if (store.first->type == type::kString && store.secondType == type::kString)
    {
        require(value.tag() == OrloVariant::kString && value.payload(), "text is text");
        const std::uint32_t size = sizeFieldOf(value);
        require(size >= 6 && size % 2 == 0, "text is 4 bytes, two a character, and a zero");
        require(value.payload()[size - 1] == 0 && value.payload()[size - 2] == 0, "text ends in a zero");
        require(value.string().length() * 2 + 6 == size, "there is no zero before");
        const std::size_t textBytes = std::min<std::size_t>(size - 6, bytes.size());
        require(std::memcmp(value.payload() + 4, bytes.data(), textBytes) == 0, "text is what was stored");
    }
    if (store.first->type == type::kBinary)
    {
        require(value.tag() == OrloVariant::kBlob, "bytes are a blob");
        require(bytes.empty() == !value.payload(), "no bytes, no block");
        require(bytes.empty() || sizeFieldOf(value) == bytes.size() + 4, "a block of four bytes more");
        require(bytes.empty() || std::memcmp(value.payload() + 4, bytes.data(), bytes.size()) == 0, "the bytes");
    }
    if (store.first->type == type::kDword) requireNumber<std::int32_t>(value, OrloVariant::kInt32);
    if (store.first->type == type::kQword) requireNumber<std::int64_t>(value, OrloVariant::kInt64);
}

// A blob is stored four bytes longer; the variant stays as it is.
void requireStoredAgain(const OrloVariant& value)
{
    require(MvRegConfig::WriteValToReg("key", "name", value), "what was read can be stored");
    const FakeSettingsStore& store = fakeSettings();
    if (value.tag() == OrloVariant::kBlob && value.payload())
        require(store.writtenBytes.size() == sizeFieldOf(value), "a blob is as long as its size field says");
    if (value.tag() == OrloVariant::kString && value.payload())
        require(store.writtenBytes.size() >= 2 && store.writtenBytes.size() % 2 == 0, "text has its zero");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    OrloVariant value = variantFrom(input);
    const OrloVariant::Tag tagBefore = value.tag();
    const unsigned char* const payloadBefore = value.payload();
    fillStore(input);
    try
    {
        if (MvRegConfig::ReadValFromReg("key", "name", value))
        {
            const std::uint32_t stored = fakeSettings().first->type;
            if (stored == type::kExpandString || stored == type::kMultiString)
                require(value.payload() == payloadBefore && value.tag() == tagBefore, "other types change nothing");
            else
                requireWhatWasStored(value);
        }
        else
            require(value.payload() == payloadBefore && value.tag() == tagBefore, "failure changes nothing");
    }
    catch (const MvErrorStatus& error)
    {
        require(error.status() == MvErrorStatus::kInvalidInput, "only a size can be wrong here");
        require(value.payload() == payloadBefore && value.tag() == tagBefore, "an error changes nothing");
    }
    requireWhole(value);
    requireStoredAgain(value);
    return 0;
}
