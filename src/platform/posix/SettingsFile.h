#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace mvgeo::platform
{

/** One SQL statement. Text that is bound must live until the statement has run. */
class SettingsStatement
{
public:
    void bind(int parameter, std::int64_t number);
    /** Null with 0 bytes is an empty value. */
    void bind(int parameter, const void* data, std::uint64_t byteCount);

    /** Moves to the next row. False at the end, and on an error. */
    [[nodiscard]] bool nextRow();
    /** For a statement that gives no rows. */
    [[nodiscard]] bool run();
    /** Whether the last nextRow() came to the end, not to an error. */
    [[nodiscard]] bool isAtEnd() const { return _isAtEnd; }

    [[nodiscard]] std::int64_t number(int column) const;
    [[nodiscard]] std::string bytes(int column) const;
    /** Copies the column into the buffer if it is not larger. */
    [[nodiscard]] bool copyBytes(int column, void* buffer, std::uint32_t capacity, std::uint32_t& byteCount) const;

private:
    friend class SettingsFile;
    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const;
    };

    std::unique_ptr<sqlite3_stmt, Finalize> _statement; // null if the text or the file is broken: nothing works then
    bool _isAtEnd = false;
};

/** The file that stands in for the registry: an SQLite database of two tables, `keys` and `settings`.
 *
 * It lies at $MVGEO_SETTINGS_FILE, else in "mvgeothirdparty/settings.sqlite" below $XDG_CONFIG_HOME or $HOME/.config.
 * SQLite's rollback journal makes each transaction whole or undone, also when a process is killed; processes wait for
 * each other, ten seconds at most. A file that is no such database, or that SQLite finds damaged, is left as it is:
 * nothing can be read from it or written to it until somebody moves it away.
 *
 * One object is one connection, opened for one operation: nothing is kept between the operations but the number of an
 * open key, so that a fork, a new environment variable or a file that is moved away meet no old state. Where another
 * file took this one's place under an open key, and holds no key of that number, nothing is read or written; the same
 * number may also stand for another key there.
 */
class SettingsFile
{
public:
    /** Not open if there is no such file yet, or it holds nothing. */
    [[nodiscard]] static SettingsFile openForReading();
    /** Makes the folder, the file and its tables if they are missing. Not open if the file may not be written. */
    [[nodiscard]] static SettingsFile openForWriting();

    [[nodiscard]] bool isOpen() const { return _database != nullptr; }
    [[nodiscard]] SettingsStatement prepare(const char* sql) const;
    [[nodiscard]] bool run(const char* sql) const;
    [[nodiscard]] std::int64_t lastRowId() const;
    /** -1 if it cannot be told. */
    [[nodiscard]] std::int64_t byteCount() const;

private:
    struct Close
    {
        void operator()(sqlite3* database) const;
    };

    static SettingsFile connect(const std::string& path, int flags);

    std::unique_ptr<sqlite3, Close> _database;
};

/** A transaction that is undone unless it is committed. It waits for other writers at its begin. */
class SettingsTransaction
{
public:
    explicit SettingsTransaction(const SettingsFile& file);
    ~SettingsTransaction();
    SettingsTransaction(const SettingsTransaction&) = delete;
    SettingsTransaction& operator=(const SettingsTransaction&) = delete;

    [[nodiscard]] bool isOpen() const { return _isOpen; }
    [[nodiscard]] bool commit();

private:
    const SettingsFile& _file;
    bool _isOpen;
};

} // namespace mvgeo::platform
