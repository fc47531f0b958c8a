#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace bench {

/** What goes wrong in a replay, by itself and at times of its own: the same in every run. */
struct Disturbance {
    std::string name = "none";
    double missing = 0.0; ///< share of the detections that the network does not make
    double outage = 0.0;  ///< seconds without a detection, as of a card in the camera's place, every outage_every
    double late = 0.0;    ///< seconds by which a pass is late, every late_every; those between are not made

    static constexpr double outage_every = 70.0; // so that it meets the scene at other moments each time
    static constexpr double late_every = 13.0;
};

/** Those that bench/dwell --disturbed goes through, the first one with none. */
std::vector<Disturbance> disturbances();

/** One disturbance's course through a replay. */
class Disturber {
  public:
    explicit Disturber(Disturbance what) : m_what(std::move(what)) {}

    /** The pass at this time is not made: the one before it takes so long. */
    bool swallows(double now) const;
    /** Takes from the scores of a pass's results what the network does not find. */
    void take(double now, float* scores, int count);

  private:
    const Disturbance m_what;
    std::minstd_rand m_random{7};
};

} // namespace bench
