#include "host/starter.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>

namespace console {
namespace {

constexpr std::chrono::seconds patience{5};

pid_t starter_of(const std::string& text) {
    pid_t starter = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, starter);
    if (failure != std::errc{} || stop != end || starter <= 0)
        throw std::runtime_error("KORVEX_STARTER is \"" + text + "\"; it must be the id of a process");
    return starter;
}

void watch(int starter) {
    pollfd gone{starter, POLLIN, 0};
    while (poll(&gone, 1, -1) < 0 && errno == EINTR) {
    }
    kill(getpid(), SIGTERM);
    std::this_thread::sleep_for(patience);
    _exit(128 + SIGTERM);
}

} // namespace

void end_with_starter() {
    const char* text = std::getenv("KORVEX_STARTER");
    if (text == nullptr || *text == '\0')
        return;
    const pid_t starter = starter_of(text);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    // The header of Debian 12 has the function for C alone.
    const auto descriptor = static_cast<int>(syscall(SYS_pidfd_open, starter, 0));
    if (descriptor < 0 && errno == ESRCH) {
        raise(SIGTERM);
        return;
    }
    if (descriptor < 0) {
        std::fprintf(stderr, "This program may outlive the one that started it, which cannot be watched here: %s.\n",
                     std::strerror(errno));
        return;
    }
    // Signals are for the main thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread(watch, descriptor).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace console
