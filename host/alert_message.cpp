#include "host/alert_message.h"

#include "detection/object_class.h"
#include "host/time_range.h"
#include "output/event_manager.h"

#include <algorithm>

namespace console {
namespace {

/** Names, labels and times are plain words; an address may hold what a user has typed. */
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char each : text) {
        if (each == '"' || each == '\\')
            result += '\\';
        result += each;
    }
    return result + "\"";
}

} // namespace

int level_of_alert(const std::string& name) {
    const auto* const found = std::ranges::find(kAlertNames, name);
    return found != kAlertNames.end() ? static_cast<int>(found - kAlertNames.begin()) + 1 : 0;
}

std::string json_of_alert(const host_events::Occurrence& alert, const StayRecord& stay, const std::string& pages,
                          bool has_still) {
    const int level = level_of_alert(alert.nice_name);
    const std::string path = still_address(stay.id, level);
    const std::string still = has_still ? quoted(pages.empty() ? path : pages + path.substr(1)) : "null";
    return "{\"alert\": " + quoted(alert.nice_name) + ", \"level\": " + std::to_string(level) +
           ", \"time\": " + quoted(alert.time) + ", \"stay\": {\"id\": " + std::to_string(stay.id) +
           ", \"object\": " + std::to_string(stay.stay.object) + ", \"class\": " + std::to_string(stay.stay.class_id) +
           ", \"label\": " + quoted(class_label(stay.stay.class_id)) +
           ", \"entered\": " + quoted(iso_text(stay.stay.entered)) +
           ", \"seconds\": " + std::to_string(stay.stay.seconds) + "}, \"still\": " + still + "}";
}

} // namespace console
