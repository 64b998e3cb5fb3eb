#include "platform/posix/SettingsFile.h"

#include "platform/Environment.h"

#include <sqlite3.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

#include <sys/stat.h>

namespace mvgeo::platform
{
namespace
{

namespace fs = std::filesystem;

constexpr int kBusyTimeoutMs = 10000;

// Marks the file as ours ("MvGS") and tells the layout of its tables.
#define MVGEO_SETTINGS_MARKS "PRAGMA application_id = 1299597139; PRAGMA user_version = 1;"
constexpr std::int64_t kApplicationId = 1299597139;
constexpr std::int64_t kLayoutVersion = 1;

// Names are UTF-16 in upper case for comparing, and UTF-16 as they were first written. The keys at the top have parent
// 0.
constexpr const char* kCreateTables =
    "CREATE TABLE keys(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL,"
    " UNIQUE(parent, folded)) STRICT;"
    "CREATE TABLE settings(key INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY(key, folded)) STRICT;" MVGEO_SETTINGS_MARKS;
#undef MVGEO_SETTINGS_MARKS

enum class Content
{
    ours,
    nothing,
    unusable // another program's, a later layout, damaged, or not to be read
};

Content contentOf(const SettingsFile& file)
{
    SettingsStatement statement =
        file.prepare("SELECT application_id, user_version, page_size, (SELECT count(*) FROM sqlite_master)"
                     " FROM pragma_application_id, pragma_user_version, pragma_page_size");
    if (!statement.nextRow()) return Content::unusable;
    // SQLite notices missing pages, but takes one that is cut off for zeros. No writer is at work while the statement
    // is.
    if (file.byteCount() % statement.number(2) != 0) return Content::unusable;
    if (statement.number(0) == kApplicationId && statement.number(1) == kLayoutVersion) return Content::ours;
    const bool isBlank = statement.number(0) == 0 && statement.number(1) == 0 && statement.number(3) == 0;
    return isBlank ? Content::nothing : Content::unusable;
}

// Another process may be doing the same, hence the second look inside the transaction.
bool makeTables(const SettingsFile& file)
{
    SettingsTransaction transaction(file);
    if (!transaction.isOpen()) return false;
    const Content content = contentOf(file);
    if (content != Content::nothing) return content == Content::ours;
    return file.run(kCreateTables) && transaction.commit();
}

fs::path configurationFolder()
{
    const std::optional<std::string> configHome = environmentVariable("XDG_CONFIG_HOME");
    if (configHome && fs::path(*configHome).is_absolute()) return *configHome;
    const std::optional<std::string> home = environmentVariable("HOME");
    if (home && fs::path(*home).is_absolute()) return fs::path(*home) / ".config";
    return {};
}

/** Absolute, so that SQLite takes it for a file whatever it looks like; empty if there is no place for one. */
std::string settingsPath()
{
    std::error_code error;
    const std::optional<std::string> chosen = environmentVariable("MVGEO_SETTINGS_FILE");
    if (chosen && !chosen->empty()) return fs::absolute(*chosen, error).string();
    const fs::path folder = configurationFolder();
    return folder.empty() ? std::string() : (folder / "mvgeothirdparty" / "settings.sqlite").string();
}

// Folders that are made for the settings are for the user alone.
void makeFolder(const fs::path& folder)
{
    std::error_code error;
    if (folder.empty() || fs::exists(folder, error) || error) return;
    makeFolder(folder.parent_path());
    mkdir(folder.c_str(), S_IRWXU);
}

} // namespace

void SettingsStatement::Finalize::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

void SettingsStatement::bind(int parameter, std::int64_t number)
{
    if (_statement) sqlite3_bind_int64(_statement.get(), parameter, number);
}

void SettingsStatement::bind(int parameter, const void* data, std::uint64_t byteCount)
{
    if (!_statement) return;
    // A null pointer would be SQL's null, which is no value. A parameter too large to bind is null as well, and the
    // tables refuse it.
    const void* const bytes = byteCount > 0 ? data : "";
    sqlite3_bind_blob64(_statement.get(), parameter, bytes, byteCount, SQLITE_STATIC);
}

bool SettingsStatement::nextRow()
{
    const int status = _statement ? sqlite3_step(_statement.get()) : SQLITE_ERROR;
    _isAtEnd = status == SQLITE_DONE;
    return status == SQLITE_ROW;
}

bool SettingsStatement::run()
{
    return !nextRow() && isAtEnd();
}

std::int64_t SettingsStatement::number(int column) const
{
    return sqlite3_column_int64(_statement.get(), column);
}

std::string SettingsStatement::bytes(int column) const
{
    const auto* data = static_cast<const char*>(sqlite3_column_blob(_statement.get(), column));
    const int byteCount = sqlite3_column_bytes(_statement.get(), column);
    return data ? std::string(data, static_cast<std::size_t>(byteCount)) : std::string();
}

bool SettingsStatement::copyBytes(int column, void* buffer, std::uint32_t capacity, std::uint32_t& byteCount) const
{
    const void* data = sqlite3_column_blob(_statement.get(), column);
    const auto size = static_cast<std::uint32_t>(sqlite3_column_bytes(_statement.get(), column));
    if (size > capacity) return false;
    if (size > 0 && !data) return false; // memory ran out
    if (size > 0) std::memcpy(buffer, data, size);
    byteCount = size;
    return true;
}

void SettingsFile::Close::operator()(sqlite3* database) const
{
    sqlite3_close(database);
}

SettingsFile SettingsFile::connect(const std::string& path, int flags)
{
    SettingsFile file;
    if (path.empty()) return file;
    sqlite3* database = nullptr;
    const int status = sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_EXRESCODE, nullptr);
    file._database.reset(database); // to be closed also where opening failed
    if (status != SQLITE_OK)
        file._database.reset();
    else
        sqlite3_busy_timeout(database, kBusyTimeoutMs);
    return file;
}

SettingsFile SettingsFile::openForReading()
{
    // For reading and writing, because a reader that finds a killed writer's journal has to undo that writer's part;
    // where the file may not be written SQLite is content with reading.
    SettingsFile file = connect(settingsPath(), SQLITE_OPEN_READWRITE);
    if (file.isOpen() && contentOf(file) != Content::ours) return {};
    return file;
}

SettingsFile SettingsFile::openForWriting()
{
    const std::string path = settingsPath();
    makeFolder(fs::path(path).parent_path());
    SettingsFile file = connect(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    // SQLite is content with reading where the file may not be written.
    if (!file.isOpen() || sqlite3_db_readonly(file._database.get(), "main") != 0) return {};
    const Content content = contentOf(file);
    const bool isUsable = content == Content::ours || (content == Content::nothing && makeTables(file));
    return isUsable ? std::move(file) : SettingsFile();
}

SettingsStatement SettingsFile::prepare(const char* sql) const
{
    SettingsStatement statement;
    sqlite3_stmt* prepared = nullptr;
    if (_database) sqlite3_prepare_v2(_database.get(), sql, -1, &prepared, nullptr);
    statement._statement.reset(prepared);
    return statement;
}

bool SettingsFile::run(const char* sql) const
{
    return _database && sqlite3_exec(_database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::int64_t SettingsFile::lastRowId() const
{
    return sqlite3_last_insert_rowid(_database.get());
}

std::int64_t SettingsFile::byteCount() const
{
    std::error_code error; // SQLite's own function says 0 for a file of one byte
    const auto size = static_cast<std::int64_t>(fs::file_size(sqlite3_db_filename(_database.get(), "main"), error));
    return error ? -1 : size;
}

SettingsTransaction::SettingsTransaction(const SettingsFile& file) : _file(file), _isOpen(file.run("BEGIN IMMEDIATE"))
{
}

SettingsTransaction::~SettingsTransaction()
{
    // After some errors SQLite has undone it already; then this fails, and nothing is lost.
    if (_isOpen) static_cast<void>(_file.run("ROLLBACK"));
}

bool SettingsTransaction::commit()
{
    if (!_isOpen || !_file.run("COMMIT")) return false;
    _isOpen = false;
    return true;
}

} // namespace mvgeo::platform
