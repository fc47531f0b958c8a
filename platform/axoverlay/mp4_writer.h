#pragma once

#include "platform/axoverlay/h264_encoder.h"
#include "platform/common/ffmpeg.h"

#include <string>

namespace host_overlay {

/**
 * Packets of one H264Encoder in an MP4 file, in fragments of half a second, so that what has been written is playable
 * whatever becomes of the process or the disk. Failures are std::runtime_error with the system's or FFmpeg's reason.
 * Without finish() the file stays as it is. One thread at a time.
 */
class Mp4Writer {
  public:
    Mp4Writer(const std::string& path, const H264Encoder& encoder);

    /** The packet is the caller's still, but its times and its content are gone. */
    void write(AVPacket* packet);
    /** Writes an index by which players jump faster. Nothing can be written afterwards. */
    void finish();

  private:
    platform::OutputHandle m_file;
};

} // namespace host_overlay
