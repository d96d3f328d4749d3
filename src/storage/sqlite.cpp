#include "storage/sqlite.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <type_traits>

namespace tasselby {

namespace {

constexpr useconds_t kBusyPauseMicroseconds = 20;

constexpr const char* kCommit = "COMMIT TRANSACTION;";
constexpr const char* kRollback = "ROLLBACK TRANSACTION;";
constexpr const char* kBeginExclusive = "BEGIN EXCLUSIVE TRANSACTION;";
constexpr const char* kBeginDeferred = "BEGIN DEFERRED TRANSACTION;";

struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

std::string textOf(const unsigned char* text) {
    return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text));
}

}  // namespace

const std::string* sqlText(const SqlValue& value) { return std::get_if<std::string>(&value); }

Sqlite::Sqlite() = default;

Sqlite::Sqlite(const std::string& path) : busyRetryTimeout_(0) {
    // Whether the open worked shows in filePath(); the instance is usable either way.
    open(path);
}

Sqlite::~Sqlite() { close(); }

bool Sqlite::retryWhenBusy(std::int64_t busyCount) const {
    usleep(kBusyPauseMicroseconds);
    // Signed on purpose: only a negative setting makes a call retry, and then
    // without bound; 0 or more gives up at the first busy result.
    return busyCount - 1 > busyRetryTimeout_;
}

bool Sqlite::open(const std::string& path) { return open(path, false); }

bool Sqlite::open(const std::string& path, bool readOnly) {
    close();
    const int flags = readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    if (sqlite3_open_v2(path.c_str(), &db_, flags, nullptr) != SQLITE_OK) return false;
    filePath_ = path;
    return true;
}

namespace {

// The path as a "file:" URI: the characters that a URI gives a meaning to
// are escaped, so that any file name opens as itself.
std::string fileUri(const std::string& path) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string uri = "file:";
    for (unsigned char c : path) {
        if (c == '%' || c == '?' || c == '#' || c < 0x20 || c >= 0x7F) {
            uri += '%';
            uri += kHex[c >> 4];
            uri += kHex[c & 0xF];
        } else {
            uri += static_cast<char>(c);
        }
    }
    return uri;
}

constexpr int kMostFunctionArguments = 8;

void callTextFunction(sqlite3_context* context, int count, sqlite3_value** values) {
    auto* function = static_cast<Sqlite::TextFunction*>(sqlite3_user_data(context));
    std::optional<std::string_view> arguments[kMostFunctionArguments];
    for (int i = 0; i < count && i < kMostFunctionArguments; ++i) {
        int type = sqlite3_value_type(values[i]);
        if (type == SQLITE_NULL || type == SQLITE_BLOB) continue;
        const unsigned char* text = sqlite3_value_text(values[i]);
        if (text == nullptr) continue;
        arguments[i] = std::string_view(reinterpret_cast<const char*>(text),
                                        static_cast<std::size_t>(sqlite3_value_bytes(values[i])));
    }
    std::size_t used = static_cast<std::size_t>(std::min(count, kMostFunctionArguments));
    sqlite3_result_int64(context, (*function)(std::span<const std::optional<std::string_view>>(arguments, used)));
}

void destroyTextFunction(void* function) { delete static_cast<Sqlite::TextFunction*>(function); }

}  // namespace

bool Sqlite::openExisting(const std::string& path, bool readOnly, bool immutable) {
    close();
    std::string uri = fileUri(path);
    if (readOnly && immutable) uri += "?immutable=1";
    int flags = SQLITE_OPEN_URI | (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE);
    if (sqlite3_open_v2(uri.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
        close();
        return false;
    }
    filePath_ = path;
    return true;
}

bool Sqlite::enableSecureDelete() {
    // The statement answers the new setting as a row, so it is run as a query.
    return executeQuery("PRAGMA secure_delete = ON;").has_value();
}

std::int64_t Sqlite::changes() const { return db_ == nullptr ? 0 : sqlite3_changes64(db_); }

bool Sqlite::createFunction(const std::string& name, int argumentCount, TextFunction function) {
    if (db_ == nullptr || argumentCount < 0 || argumentCount > kMostFunctionArguments) return false;
    auto* owned = new TextFunction(std::move(function));
    // SQLite calls the destructor itself, also when the registration fails.
    return sqlite3_create_function_v2(db_, name.c_str(), argumentCount, SQLITE_UTF8, owned, callTextFunction,
                                      nullptr, nullptr, destroyTextFunction) == SQLITE_OK;
}

void Sqlite::close() {
    if (db_ == nullptr) return;
    for (std::int64_t busy = 1; sqlite3_close(db_) == SQLITE_BUSY && retryWhenBusy(busy); ++busy) {
    }
    // A connection still busy after the rule gave up is simply forgotten.
    filePath_.reset();
    db_ = nullptr;
}

std::int64_t Sqlite::errorCode() const { return sqlite3_errcode(db_); }

std::string Sqlite::errorMessage() const {
    const char* message = sqlite3_errmsg(db_);
    return message == nullptr ? std::string() : std::string(message);
}

bool Sqlite::prepareSql(const std::string& sql, sqlite3_stmt** inStatament) {
    for (std::int64_t busy = 1;; ++busy) {
        int result = sqlite3_prepare_v2(db_, sql.c_str(), -1, inStatament, nullptr);
        if (result == SQLITE_OK) return true;
        if (result != SQLITE_BUSY || !retryWhenBusy(busy)) return false;
    }
}

bool Sqlite::hasData(sqlite3_stmt* statement) {
    for (std::int64_t busy = 1;; ++busy) {
        int result = sqlite3_step(statement);
        if (result == SQLITE_ROW) return true;
        if (result != SQLITE_BUSY || !retryWhenBusy(busy)) return false;
    }
}

bool Sqlite::executeStatament(sqlite3_stmt* statement) {
    for (std::int64_t busy = 1;; ++busy) {
        int result = sqlite3_step(statement);
        if (result == SQLITE_DONE || result == SQLITE_OK) return true;
        if (result != SQLITE_BUSY || !retryWhenBusy(busy)) return false;
    }
}

void Sqlite::bindObject(const SqlArgument& object, int toColumn, sqlite3_stmt* inStatament) {
    std::visit(
        [&](const auto& value) {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, SqlNull>) {
                sqlite3_bind_null(inStatament, toColumn);
            } else if constexpr (std::is_same_v<T, SqlBlob>) {
                sqlite3_bind_blob(inStatament, toColumn, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
            } else if constexpr (std::is_same_v<T, SqlDate>) {
                sqlite3_bind_double(inStatament, toColumn,
                                    std::chrono::duration<double>(value.time_since_epoch()).count());
            } else if constexpr (std::is_same_v<T, bool>) {
                sqlite3_bind_int(inStatament, toColumn, value ? 1 : 0);
            } else if constexpr (std::is_integral_v<T>) {
                sqlite3_bind_int64(inStatament, toColumn, static_cast<sqlite3_int64>(value));
            } else if constexpr (std::is_floating_point_v<T>) {
                sqlite3_bind_double(inStatament, toColumn, static_cast<double>(value));
            } else {
                sqlite3_bind_text(inStatament, toColumn, value.c_str(), -1, SQLITE_STATIC);
            }
        },
        object);
}

void Sqlite::bindArguments(sqlite3_stmt* statement, const SqlArguments& arguments) {
    const int count = sqlite3_bind_parameter_count(statement);
    // Bytes and text are bound without a copy, so each argument is bound from
    // the caller's own vector; parameters beyond it are bound as NULL.
    for (int position = 1; position <= count; ++position) {
        const auto index = static_cast<std::size_t>(position - 1);
        if (index < arguments.size()) {
            bindObject(arguments[index], position, statement);
        } else {
            sqlite3_bind_null(statement, position);
        }
    }
}

SqlValue Sqlite::columnData(sqlite3_stmt* statement, int columnIndex) {
    switch (sqlite3_column_type(statement, columnIndex)) {
    case SQLITE_INTEGER:
    case SQLITE_TEXT:
        // Integers come back as their decimal text: callers put them straight
        // back into the text of statements.
        return textOf(sqlite3_column_text(statement, columnIndex));
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, columnIndex);
    case SQLITE_BLOB: {
        const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(statement, columnIndex));
        const int size = sqlite3_column_bytes(statement, columnIndex);
        return bytes == nullptr ? SqlBlob() : SqlBlob(bytes, bytes + size);
    }
    default:
        return SqlNull{};
    }
}

std::string Sqlite::columnName(sqlite3_stmt* statement, int columnIndex) {
    const char* name = sqlite3_column_name(statement, columnIndex);
    return name == nullptr ? std::string() : std::string(name);
}

std::optional<SqlRows> Sqlite::executeQuery(const std::string& sql) { return executeQuery(sql, {}); }

std::optional<SqlRows> Sqlite::executeQuery(const std::string& sql, const SqlArguments& arguments) {
    sqlite3_stmt* prepared = nullptr;
    if (!prepareSql(sql, &prepared)) return std::nullopt;
    Statement statement(prepared);
    bindArguments(prepared, arguments);
    SqlRows rows;
    readRows(prepared, [&rows](SqlRow& row) { rows.push_back(std::move(row)); });
    return rows;
}

bool Sqlite::forEachRow(const std::string& sql, const std::function<void(SqlRow&)>& eachRow) {
    sqlite3_stmt* prepared = nullptr;
    if (!prepareSql(sql, &prepared)) return false;
    Statement statement(prepared);
    readRows(prepared, eachRow);
    return true;
}

void Sqlite::readRows(sqlite3_stmt* statement, const std::function<void(SqlRow&)>& eachRow) {
    // The columns in name order, each name once with the last column of that
    // name, so that every row is built by appending at the end of its map.
    const int columns = sqlite3_column_count(statement);
    std::map<std::string, int> byName;
    for (int column = 0; column < columns; ++column) byName.insert_or_assign(columnName(statement, column), column);

    // A step error in the middle of a result ends it quietly with the rows read so far.
    while (hasData(statement)) {
        SqlRow row;
        for (const auto& [name, column] : byName) row.emplace_hint(row.end(), name, columnData(statement, column));
        eachRow(row);
    }
}

bool Sqlite::executeNonQuery(const std::string& sql) { return executeNonQuery(sql, {}); }

bool Sqlite::executeNonQuery(const std::string& sql, const SqlArguments& arguments) {
    sqlite3_stmt* prepared = nullptr;
    if (!prepareSql(sql, &prepared)) return false;
    Statement statement(prepared);
    bindArguments(prepared, arguments);
    return executeStatament(prepared);
}

bool Sqlite::commit() { return executeNonQuery(kCommit); }
bool Sqlite::rollback() { return executeNonQuery(kRollback); }
bool Sqlite::beginTransaction() { return executeNonQuery(kBeginExclusive); }
bool Sqlite::beginDeferredTransaction() { return executeNonQuery(kBeginDeferred); }

std::string Sqlite::version() { return sqlite3_libversion(); }

std::string Sqlite::createUuid() {
    // A version 4 (random) UUID; nothing needs more than fresh random bytes.
    std::random_device source;
    std::array<unsigned char, 16> bytes{};
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(source());
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);

    constexpr const char* kHexDigits = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
        text.push_back(kHexDigits[bytes[i] >> 4]);
        text.push_back(kHexDigits[bytes[i] & 0x0F]);
    }
    return text;
}

}  // namespace tasselby
