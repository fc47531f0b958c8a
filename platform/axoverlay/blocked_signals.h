#pragma once

#include <pthread.h>

#include <csignal>

namespace host_overlay {

/**
 * Blocks every signal for its scope. Threads started inside inherit the mask, so that the application's SIGTERM handler
 * runs on the main thread only.
 */
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t m_before{};
};

} // namespace host_overlay
