#pragma once

#include "platform/axoverlay/nv12_picture.h"
#include "platform/common/ffmpeg.h"

#include <functional>

namespace host_overlay {

/** Gets a packet that is valid during the call, its times in H264Encoder::time_base. */
using PacketTaker = std::function<void(AVPacket* packet)>;

/**
 * Pictures to H.264, with a picture that a player can begin at every 50. Equal pictures and times give equal packets.
 * Failures are std::runtime_error with FFmpeg's reason. One thread at a time.
 */
class H264Encoder {
  public:
    static constexpr AVRational time_base{1, 90000};

    H264Encoder(int width, int height);

    /** A picture shown from `seconds` on; one that is not later than the one before is left out. `take` gets what is
        ready, which is of earlier pictures: the encoder looks ahead. */
    void add(const Nv12Picture& picture, double seconds, const PacketTaker& take);
    /** `take` gets what the encoder still holds. Nothing can be added afterwards. */
    void finish(const PacketTaker& take) { encode(nullptr, take); }

    /** For the head of a file. */
    const AVCodecContext* context() const { return m_encoder.get(); }

  private:
    void encode(AVFrame* frame, const PacketTaker& take);

    platform::CodecHandle m_encoder;
    platform::FrameHandle m_frame;
    platform::PacketHandle m_packet;
    double m_begin = 0.0;   // seconds of the first picture
    long long m_last = -1;  // time stamp of the last picture, in the time base
    long long m_gap = 3600; // between the last two pictures, likewise; 1/25 s to begin with
};

/** The result when it is no error; else throws with what could not be done and FFmpeg's reason. */
int checked(int result, const std::string& what);

} // namespace host_overlay
