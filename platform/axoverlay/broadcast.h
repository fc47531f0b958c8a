#pragma once

#include "base/thread_safety.h"
#include "platform/axoverlay/annotated_video.h"
#include "platform/axoverlay/geometry.h"
#include "platform/axoverlay/viewer.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace host_overlay {

/**
 * The streams that somebody watches, one for each geometry. Each has a thread that takes the camera's pictures, encodes
 * each of them once and leaves it with every viewer. It begins with its first viewer and ends itself at the first
 * picture after the last one has gone, or when its place is wanted. When nobody watches at all, the process gives the
 * memory of it back to the system.
 */
class Broadcasts {
  public:
    explicit Broadcasts(int jpeg_quality) : m_quality(jpeg_quality) {}
    /** Stops. */
    ~Broadcasts() { stop(); }
    Broadcasts(const Broadcasts&) = delete;
    Broadcasts& operator=(const Broadcasts&) = delete;

    /** So many are watched at once: each costs as much as a pass has left of a small machine. */
    static constexpr std::size_t most_geometries = 6;

    /**
     * Any thread. The viewer gets pictures, or a failure, from now on; after stop() it is ended at once. Throws
     * std::runtime_error with a sentence when as many other geometries are watched as can be.
     */
    void join(const Geometry& geometry, const std::shared_ptr<Viewer>& viewer);
    /** Ends every viewer and every stream, and waits for the threads. */
    void stop();

  private:
    struct Broadcast {
        Geometry geometry;
        std::optional<AnnotatedVideo> video;          // other threads: only while the broadcast is in m_open
        std::vector<std::shared_ptr<Viewer>> viewers; // guarded by m_lock
        bool finished = false;                        // the thread is at its end; guarded by m_lock
        std::thread thread;
    };

    void run(Broadcast& broadcast);
    void show(Broadcast& broadcast);
    void make_room() REQUIRES(m_lock);
    bool tell_viewers(Broadcast& broadcast, const std::function<void(Viewer&)>& tell);
    void forget(const Broadcast& broadcast) REQUIRES(m_lock);
    /** Ends whoever still watches, with a reason unless it is empty; nobody can join any more. */
    void close(Broadcast& broadcast, const std::string& why);
    void reap();
    void give_back_memory();

    const int m_quality;
    annotated_mutex m_lock; // taken before a viewer's lock
    std::map<Geometry, Broadcast*> m_open GUARDED_BY(m_lock);
    std::vector<std::unique_ptr<Broadcast>> m_all GUARDED_BY(m_lock);
    bool m_stopping GUARDED_BY(m_lock) = false;
    std::condition_variable m_changed; // a geometry is opened, or m_stopping
};

} // namespace host_overlay
