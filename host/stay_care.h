#pragma once

#include "host/stay_limits.h"
#include "platform/axoverlay/host_stills.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace console {

/**
 * What kept stays need beside their rows, on a thread of its own that gives way to the analysis and takes no signals:
 * the pictures of their alerts, an end to what is too old or too much, and a database whose log does not grow for ever.
 * Any thread may call, and waits for nothing.
 */
class StayCare {
  public:
    /** Where the pictures come from: take() may block until stop() is called, and throws std::runtime_error. */
    struct Camera {
        std::function<std::string(const host_overlay::StillView&)> take;
        std::function<void()> stop;
    };

    /** Makes the folders. */
    StayCare(const StayFolder& folder, const StayLimits& limits, Camera camera);
    /** Pictures that have not been taken are not. */
    ~StayCare();
    StayCare(const StayCare&) = delete;
    StayCare& operator=(const StayCare&) = delete;

    /** An alert's still, as soon as can be. One picture serves all that wait; beyond 64 of them some get none. */
    void picture(std::int64_t id, int level, const host_overlay::StillView& view);

    /** Somebody else has written a file of so many bytes into the folder. */
    void count(std::uint64_t bytes) { m_written += bytes; }

    /** The stays that are over, to be removed from the store; empty when nothing has changed since the last call. */
    std::vector<std::int64_t> take_over();

  private:
    struct Picture {
        std::int64_t id = 0;
        int level = 0;
        host_overlay::StillView view;
    };

    void run();
    std::deque<Picture> next_pictures();
    void take(const std::deque<Picture>& wanted);
    bool write(const std::string& path, const std::string& file);
    void tidy();

    const StayFolder m_folder;
    const StayLimits m_limits;
    const Camera m_camera;
    std::atomic<std::uint64_t> m_written = 0; // since the last sweep

    // The thread's own.
    double m_next_tidying = 0.0; // Unix time
    bool m_swept = false;
    bool m_failing = false;

    std::mutex m_lock; // guards the rest
    std::condition_variable m_changed;
    std::deque<Picture> m_wanted;
    std::vector<std::int64_t> m_over;
    bool m_ending = false;

    std::thread m_thread;
};

} // namespace console
