#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host_overlay {

/** One picture as the camera delivers it: tightly packed NV12, BT.601 in studio range, both sizes even. */
struct Nv12Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    void resize(int new_width, int new_height) {
        width = new_width;
        height = new_height;
        bytes.resize(luma_size() * 3 / 2);
    }
    std::size_t luma_size() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    std::uint8_t* luma() { return bytes.data(); }
    const std::uint8_t* luma() const { return bytes.data(); }
    /** Pairs U, V for each 2 x 2 pixels; a row of pairs is `width` bytes long. */
    std::uint8_t* chroma() { return bytes.data() + luma_size(); }
    const std::uint8_t* chroma() const { return bytes.data() + luma_size(); }
};

} // namespace host_overlay
