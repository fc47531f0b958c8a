#include "platform/axparameter/damage.h"

#include "platform/axparameter/database.h"
#include "platform/axparameter/failure.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace host_parameters {
namespace {

/**
 * Rows are looked up one by one by number: a broken page then costs its own rows only. When the table cannot even say
 * its highest number, this many are tried; a store has about 70.
 */
constexpr sqlite3_int64 numbers_to_try = 65536;

sqlite3_int64 highest_number(sqlite3* damaged) {
    Statement statement;
    if (prepare(damaged, "SELECT max(number) FROM parameters", statement) == SQLITE_OK &&
        sqlite3_step(statement.get()) == SQLITE_ROW)
        return std::min(sqlite3_column_int64(statement.get(), 0), numbers_to_try);
    return numbers_to_try;
}

/** Copies what can be read; gives the number of values, or -1 when the new store cannot be written. */
int copy_readable_values(sqlite3* damaged, sqlite3* fresh) {
    Statement read;
    if (prepare(damaged, "SELECT owner, name, value FROM parameters WHERE number = ?1", read) != SQLITE_OK)
        return 0;
    Statement write;
    const char* insert = "INSERT OR IGNORE INTO parameters (number, owner, name, value) VALUES (?1, ?2, ?3, ?4)";
    if (prepare(fresh, insert, write) != SQLITE_OK)
        return -1;
    int copied = 0;
    const sqlite3_int64 last = highest_number(damaged);
    for (sqlite3_int64 number = 1; number <= last; ++number) {
        sqlite3_reset(read.get());
        sqlite3_bind_int64(read.get(), 1, number);
        if (sqlite3_step(read.get()) != SQLITE_ROW || sqlite3_column_bytes(read.get(), 1) == 0)
            continue;
        const std::string owner = column_bytes(read.get(), 0);
        const std::string name = column_bytes(read.get(), 1);
        const std::string value = column_bytes(read.get(), 2);
        sqlite3_reset(write.get());
        sqlite3_bind_int64(write.get(), 1, number);
        bind_bytes(write.get(), 2, owner);
        bind_bytes(write.get(), 3, name);
        bind_bytes(write.get(), 4, value);
        if (sqlite3_step(write.get()) != SQLITE_DONE)
            return -1;
        copied += sqlite3_changes(fresh);
    }
    return copied;
}

/** Makes the store at `fresh_path`; gives the number of values recovered into it, or -1. */
int build_replacement(const std::string& damaged_path, const std::string& fresh_path) {
    Database fresh;
    if (open_store(fresh_path, fresh) != SQLITE_OK || execute(fresh.get(), schema) != SQLITE_OK ||
        execute(fresh.get(), "BEGIN IMMEDIATE") != SQLITE_OK)
        return -1;
    Database damaged;
    int copied = 0;
    if (open_store(damaged_path, damaged) == SQLITE_OK) {
        // The damaged file stays as it was found, its log included.
        sqlite3_db_config(damaged.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        copied = copy_readable_values(damaged.get(), fresh.get());
    }
    if (copied < 0 || execute(fresh.get(), "COMMIT") != SQLITE_OK)
        return -1;
    // A single file is what is renamed: everything must be in it, nothing in a log beside it.
    return execute(fresh.get(), "PRAGMA wal_checkpoint(TRUNCATE)") == SQLITE_OK ? copied : -1;
}

void remove_database(const std::string& path) {
    for (const char* part : {"", "-wal", "-shm"})
        unlink((path + part).c_str());
}

std::string unused_name_for_damaged(const std::string& path) {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%S", &parts);
    const std::string base = path + ".damaged-" + stamp;
    std::string name = base;
    for (int i = 2; access(name.c_str(), F_OK) == 0; ++i)
        name = base + "-" + std::to_string(i);
    return name;
}

} // namespace

int check_soundness(sqlite3* connection) {
    Statement statement;
    int code = prepare(connection, "PRAGMA integrity_check(1)", statement);
    if (code == SQLITE_OK)
        code = sqlite3_step(statement.get());
    if (code == SQLITE_ROW)
        return column_bytes(statement.get(), 0) == "ok" ? SQLITE_OK : SQLITE_CORRUPT;
    return code;
}

bool replace_damaged_store(const std::string& path, const std::string& reason, GError** error) {
    const std::string fresh_path = path + ".new";
    remove_database(fresh_path);
    const int recovered = build_replacement(path, fresh_path);
    const std::string kept = unused_name_for_damaged(path);
    // The log goes first: beside the new file it would be taken for the new file's own.
    if (recovered < 0 || link(path.c_str(), kept.c_str()) != 0 ||
        (rename((path + "-wal").c_str(), (kept + "-wal").c_str()) != 0 && errno != ENOENT) ||
        (unlink((path + "-shm").c_str()) != 0 && errno != ENOENT) || rename(fresh_path.c_str(), path.c_str()) != 0) {
        remove_database(fresh_path);
        return fail(error, ErrorCode::store,
                    "The parameter store " + path + " is damaged (" + reason +
                        ") and a new one cannot be made beside it: is the folder full or not writable?");
    }
    complain("the parameter store " + path + " is damaged (" + reason + "). It was kept as " + kept +
             "; a new one was made with " + std::to_string(recovered) + " values recovered from it");
    return true;
}

} // namespace host_parameters
