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
    try {
        return std::min(Query(damaged, "SELECT max(number) FROM parameters").number(0), numbers_to_try);
    } catch (const SqlError&) {
        return numbers_to_try;
    }
}

/** Copies what can be read; gives the number of values. */
int copy_readable_values(sqlite3* damaged, sqlite3* fresh) {
    Statement read;
    if (prepare(damaged, "SELECT owner, name, value FROM parameters WHERE number = ?1", read) != SQLITE_OK)
        return 0;
    Statement write;
    const char* insert = "INSERT OR IGNORE INTO parameters (number, owner, name, value) VALUES (?1, ?2, ?3, ?4)";
    check(fresh, prepare(fresh, insert, write));
    int copied = 0;
    const sqlite3_int64 last = highest_number(damaged);
    for (sqlite3_int64 number = 1; number <= last; ++number) {
        sqlite3_reset(read.get());
        sqlite3_bind_int64(read.get(), 1, number);
        if (sqlite3_step(read.get()) != SQLITE_ROW || sqlite3_column_bytes(read.get(), 1) == 0)
            continue;
        const std::string columns[] = {column_bytes(read.get(), 0), column_bytes(read.get(), 1),
                                       column_bytes(read.get(), 2)};
        sqlite3_reset(write.get());
        sqlite3_bind_int64(write.get(), 1, number);
        for (int i = 0; i < 3; ++i)
            bind_bytes(write.get(), i + 2, columns[i]);
        check(fresh, sqlite3_step(write.get()));
        copied += sqlite3_changes(fresh);
    }
    return copied;
}

/** Makes the store at `fresh_path`; gives the number of values recovered into it. */
int build_replacement(const std::string& damaged_path, const std::string& fresh_path) {
    const Database fresh = open_store(fresh_path);
    execute(fresh.get(), schema);
    execute(fresh.get(), "BEGIN IMMEDIATE");
    int copied = 0;
    Database damaged;
    try {
        damaged = open_store(damaged_path);
        // The damaged file stays as it was found, its log included.
        sqlite3_db_config(damaged.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    } catch (const SqlError&) {
        // Nothing can be read.
    }
    if (damaged)
        copied = copy_readable_values(damaged.get(), fresh.get());
    execute(fresh.get(), "COMMIT");
    // A single file is what is renamed: everything must be in it, nothing in a log beside it.
    execute(fresh.get(), "PRAGMA wal_checkpoint(TRUNCATE)");
    return copied;
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

void check_soundness(sqlite3* connection) {
    const Query verdict(connection, "PRAGMA integrity_check(1)");
    if (verdict.has_row() && verdict.bytes(0) != "ok")
        check(connection, SQLITE_CORRUPT);
}

void replace_damaged_store(const std::string& path, const std::string& reason) {
    const std::string fresh_path = path + ".new";
    remove_database(fresh_path);
    int recovered = -1;
    try {
        recovered = build_replacement(path, fresh_path);
    } catch (const SqlError&) {
        // Said below.
    }
    const std::string kept = unused_name_for_damaged(path);
    // The log goes first: beside the new file it would be taken for the new file's own.
    if (recovered < 0 || link(path.c_str(), kept.c_str()) != 0 ||
        (rename((path + "-wal").c_str(), (kept + "-wal").c_str()) != 0 && errno != ENOENT) ||
        (unlink((path + "-shm").c_str()) != 0 && errno != ENOENT) || rename(fresh_path.c_str(), path.c_str()) != 0) {
        remove_database(fresh_path);
        fail(ErrorCode::store, "The parameter store " + path + " is damaged (" + reason +
                                   ") and a new one cannot be made beside it: is the folder full or not writable?");
    }
    complain("the parameter store " + path + " is damaged (" + reason + "). It was kept as " + kept +
             "; a new one was made with " + std::to_string(recovered) + " values recovered from it");
}

} // namespace host_parameters
