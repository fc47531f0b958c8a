#include "host/stay_answers.h"

#include "host/stay_store.h"
#include "host/time_range.h"

#include <iterator>
#include <regex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace console {
namespace {

using host_overlay::Answer;
using host_overlay::QueryArguments;

constexpr std::int64_t most_stays = 50000;

/** What the client has got wrong. */
class BadQuery : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

TimeRange range_of(const QueryArguments& query) {
    std::string from;
    std::string to;
    for (const auto& [name, value] : query) {
        if (name != "from" && name != "to")
            throw BadQuery("The query may hold from and to only.");
        (name == "from" ? from : to) = value;
    }
    try {
        return range_between(from, to);
    } catch (const std::runtime_error& problem) {
        throw BadQuery(problem.what());
    }
}

std::vector<StayRecord> asked_stays(const StayFolder& folder, const QueryArguments& query) {
    std::vector<StayRecord> stays = read_stays(folder.database(), range_of(query), most_stays + 1);
    if (std::ssize(stays) > most_stays) {
        throw BadQuery("There are more than " + std::to_string(most_stays) +
                       " stays in that time; ask for a shorter one, or use ./run --stays.");
    }
    return stays;
}

Answer list_answer(const StayFolder& folder, const QueryArguments& query, bool is_json) {
    Answer answer;
    try {
        const std::vector<StayRecord> stays = asked_stays(folder, query);
        answer.type = is_json ? "application/json" : "text/csv; charset=utf-8";
        answer.filename = is_json ? "" : "stays.csv";
        answer.body = is_json ? json_of_stays(stays, folder) : csv_of_stays(stays, folder);
    } catch (const BadQuery& problem) {
        answer.status = 400;
        answer.body = std::string(problem.what()) + "\n";
    } catch (const std::runtime_error& problem) {
        answer.status = 503;
        answer.body = std::string(problem.what()) + "\n";
    }
    return answer;
}

/** Numbers and nothing else make the name, so that no path leaves its folder. */
std::optional<Answer> file_answer(const StayFolder& folder, const std::string& path) {
    static const std::regex form("/stream/(stills|clips)/([1-9][0-9]{0,17}-[1-3])\\.(jpg|mp4)");
    std::smatch parts;
    if (!std::regex_match(path, parts, form) || (parts[1] == "stills") != (parts[3] == "jpg"))
        return std::nullopt;
    const bool is_still = parts[1] == "stills";
    Answer answer;
    answer.type = is_still ? "image/jpeg" : "video/mp4";
    answer.file = (is_still ? folder.stills() : folder.clips()) + "/" + parts[2].str() + "." + parts[3].str();
    return answer;
}

} // namespace

std::optional<Answer> stay_answer(const StayFolder& folder, const std::string& path, const QueryArguments& query) {
    if (path == "/stream/stays.json" || path == "/stream/stays.csv")
        return list_answer(folder, query, path.ends_with(".json"));
    if (path.starts_with("/stream/stills/") || path.starts_with("/stream/clips/")) {
        std::optional<Answer> file = file_answer(folder, path);
        return file ? file : Answer{.status = 404, .body = "There is no such picture or video of a stay.\n"};
    }
    return std::nullopt;
}

} // namespace console
