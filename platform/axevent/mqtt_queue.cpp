#include "platform/axevent/mqtt_queue.h"

#include "platform/axevent/failure.h"

#include <cstdio>
#include <utility>

namespace host_events {
namespace {

// Even NORMAL waits for the disk each time the log begins anew, which a pass must not. tidy() keeps SQLite's default
// for itself, so that the log is on the disk before the database changes.
constexpr const char* prepare_sql =
    "PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF; PRAGMA wal_autocheckpoint = 0;"
    "CREATE TABLE IF NOT EXISTS queue (number INTEGER PRIMARY KEY, "
    "topic TEXT NOT NULL, payload TEXT NOT NULL, retained INTEGER NOT NULL DEFAULT 1)";
/** Files of the first release have no such column. */
constexpr const char* has_column_sql = "SELECT retained FROM queue LIMIT 0";
constexpr const char* add_column_sql = "ALTER TABLE queue ADD COLUMN retained INTEGER NOT NULL DEFAULT 1";
constexpr const char* insert_sql = "INSERT INTO queue (number, topic, payload, retained) VALUES (?, ?, ?, ?)";
constexpr const char* delete_sql = "DELETE FROM queue WHERE number = ?";
constexpr const char* select_sql = "SELECT number, topic, payload, retained FROM queue ORDER BY number";

/** A connection knows of the log only once it has read something. */
constexpr const char* tidy_sql = "SELECT number FROM queue LIMIT 1; PRAGMA wal_checkpoint(PASSIVE)";

/** Under a megabyte of log: a row takes a page or two. */
constexpr int tidy_after = 100;

/** Only another process with the same file can be in the way, and a pass must not wait for it for long. */
constexpr int busy_timeout_ms = 20;

int add_missing_column(sqlite3* database) {
    platform::Statement column;
    const bool is_there = platform::prepare(database, has_column_sql, column) == SQLITE_OK;
    return is_there ? SQLITE_OK : platform::execute(database, add_column_sql);
}

} // namespace

MqttQueue::MqttQueue(const std::string& path, size_t limit, std::string name)
    : m_path(path), m_name(std::move(name)), m_limit(limit) {
    const int code = path.empty() ? SQLITE_DONE : open_file();
    if (code == SQLITE_DONE)
        return;
    file_failed(sqlite3_errmsg(m_database.get()));
    m_database.reset();
    m_entries.clear();
    if (platform::is_damage(code))
        replace_file();
}

int MqttQueue::open_file() {
    int code = platform::open_database(m_path, 0, busy_timeout_ms, m_database);
    platform::Statement rows;
    if (code == SQLITE_OK)
        code = platform::execute(m_database.get(), prepare_sql);
    if (code == SQLITE_OK)
        code = add_missing_column(m_database.get());
    if (code == SQLITE_OK)
        code = platform::prepare(m_database.get(), select_sql, rows);
    if (code != SQLITE_OK)
        return code;
    while ((code = sqlite3_step(rows.get())) == SQLITE_ROW) {
        m_last_number = sqlite3_column_int64(rows.get(), 0);
        m_entries.push_back({m_last_number,
                             {platform::column_bytes(rows.get(), 1), platform::column_bytes(rows.get(), 2),
                              sqlite3_column_int(rows.get(), 3) != 0}});
    }
    return code;
}

void MqttQueue::replace_file() {
    const std::string aside = m_path + ".damaged";
    if (std::rename(m_path.c_str(), aside.c_str()) != 0)
        return;
    std::remove((m_path + "-wal").c_str());
    std::remove((m_path + "-shm").c_str());
    if (open_file() == SQLITE_DONE)
        complain("the damaged file is " + aside + " now, and a new one is begun");
    else
        m_database.reset();
}

void MqttQueue::push(MqttMessage message) {
    const std::lock_guard lock(m_mutex);
    if (m_entries.size() >= m_limit) {
        if (!m_dropping) {
            complain(m_name + " is full with " + std::to_string(m_limit) + " changes; the oldest go");
            m_dropping = true;
        }
        remove_first();
    }
    m_entries.push_back({++m_last_number, std::move(message)});
    run(insert_sql, m_last_number, &m_entries.back().message);
}

std::optional<MqttQueue::Entry> MqttQueue::front() const {
    const std::lock_guard lock(m_mutex);
    return m_entries.empty() ? std::nullopt : std::optional<Entry>(m_entries.front());
}

void MqttQueue::pop(std::int64_t number) {
    const std::lock_guard lock(m_mutex);
    if (!m_entries.empty() && m_entries.front().number == number)
        remove_first();
    m_dropping = m_dropping && !m_entries.empty();
}

size_t MqttQueue::size() const {
    const std::lock_guard lock(m_mutex);
    return m_entries.size();
}

void MqttQueue::tidy() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_database == nullptr || m_untidied < tidy_after)
            return;
        m_untidied = 0;
    }
    // A connection of its own: pushing goes on while this one waits for the disk.
    platform::Database database;
    platform::open_database(m_path, 0, busy_timeout_ms, database);
    platform::execute(database.get(), tidy_sql);
}

void MqttQueue::remove_first() {
    run(delete_sql, m_entries.front().number, nullptr);
    m_entries.pop_front();
}

void MqttQueue::run(const char* sql, std::int64_t number, const MqttMessage* message) {
    if (m_database == nullptr)
        return;
    platform::Statement statement;
    platform::prepare(m_database.get(), sql, statement);
    sqlite3_bind_int64(statement.get(), 1, number);
    if (message != nullptr) {
        sqlite3_bind_text(statement.get(), 2, message->topic.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_text(statement.get(), 3, message->payload.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_int(statement.get(), 4, message->retained ? 1 : 0);
    }
    ++m_untidied;
    if (sqlite3_step(statement.get()) != SQLITE_DONE) {
        file_failed(sqlite3_errmsg(m_database.get()));
        return;
    }
    m_file_failing = false;
}

void MqttQueue::file_failed(const std::string& problem) {
    if (!m_file_failing)
        complain("cannot keep " + m_name + " in " + m_path + ": " + problem + "; changes that wait are in memory only");
    m_file_failing = true;
}

} // namespace host_events
