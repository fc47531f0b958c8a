// korvex_live: the application, with one line on stdout that shows what it publishes. On a terminal the line is
// rewritten in place after each pass, below whatever else is said; elsewhere a line is printed at most once a second,
// and whenever the status changes. With --record FILE [--stream WxH] it also writes the annotated video until it ends.

#include "app/app_main.h"
#include "base/shared_field.h"
#include "host/console_line.h"
#include "host/live_report.h"
#include "host/options.h"
#include "host/pass_watch.h"
#include "host/remembering.h"
#include "host/starter.h"
#include "platform/axevent/host_events.h"
#include "platform/axoverlay/host_recorder.h"
#include "platform/axoverlay/host_streams.h"
#include "platform/vdostream/host_video.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr gint64 second = G_USEC_PER_SEC;

class LiveConsole {
  public:
    void after_pass() {
        count_pass();
        if (m_is_terminal) {
            m_shown_line = console::below_cursor(console::fitted(line(), columns()));
            show(m_shown_line);
            return;
        }
        const gint64 now = g_get_monotonic_time();
        if (m_shown_at == 0 || g_StatusCode != m_shown_status || now - m_shown_at >= second) {
            m_shown_at = now;
            m_shown_status = g_StatusCode;
            show(line().append("\n"));
        }
    }

    /** An event's line stands above the live one. */
    void tell(const host_events::Occurrence& occurrence) {
        if (occurrence.what == host_events::Occurrence::What::event) {
            say(occurrence.time + " " + occurrence.nice_name +
                (occurrence.active.value_or(true) ? ": started" : ": stopped"));
        }
    }

    /** So does any other. */
    void say(const std::string& line) {
        show((m_is_terminal ? console::clear_below : "") + line + "\n" + m_shown_line);
    }

    /** Leaves the cursor below the line. */
    ~LiveConsole() {
        if (!m_shown_line.empty())
            show("\n\n\n");
    }

  private:
    void count_pass() {
        const gint64 now = g_get_monotonic_time();
        if (m_rate_since == 0) {
            m_rate_since = now;
            return;
        }
        ++m_passes;
        if (now - m_rate_since >= second) {
            m_rate =
                static_cast<double>(m_passes) * static_cast<double>(second) / static_cast<double>(now - m_rate_since);
            m_rate_since = now;
            m_passes = 0;
        }
    }

    std::string line() const {
        const host_video::Statistics video = host_video::statistics();
        console::Snapshot snapshot{g_StatusCode, g_ExecutionTime, m_rate, video.source_fps, {}, 0.0};
        if (video.source_fps > 0.0)
            snapshot.source_seconds = static_cast<double>(video.frames_decoded) / video.source_fps;
        // The outputs exist once the detector is set up; status 400 and 408 leave them as they were.
        if (g_LocationController.get_output_scores() != nullptr)
            snapshot.detections = g_LocationController.get_detections();
        return console::line_of(snapshot);
    }

    static size_t columns() {
        winsize size{};
        return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col - 1U : 79U;
    }

    /** When nobody reads any more, the application ends as if it had been asked to. */
    static void show(const std::string& text) {
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
            raise(SIGTERM);
    }

    const bool m_is_terminal = isatty(STDOUT_FILENO) == 1;
    std::string m_shown_line; // on a terminal, with what puts it in its place
    gint64 m_shown_at = 0;
    int m_shown_status = 0;
    gint64 m_rate_since = 0;
    int m_passes = 0;
    double m_rate = 0.0;
};

/** The annotated video of a whole run, from its first pass on: only then the camera's rotation is known. */
class Recording {
  public:
    explicit Recording(const console::Options& options) : m_options(options) {}

    /** Begins it, once. A recording that cannot begin ends the application: it was asked for. */
    void after_pass() {
        if (m_options.record.empty() || m_recorder || m_failed)
            return;
        try {
            m_recorder.emplace(host_overlay::RecorderOptions{m_options.record, m_options.width, m_options.height,
                                                             g_ParameterController.get_rotation(), false, false,
                                                             [this](const std::string& why) { tell_of_stop(why); }});
        } catch (const std::exception& failure) {
            fail(failure);
            raise(SIGTERM);
        }
    }

    /** Completes the file; false when there is none, or it ends before the run did. */
    bool finish() {
        try {
            if (m_recorder)
                m_recorder->finish();
        } catch (const std::exception& failure) {
            fail(failure);
        }
        return !m_failed;
    }

  private:
    void fail(const std::exception& failure) {
        m_failed = true;
        if (!m_told)
            std::fprintf(stderr, "live: no recording: %s.\n", failure.what());
    }

    /** On the recording's thread, when it happens: nobody looks after a recording before the end. */
    void tell_of_stop(const std::string& why) {
        m_told = true;
        std::fprintf(stderr, "live: the recording %s has stopped: %s; what it holds can be played.\n",
                     m_options.record.c_str(), why.c_str());
    }

    const console::Options m_options;
    bool m_failed = false;
    std::atomic<bool> m_told = false;
    std::optional<host_overlay::Recorder> m_recorder; // whose thread uses the others
};

/** The stream on which users want what is followed hidden. */
std::vector<host_overlay::CoveredSize> hiding_streams() {
    const uint32_t width = read_shared(g_OverlayInfo.anonymizedStreamWidth);
    const uint32_t height = read_shared(g_OverlayInfo.anonymizedStreamHeight);
    if (width == 0 || g_OverlayInfo.getStreamType(width, height) != AnonymizedStream)
        return {};
    return {{static_cast<int>(width), static_cast<int>(height)}};
}

int run(const console::Options& options) {
    LiveConsole live;
    std::optional<console::Remembering> memory;
    if (const auto settings = console::stay_settings_from_environment())
        memory.emplace(*settings);
    Recording recording(options);
    // The application ends at once when a client of the web holds it.
    static Recording* unfinished = &recording;
    std::at_quick_exit([] {
        if (unfinished != nullptr)
            unfinished->finish();
    });
    console::LiveReport report([&live](const std::string& line) { live.say(line); });
    const console::PassWatch watch([&] {
        if (memory)
            memory->after_pass();
        live.after_pass();
        report.after_pass();
        recording.after_pass();
        host_overlay::cover_streams(hiding_streams());
    });
    host_events::set_listener([&](const host_events::Occurrence& occurrence) {
        if (memory) {
            memory->before_alert(occurrence);
        }
        live.tell(occurrence);
    });
    const int status = korvex_orvel_main();
    unfinished = nullptr;
    // The events are withdrawn after this, when the process's objects are destroyed.
    host_events::set_listener([](const host_events::Occurrence&) {});
    if (memory)
        memory->finish();
    return recording.finish() ? status : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        console::end_with_starter();
        return run(console::parse_options(argc, argv, false));
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "live: %s.\n", problem.what());
        return 1;
    }
}
