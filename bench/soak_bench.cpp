// soak_bench [HOURS]: a simulated day of passes, 432,000, over recorded outputs of the network (soak_platform.h), with
// everything else real: log, journal, alerts, and overlays to a stream that somebody watches. Prints memory and
// descriptors after each simulated hour; status 1 when memory has grown by more than 2 MB since the first, or any
// descriptor. Run it with bench/in_camera.

#include "app/app_main.h"
#include "bench/soak_platform.h"
#include "bench/viewer.h"
#include "platform/axevent/host_events.h"
#include "platform/axoverlay/host_streams.h"
#include "scene/clock.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

constexpr int hours_a_day = 24;
constexpr double period = 0.2; // seconds
constexpr int passes_an_hour = 18000;
constexpr int passes_between_lines = 50;
constexpr long most_growth_kb = 2048;

double now = 0.0; // simulated seconds
long alert_changes = 0;

timeval simulated_time() {
    const double whole = std::floor(now);
    return {static_cast<time_t>(whole), static_cast<suseconds_t>((now - whole) * 1e6)};
}

long resident_kb() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            long kb = 0;
            status >> kb;
            return kb;
        }
    }
    throw std::runtime_error("/proc does not tell the memory");
}

long descriptors() {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return std::distance(begin(open), end(open)) - 1; // the folder itself
}

void start() {
    setenv("KORVEX_OVERLAY_LISTEN", "127.0.0.1:0", 1);
    setenv("KORVEX_AXEVENT_JOURNAL_BYTES", "200000", 1); // so that it is rotated often
    soak_platform::load_outputs(KORVEX_SOAK_OUTPUTS);
    init_signals();
    init_parameter_controller();
    g_ConfigParams.b_EulaAccepted = true;
    g_ConfigParams.str_DetectionOverlay = "640x360";
    init_ai();
    init_overlay_manager();
    host_events::set_listener([](const host_events::Occurrence& occurrence) {
        alert_changes += occurrence.what == host_events::Occurrence::What::event ? 1 : 0;
    });
    init_event_manager();
    init_logic(g_ConfigParams.i_MaxDisappeared);
    set_dwell_clock(simulated_time);
    if (g_LocationController.m_OutputScores == nullptr)
        throw std::runtime_error("the detector is not set up:\n" + g_Logger.getPlainLogContents());
    set_pass_time_counts(false); // no pass is slow in simulated time
}

struct Use {
    long memory_kb = 0;
    long descriptors = 0;
};

Use print_hour(int hour, const bench::Viewer& viewer) {
    const Use use{resident_kb(), descriptors()};
    std::printf("%4d  %9ld  %6ld  %11ld  %13ld  %10zu\n", hour, use.memory_kb, use.descriptors,
                soak_platform::inferences(), alert_changes, viewer.bytes() / 1024);
    std::fflush(stdout);
    return use;
}

/** True when neither memory nor descriptors have grown. */
bool soak(int hours) {
    const bench::Viewer viewer(host_overlay::listen_address(), "/stream/640x360.mjpg");
    std::array<long, 5> statuses{}; // 200, 502, 503, 504, others
    std::puts("hour  VmRSS kB     fds       passes  alert changes  streamed kB");
    Use first;
    bool flat = true;
    for (int hour = 1; hour <= hours; ++hour) {
        for (int pass = 0; pass < passes_an_hour; ++pass) {
            now += period;
            do_one_analysis();
            ++statuses[g_StatusCode == 200                          ? 0
                       : g_StatusCode >= 502 && g_StatusCode <= 504 ? static_cast<std::size_t>(g_StatusCode - 501)
                                                                    : 4];
            if (pass % passes_between_lines == 0)
                g_Logger.info("soak: hour " + std::to_string(hour) + ", pass " + std::to_string(pass));
        }
        const Use use = print_hour(hour, viewer);
        if (hour == 1)
            first = use;
        else
            flat = flat && use.memory_kb - first.memory_kb <= most_growth_kb && use.descriptors == first.descriptors;
    }
    std::printf("passes with status 200: %ld, 502: %ld, 503: %ld, 504: %ld, another: %ld\n", statuses[0], statuses[1],
                statuses[2], statuses[3], statuses[4]);
    if (statuses[4] != 0 || *std::min_element(statuses.begin(), statuses.begin() + 4) == 0 || viewer.bytes() == 0)
        throw std::runtime_error("the passes did not do what they were meant to");
    return flat;
}

} // namespace

int main(int argc, char** argv) {
    const int hours = argc > 1 ? std::atoi(argv[1]) : hours_a_day;
    if (argc > 2 || hours < 1) {
        std::fputs("Usage: soak_bench [HOURS]\n", stderr);
        return 2;
    }
    try {
        start();
        if (soak(hours))
            return 0;
        std::fputs("soak_bench: memory or descriptors have grown\n", stderr);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "soak_bench: %s\n", problem.what());
    }
    return 1;
}
