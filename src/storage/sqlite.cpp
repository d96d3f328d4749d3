#include "storage/sqlite.h"

namespace tasselby {

// The SQLite layer is not built yet: nothing opens.
const std::string* sqlText(const SqlValue& value) { return std::get_if<std::string>(&value); }
Sqlite::Sqlite() = default;
Sqlite::~Sqlite() = default;
bool Sqlite::open(const std::string&) { return false; }
void Sqlite::close() {}
std::optional<SqlRows> Sqlite::executeQuery(const std::string&) { return std::nullopt; }
bool Sqlite::executeNonQuery(const std::string&) { return false; }

}  // namespace tasselby
