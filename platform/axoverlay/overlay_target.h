#pragma once

#include "base/thread_safety.h"
#include "platform/axoverlay/geometry.h"
#include "platform/axoverlay/overlay_image.h"

#include <axoverlay.h>

#include <memory>

namespace host_overlay {

/** The one overlay of the service, as the application created it. */
struct Overlay {
    gint id = 0; // 0: none
    axoverlay_overlay_data data{};
    gpointer user_data = nullptr;
};

/**
 * Three images between the thread that draws and the thread that shows, so that neither waits for the other: one is
 * drawn on, one is ready, one is shown. The lock covers an exchange of two of them only. Clearing is left to the
 * showing thread, which knows where something was drawn; the drawing thread clears only an image that was never shown.
 */
class OverlayExchange {
  public:
    OverlayExchange(int width, int height) : m_drawn(width, height), m_shown(width, height), m_ready(width, height) {}

    /** Drawing thread: the image to draw on, clean; valid until publish(). */
    OverlayImage& canvas();
    /** Drawing thread: what was drawn on canvas() is shown from now on. */
    void publish();
    /** Showing thread: blends the newest published image over the picture. */
    void blend_onto(Nv12Picture& picture);

  private:
    OverlayImage m_drawn; // drawing thread
    OverlayImage m_shown; // showing thread
    annotated_mutex m_lock;
    OverlayImage m_ready GUARDED_BY(m_lock);
    bool m_fresh GUARDED_BY(m_lock) = false; // m_ready is newer than m_shown
};

/** What the overlay service knows of one open stream, and the overlay that the stream shows. */
class OverlayTarget {
  public:
    /** `awaiting`: there is an overlay, so the stream's first pictures lack it until the next redraw. */
    OverlayTarget(gint stream_id, const Geometry& geometry, axoverlay_stream_type type, bool awaiting);

    /**
     * Drawing thread. Asks the select and adjustment callbacks when the overlay is new to this stream, then lets the
     * render callback draw. Throws std::runtime_error when the stream keeps its earlier overlay (or none) instead.
     */
    void redraw(const axoverlay_settings& settings, const Overlay& overlay);
    /** Drawing thread: an overlay will come with the next redraw. */
    void expect_overlay();
    /** Drawing thread: the stream is bare from now on. */
    void withdraw();

    /** Frame thread. False while the picture still lacks an overlay that the next redraw brings. */
    bool blend_onto(Nv12Picture& picture);

  private:
    void ask(const axoverlay_settings& settings, const Overlay& overlay);

    // Drawing thread only.
    axoverlay_stream_data m_stream{};
    gint m_asked_for = 0; // id of the overlay that the callbacks were asked about
    int m_width = 0;      // the overlay's size on this stream, pixels
    int m_height = 0;
    std::shared_ptr<OverlayExchange> m_canvases; // null: not selected

    annotated_mutex m_lock;
    std::shared_ptr<OverlayExchange> m_visible GUARDED_BY(m_lock);
    bool m_awaiting GUARDED_BY(m_lock) = false;
};

} // namespace host_overlay
