#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

/**
 * Sees to it that the process ends within a second of SIGTERM, its log complete, whatever keeps the main thread: a
 * service that does not answer, a camera without frames, an object that takes long to be destroyed.
 *
 * A thread of its own waits for the signal. The kernel gives it to the main thread, whose handler says so (`asked`), or
 * to this one while the main thread blocks it. What comes then depends on how far the application is:
 *
 *   starting --loop_runs--> running --stand_down--> resting --count_again--> running
 *
 *   starting
 *       The log takes its last lines, and the process ends with status 1.
 *   running
 *       The main thread gets the signal and 0.7 s to end; after that `last_acts` is called, the log takes its last
 *       lines, and the process ends with status 0 without destroying anything. A program around the application has
 *       its say by at_quick_exit, for 10 s at the most.
 *   resting
 *       The time does not count.
 *
 * Never destroyed. Without `start`, and where no thread can be had, nothing is watched.
 */
class end_watch {
  public:
    /** Main thread. `last_acts` is called on the watch's thread while the main thread may be anywhere. */
    void start(void (*last_acts)());

    /** Main thread, once SIGTERM is blocked but for the loop's waiting. */
    void loop_runs();

    /** For the signal's handler, on the main thread. */
    void asked();

    /** The same; ends the process with status 1, once the log is complete or half a second has passed. */
    [[noreturn]] void end_start() const;

    /** Main thread: the application has ended, and the program around it may take its time. */
    void stand_down();

    /** Main thread: it has; what is left are destructors. */
    void count_again();

  private:
    using clock = std::chrono::steady_clock;

    void watch();
    void wait_for_the_end();
    void end_by_force();
    [[noreturn]] void end_for_good();

    pthread_t m_main{};
    pthread_t m_watch{};
    void (*m_last_acts)() = nullptr;
    std::atomic<bool> m_watching{false};
    std::atomic<bool> m_asked{false};
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_handlers_run{false}; // those of at_quick_exit

    std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    bool m_resting = false;
    bool m_forcing = false;
    clock::time_point m_deadline{};
};
