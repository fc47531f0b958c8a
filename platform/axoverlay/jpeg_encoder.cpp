#include "platform/axoverlay/jpeg_encoder.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace host_overlay {
namespace {

// Video keeps luma in 16 to 235 and chroma in 16 to 240; JPEG uses the whole byte. Sums of 16 bits, so that the
// compiler does many pixels at once; the constants map both ends and the middle exactly.
std::uint8_t full_luma(std::uint8_t value) {
    const auto offset = static_cast<std::uint16_t>(std::clamp<std::uint8_t>(value, 16, 235) - 16);
    return static_cast<std::uint8_t>(static_cast<std::uint16_t>(offset * 298 + 128) >> 8);
}

std::uint8_t full_chroma(std::uint8_t value) {
    const auto offset = static_cast<std::uint16_t>(std::clamp<std::uint8_t>(value, 16, 240) - 16);
    return static_cast<std::uint8_t>(static_cast<std::uint16_t>(offset * 291 + 304) >> 8);
}

[[noreturn]] void fail(tjhandle handle) {
    throw std::runtime_error(std::string("encoding a JPEG picture failed: ") + tjGetErrorStr2(handle));
}

} // namespace

JpegEncoder::JpegEncoder(int quality) : m_quality(quality), m_handle(tjInitCompress()) {
    if (m_handle == nullptr)
        fail(nullptr);
}

std::span<const std::uint8_t> JpegEncoder::encode(const Nv12Picture& picture) {
    const std::size_t luma_size = picture.luma_size();
    m_planes.resize(picture.bytes.size());
    std::uint8_t* y = m_planes.data();
    std::uint8_t* u = y + luma_size;
    std::uint8_t* v = u + luma_size / 4;
    std::transform(picture.luma(), picture.luma() + luma_size, y, full_luma);
    const std::uint8_t* chroma = picture.chroma();
    for (std::size_t i = 0; i < luma_size / 4; ++i) {
        u[i] = full_chroma(chroma[2 * i]);
        v[i] = full_chroma(chroma[2 * i + 1]);
    }

    unsigned long size = tjBufSize(picture.width, picture.height, TJSAMP_420);
    if (size == static_cast<unsigned long>(-1))
        fail(nullptr);
    m_file.resize(size);
    unsigned char* file = m_file.data();
    const unsigned char* planes[3] = {y, u, v};
    if (tjCompressFromYUVPlanes(m_handle.get(), planes, picture.width, nullptr, picture.height, TJSAMP_420, &file,
                                &size, m_quality, TJFLAG_NOREALLOC) != 0)
        fail(m_handle.get());
    return {file, size};
}

} // namespace host_overlay
