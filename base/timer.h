#pragma once

#include <chrono>
#include <cstdint>

/** A stop watch on the monotonic clock, running from its construction. */
class Timer {
  public:
    void tock() { _end = std::chrono::steady_clock::now(); }

    /** Whole milliseconds between construction and the last tock. */
    int64_t elapsed() const { return std::chrono::duration_cast<std::chrono::milliseconds>(_end - _start).count(); }

  public:
    std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point _end = _start;
};
