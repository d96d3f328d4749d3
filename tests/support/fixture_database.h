#pragma once

#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace tasselby::testing {

// A database written straight through SQLite, never through the worker's own
// classes, so that a fault there cannot shape the fixtures it is tested on.
// Opened (its folders made) for writing; closed with the object. Every
// failure throws.
class FixtureDatabase {
public:
    explicit FixtureDatabase(const std::string& path);
    ~FixtureDatabase();
    FixtureDatabase(const FixtureDatabase&) = delete;
    FixtureDatabase& operator=(const FixtureDatabase&) = delete;

    void run(const std::string& sql);
    // Runs the statement once per row, binding its values in order as text
    // (nothing binds SQL NULL), all in one transaction.
    void insert(const std::string& sql, const std::vector<std::vector<std::optional<std::string>>>& rows);

private:
    sqlite3* db_ = nullptr;
};

// The first column of every row the statement yields, as text ("NULL" for SQL
// NULL), read through a read-only connection; nothing when the database or
// the statement fails.
std::optional<std::vector<std::string>> columnValues(const std::string& path, const std::string& sql);

// The same, throwing when the database or the statement fails.
std::vector<std::string> queryColumn(const std::string& path, const std::string& sql);
// Runs statements on the database at path, made when missing; throws on failure.
void executeSql(const std::string& path, const std::string& sql);
// The text as an SQL string literal.
std::string sqlQuoted(const std::string& text);

}  // namespace tasselby::testing
