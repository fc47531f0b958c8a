#pragma once

#include "platform/common/sqlite.h"

#include <string>
#include <string_view>

namespace host_parameters {

using platform::column_bytes;
using platform::Database;
using platform::execute;
using platform::is_damage;
using platform::prepare;
using platform::Statement;

/**
 * The table of a store. Names and values are blobs: any bytes, compared byte by byte, never converted. `owner` is the
 * group, or empty for the camera's own parameters; `number` keeps the order of registration.
 */
inline constexpr const char* schema = "CREATE TABLE IF NOT EXISTS parameters (number INTEGER PRIMARY KEY, "
                                      "owner BLOB NOT NULL, name BLOB NOT NULL, value BLOB NOT NULL, "
                                      "UNIQUE (owner, name))";

/** Statements wait this long for another process that writes, on a disk that may need seconds; then SQLITE_BUSY. */
inline constexpr int busy_timeout_ms = 60000;

/**
 * Opens the file, makes it when it is missing, with a write-ahead log and full synchronisation: what a commit returned
 * from survives the end of the process and of the power. Gives a result code of SQLite; `database` is set whenever
 * SQLite made one, since it then holds the message.
 */
inline int open_store(const std::string& path, Database& database) {
    // One mutex per handle guards the connection already (axparameter.cpp).
    const int code = platform::open_database(path, SQLITE_OPEN_NOMUTEX, busy_timeout_ms, database);
    return code == SQLITE_OK ? execute(database.get(), "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;") : code;
}

/** Binds without a copy: `bytes` must outlive the statement's last step. The first index is 1. */
inline int bind_bytes(sqlite3_stmt* statement, int index, std::string_view bytes) {
    // SQLite takes a blob without an address for NULL.
    const char* data = bytes.empty() ? "" : bytes.data();
    return sqlite3_bind_blob64(statement, index, data, bytes.size(), SQLITE_STATIC);
}

} // namespace host_parameters
