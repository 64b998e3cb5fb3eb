#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/VariantReader.h"
#include "platform/SettingsStore.h"

#include <KdDbHostApplicationServices.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

namespace
{

using mvgeo::platform::SettingHeader;
using mvgeo::platform::SettingsKey;
using mvgeo::platform::WideString;
namespace setting_type = mvgeo::platform::setting_type;

constexpr std::size_t kSizeFieldBytes = sizeof(std::uint32_t);

bool isHostRunning()
{
    return kddbHostApplicationServices() != nullptr;
}

bool writeText(SettingsKey& key, const KdString& valueName, const KdString& text)
{
    const std::size_t byteCount = (text.length() + 1) * sizeof(KdChar);
    if (byteCount > UINT32_MAX) return false;
    return key.write(valueName.kwszPtr(), setting_type::kString, text.kwszPtr(), static_cast<std::uint32_t>(byteCount));
}

/** The type is asked for first: where the value is missing there is nothing to fetch. */
std::optional<SettingHeader> readValue(const KdString& subKey, const KdString& valueName, void* buffer,
                                       std::uint32_t capacity)
{
    const SettingsKey key = SettingsKey::openForReading(subKey.kwszPtr());
    if (!key.isOpen() || !key.query(valueName.kwszPtr())) return std::nullopt;
    return key.read(valueName.kwszPtr(), buffer, capacity);
}

template <typename Number>
bool writeNumber(SettingsKey& key, const KdString& valueName, std::uint32_t type, Number number)
{
    return key.write(valueName.kwszPtr(), type, &number, sizeof(number));
}

// The size field is taken for the byte count although it counts itself, so four bytes from behind the block may be
// stored: callers that fill the field with the byte count rely on it.
bool writeBlob(SettingsKey& key, const KdString& valueName, const unsigned char* payload)
{
    std::uint32_t byteCount = 0;
    if (payload) std::memcpy(&byteCount, payload, sizeof(byteCount));
    if (byteCount == 0) return true;
    return key.write(valueName.kwszPtr(), setting_type::kBinary, payload + kSizeFieldBytes, byteCount);
}

bool writeVariant(SettingsKey& key, const KdString& valueName, const OrloVariant& value)
{
    switch (value.tag())
    {
    case OrloVariant::kInt32:
        return writeNumber(key, valueName, setting_type::kDword, value.int32());
    case OrloVariant::kInt64:
        return writeNumber(key, valueName, setting_type::kQword, value.int64());
    case OrloVariant::kDouble:
        return writeNumber(key, valueName, setting_type::kBinary, value.real());
    case OrloVariant::kBlob:
        return writeBlob(key, valueName, value.payload());
    case OrloVariant::kString:
        return writeText(key, valueName, value.string());
    default:
        return true; // nothing to write; that the key could be opened is success enough
    }
}

std::vector<KdString> sortedNames(const std::vector<WideString>& names)
{
    std::vector<KdString> sorted;
    sorted.reserve(names.size());
    for (const WideString& name : names)
        sorted.emplace_back(name.c_str());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

} // namespace

namespace MvRegConfig
{

KdString getRegRootPath()
{
    const KdDbHostApplicationServices* services = kddbHostApplicationServices();
    return services ? KdString(services->getRegistryProductRootKey()) : KdString();
}

KdString getRegCfgPath()
{
    if (!isHostRunning()) return {};
    return getRegRootPath() + KdString("\\profiles\\Default\\Config");
}

bool setRegDWordVal(const KdString& subKey, const KdString& valueName, int value)
{
    if (!isHostRunning() || subKey.isEmpty()) return false;
    SettingsKey key = SettingsKey::openForWriting(subKey.kwszPtr());
    return key.isOpen() && writeNumber(key, valueName, setting_type::kDword, static_cast<std::int32_t>(value));
}

bool getRegDWordVal(const KdString& subKey, const KdString& valueName, int& value)
{
    if (!isHostRunning() || subKey.isEmpty()) return false;
    std::int32_t number = 0;
    const std::optional<SettingHeader> fetched = readValue(subKey, valueName, &number, sizeof(number));
    if (!fetched || fetched->type != setting_type::kDword) return false;
    value = number;
    return true;
}

bool setRegStringVal(const KdString& subKey, const KdString& valueName, const KdString& value)
{
    if (!isHostRunning() || subKey.isEmpty()) return false;
    SettingsKey key = SettingsKey::openForWriting(subKey.kwszPtr());
    return key.isOpen() && writeText(key, valueName, value);
}

bool getRegStringVal(const KdString& subKey, const KdString& valueName, KdString& value)
{
    if (!isHostRunning() || subKey.isEmpty()) return false;
    constexpr std::uint32_t kCapacity = 512; // 255 characters and their zero; longer text is refused on purpose
    KdChar text[kCapacity / sizeof(KdChar) + 1] = {}; // one more: stored text need not end in a zero
    const std::optional<SettingHeader> fetched = readValue(subKey, valueName, text, kCapacity);
    if (!fetched || fetched->type != setting_type::kString) return false;
    value = text;
    return true;
}

bool WriteValToReg(const KdString& subKey, const KdString& valueName, const OrloVariant& value)
{
    if (subKey.isEmpty()) return false;
    SettingsKey key = SettingsKey::openForWriting(subKey.kwszPtr());
    return key.isOpen() && writeVariant(key, valueName, value);
}

bool ReadValFromReg(const KdString& subKey, const KdString& valueName, OrloVariant& value)
{
    if (subKey.isEmpty()) return false;
    SettingsKey key = SettingsKey::openForReading(subKey.kwszPtr());
    return key.isOpen() && mvgeo::readVariant(key, valueName, value);
}

bool listRegKey(const KdString& subKey, std::vector<KdString>& subKeys, std::vector<KdString>& valueNames)
{
    if (subKey.isEmpty()) return false;
    const SettingsKey key = SettingsKey::openForReading(subKey.kwszPtr());
    if (!key.isOpen()) return false;
    const std::optional<std::vector<WideString>> keys = key.keyNames();
    const std::optional<std::vector<WideString>> values = key.valueNames();
    if (!keys || !values) return false;
    subKeys = sortedNames(*keys);
    valueNames = sortedNames(*values);
    return true;
}

} // namespace MvRegConfig
