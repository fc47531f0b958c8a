// korvex_replay [SECONDS]: the application's passes over KORVEX_VDO_SOURCE in the video's own time, as fast as the
// machine allows; one JSON line a pass on stdout (pass_json.h), progress on stderr. It ends with the video, or after
// SECONDS of it.
//
// Nothing in the output depends on the machine's speed: pass k sees the frame at k periods, and no pass counts as slow.

#include "app/app_main.h"
#include "platform/console/pass_json.h"
#include "platform/vdostream/host_video.h"

#include <unistd.h>

#include <climits>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

int give_up(const std::string& sentence) {
    std::fprintf(stderr, "replay: %s\n", sentence.c_str());
    return 1;
}

/** The reason of a failed start stands in the application's own log. */
void show_log() {
    g_Logger.flush();
    std::fputs(g_Logger.getPlainLogContents().c_str(), stderr);
}

void show_progress(int pass, double seconds, double limit) {
    constexpr int passes_between = 25;
    if (pass % passes_between != 0 || isatty(STDERR_FILENO) == 0) {
        return;
    }
    if (std::isfinite(limit)) {
        std::fprintf(stderr, "\rpass %d, %.1f of %.1f s", pass, seconds, limit);
    } else {
        std::fprintf(stderr, "\rpass %d, %.1f s", pass, seconds);
    }
}

bool print_pass(double seconds) {
    const t_detection_list found = g_StatusCode == 200 ? g_LocationController.get_detections() : t_detection_list();
    return std::puts(console::json_of_pass(seconds, g_StatusCode, found).c_str()) >= 0;
}

} // namespace

int main(int argc, char** argv) {
    double limit = HUGE_VAL;
    if (argc > 2) {
        return give_up("it takes one argument, the number of seconds.");
    }
    if (argc == 2) {
        gchar* end = nullptr;
        limit = g_ascii_strtod(argv[1], &end);
        if (end == argv[1] || *end != '\0' || !(limit > 0.0)) {
            return give_up(std::string("\"") + argv[1] + "\" is not a number of seconds.");
        }
    }
    setenv("KORVEX_VDO_REPLAY", "1", 1);
    std::signal(SIGPIPE, SIG_IGN);

    init_parameter_controller();
    const int period_ms = g_ConfigParams.i_MainLoopTime;
    if (period_ms <= 0) {
        return give_up("MainLoopTime is " + std::to_string(period_ms) + "; it must be at least 1 ms.");
    }
    init_ai();
    if (host_video::statistics().source.empty()) {
        show_log();
        return give_up("the video cannot be opened.");
    }
    // The slow-pass status is for a clock on the wall; twice this is the longest that any pass may take.
    g_LocationController.m_IterationTime = INT_MAX / 2;

    int passes = 0;
    for (int pass = 1;; ++pass) {
        const double seconds = static_cast<double>(pass) * period_ms / 1000.0;
        if (seconds > limit || !host_video::replay_advance(seconds)) {
            break;
        }
        do_one_analysis();
        if (!print_pass(seconds)) {
            return give_up("the output cannot be written.");
        }
        passes = pass;
        show_progress(pass, seconds, limit);
    }
    if (std::fflush(stdout) != 0) {
        return give_up("the output cannot be written.");
    }
    std::fprintf(stderr, "%s%d passes.\n", isatty(STDERR_FILENO) == 1 ? "\r\x1b[K" : "", passes);
    if (g_StatusCode == 400) {
        show_log();
        return give_up("the passes failed; the log above says why.");
    }
    return 0;
}
