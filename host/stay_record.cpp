#include "host/stay_record.h"

#include "detection/object_class.h"
#include "host/time_range.h"

#include <unistd.h>

#include <array>
#include <cstdio>

namespace console {
namespace {

// Labels come from a table of plain words, and times and addresses are made here: nothing needs escaping.

constexpr std::array<const char*, 4> alert_words = {"", "First Alert", "Second Alert", "Third Alert"};

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

bool is_there(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

std::string clip_address(std::int64_t id, int level) {
    return "/stream/clips/" + StayFolder::name_of(id, level) + ".mp4";
}

double reached(const Stay& stay, int level) {
    return stay.reached.at(static_cast<size_t>(level) - 1);
}

std::string json_of_alerts(const StayRecord& record, const StayFolder& folder) {
    std::string text;
    for (int level = 1; level <= record.stay.level; ++level) {
        const std::string still =
            is_there(folder.still(record.id, level)) ? quoted(still_address(record.id, level)) : "null";
        const std::string clip =
            is_there(folder.clip(record.id, level)) ? quoted(clip_address(record.id, level)) : "null";
        text += std::string(level > 1 ? ", " : "") + "{\"level\": " + std::to_string(level) +
                ", \"time\": " + quoted(iso_text(reached(record.stay, level))) + ", \"still\": " + still +
                ", \"clip\": " + clip + "}";
    }
    return "[" + text + "]";
}

/** The still of the highest alert that has one. */
std::string best_still(const StayRecord& record, const StayFolder& folder) {
    for (int level = record.stay.level; level > 0; --level)
        if (is_there(folder.still(record.id, level)))
            return still_address(record.id, level);
    return "";
}

} // namespace

std::string StayFolder::name_of(std::int64_t id, int level) {
    return std::to_string(id) + "-" + std::to_string(level);
}

std::string still_address(std::int64_t id, int level) {
    return "/stream/stills/" + StayFolder::name_of(id, level) + ".jpg";
}

std::string json_of_stay(const StayRecord& record, const StayFolder& folder) {
    const Stay& stay = record.stay;
    return "{\"id\": " + std::to_string(record.id) + ", \"object\": " + std::to_string(stay.object) +
           ", \"class\": " + std::to_string(stay.class_id) + ", \"label\": " + quoted(class_label(stay.class_id)) +
           ", \"entered\": " + quoted(iso_text(stay.entered)) +
           ", \"left\": " + (record.is_there ? "null" : quoted(iso_text(stay.left))) +
           ", \"seconds\": " + std::to_string(stay.seconds) + ", \"level\": " + std::to_string(stay.level) +
           ", \"alerts\": " + json_of_alerts(record, folder) + "}";
}

std::string json_of_stays(const std::vector<StayRecord>& records, const StayFolder& folder) {
    std::string text = "{\"stays\": [";
    const char* separator = "\n";
    for (const StayRecord& record : records) {
        text += separator + json_of_stay(record, folder);
        separator = ",\n";
    }
    return text + "]}\n";
}

std::string csv_of_stays(const std::vector<StayRecord>& records, const StayFolder& folder) {
    std::string text = "id,object,label,entered,left,seconds,level,first alert,second alert,third alert,still\r\n";
    for (const StayRecord& record : records) {
        const Stay& stay = record.stay;
        text += std::to_string(record.id) + "," + std::to_string(stay.object) + "," + class_label(stay.class_id) + "," +
                plain_text(stay.entered) + "," + (record.is_there ? "" : plain_text(stay.left)) + "," +
                std::to_string(stay.seconds) + "," + std::to_string(stay.level);
        for (const double moment : stay.reached)
            text += "," + (moment < 0.0 ? "" : plain_text(moment));
        text += "," + best_still(record, folder) + "\r\n";
    }
    return text;
}

std::string table_of_stays(const std::vector<StayRecord>& records) {
    std::string text = "    id  what         entered              left                 seconds  alert\n";
    for (const StayRecord& record : records) {
        const Stay& stay = record.stay;
        const std::string left = record.is_there ? "still there" : plain_text(stay.left);
        std::array<char, 160> line{};
        std::snprintf(line.data(), line.size(), "%6lld  %-11s  %-19s  %-19s  %7d  %s",
                      static_cast<long long>(record.id), class_label(stay.class_id).c_str(),
                      plain_text(stay.entered).c_str(), left.c_str(), stay.seconds,
                      alert_words.at(static_cast<size_t>(stay.level)));
        std::string shown = line.data();
        shown.erase(shown.find_last_not_of(' ') + 1);
        text += shown + "\n";
    }
    return text;
}

} // namespace console
