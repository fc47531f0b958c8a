#pragma once

#include "platform/common/handle.h"

#include <sqlite3.h>

#include <string>

namespace platform {

using Database = Handle<sqlite3, sqlite3_close_v2>;
using Statement = Handle<sqlite3_stmt, sqlite3_finalize>;

/**
 * Opens the file, makes it when it is missing. Gives a result code of SQLite; `database` is set whenever SQLite made
 * one, since it then holds the message. Statements wait for other processes for so long, then SQLITE_BUSY.
 */
inline int open_database(const std::string& path, int more_flags, int busy_timeout_ms, Database& database) {
    sqlite3* raw = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | more_flags;
    const int code = sqlite3_open_v2(path.c_str(), &raw, flags, nullptr);
    database.reset(raw);
    if (code == SQLITE_OK)
        sqlite3_busy_timeout(raw, busy_timeout_ms);
    return code;
}

/** Runs statements whose rows nobody wants. */
inline int execute(sqlite3* database, const char* sql) {
    return sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
}

inline int prepare(sqlite3* database, const char* sql, Statement& statement) {
    sqlite3_stmt* raw = nullptr;
    const int code = sqlite3_prepare_v2(database, sql, -1, &raw, nullptr);
    statement.reset(raw);
    return code;
}

/** A copy of the current row's column; the first is 0. */
inline std::string column_bytes(sqlite3_stmt* statement, int column) {
    // A blob of length 0 has no address.
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), static_cast<size_t>(size));
}

/** True for the codes that mean that the file's content is broken, as opposed to out of reach. */
inline bool is_damage(int code) {
    return (code & 0xff) == SQLITE_CORRUPT || (code & 0xff) == SQLITE_NOTADB;
}

} // namespace platform
