#include "platform/vdostream/picture.h"

#include <new>

namespace vdostream {

frame_bytes picture::in_geometry(const geometry& shape) {
    const std::lock_guard<std::mutex> guard(m_Lock);
    for (const auto& [made, bytes] : m_Converted) {
        if (made == shape) {
            return bytes;
        }
    }
    nv12_view view{};
    if (!native(view)) {
        return nullptr;
    }
    frame_bytes bytes(new (std::nothrow) std::uint8_t[frame_size(shape)]);
    if (bytes == nullptr || !convert(view, shape, bytes.get())) {
        return nullptr;
    }
    m_Converted.emplace_back(shape, bytes);
    return bytes;
}

} // namespace vdostream
