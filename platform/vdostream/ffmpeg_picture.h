#pragma once

#include "platform/common/ffmpeg.h"
#include "platform/vdostream/picture.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace vdostream {

/** The pixel format conversion of one source, kept from picture to picture. Locked. */
class nv12_converter {
  public:
    /**
     * `frame` of any pixel format as NV12: rows of the width rounded up to 32 bytes, as many as the height rounded up
     * to an even number, then half as many of chroma. False when FFmpeg cannot.
     */
    bool convert(const AVFrame& frame, std::vector<std::uint8_t>& pixels);

  private:
    bool scale(const AVFrame& frame, std::uint8_t* const planes[], const int strides[]);

    std::mutex m_Lock;
    platform::Handle<SwsContext, sws_freeContext> m_Scaler;
};

/**
 * What FFmpeg's display matrix asks for, to the nearest right angle; nothing for one that turns a picture into a line.
 */
orientation orientation_of(const std::int32_t matrix[9]);

/** A decoded picture; NV12 is used where it lies, anything else is converted when it is first asked for. */
class ffmpeg_picture : public picture {
  public:
    ffmpeg_picture(platform::FrameHandle frame, orientation upright, std::shared_ptr<nv12_converter> converter)
        : m_Frame(std::move(frame)), m_Upright(upright), m_Converter(std::move(converter)) {}

  protected:
    bool native(nv12_view& view) override;

  private:
    const platform::FrameHandle m_Frame;
    const orientation m_Upright;
    const std::shared_ptr<nv12_converter> m_Converter;
    std::vector<std::uint8_t> m_Pixels;
};

} // namespace vdostream
