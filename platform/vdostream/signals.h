#pragma once

#include <pthread.h>

#include <csignal>

namespace vdostream {

/** Threads made while it lives block every signal, so that the application's handlers run on its own threads. */
class signals_blocked {
  public:
    signals_blocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_Before);
    }
    ~signals_blocked() { pthread_sigmask(SIG_SETMASK, &m_Before, nullptr); }
    signals_blocked(const signals_blocked&) = delete;
    signals_blocked& operator=(const signals_blocked&) = delete;

  private:
    sigset_t m_Before{};
};

} // namespace vdostream
