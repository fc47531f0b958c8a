#include "host/stay_store.h"

#include "platform/common/report.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace console {
namespace {

using platform::Database;
using platform::Statement;

// Even NORMAL waits for the disk each time the log begins anew, which a pass must not; settle_stays() keeps SQLite's
// default for itself, so that the log is on the disk before the database changes.
constexpr const char* prepare_sql =
    "PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF; PRAGMA wal_autocheckpoint = 0;"
    "CREATE TABLE IF NOT EXISTS stays (id INTEGER PRIMARY KEY AUTOINCREMENT, object INTEGER NOT NULL, "
    "class INTEGER NOT NULL, entered REAL NOT NULL, left REAL NOT NULL, seconds INTEGER NOT NULL, "
    "level INTEGER NOT NULL, first REAL NOT NULL, second REAL NOT NULL, third REAL NOT NULL, there INTEGER NOT NULL);"
    "CREATE INDEX IF NOT EXISTS stays_by_entering ON stays (entered)";
constexpr const char* read_open_sql = "SELECT * FROM stays WHERE there ORDER BY id";
constexpr const char* read_sql =
    "SELECT * FROM stays WHERE entered >= ?1 AND entered < ?2 ORDER BY entered, id LIMIT ?3";
constexpr const char* check_sql = "PRAGMA quick_check(1)";
constexpr const char* last_id_sql = "SELECT seq FROM sqlite_sequence WHERE name = 'stays'";
constexpr const char* write_sql = "INSERT OR REPLACE INTO stays VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* remove_sql = "DELETE FROM stays WHERE id = ?";

/** Nobody else writes; who reads or settles is in the way of no writer. */
constexpr int busy_timeout_ms = 20;
constexpr int reader_timeout_ms = 1000;
constexpr off_t most_log_bytes = 1 << 20;
constexpr std::size_t most_unwritten = 10000;
constexpr int highest_level = 3;

StayRecord record_of(sqlite3_stmt* row) {
    StayRecord record;
    Stay& stay = record.stay;
    record.id = sqlite3_column_int64(row, 0);
    stay.object = sqlite3_column_int(row, 1);
    stay.class_id = sqlite3_column_int(row, 2);
    stay.entered = sqlite3_column_double(row, 3);
    stay.left = sqlite3_column_double(row, 4);
    stay.seconds = sqlite3_column_int(row, 5);
    stay.level = std::clamp(sqlite3_column_int(row, 6), 0, highest_level);
    for (int level = 0; level < highest_level; ++level)
        stay.reached.at(static_cast<size_t>(level)) = sqlite3_column_double(row, 7 + level);
    record.is_there = sqlite3_column_int(row, 10) != 0;
    return record;
}

int write_row(sqlite3* database, const StayRecord& record) {
    Statement row;
    platform::prepare(database, write_sql, row);
    const Stay& stay = record.stay;
    sqlite3_bind_int64(row.get(), 1, record.id);
    sqlite3_bind_int(row.get(), 2, stay.object);
    sqlite3_bind_int(row.get(), 3, stay.class_id);
    sqlite3_bind_double(row.get(), 4, stay.entered);
    sqlite3_bind_double(row.get(), 5, stay.left);
    sqlite3_bind_int(row.get(), 6, stay.seconds);
    sqlite3_bind_int(row.get(), 7, stay.level);
    for (int level = 0; level < highest_level; ++level)
        sqlite3_bind_double(row.get(), 8 + level, stay.reached.at(static_cast<size_t>(level)));
    sqlite3_bind_int(row.get(), 11, record.is_there ? 1 : 0);
    return sqlite3_step(row.get());
}

/** With what of range and limit the statement names as ?1 to ?3. SQLITE_DONE, or what failed. */
int read_rows(sqlite3* database, const char* sql, const TimeRange& range, std::int64_t limit,
              std::vector<StayRecord>& records) {
    Statement rows;
    int code = platform::prepare(database, sql, rows);
    if (code != SQLITE_OK)
        return code;
    sqlite3_bind_double(rows.get(), 1, range.from);
    sqlite3_bind_double(rows.get(), 2, range.to);
    sqlite3_bind_int64(rows.get(), 3, limit);
    while ((code = sqlite3_step(rows.get())) == SQLITE_ROW)
        records.push_back(record_of(rows.get()));
    return code;
}

int check_soundness(sqlite3* database) {
    Statement answer;
    int code = platform::prepare(database, check_sql, answer);
    if (code == SQLITE_OK)
        code = sqlite3_step(answer.get());
    if (code == SQLITE_ROW)
        return platform::column_bytes(answer.get(), 0) == "ok" ? SQLITE_OK : SQLITE_CORRUPT;
    return code;
}

} // namespace

StayStore::StayStore(const std::string& path) : m_path(path) {
    int code = open();
    if (platform::is_damage(code)) {
        m_database.reset();
        put_aside();
        code = open();
    }
    if (code != SQLITE_OK)
        failed(m_database != nullptr ? sqlite3_errmsg(m_database.get()) : sqlite3_errstr(code));
}

int StayStore::open() {
    int code = platform::open_database(m_path, 0, busy_timeout_ms, m_database);
    if (code == SQLITE_OK)
        code = check_soundness(m_database.get());
    if (code == SQLITE_OK)
        code = platform::execute(m_database.get(), prepare_sql);
    Statement last;
    if (code == SQLITE_OK)
        code = platform::prepare(m_database.get(), last_id_sql, last);
    if (code == SQLITE_OK && sqlite3_step(last.get()) == SQLITE_ROW)
        m_last_id = std::max(m_last_id, static_cast<std::int64_t>(sqlite3_column_int64(last.get(), 0)));
    m_usable = code == SQLITE_OK;
    return code;
}

void StayStore::put_aside() {
    const std::string aside = m_path + ".damaged";
    if (std::rename(m_path.c_str(), aside.c_str()) != 0)
        return;
    std::remove((m_path + "-wal").c_str());
    std::remove((m_path + "-shm").c_str());
    platform::report("stays", "the kept stays were damaged; their file is " + aside + " now, and a new one is begun");
}

std::vector<StayRecord> StayStore::close_left_open() {
    std::vector<StayRecord> open;
    if (m_database == nullptr || read_rows(m_database.get(), read_open_sql, {}, 0, open) != SQLITE_DONE)
        return {};
    for (StayRecord& record : open)
        record.is_there = false;
    write(open);
    return open;
}

void StayStore::write(const std::vector<StayRecord>& records) {
    for (const StayRecord& record : records)
        m_unwritten[record.id] = record;
    if (m_unwritten.empty())
        return;
    // A disk that was full when it was opened may have room by now.
    if ((m_usable || open() == SQLITE_OK) && write_all()) {
        m_unwritten.clear();
        if (m_failing)
            platform::report("stays", "stays are kept again");
        m_failing = false;
    }
    while (m_unwritten.size() > most_unwritten)
        m_unwritten.erase(m_unwritten.begin());
}

/** All of them or none. */
bool StayStore::write_all() {
    sqlite3* database = m_database.get();
    bool good = platform::execute(database, "BEGIN IMMEDIATE") == SQLITE_OK;
    for (auto row = m_unwritten.begin(); good && row != m_unwritten.end(); ++row)
        good = write_row(database, row->second) == SQLITE_DONE;
    good = good && platform::execute(database, "COMMIT") == SQLITE_OK;
    if (!good) {
        failed(sqlite3_errmsg(database));
        platform::execute(database, "ROLLBACK");
    }
    return good;
}

void StayStore::remove(const std::vector<std::int64_t>& ids) {
    if (ids.empty() || platform::execute(m_database.get(), "BEGIN IMMEDIATE") != SQLITE_OK)
        return;
    for (const std::int64_t id : ids) {
        Statement row;
        platform::prepare(m_database.get(), remove_sql, row);
        sqlite3_bind_int64(row.get(), 1, id);
        sqlite3_step(row.get());
    }
    // On a full disk nothing is removed now; the next sweep asks for the same again.
    if (platform::execute(m_database.get(), "COMMIT") != SQLITE_OK)
        platform::execute(m_database.get(), "ROLLBACK");
}

void StayStore::failed(const std::string& problem) {
    if (!m_failing) {
        platform::report("stays",
                         "stays cannot be kept in " + m_path + ": " + problem + "; they wait in memory until they can");
    }
    m_failing = true;
}

std::vector<StayRecord> read_stays(const std::string& path, const TimeRange& range, std::int64_t limit) {
    std::vector<StayRecord> records;
    if (access(path.c_str(), F_OK) != 0)
        return records;
    sqlite3* raw = nullptr;
    int code = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
    const Database database(raw);
    if (code == SQLITE_OK) {
        sqlite3_busy_timeout(database.get(), reader_timeout_ms);
        code = read_rows(database.get(), read_sql, range, limit, records);
    }
    if (code != SQLITE_DONE) {
        throw std::runtime_error("The kept stays cannot be read from " + path + ": " +
                                 (database != nullptr ? sqlite3_errmsg(database.get()) : sqlite3_errstr(code)) + ".");
    }
    return records;
}

void settle_stays(const std::string& path) {
    struct stat log {};
    Database database;
    if (stat((path + "-wal").c_str(), &log) == 0 && log.st_size > most_log_bytes &&
        platform::open_database(path, 0, reader_timeout_ms, database) == SQLITE_OK) {
        // A connection knows of the log only once it has read something.
        platform::execute(database.get(), "SELECT id FROM stays LIMIT 1; PRAGMA wal_checkpoint(PASSIVE)");
    }
}

} // namespace console
