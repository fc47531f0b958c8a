#pragma once

#include "host/stays.h"

#include <cstdint>
#include <string>
#include <vector>

namespace console {

/** A stay as it is kept. Its times are Unix seconds. */
struct StayRecord {
    std::int64_t id = 0; // of this state folder; never used twice
    Stay stay;
    bool is_there = false; // it has not ended; `left` is when it was last found there
};

/** What belongs to stays in a state folder. */
class StayFolder {
  public:
    explicit StayFolder(std::string state) : m_state(std::move(state)) {}

    std::string database() const { return m_state + "/stays.sqlite"; }
    std::string stills() const { return m_state + "/stills"; }
    std::string clips() const { return m_state + "/clips"; }

    /** "12-1": what the files of a stay's alert are called, without what follows the dot. */
    static std::string name_of(std::int64_t id, int level);
    std::string still(std::int64_t id, int level) const { return stills() + "/" + name_of(id, level) + ".jpg"; }
    std::string clip(std::int64_t id, int level) const { return clips() + "/" + name_of(id, level) + ".mp4"; }

  private:
    std::string m_state;
};

/** Where the pages find the still, whether or not it is there. */
std::string still_address(std::int64_t id, int level);

/** The record as one JSON object on one line:

        {"id": n, "object": n, "class": index, "label": text, "entered": time, "left": time | null while it is there,
         "seconds": n, "level": 0 to 3,
         "alerts": [{"level": 1 to 3, "time": time, "still": address | null, "clip": address | null}]}

    Times are ISO 8601 in this machine's zone; addresses are those of files that exist. */
std::string json_of_stay(const StayRecord& record, const StayFolder& folder);

/** {"stays": [...]} */
std::string json_of_stays(const std::vector<StayRecord>& records, const StayFolder& folder);

/** A line of names and one for each stay, for spreadsheets: times without zone, as this machine's clock shows them. */
std::string csv_of_stays(const std::vector<StayRecord>& records, const StayFolder& folder);

/** The same for people, in columns. */
std::string table_of_stays(const std::vector<StayRecord>& records);

} // namespace console
