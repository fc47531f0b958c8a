#include "app/web_thread.h"

#include "app/app_main.h"
#include "web/fastcgi_service.h"

#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

using namespace std::chrono_literals;

constexpr auto kLongestRequest = 300ms; // of a client that cooperates; the end as a whole has a second
constexpr int kNiceness = 10;           // this thread's alone: however many ask, the analysis keeps its pace

/** not_started -> opening -> serving -> ended, or opening -> ended when the socket cannot be opened. */
enum class phase { not_started, opening, serving, ended };

std::mutex g_lock;
std::condition_variable g_changed;
phase g_phase = phase::not_started;

void enter(phase next) {
    // Told while the lock is held: whoever learns of the end may destroy the variable at once.
    const std::scoped_lock lock(g_lock);
    g_phase = next;
    g_changed.notify_all();
}

} // namespace

void* webservices_thread_fcn(void*) {
    static std::atomic<int> entries{1};
    enter(phase::opening);
    (void)!nice(kNiceness);
    syslog(LOG_ERR, "webservices_thread_fcn %d", entries++); // an error by level only; support looks for it there
    if (g_FastcgiService.init() == 0) {
        enter(phase::serving);
        g_FastcgiService.run();
    } else {
        g_Logger.error("webservices_thread_fcn: Failed to init fastcgi service");
        g_StatusCode = 50;
    }
    enter(phase::ended);
    return nullptr;
}

bool end_web_service() {
    std::unique_lock lock(g_lock);
    if (g_phase == phase::not_started)
        return true;
    if (!g_changed.wait_for(lock, kLongestRequest, [] { return g_phase >= phase::serving; }))
        return false;
    if (g_phase == phase::serving)
        shutdown(g_FastcgiService.m_sock, SHUT_RDWR);
    return g_changed.wait_for(lock, kLongestRequest, [] { return g_phase == phase::ended; });
}
