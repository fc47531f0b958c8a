// stream_viewers ADDRESS SECONDS VIEWERS STALLED TARGET...: VIEWERS connections to ADDRESS (like 127.0.0.1:8080),
// spread over the targets (like /stream/1280x720.mjpg) in turn. The last STALLED of them ask and then read nothing; one
// that is dropped for it comes back. Prints for each target how many pictures a second each of its readers got. Status
// 1 when a reader got none.

#include "bench/viewer.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

int number(const std::string& text) {
    int value = 0;
    const char* end = text.data() + text.size();
    if (const auto [stop, failure] = std::from_chars(text.data(), end, value); failure != std::errc{} || stop != end)
        throw std::runtime_error("\"" + text + "\" is no number");
    return value;
}

struct Target {
    std::string path;
    std::vector<std::unique_ptr<bench::Viewer>> readers;
    std::vector<std::unique_ptr<bench::StalledViewer>> stalled;
};

void print(const Target& target, int seconds) {
    std::printf("%-46s %2zu readers %2zu stalled, pictures a second:", target.path.c_str(), target.readers.size(),
                target.stalled.size());
    for (const auto& reader : target.readers)
        std::printf(" %.1f", static_cast<double>(reader->pictures()) / seconds);
    std::printf("\n");
}

int watch(const std::string& address, int seconds, int viewers, int stalled, std::vector<Target> targets) {
    for (int i = 0; i < viewers; ++i) {
        Target& target = targets[static_cast<std::size_t>(i) % targets.size()];
        if (i < viewers - stalled)
            target.readers.push_back(std::make_unique<bench::Viewer>(address, target.path));
        else
            target.stalled.push_back(std::make_unique<bench::StalledViewer>(address, target.path));
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    bool all_saw = true;
    for (const Target& target : targets) {
        print(target, seconds);
        all_saw = all_saw && std::ranges::all_of(target.readers, [](const auto& r) { return r->pictures() > 0; });
    }
    return all_saw ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words(argv + 1, argv + argc);
        if (words.size() < 5)
            throw std::runtime_error("usage: stream_viewers ADDRESS SECONDS VIEWERS STALLED TARGET...");
        std::vector<Target> targets(words.size() - 4);
        for (std::size_t i = 0; i < targets.size(); ++i)
            targets[i].path = words[i + 4];
        return watch(words[0], number(words[1]), number(words[2]), number(words[3]), std::move(targets));
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "stream_viewers: %s\n", problem.what());
        return 2;
    }
}
