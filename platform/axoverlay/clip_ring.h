#pragma once

#include "platform/axoverlay/h264_encoder.h"
#include "platform/axoverlay/mp4_writer.h"
#include "platform/common/ffmpeg.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace host_overlay {

/**
 * The last packets of an encoder, and the files that are being written of them. Times are seconds since the encoder's
 * first picture. One thread at a time; what it tells it tells during a call.
 */
class ClipRing {
  public:
    static constexpr double before = 10.0;
    static constexpr double after = 10.0;
    /** Beyond it the oldest go, whatever their time. */
    static constexpr std::size_t most_bytes = 64 << 20;

    using Written = std::function<void(const std::string& path, std::uint64_t bytes)>;
    using Failed = std::function<void(const std::string& why)>;

    /** The encoder must outlive it. */
    ClipRing(const H264Encoder& encoder, Written written, Failed failed);

    /** Begins a file of what is around that moment. */
    void save(const std::string& path, double moment);
    /** The encoder's next packet, copied. */
    void add(const AVPacket* packet);
    /** Completes all files. */
    void finish();

    std::size_t bytes() const { return m_bytes; }

  private:
    struct Clip {
        std::string path;
        double end = 0.0;
        std::int64_t shift = 0; // of its first packet
        std::unique_ptr<Mp4Writer> file;
    };

    void write(Clip& clip, const AVPacket* packet);
    void complete(Clip& clip);
    void forget_old();

    const H264Encoder& m_encoder;
    const Written m_written;
    const Failed m_failed;
    std::deque<platform::PacketHandle> m_packets; // the first one is a key picture
    std::size_t m_bytes = 0;
    std::vector<Clip> m_clips;
};

} // namespace host_overlay
