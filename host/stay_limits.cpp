#include "host/stay_limits.h"

#include "host/stay_store.h"
#include "platform/common/settings.h"

#include <filesystem>
#include <limits>
#include <map>
#include <string_view>

namespace console {
namespace {

namespace fs = std::filesystem;

/** Of the database, with its index. */
constexpr std::uint64_t bytes_of_row = 150;
/** So that not every next picture is the reason for another sweep. */
constexpr std::uint64_t kept_tenths = 9;
constexpr double seconds_of_day = 86400.0;

struct Files {
    std::vector<fs::path> paths;
    std::uint64_t bytes = 0;
};

/** By the id with which their names begin; 0: none. */
std::map<std::int64_t, Files> files_of(const StayFolder& folder) {
    std::map<std::int64_t, Files> all;
    std::error_code ignored;
    for (const std::string& place : {folder.stills(), folder.clips()}) {
        for (const fs::directory_entry& entry : fs::directory_iterator(place, ignored)) {
            const std::string name = entry.path().filename();
            const auto id = platform::parse_number(std::string_view(name).substr(0, name.find('-')), 1,
                                                   std::numeric_limits<std::int64_t>::max());
            Files& files = all[static_cast<std::int64_t>(id.value_or(0))];
            files.paths.push_back(entry.path());
            const std::uintmax_t size = entry.file_size(ignored);
            files.bytes += ignored ? 0 : size;
        }
    }
    return all;
}

void remove(const Files& files) {
    std::error_code ignored;
    for (const fs::path& path : files.paths)
        fs::remove(path, ignored);
}

} // namespace

std::vector<std::int64_t> sweep_stays(const StayFolder& folder, const StayLimits& limits, double now, bool strangers) {
    constexpr double ever = std::numeric_limits<double>::max();
    const std::vector<StayRecord> stays =
        read_stays(folder.database(), {-ever, ever}, std::numeric_limits<std::int64_t>::max());
    std::map<std::int64_t, Files> files = files_of(folder);
    std::uint64_t bytes = bytes_of_row * stays.size();
    for (const auto& [id, those] : files)
        bytes += those.bytes;
    const double begin = now - seconds_of_day * limits.days;
    const std::uint64_t aim = bytes > limits.bytes ? limits.bytes / 10 * kept_tenths : bytes;
    std::vector<std::int64_t> over;
    for (const StayRecord& record : stays) {
        const auto those = files.extract(record.id);
        const bool goes = !record.is_there && (record.stay.left < begin || bytes > aim);
        if (!goes)
            continue;
        over.push_back(record.id);
        bytes -= bytes_of_row;
        if (!those.empty()) {
            bytes -= those.mapped().bytes;
            remove(those.mapped());
        }
    }
    // What is left belongs to no stay.
    for (const auto& [id, those] : files)
        if (strangers)
            remove(those);
    return over;
}

} // namespace console
