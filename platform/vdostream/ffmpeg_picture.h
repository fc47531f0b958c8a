#pragma once

#include "base/thread_safety.h"
#include "platform/common/ffmpeg.h"
#include "platform/vdostream/picture.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <vector>

namespace vdostream {

/** The pixel format conversion of one source, kept from picture to picture. Locked. */
class Nv12Converter {
  public:
    /**
     * `frame` of any pixel format as NV12: rows of the width rounded up to 32 bytes, as many as the height rounded up
     * to an even number, then half as many of chroma. False when FFmpeg cannot.
     */
    bool convert(const AVFrame& frame, std::vector<std::uint8_t>& pixels);

  private:
    bool scale(const AVFrame& frame, std::uint8_t* const planes[], const int strides[]);

    annotated_mutex m_lock;
    platform::Handle<SwsContext, sws_freeContext> m_scaler GUARDED_BY(m_lock);
};

/**
 * What FFmpeg's display matrix asks for, to the nearest right angle; nothing for one that turns a picture into a line.
 */
Orientation orientation_of(const std::int32_t matrix[9]);

/** A decoded picture; NV12 is used where it lies, anything else is converted when it is first asked for. */
class FfmpegPicture : public Picture {
  public:
    FfmpegPicture(platform::FrameHandle frame, Orientation upright, std::shared_ptr<Nv12Converter> converter)
        : m_frame(std::move(frame)), m_upright(upright), m_converter(std::move(converter)) {}

  protected:
    bool native(Nv12View& view) override;

  private:
    const platform::FrameHandle m_frame;
    const Orientation m_upright;
    const std::shared_ptr<Nv12Converter> m_converter;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace vdostream
