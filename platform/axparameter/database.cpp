#include "platform/axparameter/database.h"

namespace host_parameters {

int open_database(const std::string& path, Connection& connection) {
    sqlite3* raw = nullptr;
    // One mutex per handle guards the connection already (axparameter.cpp).
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int code = sqlite3_open_v2(path.c_str(), &raw, flags, nullptr);
    connection.reset(raw);
    if (code != SQLITE_OK) {
        return code;
    }
    sqlite3_busy_timeout(raw, busy_timeout_ms);
    return execute(raw, "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;");
}

int execute(sqlite3* connection, const char* sql) {
    return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr);
}

int prepare(sqlite3* connection, const char* sql, Statement& statement) {
    sqlite3_stmt* raw = nullptr;
    const int code = sqlite3_prepare_v2(connection, sql, -1, &raw, nullptr);
    statement.reset(raw);
    return code;
}

int bind_bytes(sqlite3_stmt* statement, int index, std::string_view bytes) {
    // SQLite takes a blob without an address for NULL.
    const char* data = bytes.empty() ? "" : bytes.data();
    return sqlite3_bind_blob64(statement, index, data, bytes.size(), SQLITE_STATIC);
}

std::string column_bytes(sqlite3_stmt* statement, int column) {
    // A blob of length 0 has no address.
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), static_cast<size_t>(size));
}

bool is_damage(int code) {
    return (code & 0xff) == SQLITE_CORRUPT || (code & 0xff) == SQLITE_NOTADB;
}

} // namespace host_parameters
