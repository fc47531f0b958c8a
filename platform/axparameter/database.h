#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>

namespace host_parameters {

struct CloseConnection {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/** The table of a store. Names and values are blobs: any bytes, compared byte by byte, never converted. `owner` is the
    group, or empty for the camera's own parameters; `number` keeps the order of registration. */
inline constexpr const char* schema = "CREATE TABLE IF NOT EXISTS parameters (number INTEGER PRIMARY KEY, "
                                      "owner BLOB NOT NULL, name BLOB NOT NULL, value BLOB NOT NULL, "
                                      "UNIQUE (owner, name))";

/** Statements wait this long for another process that writes, on a disk that may need seconds; then SQLITE_BUSY. */
inline constexpr int busy_timeout_ms = 60000;

/** Opens the file, makes it when it is missing, with a write-ahead log and full synchronisation: what a commit returned
    from survives the end of the process and of the power. Gives a result code of SQLite; `connection` is set whenever
    SQLite made one, since it then holds the message. */
int open_database(const std::string& path, Connection& connection);

/** Runs statements that give no rows. */
int execute(sqlite3* connection, const char* sql);

int prepare(sqlite3* connection, const char* sql, Statement& statement);
/** Binds without a copy: `bytes` must outlive the statement's last step. The first index is 1. */
int bind_bytes(sqlite3_stmt* statement, int index, std::string_view bytes);
/** A copy of the current row's column; the first is 0. */
std::string column_bytes(sqlite3_stmt* statement, int column);

/** True for the codes that mean that the file's content is broken, as opposed to out of reach. */
bool is_damage(int code);

} // namespace host_parameters
