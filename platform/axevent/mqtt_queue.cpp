#include "platform/axevent/mqtt_queue.h"

#include "platform/axevent/complain.h"

#include <sqlite3.h>

#include <cstdio>
#include <utility>

namespace host_events {
namespace {

constexpr const char* create_sql = "CREATE TABLE IF NOT EXISTS queue (number INTEGER PRIMARY KEY, topic TEXT NOT NULL, "
                                   "payload TEXT NOT NULL)";
constexpr const char* insert_sql = "INSERT INTO queue (number, topic, payload) VALUES (?, ?, ?)";
constexpr const char* delete_sql = "DELETE FROM queue WHERE number = ?";
constexpr const char* select_sql = "SELECT number, topic, payload FROM queue ORDER BY number";

/** A connection knows of the log only once it has read something. */
constexpr const char* tidy_sql = "SELECT number FROM queue LIMIT 1; PRAGMA wal_checkpoint(PASSIVE)";

/** Under a megabyte of log: a row takes a page or two. */
constexpr int tidy_after = 100;

/** Only another process with the same file can be in the way, and a pass must not wait for it for long. */
constexpr int busy_timeout_ms = 20;

struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

Statement prepare(sqlite3* database, const char* sql) {
    sqlite3_stmt* raw = nullptr;
    sqlite3_prepare_v2(database, sql, -1, &raw, nullptr);
    return Statement(raw);
}

/** NULL when there is no memory for it; other failures show in the handle. */
sqlite3* connect(const std::string& path) {
    sqlite3* database = nullptr;
    sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    sqlite3_busy_timeout(database, busy_timeout_ms);
    return database;
}

bool prepare_file(sqlite3* database) {
    // Even NORMAL waits for the disk each time the log begins anew, which a pass must not. tidy() keeps SQLite's
    // default for itself, so that the log is on the disk before the database changes.
    return database != nullptr && sqlite3_errcode(database) == SQLITE_OK &&
           sqlite3_exec(database,
                        "PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF; "
                        "PRAGMA wal_autocheckpoint = 0;",
                        nullptr, nullptr, nullptr) == SQLITE_OK &&
           sqlite3_exec(database, create_sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string column(sqlite3_stmt* statement, int index) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace

void MqttQueue::Close::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

MqttQueue::MqttQueue(const std::string& path, size_t limit) : m_path(path), m_limit(limit) {
    if (!path.empty()) {
        open_file();
    }
}

MqttQueue::~MqttQueue() = default;

void MqttQueue::open_file() {
    m_database.reset(connect(m_path));
    if (prepare_file(m_database.get()) && load()) {
        return;
    }
    const int code = sqlite3_errcode(m_database.get());
    file_failed(sqlite3_errmsg(m_database.get()));
    m_database.reset();
    m_entries.clear();
    if (code != SQLITE_CORRUPT && code != SQLITE_NOTADB) {
        return;
    }
    const std::string aside = m_path + ".damaged";
    if (std::rename(m_path.c_str(), aside.c_str()) == 0) {
        std::remove((m_path + "-wal").c_str());
        std::remove((m_path + "-shm").c_str());
        m_database.reset(connect(m_path));
        if (prepare_file(m_database.get())) {
            complain("the damaged file is " + aside + " now, and a new one is begun");
        } else {
            m_database.reset();
        }
    }
}

bool MqttQueue::load() {
    const Statement rows = prepare(m_database.get(), select_sql);
    if (rows == nullptr) {
        return false;
    }
    int code = SQLITE_OK;
    while ((code = sqlite3_step(rows.get())) == SQLITE_ROW) {
        m_last_number = sqlite3_column_int64(rows.get(), 0);
        m_entries.push_back({m_last_number, {column(rows.get(), 1), column(rows.get(), 2)}});
    }
    return code == SQLITE_DONE;
}

void MqttQueue::push(MqttMessage message) {
    const std::lock_guard lock(m_mutex);
    if (m_entries.size() >= m_limit) {
        if (!m_dropping) {
            complain("the broker's queue is full with " + std::to_string(m_limit) + " changes; the oldest go");
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
    if (!m_entries.empty() && m_entries.front().number == number) {
        remove_first();
    }
    m_dropping = m_dropping && !m_entries.empty();
}

size_t MqttQueue::size() const {
    const std::lock_guard lock(m_mutex);
    return m_entries.size();
}

void MqttQueue::tidy() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_database == nullptr || m_untidied < tidy_after) {
            return;
        }
        m_untidied = 0;
    }
    // A connection of its own: pushing goes on while this one waits for the disk.
    const Database database(connect(m_path));
    sqlite3_exec(database.get(), tidy_sql, nullptr, nullptr, nullptr);
}

void MqttQueue::remove_first() {
    run(delete_sql, m_entries.front().number, nullptr);
    m_entries.pop_front();
}

void MqttQueue::run(const char* sql, std::int64_t number, const MqttMessage* message) {
    if (m_database == nullptr) {
        return;
    }
    const Statement statement = prepare(m_database.get(), sql);
    sqlite3_bind_int64(statement.get(), 1, number);
    if (message != nullptr) {
        sqlite3_bind_text(statement.get(), 2, message->topic.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_text(statement.get(), 3, message->payload.c_str(), -1, SQLITE_STATIC);
    }
    ++m_untidied;
    if (sqlite3_step(statement.get()) != SQLITE_DONE) {
        file_failed(sqlite3_errmsg(m_database.get()));
        return;
    }
    m_file_failing = false;
}

void MqttQueue::file_failed(const std::string& problem) {
    if (!m_file_failing) {
        complain("cannot keep the broker's queue in " + m_path + ": " + problem +
                 "; changes that wait are in memory only");
    }
    m_file_failing = true;
}

} // namespace host_events
