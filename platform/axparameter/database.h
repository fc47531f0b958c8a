#pragma once

#include "platform/common/sqlite.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace host_parameters {

using platform::column_bytes;
using platform::Database;
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

/** Thrown for what SQLite refuses. */
struct SqlError {
    int code;
    std::string reason;
    int system_error; // 0 when it was not the system's doing
};

/** Throws what `code` says, unless it is a success. */
inline void check(sqlite3* database, int code) {
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE)
        return;
    // The checks that find damage by themselves leave no message in the connection.
    const bool has_message = database != nullptr && sqlite3_errcode(database) == code;
    throw SqlError{code, has_message ? sqlite3_errmsg(database) : sqlite3_errstr(code),
                   database != nullptr ? sqlite3_system_errno(database) : 0};
}

inline void execute(sqlite3* database, const char* sql) {
    check(database, platform::execute(database, sql));
}

/**
 * Opens the file, makes it when it is missing, with a write-ahead log and full synchronisation: what a commit returned
 * from survives the end of the process and of the power.
 */
inline Database open_store(const std::string& path) {
    Database database;
    // One mutex per handle guards the connection already (axparameter.cpp).
    const int code = platform::open_database(path, SQLITE_OPEN_NOMUTEX, busy_timeout_ms, database);
    check(database.get(), code);
    execute(database.get(), "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;");
    return database;
}

/** Binds without a copy: `bytes` must outlive the statement's last step. The first index is 1. */
inline int bind_bytes(sqlite3_stmt* statement, int index, std::string_view bytes) {
    // SQLite takes a blob without an address for NULL.
    const char* data = bytes.empty() ? "" : bytes.data();
    return sqlite3_bind_blob64(statement, index, data, bytes.size(), SQLITE_STATIC);
}

/** A statement whose first step is done. The arguments' bytes must outlive it. */
class Query {
  public:
    Query(sqlite3* database, const char* sql, std::initializer_list<std::string_view> arguments = {})
        : m_database(database) {
        check(database, prepare(database, sql, m_statement));
        int index = 0;
        for (const std::string_view argument : arguments)
            check(database, bind_bytes(m_statement.get(), ++index, argument));
        next();
    }

    void next() {
        const int code = sqlite3_step(m_statement.get());
        check(m_database, code);
        m_has_row = code == SQLITE_ROW;
    }
    bool has_row() const { return m_has_row; }
    /** REQUIRES: has_row, here and below. */
    sqlite3_int64 number(int column) const { return sqlite3_column_int64(m_statement.get(), column); }
    std::string bytes(int column) const { return column_bytes(m_statement.get(), column); }

  private:
    sqlite3* const m_database;
    Statement m_statement;
    bool m_has_row = false;
};

} // namespace host_parameters
