#include "host/stays.h"

#include "detection/object_class.h"
#include "output/event_manager.h"

#include <algorithm>
#include <utility>

namespace console {
namespace {

/** The alerts' names without the application's. */
std::string short_name(const std::string& alert) {
    const std::string application = "Korvex Orvel ";
    return alert.starts_with(application) ? alert.substr(application.size()) : alert;
}

std::string counted(int count, const std::string& what) {
    return (count == 0 ? "no" : std::to_string(count)) + " " + what + (count > 1 ? "s" : "");
}

} // namespace

std::vector<Stay> StayWatch::pass(const t_findings_list& findings, double now) {
    std::map<int, Stay> there;
    for (const one_find& find : findings) {
        if (find.footing == not_in_AOI)
            continue;
        const auto known = m_going_on.find(find.id);
        Stay stay = known != m_going_on.end() ? known->second : Stay{.object = find.id, .entered = now};
        stay.class_id = find.detect.ClassId;
        stay.left = now;
        stay.seconds = std::max(stay.seconds, find.seconds);
        const int level = static_cast<int>(find.footing) - static_cast<int>(in_AOI1_briefly);
        for (; stay.level < level; ++stay.level)
            stay.reached.at(static_cast<size_t>(stay.level)) = now;
        there.emplace(find.id, stay);
    }
    std::vector<Stay> ended;
    for (const auto& [object, stay] : m_going_on)
        if (!there.contains(object))
            ended.push_back(stay);
    m_going_on = std::move(there);
    return ended;
}

std::vector<Stay> StayWatch::end() {
    std::vector<Stay> all;
    for (const auto& [object, stay] : std::exchange(m_going_on, {}))
        all.push_back(stay);
    return all;
}

void Summary::add(const std::vector<Stay>& ended) {
    for (const Stay& stay : ended) {
        ++m_stays;
        if (m_stays == 1 || stay.seconds > m_longest.seconds)
            m_longest = stay;
    }
}

void Summary::add_alert(const std::string& name) {
    ++m_alerts[name];
}

std::string Summary::text() const {
    std::string text = counted(m_stays, "stay");
    if (m_stays > 0) {
        text +=
            ", the longest a " + class_label(m_longest.class_id) + "'s of " + std::to_string(m_longest.seconds) + " s";
    }
    const char* separator = "; ";
    for (const char* alert : kAlertNames) {
        const auto started = m_alerts.find(alert);
        text += separator + counted(started != m_alerts.end() ? started->second : 0, short_name(alert));
        separator = ", ";
    }
    return text;
}

} // namespace console
