#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace host_overlay {

/** Which of the camera's streams, and how it is turned. */
struct StillView {
    int width = 1280; // one of the channel's resolutions, before rotation
    int height = 720;
    int rotation = 0; // degrees: 0, 90, 180 or 270

    bool operator==(const StillView&) const = default;
};

/**
 * Takes single pictures of a stream as a viewer would see them, overlay included. To the overlay service each is one
 * more open stream, of type AXOVERLAY_STREAM_JPEG, for a moment.
 */
class StillCamera {
  public:
    StillCamera();
    ~StillCamera();
    StillCamera(const StillCamera&) = delete;
    StillCamera& operator=(const StillCamera&) = delete;

    /**
     * The next picture that has the overlay of a pass, as a JPEG file. Blocks for that pass, so it is for a thread that
     * may; one at a time. Throws std::runtime_error with a sentence when none comes within `patience`, and after
     * stop().
     */
    std::string take(const StillView& view, std::chrono::milliseconds patience);

    /** Any thread: a running and every later take() fails soon. */
    void stop();

  private:
    class Video;
    std::unique_ptr<Video> m_video;
};

} // namespace host_overlay
