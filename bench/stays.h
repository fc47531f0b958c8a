#pragma once

#include "platform/street/street_scene.h"
#include "scene/finding.h"

#include <array>
#include <map>
#include <set>
#include <vector>

/** What really happened in the area, beside what the application made of it. */
namespace bench {

inline constexpr int levels = 3;

struct Stay {
    int vehicle = 0; ///< its id in the truth
    int class_index = 0;
    double entered = 0.0;                               ///< seconds of video; the truth's box centre in the area
    double left = -1.0;                                 ///< likewise; negative while it is there
    int measured = 0;                                   ///< the dwell time that it had last
    int finding_id = -1;                                ///< the identity that it had last; -1 before it had one
    int switches = 0;                                   ///< changes of identity
    int passes = 0;                                     ///< while it was there
    int passes_found = 0;                               ///< of those, with a finding on it
    std::array<double, levels> alert{-1.0, -1.0, -1.0}; ///< when each level started because of it

    double dwell(double now) const { return (left < 0.0 ? now : left) - entered; }
};

struct Alert {
    double at = 0.0;
    int level = 0;
    bool active = false;
    int cause = -1; ///< the stay that explains a start, an index of stays(); -1: a false alert
};

/** Follows a replay. Boxes of findings are in analysed-stream pixels, which are `scale` times those of the truth. */
class StayBook {
  public:
    StayBook(std::array<int, levels> thresholds, double tolerance, double scale)
        : m_thresholds(thresholds), m_tolerance(tolerance), m_scale(scale) {}

    /** The truth at that moment; called often, so that entering and leaving are known well. */
    void look(double now, const std::vector<host_scene::TruthObject>& truth);
    /** After the look at the same moment. */
    void pass(double now, const std::vector<host_scene::TruthObject>& truth, const t_findings_list& findings);
    void alert(double now, int level, bool active);

    const std::vector<Stay>& stays() const { return m_stays; }
    /** Identities that were on more than one vehicle in the area. */
    int joined() const;
    const std::vector<Alert>& alerts() const { return m_alerts; }

  private:
    struct Box;
    Box box_of(const host_scene::TruthObject& vehicle) const;
    Stay* last_stay(int vehicle);

    const std::array<int, levels> m_thresholds;
    const double m_tolerance;
    const double m_scale;
    std::vector<Stay> m_stays;
    std::map<int, std::set<int>> m_vehicles; // of each identity
    std::vector<Alert> m_alerts;
};

} // namespace bench
