#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
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

// A thin owner of one SQLite connection. Statements run in autocommit mode,
// one at a time; every failure is answered as nothing or false. Destruction
// closes the connection.
class Sqlite {
public:
    Sqlite();
    ~Sqlite();
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    // Opens (and creates when missing) the database file; closes any open one first.
    bool open(const std::string& path);
    void close();

    // Rows of the statement, in SQLite's order; empty for a statement without
    // rows (a DELETE runs); nothing when it cannot be prepared.
    std::optional<SqlRows> executeQuery(const std::string& sql);
    bool executeNonQuery(const std::string& sql);

    std::int64_t busyRetryTimeout() const { return busyRetryTimeout_; }
    void setBusyRetryTimeout(std::int64_t value) { busyRetryTimeout_ = value; }
    const std::optional<std::string>& filePath() const { return filePath_; }
    sqlite3* _db() const { return db_; }

private:
    std::int64_t busyRetryTimeout_ = 1;
    std::optional<std::string> filePath_;
    sqlite3* db_ = nullptr;
};

}  // namespace tasselby
