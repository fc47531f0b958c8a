#pragma once

#include <csignal>

/**
 * Blocks every signal of the calling thread while it lives. A thread started meanwhile keeps them blocked for good, so
 * that the SIGTERM handler runs on the main thread only.
 */
class blocked_signals {
  public:
    blocked_signals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~blocked_signals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    blocked_signals(const blocked_signals&) = delete;
    blocked_signals& operator=(const blocked_signals&) = delete;

  private:
    sigset_t m_before{};
};
