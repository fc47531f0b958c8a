#pragma once

#include "platform/axevent/mqtt_messages.h"
#include "platform/common/sqlite.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace host_events {

/**
 * Messages on their way to the broker, oldest first. They are kept in memory and, when there is a file, in an SQLite
 * database as well, from which the next process takes up what this one could not deliver.
 *
 * A push writes one row to the database's write-ahead log and does not wait for the disk: the message survives the end
 * of the process at any moment, kill -9 included; the last ones may go with the power. A file that cannot be opened or
 * written is said once on stderr, and the queue goes on in memory. Any thread.
 */
class MqttQueue {
  public:
    struct Entry {
        std::int64_t number = 0;
        MqttMessage message;
    };

    /**
     * `name` stands in what is said of it. With an empty path there is no file. Beyond `limit` messages the oldest
     * goes, with one message on stderr until the queue has been empty again. REQUIRES: limit > 0
     */
    MqttQueue(const std::string& path, size_t limit, std::string name = "the broker's queue");

    void push(MqttMessage message);
    std::optional<Entry> front() const;
    /** Removes the entry, if it is still the first: it may have been dropped while it was on its way. */
    void pop(std::int64_t number);
    size_t size() const;

    /**
     * Moves the write-ahead log into the database once it has grown, so that it does not grow for ever. It waits for
     * the disk and holds up nobody: call it from a thread that may wait.
     */
    void tidy();

  private:
    /** Opens the file and reads what it holds: SQLITE_DONE, or the code of what failed. */
    int open_file();
    /** Puts the damaged file aside as PATH.damaged and begins a new one. */
    void replace_file();
    void run(const char* sql, std::int64_t number, const MqttMessage* message);
    void remove_first();
    void file_failed(const std::string& problem);

    const std::string m_path;
    const std::string m_name;
    const size_t m_limit;
    mutable std::mutex m_mutex; // everything below
    platform::Database m_database;
    std::deque<Entry> m_entries;
    std::int64_t m_last_number = 0;
    int m_untidied = 0; // rows written or removed since the last tidying
    bool m_dropping = false;
    bool m_file_failing = false;
};

} // namespace host_events
