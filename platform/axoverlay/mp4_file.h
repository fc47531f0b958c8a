#pragma once

#include "platform/axoverlay/nv12_picture.h"
#include "platform/common/ffmpeg.h"

#include <string>

namespace host_overlay {

/**
 * An H.264 video in an MP4 file, written picture by picture in fragments of half a second, so that what has been
 * written is playable whatever becomes of the process or the disk. Equal pictures and times give equal bytes. Failures
 * are std::runtime_error with the system's or FFmpeg's reason. Without finish() the file stays as it is. One thread at
 * a time.
 */
class Mp4File {
  public:
    Mp4File(const std::string& path, int width, int height);
    /** Adds a picture shown from `seconds` on; one that is not later than the one before is left out. */
    void add(const Nv12Picture& picture, double seconds);
    /**
     * Writes what the encoder still holds, and an index by which players jump faster. Nothing can be added afterwards.
     */
    void finish();

  private:
    void open_encoder(int width, int height);
    void open_file(const std::string& path);
    void encode(AVFrame* frame);
    void write(AVPacket* packet);

    platform::OutputHandle m_file;
    platform::CodecHandle m_encoder;
    platform::FrameHandle m_frame;
    platform::PacketHandle m_packet;
    double m_begin = 0.0;   // seconds of the first picture
    long long m_last = -1;  // time stamp of the last picture, in the encoder's time base
    long long m_gap = 3600; // between the last two pictures, likewise; 1/25 s to begin with
};

} // namespace host_overlay
