#pragma once

#include "platform/axoverlay/host_stills.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace host_overlay {

/**
 * Keeps the last ten seconds of a stream, as a viewer would see it and as H.264, in memory, and writes what is around a
 * moment to a file: from the last picture at which a player can begin, ten seconds before it or a little more, to ten
 * seconds after it. To the overlay service it is one more open stream, of type AXOVERLAY_STREAM_H264. A thread of its
 * own takes and encodes the pictures, with what everything else leaves over of the machine.
 */
class ClipRecorder {
  public:
    struct Listener {
        /** A file is there, of so many bytes. On the recorder's thread. */
        std::function<void(const std::string& path, std::uint64_t bytes)> written;
        /** There is no video, or a file cannot be written; said once until it can. Likewise. */
        std::function<void(const std::string& why)> failed;
    };

    explicit ClipRecorder(Listener listener);
    /** Completes what is being written, with what there is by now. */
    ~ClipRecorder();
    ClipRecorder(const ClipRecorder&) = delete;
    ClipRecorder& operator=(const ClipRecorder&) = delete;

    /**
     * Which stream is kept from now on, or none. `role` tells apart what the stream of a view can be: with another view
     * or role nothing stays in memory of what was there before, and what is being written ends. Any thread.
     */
    void watch(const std::optional<StillView>& view, int role);

    /** The ten seconds before this moment and those after it, in an MP4 file that is there once it is whole. Any
     * thread. */
    void save(const std::string& path);

  private:
    class Session;
    std::unique_ptr<Session> m_session;
};

} // namespace host_overlay
