#pragma once

#include "base/thread_safety.h"
#include "platform/axoverlay/host_streams.h"
#include "platform/axoverlay/overlay_target.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

namespace host_overlay {

class Listeners;
class StreamServer;

/**
 * The overlay service of the one camera, behind the C interface. A viewer opens a stream with open_stream(); the
 * application draws on every open stream with redraw().
 *
 * Methods of the first group belong to one thread, the application's main thread; open_stream() and close_stream() may
 * be called from any. Failures are std::runtime_error with a sentence.
 */
class Service {
  public:
    /** Lives as long as the process: the application withdraws its overlay from a static object's destructor. */
    static Service& instance();

    void init(const axoverlay_settings& settings);
    /** Ends the stream server with all its viewers and forgets the overlay. Without init it does nothing. */
    void cleanup();
    void require_init() const;
    gint create_overlay(const axoverlay_overlay_data& data, gpointer user_data);
    void destroy_overlay(gint id);
    /**
     * Calls the callbacks for every open stream, in this thread: select and adjustment at the first redraw after the
     * stream opened, render always. A stream that fails does not keep the others from being drawn.
     */
    void redraw();
    /** "127.0.0.1:8080", the port being the one in use; empty without a stream server. */
    std::string listen_address() const;
    /** nullptr without a stream server. */
    Listeners* listeners() const;

    /** See host_streams.h. Any thread. */
    void cover(const std::vector<CoveredSize>& sizes, std::chrono::milliseconds patience);
    /** The stream is one of those, and what is drawn on it is too old to hide anybody. Any thread. */
    bool hides(const Geometry& geometry);
    /** Something was drawn within that time. Any thread. */
    bool draws(std::chrono::milliseconds patience) const;

    std::shared_ptr<OverlayTarget> open_stream(const Geometry& geometry, axoverlay_stream_type type);
    void close_stream(const std::shared_ptr<OverlayTarget>& target);

  private:
    Service();
    ~Service();

    // Main thread only.
    bool m_initialised = false;
    axoverlay_settings m_settings{};
    Overlay m_overlay;
    gint m_last_overlay_id = 0;
    std::unique_ptr<StreamServer> m_server;
    std::vector<std::shared_ptr<OverlayTarget>> m_redrawn; // kept for its memory

    std::atomic<std::chrono::steady_clock::time_point> m_drawn{}; // the clock's beginning: never

    annotated_mutex m_lock;
    std::vector<CoveredSize> m_covered GUARDED_BY(m_lock);
    std::chrono::milliseconds m_cover_patience GUARDED_BY(m_lock){0};
    std::vector<std::shared_ptr<OverlayTarget>> m_targets GUARDED_BY(m_lock);
    gint m_last_stream_id GUARDED_BY(m_lock) = 0;
    bool m_has_overlay GUARDED_BY(m_lock) = false;
};

} // namespace host_overlay
