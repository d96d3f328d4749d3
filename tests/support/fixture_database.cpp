#include "support/fixture_database.h"

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace tasselby::testing {

FixtureDatabase::FixtureDatabase(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) {
        sqlite3_close(db_);
        throw std::runtime_error("cannot open fixture database " + path);
    }
    // Fixtures need no durability; skipping the syncs keeps large ones quick.
    run("PRAGMA synchronous = OFF;");
}

FixtureDatabase::~FixtureDatabase() { sqlite3_close(db_); }

void FixtureDatabase::run(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        std::string text = message ? message : "unknown error";
        sqlite3_free(message);
        throw std::runtime_error("fixture statement failed: " + text + " in " + sql);
    }
}

void FixtureDatabase::insert(const std::string& sql, const std::vector<std::vector<std::optional<std::string>>>& rows) {
    run("BEGIN;");
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) {
        throw std::runtime_error("cannot prepare fixture statement " + sql);
    }
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, sqlite3_finalize);
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (row[i]) {
                sqlite3_bind_text(raw, static_cast<int>(i + 1), row[i]->c_str(), -1, SQLITE_TRANSIENT);
            } else {
                sqlite3_bind_null(raw, static_cast<int>(i + 1));
            }
        }
        if (sqlite3_step(raw) != SQLITE_DONE) throw std::runtime_error("fixture insert failed: " + sql);
        sqlite3_reset(raw);
    }
    run("COMMIT;");
}

std::optional<std::vector<std::string>> columnValues(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> owner(nullptr, sqlite3_close);
    int opened = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    owner.reset(db);
    sqlite3_stmt* raw = nullptr;
    if (opened != SQLITE_OK || sqlite3_prepare_v2(db, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) return std::nullopt;
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, sqlite3_finalize);
    std::vector<std::string> values;
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(raw)) == SQLITE_ROW) {
        const unsigned char* text = sqlite3_column_text(raw, 0);
        values.emplace_back(text ? reinterpret_cast<const char*>(text) : "NULL");
    }
    if (step != SQLITE_DONE) return std::nullopt;
    return values;
}

std::vector<std::string> queryColumn(const std::string& path, const std::string& sql) {
    std::optional<std::vector<std::string>> values = columnValues(path, sql);
    if (!values) throw std::runtime_error("query failed: " + sql + " on " + path);
    return *values;
}

void executeSql(const std::string& path, const std::string& sql) { FixtureDatabase(path).run(sql); }

std::string sqlQuoted(const std::string& text) {
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("''") : std::string(1, c);
    return out + "'";
}

}  // namespace tasselby::testing
