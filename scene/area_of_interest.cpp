#include "scene/area_of_interest.h"

#include "base/arithmetic.h"

#include <array>
#include <cstddef>
#include <initializer_list>

namespace {

struct exclusion_zone {
    t_Polygon area_of_interest::*outline;
    bool area_of_interest::*active;
};

constexpr std::array<exclusion_zone, 3> kZones = {
    {{&area_of_interest::m_Exclusion1, &area_of_interest::m_Exclusion1Active},
     {&area_of_interest::m_Exclusion2, &area_of_interest::m_Exclusion2Active},
     {&area_of_interest::m_Exclusion3, &area_of_interest::m_Exclusion3Active}}};

const exclusion_zone* find_zone(int index) {
    return index >= 1 && index <= static_cast<int>(kZones.size()) ? &kZones[static_cast<size_t>(index - 1)] : nullptr;
}

} // namespace

std::mutex area_of_interest::s_lock;

bool area_of_interest::set_exclusion(int index, t_Polygon points) {
    const exclusion_zone* zone = find_zone(index);
    if (zone == nullptr)
        return false;
    const std::lock_guard lock(s_lock);
    (this->*zone->outline).swap(points); // the old outline is released with the argument, after the lock
    return true;
}

bool area_of_interest::set_exclusion_active(int index, bool on) {
    const exclusion_zone* zone = find_zone(index);
    if (zone == nullptr)
        return false;
    const std::lock_guard lock(s_lock);
    this->*zone->active = on;
    return true;
}

t_Polygon area_of_interest::get_exclusion(int index) const {
    const exclusion_zone* zone = find_zone(index);
    if (zone == nullptr)
        return {};
    const std::lock_guard lock(s_lock);
    return this->*zone->outline;
}

bool area_of_interest::get_exclusion_active(int index) const {
    const exclusion_zone* zone = find_zone(index);
    if (zone == nullptr)
        return true;
    const std::lock_guard lock(s_lock);
    return this->*zone->active;
}

bool area_of_interest::is_excluded(std::pair<int, int> p) const {
    const std::lock_guard lock(s_lock);
    bool excluded = false;
    for (const exclusion_zone& zone : kZones) {
        const bool inside = is_winding_number_nonzero(p, this->*zone.outline);
        excluded |= inside && this->*zone.active;
    }
    return excluded;
}

bool area_of_interest::set_detection(int index, t_Polygon points) {
    if (index != 1)
        return false;
    const std::lock_guard lock(s_lock);
    m_Detection1.swap(points);
    return true;
}

t_Polygon area_of_interest::get_detection(int index) const {
    if (index != 1)
        return {};
    const std::lock_guard lock(s_lock);
    return m_Detection1;
}

bool area_of_interest::is_detected(int index, std::pair<int, int> p) const {
    if (index != 1)
        return false;
    const std::lock_guard lock(s_lock);
    return is_winding_number_nonzero(p, m_Detection1);
}

bool area_of_interest::is_winding_number_nonzero(std::pair<int, int> p, const t_Polygon& poly) {
    if (poly.empty())
        return false;
    const auto [x, y] = p;
    int winding = 0;
    std::pair<int, int> prev = poly.back();
    for (const std::pair<int, int>& cur : poly) {
        const bool upward = prev.second <= y && cur.second > y;
        const bool downward = prev.second > y && cur.second <= y;
        if (upward || downward) {
            // Positive when the point lies to the left of the edge from prev to cur.
            const int left = wrap_subtract(wrap_multiply(wrap_subtract(prev.first, x), wrap_subtract(cur.second, y)),
                                           wrap_multiply(wrap_subtract(prev.second, y), wrap_subtract(cur.first, x)));
            if (upward && left > 0)
                ++winding;
            if (downward && left < 0)
                --winding;
        }
        prev = cur;
    }
    return winding == 1 || winding == -1;
}
