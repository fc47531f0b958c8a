#pragma once

#include "host/stay_store.h"
#include "host/stays.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace console {

/**
 * Keeps the stays of a live run: makes them of the passes' findings and writes a stay when it begins, whenever its
 * level rises, every few seconds while it lasts, and when it ends. A few rows a second at most, in some tens of
 * microseconds each.
 *
 * It is asked to look before an alert is told to anybody, and again after each pass, so that whatever an alert, or its
 * end, was about is on record by then. Main thread.
 */
class StayKeeper {
  public:
    /** The clocks are in seconds: `steady` is moved by nobody's setting the date, `date` gives Unix time. */
    struct Clocks {
        std::function<double()> steady;
        std::function<double()> date;
    };

    /** A stay has reached a level. */
    using Rise = std::function<void(const StayRecord& record, int level)>;

    /** `risen` is called in look(). */
    StayKeeper(const StayFolder& folder, Clocks clocks, Rise risen);

    /** A pass has made these findings, or is about to tell of them. */
    void look(const t_findings_list& findings);
    /** No pass comes any more. */
    void finish();

    /** Those that have ended since it was last asked; at first those that a killed process left open. */
    std::vector<StayRecord> take_ended() { return std::exchange(m_ended, {}); }

    /** The stay that has reached the level last and still goes on; null when there is none. */
    const StayRecord* latest_at(int level) const;

    /** To be forgotten, some with each look; replaces what was left of those before. */
    void forget(std::vector<std::int64_t> ids) { m_doomed = std::move(ids); }

  private:
    struct Open {
        StayRecord record;
        double date_offset = 0.0; // from the steady clock to the date, as it was when the stay began
        double written = 0.0;     // steady
    };

    void end(const std::vector<Stay>& ended);
    void forget_some();

    const Clocks m_clocks;
    const Rise m_risen;
    StayStore m_store;
    StayWatch m_watch;
    std::map<int, Open> m_open; // by object
    std::vector<StayRecord> m_ended;
    std::vector<std::int64_t> m_doomed;
};

} // namespace console
