#include "mvregconfig/FakeSettingsStore.h"

#include <cstring>

FakeSettingsStore& fakeSettings()
{
    static FakeSettingsStore store;
    return store;
}

namespace mvgeo::platform
{

SettingsKey SettingsKey::openForReading(const WideChar*)
{
    if (!fakeSettings().hasKey) return SettingsKey(0);
    ++fakeSettings().opened;
    return SettingsKey(1);
}

SettingsKey SettingsKey::openForWriting(const WideChar*)
{
    if (!fakeSettings().hasKey && !fakeSettings().canCreate) return SettingsKey(0);
    ++fakeSettings().opened;
    return SettingsKey(1);
}

SettingsKey::~SettingsKey()
{
    if (isOpen()) ++fakeSettings().closed;
}

std::optional<SettingHeader> SettingsKey::query(const WideChar*) const
{
    return fakeSettings().first;
}

std::optional<SettingHeader> SettingsKey::read(const WideChar*, void* buffer, std::uint32_t capacity) const
{
    FakeSettingsStore& store = fakeSettings();
    store.capacitySeen = capacity;
    if (store.secondFails) return std::nullopt;
    if (store.secondFillsTheRoom) store.secondBytes.assign(capacity, 'x');
    if (store.secondBytes.size() > capacity) return std::nullopt;
    if (!store.secondBytes.empty()) std::memcpy(buffer, store.secondBytes.data(), store.secondBytes.size());
    return SettingHeader{store.secondType, static_cast<std::uint32_t>(store.secondBytes.size())};
}

bool SettingsKey::write(const WideChar*, std::uint32_t type, const void* data, std::uint32_t byteCount)
{
    FakeSettingsStore& store = fakeSettings();
    if (!store.canWrite) return false;
    store.hasWritten = true;
    store.writtenType = type;
    store.writtenBytes.assign(static_cast<const char*>(data), byteCount);
    return true;
}

std::optional<std::vector<WideString>> SettingsKey::keyNames() const
{
    return std::nullopt;
}

std::optional<std::vector<WideString>> SettingsKey::valueNames() const
{
    return std::vector<WideString>();
}

} // namespace mvgeo::platform
