#pragma once

#include "scene/finding.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace console {

/** One object's time in the area, from the first pass that found it there to the last. */
struct Stay {
    int object = 0; // the tracker's id
    int class_id = 0;
    double entered = 0.0; // seconds of the caller's clock
    double left = 0.0;
    int seconds = 0;                                 // as counted and shown
    int level = 0;                                   // 0, or the highest alert whose seconds it reached
    std::array<double, 3> reached{-1.0, -1.0, -1.0}; // when it reached the levels 1 to 3; negative: not yet
};

/**
 * Makes stays of the passes' findings. An object that leaves the area, or is forgotten, has ended its stay; one that
 * comes back begins another, as its seconds do. Not locked: one thread.
 */
class StayWatch {
  public:
    /** One pass at `now`; the stays that have ended, in ascending object. */
    std::vector<Stay> pass(const t_findings_list& findings, double now);
    /** No pass comes any more: those that have not ended. */
    std::vector<Stay> end();

    /** By object. */
    const std::map<int, Stay>& going_on() const { return m_going_on; }

  private:
    std::map<int, Stay> m_going_on;
};

/** What a replay says at its end: how many stays, the longest, and the alerts that started. */
class Summary {
  public:
    void add(const std::vector<Stay>& ended);
    /** An alert that starts, by the name of its event. */
    void add_alert(const std::string& name);

    /** "3 stays, the longest a Car's of 26 s; 2 First Alerts, 1 Second Alert, no Third Alert" */
    std::string text() const;

  private:
    int m_stays = 0;
    Stay m_longest;
    std::map<std::string, int> m_alerts;
};

} // namespace console
