#include "platform/SettingsStore.h"

#include "platform/windows/WindowsApi.h"

// The current user's hive only; the machine's is never opened.

namespace mvgeo::platform
{
namespace
{

HKEY keyOf(std::intptr_t handle)
{
    return reinterpret_cast<HKEY>(handle);
}

std::intptr_t handleOf(HKEY key)
{
    return reinterpret_cast<std::intptr_t>(key);
}

// What the registry allows at most, and a zero behind it.
constexpr DWORD kKeyNameUnits = 255 + 1;
constexpr DWORD kValueNameUnits = 16383 + 1;

/** `enumerate` is called with 0, 1, 2 ... and a buffer until it says that there are no more. */
template <typename Enumerate>
std::optional<std::vector<WideString>> listNames(DWORD capacity, Enumerate enumerate)
{
    std::vector<WideString> names;
    WideString buffer(capacity, L'\0');
    for (DWORD index = 0;; ++index)
    {
        DWORD length = capacity;
        const LSTATUS status = enumerate(index, buffer.data(), &length);
        if (status == ERROR_NO_MORE_ITEMS) return names;
        if (status != ERROR_SUCCESS) return std::nullopt;
        names.push_back(buffer.substr(0, length));
    }
}

} // namespace

SettingsKey SettingsKey::openForReading(const WideChar* path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return SettingsKey(0);
    return SettingsKey(handleOf(key));
}

SettingsKey SettingsKey::openForWriting(const WideChar* path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_WRITE, &key) == ERROR_SUCCESS) return SettingsKey(handleOf(key));
    if (RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
        return SettingsKey(0);
    return SettingsKey(handleOf(key));
}

SettingsKey::~SettingsKey()
{
    if (isOpen()) RegCloseKey(keyOf(_handle));
}

std::optional<SettingHeader> SettingsKey::query(const WideChar* name) const
{
    DWORD type = 0;
    DWORD byteCount = 0;
    if (RegQueryValueExW(keyOf(_handle), name, nullptr, &type, nullptr, &byteCount) != ERROR_SUCCESS)
        return std::nullopt;
    return SettingHeader{type, byteCount};
}

std::optional<SettingHeader> SettingsKey::read(const WideChar* name, void* buffer, std::uint32_t capacity) const
{
    // Without a buffer the registry would only tell the size, and call that a success.
    BYTE none = 0;
    DWORD type = 0;
    DWORD byteCount = capacity;
    auto* const target = capacity > 0 ? static_cast<BYTE*>(buffer) : &none;
    if (RegQueryValueExW(keyOf(_handle), name, nullptr, &type, target, &byteCount) != ERROR_SUCCESS)
        return std::nullopt;
    return SettingHeader{type, byteCount};
}

bool SettingsKey::write(const WideChar* name, std::uint32_t type, const void* data, std::uint32_t byteCount)
{
    return RegSetValueExW(keyOf(_handle), name, 0, type, static_cast<const BYTE*>(data), byteCount) == ERROR_SUCCESS;
}

std::optional<std::vector<WideString>> SettingsKey::keyNames() const
{
    return listNames(kKeyNameUnits,
                     [this](DWORD index, WideChar* name, DWORD* length) {
                         return RegEnumKeyExW(keyOf(_handle), index, name, length, nullptr, nullptr, nullptr, nullptr);
                     });
}

std::optional<std::vector<WideString>> SettingsKey::valueNames() const
{
    return listNames(kValueNameUnits,
                     [this](DWORD index, WideChar* name, DWORD* length) {
                         return RegEnumValueW(keyOf(_handle), index, name, length, nullptr, nullptr, nullptr, nullptr);
                     });
}

} // namespace mvgeo::platform
