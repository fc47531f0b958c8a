#pragma once

#include "base/thread_safety.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <thread>

namespace host_parameters {

/**
 * Calls `settle` once nothing has been written for a moment, on a thread of its own that blocks every signal and is
 * there from the first write on. `settle` is not called any more once this object is gone.
 */
class Settler {
  public:
    static constexpr std::chrono::milliseconds default_quiet{200};

    explicit Settler(std::function<void()> settle, std::chrono::milliseconds quiet = default_quiet);

    /** Any thread; waits for nothing. */
    void written();

  private:
    using Clock = std::chrono::steady_clock;
    void run(const std::stop_token& stop);

    const std::function<void()> m_settle;
    const std::chrono::milliseconds m_quiet;
    annotated_mutex m_mutex;
    std::condition_variable_any m_changed;
    bool m_unsettled GUARDED_BY(m_mutex) = false;
    Clock::time_point m_last GUARDED_BY(m_mutex){};
    std::jthread m_thread GUARDED_BY(m_mutex); // the last member: it ends before the others go
};

} // namespace host_parameters
