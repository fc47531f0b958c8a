#pragma once

#include <cstdint>
#include <ctime>
#include <string>

/**
 * What the host's own programs (live console, replay, benches) ask the video library beside its C interface. The
 * application never includes it. Any thread.
 */
namespace host_video {

/**
 * With KORVEX_VDO_REPLAY=1 when the stream is made, no thread reads the source and no clock runs: the video's time is
 * what this sets, 0 when the first stream is made. From then on vdo_stream_get_buffer hands out the last frame at or
 * before that time, at once, and the same one again until the time moves on; a stream's "framerate" plays no part.
 * Pictures are read in order, so a run gives the same bytes every time. Time does not go back: an earlier moment leaves
 * the current frame.
 *
 * `seconds` counts from the first frame. False when it lies beyond the time in which the last frame of a file is shown
 * (a file does not loop here; the last frame stays current), or is not finite. The scene never ends. Without a stream
 * there is nothing to move, and the answer is true.
 */
bool replay_advance(double seconds);

/** The source that a stream was last made on; zero and empty when there is no stream. */
struct Statistics {
    /** Pictures that the source has read, shown or not. */
    std::uint64_t frames_decoded = 0;
    /** Frames that all streams of the process have handed out since it began. */
    std::uint64_t frames_handed = 0;
    /** What the source says of itself; 0 as long as a camera has not answered. */
    double source_fps = 0.0;
    int source_width = 0;
    int source_height = 0;
    /** The time of its last picture while it is lost or silent, and a card is shown in its place; else 0. */
    std::time_t lost_since = 0;
    /** "scene", the file, the URL without its password, or the device. */
    std::string source;
};
Statistics statistics();

} // namespace host_video
