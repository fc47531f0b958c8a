#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
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

    const std::function<void()> settle_;
    const std::chrono::milliseconds quiet_;
    std::mutex mutex_; // the four below
    std::condition_variable_any changed_;
    bool unsettled_ = false;
    Clock::time_point last_{};
    std::jthread thread_; // the last member: it ends before the others go
};

} // namespace host_parameters
