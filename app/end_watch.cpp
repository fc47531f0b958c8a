#include "app/end_watch.h"

#include "base/blocked_signals.h"
#include "base/logger.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <system_error>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 700ms;       // with the main thread
constexpr auto kForDestructors = 300ms; // at least, after the program around has taken its time
constexpr auto kForLastActs = 200ms;    // they may hang, too
constexpr auto kForTheLog = 100ms;      // until the thread that holds it is done
constexpr auto kForHandlers = 10s;      // of at_quick_exit
constexpr timespec kForStart = {0, 500'000'000};

} // namespace

void end_watch::start(void (*last_acts)()) {
    if (m_watching)
        return;
    m_main = pthread_self();
    m_last_acts = last_acts;
    const blocked_signals while_it_is_made;
    try {
        std::thread thread([this] { watch(); });
        m_watch = thread.native_handle();
        thread.detach();
        m_watching = true;
    } catch (const std::system_error&) {
        // Too many threads: SIGTERM ends what it can end.
    }
}

void end_watch::loop_runs() {
    m_running = true;
}

void end_watch::asked() {
    m_asked = true;
    if (m_watching)
        pthread_kill(m_watch, SIGTERM); // NOLINT(bugprone-bad-signal-to-kill-thread): it waits for it
}

void end_watch::end_start() const {
    timespec left = kForStart;
    while (m_watching && nanosleep(&left, &left) != 0 && errno == EINTR)
        continue;
    _exit(1);
}

void end_watch::stand_down() {
    std::unique_lock lock(m_mutex);
    m_resting = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_forcing; }); // for ever, when it is too late
}

void end_watch::count_again() {
    const std::lock_guard lock(m_mutex);
    if (!m_resting)
        return;
    m_resting = false;
    m_deadline = std::max(m_deadline, clock::now() + kForDestructors);
    m_changed.notify_all();
}

void end_watch::watch() {
    sigset_t sigterm;
    sigemptyset(&sigterm);
    sigaddset(&sigterm, SIGTERM);
    int signal = 0;
    sigwait(&sigterm, &signal);
    if (!m_running) {
        g_Logger.close_within(3 * kForTheLog);
        _exit(1);
    }
    if (!m_asked)
        pthread_kill(m_main, SIGTERM); // NOLINT(bugprone-bad-signal-to-kill-thread): its handler, when it waits again
    wait_for_the_end();
    end_by_force();
}

void end_watch::wait_for_the_end() {
    std::unique_lock lock(m_mutex);
    m_deadline = clock::now() + kPatience;
    while (m_resting || clock::now() < m_deadline)
        if (m_resting)
            m_changed.wait(lock);
        else
            m_changed.wait_until(lock, m_deadline);
    m_forcing = true;
}

void end_watch::end_by_force() {
    try {
        std::thread([this] { end_for_good(); }).detach();
        m_last_acts();
    } catch (const std::system_error&) {
        // Nobody would watch over the acts: the log alone.
    }
    g_Logger.close_within(kForTheLog);
    m_handlers_run = true;
    std::quick_exit(0);
}

void end_watch::end_for_good() {
    std::this_thread::sleep_for(kForLastActs);
    g_Logger.close_within(kForTheLog / 2);
    if (m_handlers_run)
        std::this_thread::sleep_for(kForHandlers);
    _exit(0);
}
