#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mvgeo::platform
{

/** Names are 16-bit text on every system. */
#if defined(_WIN32)
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif
using WideString = std::basic_string<WideChar>;

/** The kinds of values, by the numbers that the Windows registry gives them. Any other number can be stored too. */
namespace setting_type
{
constexpr std::uint32_t kString = 1; // UTF-16 with a terminating zero
constexpr std::uint32_t kExpandString = 2;
constexpr std::uint32_t kBinary = 3;
constexpr std::uint32_t kDword = 4;
constexpr std::uint32_t kMultiString = 7;
constexpr std::uint32_t kQword = 11;
} // namespace setting_type

struct SettingHeader
{
    std::uint32_t type;
    std::uint32_t byteCount;
};

/** An open key of the current user's settings: keys below keys, and in each of them named values of any type and size.
 *
 * On Windows the registry below HKEY_CURRENT_USER. Elsewhere a file with the same limits, see posix/SettingsFile.h: 255
 * units a key, 512 keys deep, 16,383 units a value name. Names are compared without regard to case and keep the case in
 * which they were first written. A path has '\' between its keys and none in front.
 *
 * Every operation is complete or did not happen, also when the process is killed in it. Nothing is reported but
 * success. Thread: any, several processes too; one object is used by one thread at a time.
 */
class SettingsKey
{
public:
    /** Not open if there is no such key. */
    [[nodiscard]] static SettingsKey openForReading(const WideChar* path);
    /** Creates every key along the path that is missing. */
    [[nodiscard]] static SettingsKey openForWriting(const WideChar* path);

    SettingsKey(SettingsKey&& other) noexcept : _handle(other._handle) { other._handle = 0; }
    SettingsKey& operator=(SettingsKey&&) = delete;
    ~SettingsKey();

    [[nodiscard]] bool isOpen() const { return _handle != 0; }
    /** Gives the handle up without closing it. */
    void leaveOpen() { _handle = 0; }

    /** Nothing if there is no such value. */
    [[nodiscard]] std::optional<SettingHeader> query(const WideChar* name) const;
    /** Fetches a value; says what was fetched. Nothing if there is no such value, or it is larger than `capacity`; the
     * buffer's content is open then. */
    [[nodiscard]] std::optional<SettingHeader> read(const WideChar* name, void* buffer, std::uint32_t capacity) const;
    [[nodiscard]] bool write(const WideChar* name, std::uint32_t type, const void* data, std::uint32_t byteCount);

    /** In no particular order. Nothing if they cannot be read. */
    [[nodiscard]] std::optional<std::vector<WideString>> keyNames() const;
    [[nodiscard]] std::optional<std::vector<WideString>> valueNames() const;

private:
    explicit SettingsKey(std::intptr_t handle) : _handle(handle) {}

    std::intptr_t _handle; // the registry's handle, or the key's number in the settings file; 0 is not open
};

} // namespace mvgeo::platform
