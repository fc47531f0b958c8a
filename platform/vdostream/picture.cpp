#include "platform/vdostream/picture.h"

#include <new>

namespace vdostream {

frame_bytes picture::in_geometry(const geometry& shape) {
    nv12_view view{};
    {
        const std::lock_guard guard(m_Lock);
        if (frame_bytes made = made_in(shape))
            return made;
        if (!native(view))
            return nullptr;
    }
    frame_bytes bytes(new (std::nothrow) std::uint8_t[frame_size(shape)]);
    if (bytes == nullptr || !convert(view, shape, bytes.get()))
        return nullptr;
    const std::lock_guard guard(m_Lock);
    if (frame_bytes made = made_in(shape))
        return made;
    m_Converted.emplace_back(shape, bytes);
    return bytes;
}

void picture::prepare() {
    nv12_view view{};
    const std::lock_guard guard(m_Lock);
    native(view);
}

frame_bytes picture::made_in(const geometry& shape) const {
    for (const auto& [made, bytes] : m_Converted) {
        if (made == shape)
            return bytes;
    }
    return nullptr;
}

} // namespace vdostream
