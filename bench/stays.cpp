#include "bench/stays.h"

#include "scene/area_of_interest.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace bench {
namespace {

constexpr int person = 0;
/** A finding is on a vehicle when their boxes share this much of what both cover. */
constexpr double least_overlap = 0.3;

} // namespace

struct StayBook::Box {
    double left, top, width, height;

    double overlap(const detection& other) const {
        const double across = std::min(left + width, double(other.X) + other.W) - std::max(left, double(other.X));
        const double down = std::min(top + height, double(other.Y) + other.H) - std::max(top, double(other.Y));
        const double shared = std::max(across, 0.0) * std::max(down, 0.0);
        return shared / (width * height + double(other.W) * other.H - shared);
    }
};

StayBook::Box StayBook::box_of(const host_scene::TruthObject& vehicle) const {
    return {vehicle.left * m_scale, vehicle.top * m_scale, vehicle.width * m_scale, vehicle.height * m_scale};
}

Stay* StayBook::last_stay(int vehicle) {
    const auto found =
        std::find_if(m_stays.rbegin(), m_stays.rend(), [=](const Stay& s) { return s.vehicle == vehicle; });
    return found != m_stays.rend() ? &*found : nullptr;
}

void StayBook::look(double now, const std::vector<host_scene::TruthObject>& truth) {
    std::vector<int> inside;
    for (const auto& each : truth) {
        const Box box = box_of(each);
        const std::pair<int, int> centre(static_cast<int>(box.left + box.width / 2),
                                         static_cast<int>(box.top + box.height / 2));
        if (each.class_index == person || !g_AreaofInterest.is_detected(1, centre))
            continue;
        inside.push_back(each.id);
        if (const Stay* stay = last_stay(each.id); stay == nullptr || stay->left >= 0.0) {
            Stay fresh;
            fresh.vehicle = each.id;
            fresh.class_index = each.class_index;
            fresh.entered = now;
            m_stays.push_back(fresh);
        }
    }
    for (Stay& stay : m_stays)
        if (stay.left < 0.0 && std::ranges::find(inside, stay.vehicle) == inside.end())
            stay.left = now;
}

void StayBook::pass(double now, const std::vector<host_scene::TruthObject>& truth, const t_findings_list& findings) {
    for (const auto& each : truth) {
        Stay* stay = last_stay(each.id);
        // Its box may be found in the area a little longer than its centre is there.
        if (stay == nullptr || (stay->left >= 0.0 && now - stay->left > m_tolerance))
            continue;
        const Box box = box_of(each);
        const auto best =
            std::ranges::max_element(findings, {}, [&](const one_find& find) { return box.overlap(find.detect); });
        const bool found = best != findings.end() && box.overlap(best->detect) >= least_overlap;
        if (stay->left < 0.0) {
            ++stay->passes;
            stay->passes_found += found ? 1 : 0;
        }
        if (!found || best->footing == not_in_AOI)
            continue;
        if (stay->finding_id != -1 && stay->finding_id != best->id)
            ++stay->switches;
        stay->finding_id = best->id;
        stay->measured = best->seconds;
        m_vehicles[best->id].insert(each.id);
    }
}

int StayBook::joined() const {
    return static_cast<int>(std::ranges::count_if(m_vehicles, [](const auto& each) { return each.second.size() > 1; }));
}

void StayBook::alert(double now, int level, bool active) {
    const auto index = static_cast<std::size_t>(level);
    Alert alert{now, level, active, -1};
    for (std::size_t i = 0; active && i < m_stays.size(); ++i) {
        const Stay& stay = m_stays[i];
        const bool recent = stay.left < 0.0 || now - stay.left <= m_tolerance;
        const bool long_enough = stay.dwell(now) >= m_thresholds[index] - m_tolerance;
        const auto longest = [&] { return m_stays[static_cast<std::size_t>(alert.cause)].dwell(now); };
        if (recent && long_enough && (alert.cause == -1 || stay.dwell(now) > longest()))
            alert.cause = static_cast<int>(i);
    }
    if (alert.cause != -1 && m_stays[static_cast<std::size_t>(alert.cause)].alert[index] < 0.0)
        m_stays[static_cast<std::size_t>(alert.cause)].alert[index] = now;
    m_alerts.push_back(alert);
}

} // namespace bench
