// Many applications at one inference service (KORVEX_INFERENCE), each asking again as soon as it is answered, beside
// one that was stopped: how many inferences each had.
//     inference_crowd [APPLICATIONS [SECONDS]], default 8 and 120.

#include "bench/network_session.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numeric>
#include <span>
#include <vector>

namespace {

constexpr std::size_t picture_bytes = 960 * 540 * 3;

struct Turns {
    std::atomic<int> count;
    std::atomic<int> longest_ms;
};

[[noreturn]] void ask(Turns& turns, bool stalls) {
    using clock = std::chrono::steady_clock;
    try {
        NetworkSession session(KORVEX_MODEL_DIR "/detect_960_540.tflite", picture_bytes);
        if (stalls)
            raise(SIGSTOP);
        for (;;) {
            const auto begin = clock::now();
            session.run();
            const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - begin).count();
            turns.longest_ms = std::max(turns.longest_ms.load(), static_cast<int>(took));
            ++turns.count;
        }
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "inference_crowd: %s\n", problem.what());
    }
    std::_Exit(1);
}

} // namespace

int main(int count, char** arguments) {
    if (std::getenv("KORVEX_INFERENCE") == nullptr) {
        std::fputs("inference_crowd: KORVEX_INFERENCE names no service; ./run --inference-service SOCKET starts one.\n",
                   stderr);
        return 1;
    }
    const auto applications = static_cast<std::size_t>(std::max(count > 1 ? std::atoi(arguments[1]) : 8, 1));
    const int seconds = count > 2 ? std::atoi(arguments[2]) : 120;
    // The last one is stopped.
    const std::size_t bytes = (applications + 1) * sizeof(Turns);
    void* shared = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    const std::span<Turns> turns(static_cast<Turns*>(shared), applications + 1);
    std::vector<pid_t> processes;
    for (std::size_t i = 0; i <= applications; ++i) {
        const pid_t process = fork();
        if (process == 0)
            ask(turns[i], i == applications);
        processes.push_back(process);
    }
    sleep(static_cast<unsigned>(std::max(seconds, 1)));
    std::vector<int> counts;
    int longest = 0;
    for (const Turns& each : turns.first(applications)) {
        counts.push_back(each.count);
        longest = std::max(longest, each.longest_ms.load());
    }
    for (const pid_t process : processes) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    const double mean = std::accumulate(counts.begin(), counts.end(), 0.0) / static_cast<double>(applications);
    const int slowest = *std::min_element(counts.begin(), counts.end());
    for (const int each : counts)
        std::printf("%d ", each);
    std::printf("inferences in %d s; the slowest %.3f of the mean, the longest answer after %d ms\n", seconds,
                slowest / std::max(mean, 1.0), longest);
    return slowest >= 0.8 * mean && mean >= 1 ? 0 : 1;
}
