#pragma once

#include "platform/common/ffmpeg.h"
#include "platform/vdostream/ffmpeg_picture.h"
#include "platform/vdostream/reader.h"

#include <chrono>
#include <memory>
#include <string>

namespace vdostream {

/** What FFmpeg has to do to reach a source. */
enum class Access { file, rtsp, v4l2 };

/**
 * Reads the video of a file, an RTSP camera or a V4L2 device with FFmpeg, on the calling thread alone. Packets that
 * cannot be decoded are passed over. A camera that sends nothing for 5 s is lost.
 */
class FfmpegReader : public Reader {
  public:
    FfmpegReader(std::string address, Access way);

    void open() override;
    std::shared_ptr<Picture> read() override;
    SourceProperties properties() const override { return m_properties; }
    bool is_live() const override { return m_access != Access::file; }

  private:
    void close();
    void open_input();
    void open_decoder();
    /** Gives the decoder what comes next; false when there is nothing any more. */
    bool feed();
    double media_time(const AVFrame& frame);
    /** The picture's own, or else the video's. */
    Orientation orientation_for(const AVFrame& frame) const;
    [[noreturn]] void fail(const std::string& what, int code) const;
    /** FFmpeg asks it during every blocking call. */
    static int give_up(void* self);

    const std::string m_address;
    const Access m_access;
    const std::shared_ptr<Nv12Converter> m_converter = std::make_shared<Nv12Converter>();

    platform::InputHandle m_format;
    platform::CodecHandle m_codec;
    platform::PacketHandle m_packet;
    int m_stream_index = -1;
    bool m_draining = false;
    SourceProperties m_properties;
    Orientation m_upright;
    std::chrono::steady_clock::time_point m_deadline{};

    // Time of the last picture, and what has to be added to the stream's own times to go on from it.
    double m_last_time = 0.0;
    double m_offset = 0.0;
    bool m_first_read = false;
};

} // namespace vdostream
