#pragma once

#include "platform/axoverlay/nv12_picture.h"
#include "platform/common/handle.h"

#include <turbojpeg.h>

#include <cstdint>
#include <span>
#include <vector>

namespace host_overlay {

/** NV12 to JPEG with 4:2:0 chroma, without a detour over RGB. One thread at a time. */
class JpegEncoder {
  public:
    /** `quality` 1 to 100. */
    explicit JpegEncoder(int quality);

    /** The picture as a JPEG file, valid until the next call. Throws std::runtime_error when the encoder refuses. */
    std::span<const std::uint8_t> encode(const Nv12Picture& picture);

  private:
    int m_quality;
    platform::Handle<void, tjDestroy> m_handle;
    std::vector<std::uint8_t> m_planes; // Y, U, V of the picture in JPEG's full range
    std::vector<std::uint8_t> m_file;
};

} // namespace host_overlay
