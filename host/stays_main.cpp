// korvex_stays FOLDER RANGE [--json]: prints the stays that are kept in a state folder, also while the application
// runs: a table for people, or one JSON object a line.

#include "host/stay_store.h"
#include "host/time_range.h"

#include <cstdio>
#include <exception>
#include <limits>
#include <string>

namespace {

bool print(const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
}

int show(const console::StayFolder& folder, const console::TimeRange& range, bool is_json) {
    const auto stays = console::read_stays(folder.database(), range, std::numeric_limits<std::int64_t>::max());
    bool good = is_json || print(console::table_of_stays(stays));
    for (size_t index = 0; is_json && good && index < stays.size(); ++index)
        good = print(console::json_of_stay(stays[index], folder) + "\n");
    return good && std::fflush(stdout) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const bool is_json = argc == 4 && std::string(argv[3]) == "--json";
    if (argc != 3 && !is_json) {
        std::fputs("Usage: korvex_stays FOLDER RANGE [--json]\n", stderr);
        return 2;
    }
    try {
        if (show(console::StayFolder(argv[1]), console::parse_range(argv[2]), is_json) != 0) {
            std::fputs("run: the stays cannot be written.\n", stderr);
            return 1;
        }
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "run: %s\n", problem.what());
        return 1;
    }
}
