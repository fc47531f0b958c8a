#pragma once

#include "platform/axoverlay/h264_encoder.h"
#include "platform/axoverlay/mp4_writer.h"
#include "platform/axoverlay/nv12_picture.h"

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
    Mp4File(const std::string& path, int width, int height) : m_encoder(width, height), m_file(path, m_encoder) {}

    /** Adds a picture shown from `seconds` on; one that is not later than the one before is left out. */
    void add(const Nv12Picture& picture, double seconds) {
        m_encoder.add(picture, seconds, [this](AVPacket* packet) { m_file.write(packet); });
    }

    /**
     * Writes what the encoder still holds, and an index by which players jump faster. Nothing can be added afterwards.
     */
    void finish() {
        m_encoder.finish([this](AVPacket* packet) { m_file.write(packet); });
        m_file.finish();
    }

  private:
    H264Encoder m_encoder;
    Mp4Writer m_file;
};

} // namespace host_overlay
