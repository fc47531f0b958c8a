#include "host/explanation.h"

#include "base/arithmetic.h"
#include "base/shared_field.h"
#include "config/config_params.h"
#include "detection/object_class.h"
#include "scene/area_of_interest.h"
#include "scene/detection_processing.h"
#include "scene/tracker.h"

#include <array>
#include <vector>

namespace console {
namespace {

/** The active zones in which a corner of the box lies; together they exclude it. */
std::vector<int> zones_over(const detection& box) {
    const int right = wrap_add(box.X, box.W);
    const int bottom = wrap_add(box.Y, box.H);
    const std::array<t_one_centroid, 4> corners = {{{box.X, box.Y}, {right, box.Y}, {box.X, bottom}, {right, bottom}}};
    std::vector<int> zones;
    for (int zone = 1; zone <= 3; ++zone) {
        const t_Polygon polygon = g_AreaofInterest.get_exclusion(zone);
        bool over = false;
        for (const auto& corner : corners)
            over = over || area_of_interest::is_winding_number_nonzero(corner, polygon);
        if (over && g_AreaofInterest.get_exclusion_active(zone))
            zones.push_back(zone);
    }
    return zones;
}

std::string exclusion_by(const std::vector<int>& zones) {
    std::string text = zones.size() == 1 ? "excluded by zone " : "excluded by zones ";
    for (std::size_t i = 0; i < zones.size(); ++i)
        text += (i == 0 ? "" : i + 1 == zones.size() ? " and " : ", ") + std::to_string(zones[i]);
    return text;
}

} // namespace

Explanation explain(const one_find& find) {
    Explanation explanation;
    const auto missing = g_Tracker.m_Disappeared.find(find.id);
    explanation.unseen = missing != g_Tracker.m_Disappeared.end() ? missing->second : 0;
    explanation.unseen_seconds = explanation.unseen * read_shared(g_ConfigParams.i_MainLoopTime) / 1000.0;
    if (find.footing != not_in_AOI) {
        explanation.reason = "counts";
    } else if (!is_class_wanted(find.detect.ClassId)) {
        explanation.reason = "class off";
    } else if (!g_AreaofInterest.is_detected(1, find.centroid)) {
        explanation.reason = "outside";
    } else {
        const std::vector<int> zones = zones_over(find.detect);
        // Settings may have changed since the pass.
        explanation.reason = zones.empty() ? "outside" : exclusion_by(zones);
    }
    return explanation;
}

const char* name_of(footings footing) {
    switch (footing) {
    case not_in_AOI:
        return "outside";
    case in_AOI1_briefly:
        return "briefly";
    case in_AOI1_lengthily:
        return "lengthily";
    case in_AOI1_more_lengthily:
        return "more lengthily";
    case in_AOI1_most_lengthily:
        return "most lengthily";
    }
    return "outside";
}

} // namespace console
