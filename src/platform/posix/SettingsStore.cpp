#include "platform/SettingsStore.h"

#include "platform/posix/SettingsFile.h"
#include "platform/posix/SettingsNames.h"

#include <cstring>

// A key's handle is its number in the file: there is nothing to close.

namespace mvgeo::platform
{
namespace
{

constexpr std::int64_t kCurrentUser = 0; // above the keys at the top
constexpr std::int64_t kNoKey = 0;

void bindName(SettingsStatement& statement, int parameter, const WideString& name)
{
    statement.bind(parameter, name.data(), name.size() * sizeof(WideChar));
}

std::int64_t findKey(const SettingsFile& file, std::int64_t parent, const WideString& name)
{
    const WideString folded = foldCase(name);
    SettingsStatement statement = file.prepare("SELECT id FROM keys WHERE parent = ?1 AND folded = ?2");
    statement.bind(1, parent);
    bindName(statement, 2, folded);
    return statement.nextRow() ? statement.number(0) : kNoKey;
}

std::int64_t createKey(const SettingsFile& file, std::int64_t parent, const WideString& name)
{
    const WideString folded = foldCase(name);
    SettingsStatement statement = file.prepare("INSERT INTO keys(parent, folded, name) VALUES(?1, ?2, ?3)");
    statement.bind(1, parent);
    bindName(statement, 2, folded);
    bindName(statement, 3, name);
    return statement.run() ? file.lastRowId() : kNoKey;
}

std::int64_t findPath(const SettingsFile& file, const std::vector<WideString>& names)
{
    std::int64_t key = kCurrentUser;
    for (const WideString& name : names)
    {
        key = findKey(file, key, name);
        if (key == kNoKey) return kNoKey;
    }
    return key;
}

// All of the path or nothing: a process that is killed in between leaves no half of it.
std::int64_t createPath(const SettingsFile& file, const std::vector<WideString>& names)
{
    SettingsTransaction transaction(file);
    if (!transaction.isOpen()) return kNoKey;
    std::int64_t key = kCurrentUser;
    for (const WideString& name : names)
    {
        const std::int64_t existing = findKey(file, key, name);
        key = existing != kNoKey ? existing : createKey(file, key, name);
        if (key == kNoKey) return kNoKey;
    }
    return transaction.commit() ? key : kNoKey;
}

std::optional<std::vector<WideString>> listNames(std::intptr_t key, const char* sql)
{
    const SettingsFile file = SettingsFile::openForReading();
    SettingsStatement statement = file.prepare(sql);
    statement.bind(1, static_cast<std::int64_t>(key));
    std::vector<WideString> names;
    while (statement.nextRow())
    {
        const std::string bytes = statement.bytes(0);
        WideString name(bytes.size() / sizeof(WideChar), WideChar(0));
        std::memcpy(name.data(), bytes.data(), name.size() * sizeof(WideChar));
        names.push_back(name);
    }
    if (!statement.isAtEnd()) return std::nullopt;
    return names;
}

} // namespace

SettingsKey SettingsKey::openForReading(const WideChar* path)
{
    const std::vector<WideString> names = splitKeyPath(path);
    if (names.empty()) return SettingsKey(kNoKey);
    const SettingsFile file = SettingsFile::openForReading();
    return SettingsKey(file.isOpen() ? static_cast<std::intptr_t>(findPath(file, names)) : kNoKey);
}

SettingsKey SettingsKey::openForWriting(const WideChar* path)
{
    const std::vector<WideString> names = splitKeyPath(path);
    if (names.empty()) return SettingsKey(kNoKey);
    const SettingsFile file = SettingsFile::openForWriting();
    if (!file.isOpen()) return SettingsKey(kNoKey);
    const std::int64_t existing = findPath(file, names);
    return SettingsKey(static_cast<std::intptr_t>(existing != kNoKey ? existing : createPath(file, names)));
}

SettingsKey::~SettingsKey() = default;

std::optional<SettingHeader> SettingsKey::query(const WideChar* name) const
{
    const WideString folded = foldCase(name);
    const SettingsFile file = SettingsFile::openForReading();
    SettingsStatement statement =
        file.prepare("SELECT type, length(data) FROM settings WHERE key = ?1 AND folded = ?2");
    statement.bind(1, static_cast<std::int64_t>(_handle));
    bindName(statement, 2, folded);
    if (!statement.nextRow()) return std::nullopt;
    return SettingHeader{static_cast<std::uint32_t>(statement.number(0)),
                         static_cast<std::uint32_t>(statement.number(1))};
}

std::optional<SettingHeader> SettingsKey::read(const WideChar* name, void* buffer, std::uint32_t capacity) const
{
    const WideString folded = foldCase(name);
    const SettingsFile file = SettingsFile::openForReading();
    SettingsStatement statement = file.prepare("SELECT type, data FROM settings WHERE key = ?1 AND folded = ?2");
    statement.bind(1, static_cast<std::int64_t>(_handle));
    bindName(statement, 2, folded);
    if (!statement.nextRow()) return std::nullopt;
    SettingHeader header{static_cast<std::uint32_t>(statement.number(0)), 0};
    if (!statement.copyBytes(1, buffer, capacity, header.byteCount)) return std::nullopt;
    return header;
}

bool SettingsKey::write(const WideChar* name, std::uint32_t type, const void* data, std::uint32_t byteCount)
{
    const WideString written(name);
    if (written.size() > kMaxValueNameUnits) return false;
    const WideString folded = foldCase(written);
    const SettingsFile file = SettingsFile::openForWriting();
    SettingsStatement statement =
        file.prepare("INSERT INTO settings(key, folded, name, type, data) SELECT ?1, ?2, ?3, ?4, ?5"
                     " WHERE EXISTS(SELECT 1 FROM keys WHERE id = ?1)"
                     " ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data RETURNING 1");
    statement.bind(1, static_cast<std::int64_t>(_handle));
    bindName(statement, 2, folded);
    bindName(statement, 3, written);
    statement.bind(4, static_cast<std::int64_t>(type));
    statement.bind(5, data, byteCount);
    // No row: the key is not in this file, which took the other's place since. It is stored when the end is reached.
    return statement.nextRow() && statement.run();
}

std::optional<std::vector<WideString>> SettingsKey::keyNames() const
{
    return listNames(_handle, "SELECT name FROM keys WHERE parent = ?1");
}

std::optional<std::vector<WideString>> SettingsKey::valueNames() const
{
    return listNames(_handle, "SELECT name FROM settings WHERE key = ?1");
}

} // namespace mvgeo::platform
