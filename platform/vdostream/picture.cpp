#include "platform/vdostream/picture.h"

#include <new>

namespace vdostream {

FrameBytes Picture::in_geometry(const Geometry& shape) {
    Nv12View view{};
    {
        const annotated_lock guard(m_lock);
        if (FrameBytes made = made_in(shape))
            return made;
        if (!native(view))
            return nullptr;
    }
    FrameBytes bytes(new (std::nothrow) std::uint8_t[frame_size(shape)]);
    if (bytes == nullptr || !convert(view, shape, bytes.get()))
        return nullptr;
    const annotated_lock guard(m_lock);
    if (FrameBytes made = made_in(shape))
        return made;
    m_converted.emplace_back(shape, bytes);
    return bytes;
}

void Picture::prepare() {
    Nv12View view{};
    const annotated_lock guard(m_lock);
    native(view);
}

FrameBytes Picture::made_in(const Geometry& shape) const {
    for (const auto& [made, bytes] : m_converted) {
        if (made == shape)
            return bytes;
    }
    return nullptr;
}

} // namespace vdostream
