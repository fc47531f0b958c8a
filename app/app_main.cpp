#include "app/app_main.h"

#include "app/end_watch.h"
#include "app/web_thread.h"
#include "base/arithmetic.h"
#include "base/blocked_signals.h"
#include "base/shared_field.h"
#include "config/parameter_io.h"
#include "scene/clock.h"

#include <poll.h>
#include <sys/sysinfo.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <map>
#include <mutex>
#include <utility>

std::string g_app_name = "korvex_orvel";
ConfigParams g_ConfigParams;
parameter_controller g_ParameterController;
location_controller_larod g_LocationController;
area_of_interest g_AreaofInterest;
tracker g_Tracker;
t_findings_list g_findings;
std::recursive_mutex g_FindingsMutex;
t_detection_list g_detections;
std::map<int, timeval> g_Id2Time;
std::unique_ptr<OverlayManager> g_overlayManager;
// The log itself is never destroyed: the destructors of the objects above still log, and are ignored. Its last lines
// are written where its destructor would run.
Logger& g_Logger = *new Logger(g_app_name, "./localdata/OrvelLog.txt");
namespace {
struct log_closer {
    log_closer() = default;
    log_closer(const log_closer&) = delete;
    log_closer& operator=(const log_closer&) = delete;
    ~log_closer() { g_Logger.close(); }
} g_log_closer;

// The events, too, are withdrawn there, while the log still takes its lines.
std::mutex& g_events_in_use = *new std::mutex; // held by whoever works with the events
std::unique_ptr<EventManager>& g_event_manager_owner = *new std::unique_ptr<EventManager>;
struct events_closer {
    events_closer() = default;
    events_closer(const events_closer&) = delete;
    events_closer& operator=(const events_closer&) = delete;
    ~events_closer() {
        const std::scoped_lock lock(g_events_in_use);
        g_event_manager_owner.reset();
    }
} g_events_closer;
} // namespace
fastcgi_service g_FastcgiService;
namespace {
end_watch& g_end_watch = *new end_watch;
struct end_counter { // the first that is destroyed
    end_counter() = default;
    end_counter(const end_counter&) = delete;
    end_counter& operator=(const end_counter&) = delete;
    ~end_counter() { g_end_watch.count_again(); }
} g_end_counter;
} // namespace

unsigned int g_ThreadID = 0;
GMainLoop* gp_Loop = nullptr;
EventManager* g_EventManager = nullptr;
int32_t g_Alert1ThreshSecs = 5;
int32_t g_Alert2ThreshSecs = 10;
int32_t g_Alert3ThreshSecs = 15;

namespace {

sigset_t g_mask_while_waiting; // the signals blocked while the main loop waits

/** GLib's poll function, with SIGTERM let in for just that long. */
gint poll_with_sigterm(GPollFD* fds, guint count, gint timeout_ms) {
    static_assert(sizeof(GPollFD) == sizeof(pollfd));
    const timespec timeout = {timeout_ms / 1000, (timeout_ms % 1000) * 1000000L};
    return ppoll(reinterpret_cast<pollfd*>(fds), count, timeout_ms < 0 ? nullptr : &timeout, &g_mask_while_waiting);
}

/**
 * The SIGTERM handler calls GLib, which holds locks of its own at many places but never while it polls: from here on
 * the signal waits until then.
 */
void let_sigterm_in_only_while_waiting() {
    sigset_t sigterm;
    sigemptyset(&sigterm);
    sigaddset(&sigterm, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &sigterm, &g_mask_while_waiting);
    sigdelset(&g_mask_while_waiting, SIGTERM); // whoever started the process may have left it blocked
    g_main_context_set_poll_func(nullptr, poll_with_sigterm);
}

/** Start-up goes on without a stream whose stored size cannot be read. */
void select_stream(void (*select)(const std::string&), bool on, const std::string& size) {
    try {
        select(on ? size : "0x0");
    } catch (const std::exception&) {
        g_Logger.error("init_overlay_manager: '" + size + "' is not the size of a stream; no stream is selected.");
        select("0x0");
    }
}

/** The highest active alert; a lower one is not even asked. */
int32_t alert_status() {
    const std::scoped_lock lock(g_events_in_use);
    if (g_EventManager == nullptr)
        return 200;
    if (g_EventManager->isEventStarted(kThirdAlert))
        return 504;
    if (g_EventManager->isEventStarted(kSecondAlert))
        return 503;
    return g_EventManager->isEventStarted(kFirstAlert) ? 502 : 200;
}

bool start_web_thread() {
    const blocked_signals during_creation;
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, webservices_thread_fcn, nullptr) != 0)
        return false;
    pthread_detach(thread); // never joined
    return true;
}

void log_end() {
    static std::atomic_flag logged;
    if (!logged.test_and_set())
        logMemoryUsage("Ending Korvex Orvel");
}

/**
 * For a main thread that does not come to its end: what it would have done, as far as that can be done without it. The
 * events stay when it is just about them; when it is not, it never comes to them again.
 */
void act_for_main_thread() {
    log_end();
    std::unique_lock idle(g_events_in_use, std::try_to_lock);
    if (!idle.owns_lock())
        return;
    g_event_manager_owner.reset();
    idle.release();
}

/**
 * For a web thread that hangs on its client: what it uses cannot be destroyed, so only what matters is done. A program
 * around the application has its say by at_quick_exit.
 */
[[noreturn]] void end_at_once() {
    {
        const std::scoped_lock lock(g_events_in_use);
        g_event_manager_owner.reset();
    }
    g_Logger.close();
    g_end_watch.stand_down();
    std::quick_exit(0);
}

} // namespace

int korvex_orvel_main() {
    openlog(g_app_name.c_str(), LOG_PID | LOG_CONS, LOG_USER);
    logMemoryUsage("Starting Korvex Orvel");
    syslog(LOG_INFO, "*** To view Korvex Orvel log messages click on 'View Log' button on 'Advanced' tab of Orvel ACAP "
                     "web page ***");
    g_StatusCode = 100;
    init_signals();
    init_parameter_controller();
    if (init_ai() != 0) {
        g_Logger.error("main: Failed init_ai");
        g_StatusCode = 401;
        return -1;
    }
    init_overlay_manager();
    const int period = g_LocationController.get_iteration_time();
    init_event_manager();
    if (!start_web_thread()) {
        syslog(LOG_ERR, "Failed to create thread\n");
        g_StatusCode = 50;
        return -1;
    }
    init_logic(read_shared(g_ConfigParams.i_MaxDisappeared)); // settings may be posted from here on

    let_sigterm_in_only_while_waiting();
    gp_Loop = g_main_loop_new(nullptr, FALSE);
    g_ThreadID = g_timeout_add(static_cast<guint>(period), thread_function, nullptr);
    g_end_watch.loop_runs();
    g_main_loop_run(gp_Loop);

    log_end();
    closelog();
    if (!end_web_service())
        end_at_once();
    g_end_watch.stand_down();
    return 0;
}

void init_signals() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaddset(&ignore.sa_mask, SIGPIPE);
    sigaction(SIGPIPE, &ignore, nullptr);

    g_end_watch.start(act_for_main_thread);
    struct sigaction end {};
    end.sa_handler = handle_sigterm;
    sigemptyset(&end.sa_mask);
    sigaction(SIGTERM, &end, nullptr);
}

void init_parameter_controller() {
    g_ParameterController.init_controller(g_app_name);
    g_ConfigParams = g_ParameterController.load_config();
    g_LocationController.set_sensitivity(g_ConfigParams.f_Sensitivity);
    parameter_io::store_points_into_AOI();
    parameter_io::store_points_into_exclusions();
    const int32_t rotation = g_ParameterController.get_rotation();
    if (rotation == 90 || rotation == 270)
        g_IsPortrait = true;
}

int init_ai() {
    try {
        // A failure is deliberately not looked at: it has been logged, and every pass will report it.
        g_LocationController.init_larod(
            g_app_name, g_IsPortrait ? g_ConfigParams.s_PortraitModelFileName : g_ConfigParams.s_LandscapeModelFileName,
            static_cast<int>(g_ConfigParams.i_ModelWidth), static_cast<int>(g_ConfigParams.i_ModelHeight),
            g_ConfigParams.l_LarodChipType, g_ConfigParams.i_MainLoopTime, g_IsPortrait);
    } catch (const char*) {
        // No tensor file; logged by the one that threw.
    }
    g_StreamWidth = static_cast<int32_t>(g_LocationController.get_stream_width());
    g_StreamHeight = static_cast<int32_t>(g_LocationController.get_stream_height());
    return 0;
}

void init_overlay_manager() {
    g_overlayManager.reset(); // the overlay service serves one at a time
    g_overlayManager = std::make_unique<OverlayManager>();
    select_stream(SetOverlayStreamResolutionFromString, g_ConfigParams.b_DetectionOverlaysOn,
                  g_ConfigParams.str_DetectionOverlay);
    select_stream(SetAnonymizedStreamResolutionFromString, g_ConfigParams.b_AnonOverlaysOn,
                  g_ConfigParams.str_AnonOverlay);
}

void init_event_manager() {
    g_event_manager_owner.reset();
    g_event_manager_owner = std::make_unique<EventManager>();
    g_EventManager = g_event_manager_owner.get();
    for (const char* alert : {kFirstAlert, kSecondAlert, kThirdAlert})
        g_EventManager->addEvent(alert);
}

void init_logic(int maxDisappeared) {
    g_Tracker.init(maxDisappeared);
    g_AreaofInterest.init();
    g_Id2Time.clear();
}

gboolean thread_function(void*) {
    do_one_analysis();
    return TRUE;
}

int do_one_analysis() {
    if (!read_shared(g_ConfigParams.b_EulaAccepted)) {
        g_StatusCode = 408;
        return 1;
    }
    Timer timer;
    if (g_LocationController.larod_prepare_data_and_do_ai() != 0) {
        g_Logger.error("do_one_analysis: Error in g_LocationController.larod_prepare_data_and_do_ai");
        g_StatusCode = 400;
        return 1;
    }
    DetectionProcessing::get_detections();
    {
        // Held over both: in between every object stands there without its seconds.
        const std::scoped_lock lock(g_FindingsMutex);
        DetectionProcessing::monitor_AOI();
        DetectionProcessing::examine_and_update_findings();
    }
    {
        const std::scoped_lock lock(g_events_in_use);
        DetectionProcessing::manage_events();
    }
    if (g_overlayManager != nullptr)
        g_overlayManager->renderFindings();
    timer.tock();
    g_ExecutionTime = static_cast<int32_t>(timer.elapsed());
    const int32_t period = g_LocationController.get_iteration_time();
    const bool slow = pass_time_counts() && wrap_multiply(2, period) <= g_ExecutionTime;
    g_StatusCode = slow ? 600 : alert_status(); // a slow pass says so, whatever alert is active: they are not asked
    return 0;
}

void handle_sigterm(int) {
    g_end_watch.asked();
    if (g_ThreadID != 0)
        g_source_remove(g_ThreadID);
    g_ThreadID = 0;
    if (gp_Loop == nullptr)
        g_end_watch.end_start(); // nothing that exit would run is safe in a signal handler
    g_main_loop_quit(gp_Loop);
}

void logMemoryUsage(const std::string& caption) {
    struct sysinfo memory {};
    if (sysinfo(&memory) != 0) {
        g_Logger.error("logMemoryUsage: Failed to retrieve memory information.");
        return;
    }
    const auto kilobytes = [&memory](uint64_t units) { return std::to_string((units * memory.mem_unit) >> 10); };
    g_Logger.info("logMemoryUsage: " + caption + " - Total memory: " + kilobytes(memory.totalram) +
                  " kB. Free memory: " + kilobytes(memory.freeram) + " kB.");
}
