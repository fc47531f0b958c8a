#pragma once

#include <functional>
#include <memory>
#include <string>

namespace host_overlay {

struct RecorderOptions {
    std::string path; // the MP4 file, overwritten
    int width = 1280; // the stream, one of the channel's resolutions, before rotation
    int height = 720;
    int rotation = 0; // degrees: 0, 90, 180 or 270
    bool mirrored = false;
    /** Pictures come by take() instead of at the video's own pace. */
    bool replay = false;
    /** Live only: called once, on the recording's thread, when it cannot go on; the reason is no whole sentence. */
    std::function<void(const std::string& why)> stopped{};
};

/**
 * Records a stream as a viewer would see it, overlay included, as H.264 in an MP4 file. To the overlay service it is
 * one more open stream, of type AXOVERLAY_STREAM_H264.
 *
 * Live, a thread of its own takes the pictures as they come, from construction to finish(). In replay the driver calls
 * take() after each pass; there is no thread, and equal replays give equal files. Failures are std::runtime_error with
 * a sentence. The methods belong to one thread.
 */
class Recorder {
  public:
    explicit Recorder(const RecorderOptions& options);
    /** Leaves the file as it is when finish() was not called. */
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /** Replay only: adds the current picture with the overlay of the last redraw, at that time of the video. */
    void take(double seconds);
    /** Ends the recording; throws also what a live recording had failed with meanwhile. */
    void finish();

  private:
    class Session;
    std::unique_ptr<Session> m_session;
};

} // namespace host_overlay
