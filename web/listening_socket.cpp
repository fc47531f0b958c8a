#include "web/listening_socket.h"

#include <fcgiapp.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

namespace {

constexpr int kBacklog = 5;

/** For a child: what ends any process ends it, though this thread has all signals blocked and SIGTERM has a handler. */
void take_signals_as_any_process() {
    std::signal(SIGTERM, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/**
 * Whether FCGX_OpenSocket comes back. libfcgi ends the whole process when it cannot listen, so a child goes first; what
 * the application does at its end is not for the child to do. The child reports success through a pipe: its exit status
 * is lost when the process inherited an ignored SIGCHLD.
 */
bool opening_returns() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return true;
    const pid_t child = fork();
    if (child == 0) {
        take_signals_as_any_process();
        std::atexit([] { _exit(1); });
        FCGX_OpenSocket(kListeningSocket, kBacklog);
        _exit(write(ends[1], "", 1) == 1 ? 0 : 1);
    }
    close(ends[1]);
    char said = 0;
    const bool returned = child < 0 || read(ends[0], &said, 1) == 1;
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return returned;
}

} // namespace

int open_listening_socket() {
    const int listening = opening_returns() ? FCGX_OpenSocket(kListeningSocket, kBacklog) : -1;
    chmod(kListeningSocket, 0777); // the web server is another user
    return listening;
}
