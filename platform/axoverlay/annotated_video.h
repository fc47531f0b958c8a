#pragma once

#include "base/thread_safety.h"
#include "platform/axoverlay/geometry.h"
#include "platform/axoverlay/nv12_picture.h"
#include "platform/axoverlay/overlay_target.h"
#include "platform/common/glib.h"

#include <vdo-stream.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace host_overlay {

/** Pause after a failure, since a video service that has failed may fail again at once. */
inline constexpr std::chrono::milliseconds failure_pause{50};

/**
 * The camera's video in one geometry with the overlay in it: an open stream in the eyes of the overlay service, from
 * construction to destruction. Used by one thread; stop() may come from any other.
 */
class AnnotatedVideo {
  public:
    AnnotatedVideo(const Geometry& geometry, axoverlay_stream_type type);
    ~AnnotatedVideo();
    AnnotatedVideo(const AnnotatedVideo&) = delete;
    AnnotatedVideo& operator=(const AnnotatedVideo&) = delete;

    /** Starts the camera's stream. Throws std::runtime_error with the video service's reason. */
    void start();
    /** Blocks for the next picture. False with `why` set when the camera has been silent too long or was stopped. */
    bool next(std::string& why);
    /** Makes a running and every later next() or start() fail soon. */
    void stop();

    /** Of the last next() that succeeded. */
    const Nv12Picture& picture() const { return m_picture; }
    /** False while picture() lacks an overlay that the application's next redraw brings; true for a covered one. */
    bool overlay_settled() const { return m_overlay_settled; }

  private:
    const Geometry m_geometry;
    const std::shared_ptr<OverlayTarget> m_target;
    Nv12Picture m_picture;
    bool m_overlay_settled = false;
    std::optional<OverlayImage> m_cover; // made when it is first needed

    annotated_mutex m_lock; // start() against stop()
    platform::ObjectHandle<VdoStream> m_stream;
    bool m_stopped GUARDED_BY(m_lock) = false;
};

} // namespace host_overlay
