#include "host/signals.h"

#include "host/refusal.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace console {
namespace {

bool is_ignored(int number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

} // namespace

Signals::Signals() {
    std::signal(SIGCHLD, SIG_DFL); // whose parent ignored it would never hear of a child
    sigset_t heard;
    sigemptyset(&heard);
    sigaddset(&heard, SIGCHLD);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        if (!is_ignored(number))
            sigaddset(&heard, number);
    sigprocmask(SIG_BLOCK, &heard, &m_before);
    m_signals = platform::Descriptor(signalfd(-1, &heard, SFD_CLOEXEC | SFD_NONBLOCK));
    if (m_signals.get() < 0)
        throw Refusal(std::string("signals cannot be heard here: ") + std::strerror(errno) + ".");
}

Signals::~Signals() {
    asked(); // what was heard must not end the process now
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

bool Signals::asked() {
    signalfd_siginfo signal{};
    while (read(m_signals.get(), &signal, sizeof signal) == sizeof signal)
        m_asked = m_asked || signal.ssi_signo != SIGCHLD;
    return m_asked;
}

void Signals::wait(int milliseconds, int other) {
    std::array<pollfd, 2> readable{{{m_signals.get(), POLLIN, 0}, {other, POLLIN, 0}}};
    poll(readable.data(), readable.size(), milliseconds);
}

void let_signals_in() {
    std::signal(SIGTERM, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace console
