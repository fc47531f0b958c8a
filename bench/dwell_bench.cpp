// dwell_bench [MINUTES [PHASE [OUTPUTS]]]: replays the built-in scene against its truth and prints how true the
// application's seconds are, for each stay of a vehicle in the area and in sum; status 1 when too few are true or an
// alert is false. `bench/dwell` runs it. The clock of the dwell times is PHASE seconds ahead of the video, since it
// counts in whole seconds, and where in a second a stay begins is chance. With OUTPUTS it also writes what the network
// gave in the first cycle, for soak_bench.
//
// dwell_bench --disturbed NUMBER MINUTES: the same with one of the disturbances (bench/disturbance.h), in one line of a
// table; without a NUMBER, how many there are.

#include "app/app_main.h"
#include "bench/disturbance.h"
#include "bench/inference_cache.h"
#include "bench/stays.h"
#include "output/event_manager.h"
#include "platform/axevent/host_events.h"
#include "platform/vdostream/host_video.h"
#include "scene/clock.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

/** What a measured dwell time may be off: whole seconds are counted, and a pass sees a change at its end alone. */
constexpr double allowed_seconds = 1.0;
constexpr int allowed_passes = 2;
constexpr double needed_share = 0.95;
constexpr double truth_step = 1.0 / host_scene::frames_a_second;

double now = 0.0; // seconds of video
double phase = 0.0;

timeval video_time() {
    const double whole = std::floor(now + phase);
    return {static_cast<time_t>(whole), static_cast<suseconds_t>((now + phase - whole) * 1e6)};
}

void start() {
    setenv("KORVEX_VDO_SOURCE", "scene", 1);
    setenv("KORVEX_VDO_REPLAY", "1", 1);
    init_parameter_controller();
    g_ConfigParams.b_EulaAccepted = true;
    init_ai();
    init_event_manager();
    init_logic(g_ConfigParams.i_MaxDisappeared);
    set_dwell_clock(video_time);
    set_pass_time_counts(false); // no pass is slow in the video's time
    if (g_LocationController.m_OutputScores == nullptr) {
        g_Logger.flush();
        throw std::runtime_error("the detector is not set up:\n" + g_Logger.getPlainLogContents());
    }
}

int level_of(const std::string& alert) {
    return alert == kFirstAlert ? 0 : alert == kSecondAlert ? 1 : 2;
}

/** One line: how many of the pass's results matter, then class, score and the four edges of each. */
void write_outputs(std::ofstream& file) {
    constexpr float least_score = 0.1F;
    const auto& detector = g_LocationController;
    std::ostringstream rows;
    rows.precision(4);
    int count = 0;
    for (int row = 0; row < detector.m_MaxResults; ++row) {
        if (detector.m_OutputScores[row] < least_score)
            continue;
        ++count;
        rows << ' ' << detector.m_OutputClasses[row] << ' ' << detector.m_OutputScores[row];
        for (int edge = 0; edge < 4; ++edge)
            rows << ' ' << detector.m_OutputLocations[row * 4 + edge];
    }
    file << count << rows.str() << '\n';
}

bench::StayBook replay(double minutes, const char* outputs, double period, bench::Disturber disturber) {
    const std::array<int, bench::levels> thresholds = {g_ConfigParams.i_Alert1ThreshSeconds,
                                                       g_ConfigParams.i_Alert2ThreshSeconds,
                                                       g_ConfigParams.i_Alert3ThreshSeconds};
    bench::StayBook book(thresholds, allowed_seconds + allowed_passes * period,
                         static_cast<double>(g_StreamWidth) / host_scene::design_width);
    host_events::set_listener([&book](const host_events::Occurrence& occurrence) {
        if (occurrence.what == host_events::Occurrence::What::event) {
            book.alert(now, level_of(occurrence.nice_name), occurrence.active.value_or(false));
        }
    });
    const host_scene::StreetScene scene(host_scene::design_width, host_scene::design_height);
    std::ofstream recorded;
    if (outputs != nullptr)
        recorded.open(outputs);
    inference_cache::set_afterwards(
        [&disturber] { disturber.take(now, g_LocationController.m_OutputScores, g_LocationController.m_MaxResults); });
    double looked = 0.0;
    for (int pass = 1; pass * period <= minutes * 60.0; ++pass) {
        now = pass * period;
        for (; looked < now; looked += truth_step)
            book.look(looked, scene.truth(looked));
        if (disturber.swallows(now))
            continue;
        host_video::replay_advance(now);
        if (do_one_analysis() != 0)
            throw std::runtime_error("a pass failed:\n" + g_Logger.getPlainLogContents());
        book.pass(now, scene.truth(now), g_findings);
        if (outputs != nullptr && now <= host_scene::cycle_seconds)
            write_outputs(recorded);
        if (pass % 50 == 0) {
            const auto counts = inference_cache::counts();
            std::fprintf(stderr, "\r%.0f s, %zu passes known, %zu computed ", now, counts.known, counts.computed);
        }
    }
    std::fprintf(stderr, "\r\x1b[K");
    inference_cache::set_afterwards([] {});
    host_events::set_listener({});
    return book;
}

void print_stays(const bench::StayBook& book, double allowed) {
    std::puts("  entered  class   true s  measured s  error s  switches  found   alert delays s");
    const std::array<int, bench::levels> thresholds = {g_ConfigParams.i_Alert1ThreshSeconds,
                                                       g_ConfigParams.i_Alert2ThreshSeconds,
                                                       g_ConfigParams.i_Alert3ThreshSeconds};
    for (const bench::Stay& stay : book.stays()) {
        const double dwell = stay.dwell(now);
        const double error = stay.measured - dwell;
        std::printf("%9.2f  %-6s %7.2f  %10d  %+7.2f  %8d  %4.0f%%  ", stay.entered,
                    location_controller_larod::ClassIDToLabel(stay.class_index).c_str(), dwell, stay.measured, error,
                    stay.switches, stay.passes > 0 ? 100.0 * stay.passes_found / stay.passes : 100.0);
        for (std::size_t level = 0; level < bench::levels; ++level)
            if (stay.alert[level] >= 0.0)
                std::printf(" %+.2f", stay.alert[level] - stay.entered - thresholds[level]);
            else
                std::printf(dwell >= thresholds[level] + allowed ? " missing" : " -");
        std::puts(std::abs(error) > allowed ? "  <-- off" : "");
    }
}

/** The seconds for which an alert outlasted the stay that caused it, at most. */
double longest_aftermath(const bench::StayBook& book) {
    double longest = 0.0;
    int cause = -1;
    for (const bench::Alert& alert : book.alerts())
        if (alert.active)
            cause = alert.cause;
        else if (cause != -1 && book.stays()[static_cast<std::size_t>(cause)].left >= 0.0)
            longest = std::max(longest, alert.at - book.stays()[static_cast<std::size_t>(cause)].left);
    return longest;
}

bool print_summary(const bench::StayBook& book, double allowed) {
    int stays = 0;
    int good = 0;
    int switches = 0;
    int started = 0;
    int false_alerts = 0;
    double worst = 0.0;
    for (const bench::Stay& stay : book.stays()) {
        if (stay.left < 0.0)
            continue; // the replay ended before it did
        const double error = std::abs(stay.measured - stay.dwell(now));
        ++stays;
        good += error <= allowed ? 1 : 0;
        switches += stay.switches;
        worst = std::max(worst, error);
    }
    for (const bench::Alert& alert : book.alerts()) {
        started += alert.active ? 1 : 0;
        if (alert.active && alert.cause == -1) {
            ++false_alerts;
            std::printf("false: alert %d at %.2f s\n", alert.level + 1, alert.at);
        }
    }
    const double share = stays > 0 ? static_cast<double>(good) / stays : 0.0;
    std::printf("%.0f s of video: %d of %d stays within %.1f s (%.1f %%; required: %.0f %%), worst %.2f s, %d identity "
                "switches, %d alerts started, %d of them false, none lasting more than %.2f s after its stay\n",
                now, good, stays, allowed, 100.0 * share, 100.0 * needed_share, worst, switches, started, false_alerts,
                longest_aftermath(book));
    return share >= needed_share && false_alerts == 0;
}

void print_row(const bench::StayBook& book, const std::string& name, double allowed) {
    int stays = 0;
    int split = 0;
    int good = 0;
    int missing = 0;
    double worst = 0.0;
    double sum = 0.0;
    const std::array<int, bench::levels> thresholds = {g_ConfigParams.i_Alert1ThreshSeconds,
                                                       g_ConfigParams.i_Alert2ThreshSeconds,
                                                       g_ConfigParams.i_Alert3ThreshSeconds};
    for (const bench::Stay& stay : book.stays()) {
        if (stay.left < 0.0)
            continue; // the replay ended before it did
        const double error = std::abs(stay.measured - stay.dwell(now));
        ++stays;
        split += stay.switches > 0 ? 1 : 0;
        good += error <= allowed ? 1 : 0;
        sum += error;
        worst = std::max(worst, error);
        for (std::size_t level = 0; level < bench::levels; ++level)
            missing += stay.alert[level] < 0.0 && stay.dwell(now) >= thresholds[level] + allowed ? 1 : 0;
    }
    const auto is_false = [](const bench::Alert& alert) { return alert.active && alert.cause == -1; };
    std::printf("| %s | %d | %d | %d | %d | %.2f | %.1f | %d | %d |\n", name.c_str(), stays, split, book.joined(), good,
                stays > 0 ? sum / stays : 0.0, worst, static_cast<int>(std::ranges::count_if(book.alerts(), is_false)),
                missing);
}

struct Wish {
    double minutes = 10.0;
    const char* outputs = nullptr;
    bench::Disturbance disturbance;
    bool is_row = false;
};

int run(const Wish& wish) {
    const char* cache = std::getenv("KORVEX_BENCH_CACHE");
    start();
    inference_cache::open(cache != nullptr ? cache : ".");
    const double period = g_ConfigParams.i_MainLoopTime / 1000.0;
    if (!(period > 0.0))
        throw std::runtime_error("MainLoopTime must be at least 1 ms");
    const double allowed = allowed_seconds + allowed_passes * period;
    const bench::StayBook book = replay(wish.minutes, wish.outputs, period, bench::Disturber(wish.disturbance));
    if (wish.is_row) {
        print_row(book, wish.disturbance.name, allowed);
        return 0;
    }
    print_stays(book, allowed);
    return print_summary(book, allowed) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<bench::Disturbance> all = bench::disturbances();
    Wish wish;
    wish.is_row = argc > 1 && std::string(argv[1]) == "--disturbed";
    if (wish.is_row && argc == 2) {
        std::printf("%zu\n", all.size());
        return 0;
    }
    const std::size_t number = wish.is_row ? std::strtoul(argv[2], nullptr, 10) : 0;
    const int first = wish.is_row ? 3 : 1;
    wish.minutes = argc > first ? std::atof(argv[first]) : wish.minutes;
    phase = argc > first + 1 ? std::atof(argv[first + 1]) : 0.0;
    wish.outputs = argc > first + 2 ? argv[first + 2] : nullptr;
    if (argc > first + 3 || number >= all.size() || !(wish.minutes > 0.0) || !(phase >= 0.0 && phase < 1.0)) {
        std::fputs("Usage: dwell_bench [--disturbed NUMBER] [MINUTES [PHASE [OUTPUTS]]], PHASE from 0 to less than 1\n",
                   stderr);
        return 2;
    }
    wish.disturbance = all[number];
    try {
        return run(wish);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "dwell_bench: %s\n", problem.what());
        return 2;
    }
}
