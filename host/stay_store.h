#pragma once

#include "host/stay_record.h"
#include "host/time_range.h"
#include "platform/common/sqlite.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace console {

/**
 * The stays of a state folder, in an SQLite database. This is the one that writes it: the main thread's, and in the way
 * of nobody's pass.
 *
 * A write goes to the database's write-ahead log and does not wait for the disk: it survives the end of the process at
 * any moment, kill -9 included; the last ones may go with the power. What cannot be written is said once on stderr and
 * tried again with each later write, up to 10,000 stays. A damaged file is put aside as PATH.damaged, with a sentence.
 */
class StayStore {
  public:
    explicit StayStore(const std::string& path);

    /** Ends those that a killed process left open, at the time at which they were last found there, and gives them. */
    std::vector<StayRecord> close_left_open();

    /** For a stay that begins. */
    std::int64_t new_id() { return ++m_last_id; }

    /** Adds the stays, or replaces what was written of them before. */
    void write(const std::vector<StayRecord>& records);

    /** Stays whose days are over. */
    void remove(const std::vector<std::int64_t>& ids);

  private:
    int open();
    void put_aside();
    bool write_all();
    void failed(const std::string& problem);

    const std::string m_path;
    platform::Database m_database;
    std::int64_t m_last_id = 0;
    std::map<std::int64_t, StayRecord> m_unwritten;
    bool m_usable = false; // open, with its table
    bool m_failing = false;
};

/**
 * Those that began within the time, in ascending entering, at most `limit`; none where there is no database. Any thread
 * and any process, also beside one that writes. Throws std::runtime_error with a sentence.
 */
std::vector<StayRecord> read_stays(const std::string& path, const TimeRange& range, std::int64_t limit);

/**
 * Moves the write-ahead log into the database once it has grown beyond a megabyte. It waits for the disk and holds up
 * nobody: for a thread that may wait.
 */
void settle_stays(const std::string& path);

} // namespace console
