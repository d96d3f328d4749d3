#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace tasselby {

// SQL NULL inside a row: a value of its own, not a missing key.
struct SqlNull {
    bool operator==(const SqlNull&) const = default;
};

using SqlBlob = std::vector<unsigned char>;

// A column value: INTEGER and TEXT arrive as text, FLOAT as double, BLOB as bytes.
using SqlValue = std::variant<SqlNull, std::string, double, SqlBlob>;

// One result row, column name to value (a later column of the same name wins).
using SqlRow = std::map<std::string, SqlValue>;
using SqlRows = std::vector<SqlRow>;

// The text of a value that arrived as text (TEXT or INTEGER); nothing otherwise.
const std::string* sqlText(const SqlValue& value);

using SqlDate = std::chrono::system_clock::time_point;

// A value bound to a statement parameter. Each kind binds its own way:
// SqlNull as NULL, bytes as a BLOB, a date as REAL seconds since 1970, bool
// as the 32-bit INTEGER 1 or 0, the integers as 64-bit INTEGER, float and
// double as REAL, text as TEXT (up to its first zero byte).
using SqlArgument =
    std::variant<SqlNull, SqlBlob, SqlDate, bool, std::int32_t, std::int64_t, float, double, std::string>;
using SqlArguments = std::vector<SqlArgument>;

// A thin owner of one SQLite connection. Statements run in autocommit mode,
// one at a time; every failure is answered as nothing or false. Destruction
// closes the connection.
//
// A busy database is met by the busy rule: after each busy result a call
// pauses 20 microseconds and tries again only while (busy results so far - 1)
// exceeds busyRetryTimeout. Any value of 0 or more therefore gives up at the
// first busy result; a negative value retries without bound.
class Sqlite {
public:
    // busyRetryTimeout 1, nothing open.
    Sqlite();
    // busyRetryTimeout 0, then opens the path; a failed open leaves the
    // instance closed (its handle is still released with the instance).
    explicit Sqlite(const std::string& path);
    ~Sqlite();
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    // Opens (and creates when missing) the database file; closes any open one
    // first. On failure the handle SQLite gave back stays until close().
    bool open(const std::string& path);
    // The same, read-only when asked: a missing file is then not created and
    // every write fails (SQLITE_READONLY), leaving the file as it was.
    bool open(const std::string& path, bool readOnly);
    // Opens an existing database and never creates one. Read-only when
    // readOnly is set; immutable further promises SQLite that nobody changes
    // the file, so it takes no lock at all and a database that another
    // process holds locked can still be read. False when the file is missing
    // or does not open (the instance is then closed).
    bool openExisting(const std::string& path, bool readOnly, bool immutable = false);
    // Closes the connection, retrying by the busy rule; after giving up the
    // connection is forgotten. Nothing happens when none is open.
    void close();

    // SQLite's most recent result code and error message of the connection.
    std::int64_t errorCode() const;
    std::string errorMessage() const;

    // Rows of the statement, in SQLite's order; empty for a statement without
    // rows (a DELETE runs); nothing when it cannot be prepared. Parameters
    // beyond the given arguments are bound as NULL.
    std::optional<SqlRows> executeQuery(const std::string& sql);
    std::optional<SqlRows> executeQuery(const std::string& sql, const SqlArguments& arguments);
    // The same rows handed to eachRow one at a time, each gone before the
    // next is read, so that a big table never sits in memory whole; false
    // when the statement cannot be prepared.
    bool forEachRow(const std::string& sql, const std::function<void(SqlRow&)>& eachRow);
    // Whether the statement ran to its end without producing a row.
    bool executeNonQuery(const std::string& sql);
    bool executeNonQuery(const std::string& sql, const SqlArguments& arguments);

    // Makes SQLite overwrite the content of deleted rows with zeros for the
    // rest of the connection. False when the setting could not be made.
    bool enableSecureDelete();

    // Rows changed by the connection's most recent INSERT, UPDATE or DELETE.
    std::int64_t changes() const;

    // A function of text arguments that statements of this connection can
    // call by name; SQL NULL and values that are not text arrive as nothing
    // (INTEGER and FLOAT as their text). It answers an integer.
    using TextFunction = std::function<std::int64_t(std::span<const std::optional<std::string_view>>)>;
    // Registers it for exactly argumentCount arguments (at most 8); the
    // connection owns it until it closes.
    bool createFunction(const std::string& name, int argumentCount, TextFunction function);

    bool commit();
    bool rollback();
    bool beginTransaction();          // exclusive
    bool beginDeferredTransaction();

    // The statement building blocks. A prepared statement belongs to the
    // caller, who finalizes it.
    bool prepareSql(const std::string& sql, sqlite3_stmt** inStatament);
    // Steps once: true when the statement is done (or answered OK).
    bool executeStatament(sqlite3_stmt* statement);
    // Binds to the 1-based parameter position. Bytes and text are not copied:
    // the argument must outlive the statement's use of it.
    void bindObject(const SqlArgument& object, int toColumn, sqlite3_stmt* inStatament);
    // Steps once: true when a row is ready.
    bool hasData(sqlite3_stmt* statement);
    // The current row's value and name of the 0-based column.
    SqlValue columnData(sqlite3_stmt* statement, int columnIndex);
    std::string columnName(sqlite3_stmt* statement, int columnIndex);

    std::int64_t busyRetryTimeout() const { return busyRetryTimeout_; }
    void setBusyRetryTimeout(std::int64_t value) { busyRetryTimeout_ = value; }
    const std::optional<std::string>& filePath() const { return filePath_; }
    sqlite3* _db() const { return db_; }
    // Takes over a connection handle; the instance closes it from then on.
    void set_db(sqlite3* db) { db_ = db; }

    // SQLite's library version text.
    static std::string version();
    // A new random UUID, upper-case hexadecimal in groups 8-4-4-4-12.
    static std::string createUuid();

private:
    // Pauses, then answers whether the call that met its busyCount-th busy
    // result tries again.
    bool retryWhenBusy(std::int64_t busyCount) const;
    void bindArguments(sqlite3_stmt* statement, const SqlArguments& arguments);
    void readRows(sqlite3_stmt* statement, const std::function<void(SqlRow&)>& eachRow);

    std::int64_t busyRetryTimeout_ = 1;
    std::optional<std::string> filePath_;
    sqlite3* db_ = nullptr;
};

}  // namespace tasselby
