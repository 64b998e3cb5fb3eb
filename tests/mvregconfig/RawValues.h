#pragma once

#include "platform/SettingsStore.h"

#include <KdString.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

/** Stored values as they lie there, past the functions under test. */
struct RawValue
{
    std::uint32_t type;
    std::string bytes;
};

inline bool operator==(const RawValue& a, const RawValue& b)
{
    return a.type == b.type && a.bytes == b.bytes;
}

inline bool storeRaw(const KdString& key, const KdString& name, const RawValue& value)
{
    using mvgeo::platform::SettingsKey;
    SettingsKey open = SettingsKey::openForWriting(key.kwszPtr());
    // The registry looks behind text that does not end in a zero, and stores a zero that it finds there with it.
    const std::string bytes = value.bytes + "\xFF\xFF";
    return open.isOpen() &&
           open.write(name.kwszPtr(), value.type, bytes.data(), static_cast<std::uint32_t>(value.bytes.size()));
}

inline std::optional<RawValue> storedAt(const KdString& key, const KdString& name)
{
    using namespace mvgeo::platform;
    const SettingsKey open = SettingsKey::openForReading(key.kwszPtr());
    if (!open.isOpen()) return std::nullopt;
    const std::optional<SettingHeader> header = open.query(name.kwszPtr());
    if (!header) return std::nullopt;
    std::string bytes(header->byteCount, '\0');
    if (!open.read(name.kwszPtr(), bytes.data(), header->byteCount)) return std::nullopt;
    return RawValue{header->type, bytes};
}

inline bool keyExists(const KdString& key)
{
    return mvgeo::platform::SettingsKey::openForReading(key.kwszPtr()).isOpen();
}

/** The bytes of UTF-16 text, low byte first; no terminating zero but what stands in it. */
inline std::string utf16Bytes(const std::basic_string<KdChar>& text)
{
    std::string bytes;
    for (const KdChar unit : text)
    {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}
