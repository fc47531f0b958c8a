// korvex_replay [--seconds N] [--record FILE [--stream WxH]]: the application's passes over KORVEX_VDO_SOURCE in the
// video's own time, as fast as the machine allows; one JSON line a pass on stdout (pass_json.h), progress on stderr. It
// ends with the video, after N seconds of it, or after the pass that runs when it gets SIGTERM or SIGINT; what was
// printed and recorded until then is whole. With --record each pass adds a picture to the annotated video.
//
// Nothing in the output depends on the machine's speed or its clock: pass k sees the frame at k periods, dwell times
// are counted in the video's time, and no pass counts as slow.

#include "app/app_main.h"
#include "host/options.h"
#include "host/pass_json.h"
#include "host/starter.h"
#include "host/stays.h"
#include "platform/axevent/host_events.h"
#include "platform/axoverlay/host_recorder.h"
#include "platform/vdostream/host_video.h"
#include "scene/clock.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>

namespace {

double video_seconds = 0.0; // of the running pass

volatile std::sig_atomic_t asked_to_end = 0; // the signal's number

int give_up(const std::string& sentence) {
    std::fprintf(stderr, "replay: %s\n", sentence.c_str());
    return 1;
}

/** A line could not be printed. Who reads no further, as `head` does, needs not to be told. */
int end_without_output() {
    return errno == EPIPE ? 128 + SIGPIPE : give_up("the output cannot be written.");
}

/** The reason of a failed start stands in the application's own log. */
void show_log() {
    g_Logger.flush();
    std::fputs(g_Logger.getPlainLogContents().c_str(), stderr);
}

void show_progress(int pass, double limit) {
    constexpr int passes_between = 25;
    if (pass % passes_between != 0 || isatty(STDERR_FILENO) == 0)
        return;
    if (std::isfinite(limit))
        std::fprintf(stderr, "\rpass %d, %.1f of %.1f s", pass, video_seconds, limit);
    else
        std::fprintf(stderr, "\rpass %d, %.1f s", pass, video_seconds);
}

void ignore_event(const host_events::Occurrence& /*occurrence*/) {}

timeval video_time() {
    const auto whole = static_cast<time_t>(video_seconds);
    return {whole, static_cast<suseconds_t>((video_seconds - static_cast<double>(whole)) * 1e6)};
}

console::StayWatch stays;
console::Summary summary;

void summarise(const console::PassRecord& record) {
    summary.add(stays.pass(g_findings, video_seconds));
    for (const console::AlertChange& change : record.alerts)
        if (change.active)
            summary.add_alert(change.name);
}

/** One pass at `video_seconds`; false when its line cannot be written. */
bool run_pass() {
    console::PassRecord record;
    host_events::set_listener([&record](const host_events::Occurrence& occurrence) {
        if (occurrence.active)
            record.alerts.push_back({occurrence.nice_name, *occurrence.active});
    });
    const bool complete = do_one_analysis() == 0;
    record.seconds = video_seconds;
    record.status = g_StatusCode;
    if (complete) {
        record.detections = g_detections;
        for (const one_find& find : g_findings)
            record.findings.push_back({find, console::explain(find)});
    }
    summarise(record);
    // The next listener has a record of its own.
    host_events::set_listener(ignore_event);
    return std::puts(console::json_of_pass(record).c_str()) >= 0;
}

/** The application's own start; without the overlays when nobody sees them. */
bool start(bool overlays) {
    init_parameter_controller();
    init_ai();
    if (overlays)
        init_overlay_manager();
    // The events' own lines would stand between the passes'.
    host_events::set_listener(ignore_event);
    init_event_manager();
    init_logic(g_ConfigParams.i_MaxDisappeared);
    set_dwell_clock(video_time);
    set_pass_time_counts(false); // the slow-pass status is for a clock on the wall
    return !host_video::statistics().source.empty();
}

/** Throws std::runtime_error when the recording cannot go on. */
int run(const console::Options& options) {
    const bool records = !options.record.empty();
    if (!start(records)) {
        show_log();
        return give_up("the video cannot be opened.");
    }
    const int period_ms = g_ConfigParams.i_MainLoopTime;
    if (period_ms <= 0)
        return give_up("MainLoopTime is " + std::to_string(period_ms) + "; it must be at least 1 ms.");
    std::optional<host_overlay::Recorder> recorder;
    if (records) {
        recorder.emplace(host_overlay::RecorderOptions{options.record, options.width, options.height,
                                                       g_ParameterController.get_rotation(), false, true});
    }
    int passes = 0;
    for (; asked_to_end == 0; ++passes) {
        video_seconds = (passes + 1.0) * period_ms / 1000.0;
        if (video_seconds > options.seconds || !host_video::replay_advance(video_seconds))
            break;
        if (!run_pass())
            return end_without_output();
        if (recorder)
            recorder->take(video_seconds);
        show_progress(passes + 1, options.seconds);
    }
    if (recorder)
        recorder->finish();
    if (std::fflush(stdout) != 0)
        return end_without_output();
    if (passes == 0 && asked_to_end == 0) {
        return give_up("there is no pass: the first one is at " + std::to_string(period_ms) +
                       " ms, after the end of the video or of --seconds.");
    }
    std::fprintf(stderr, "%s%d passes%s.\n", isatty(STDERR_FILENO) == 1 ? "\r\x1b[K" : "", passes,
                 asked_to_end != 0 ? ", then it was asked to end" : "");
    summary.add(stays.end());
    std::fprintf(stderr, "%s.\n", summary.text().c_str());
    if (asked_to_end != 0)
        return 128 + asked_to_end;
    if (g_StatusCode == 400) {
        show_log();
        return give_up("the passes failed; the log above says why.");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    setenv("KORVEX_VDO_REPLAY", "1", 1);
    std::signal(SIGPIPE, SIG_IGN);
    for (const int signal : {SIGTERM, SIGINT})
        std::signal(signal, [](int number) { asked_to_end = number; });
    try {
        console::end_with_starter();
        return run(console::parse_options(argc, argv, true));
    } catch (const std::exception& problem) {
        return give_up(std::string(problem.what()) + ".");
    }
}
