#pragma once

#include "platform/common/ffmpeg.h"
#include "platform/vdostream/ffmpeg_picture.h"
#include "platform/vdostream/reader.h"

#include <chrono>
#include <memory>
#include <string>

namespace vdostream {

/** What FFmpeg has to do to reach a source. */
enum class access { file, rtsp, v4l2 };

/**
 * Reads the video of a file, an RTSP camera or a V4L2 device with FFmpeg, on the calling thread alone. Packets that
 * cannot be decoded are passed over. A camera that sends nothing for 5 s is lost.
 */
class ffmpeg_reader : public reader {
  public:
    ffmpeg_reader(std::string address, access way);

    bool open(std::string& why) override;
    read_result read(std::shared_ptr<picture>& next, std::string& why) override;
    source_properties properties() const override { return m_Properties; }
    bool is_live() const override { return m_Access != access::file; }

  private:
    bool open_input(std::string& why);
    bool open_decoder(std::string& why);
    void close();
    read_result feed(std::string& why);
    double media_time(const AVFrame& frame);
    /** The picture's own, or else the video's. */
    orientation orientation_for(const AVFrame& frame) const;
    std::string failed(const std::string& what, int code) const;
    /** FFmpeg asks it during every blocking call. */
    static int give_up(void* self);

    const std::string m_Address;
    const access m_Access;
    const std::shared_ptr<nv12_converter> m_Converter = std::make_shared<nv12_converter>();

    platform::InputHandle m_Format;
    platform::CodecHandle m_Codec;
    platform::PacketHandle m_Packet;
    int m_StreamIndex = -1;
    bool m_Draining = false;
    source_properties m_Properties;
    orientation m_Upright;
    std::chrono::steady_clock::time_point m_Deadline{};

    // Time of the last picture, and what has to be added to the stream's own times to go on from it.
    double m_LastTime = 0.0;
    double m_Offset = 0.0;
    bool m_FirstRead = false;
};

} // namespace vdostream
