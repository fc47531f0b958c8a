#pragma once

#include "platform/axoverlay/nv12_picture.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host_overlay {

/** Premultiplied ARGB32 pixels, even width and height, rows packed. Not owned. */
struct ArgbView {
    std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;

    std::uint32_t* row(int y) const {
        return pixels + static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(width);
    }
};

/**
 * A stretch of 2 x 2 blocks with something drawn in it: rows `y` and `y` + 1, columns `begin` to `end` - 1, all three
 * even. An overlay is mostly empty; blending and clearing visit its runs alone.
 */
struct Run {
    int y = 0;
    int begin = 0;
    int end = 0;
};

/** Replaces `runs` by those of the view's pixels that are not all zero, top to bottom, left to right. */
void find_runs(const ArgbView& overlay, std::vector<Run>& runs);

/** Sets the pixels of the runs to zero. */
void clear_runs(const ArgbView& overlay, const std::vector<Run>& runs);

/**
 * Blends the runs over the picture, top-left corners together; what lies outside the picture is left out. Luma is
 * rounded to nearest for each pixel, chroma for each 2 x 2 pixels. Where alpha is 255 nothing of the picture remains.
 */
void blend_runs(const ArgbView& overlay, const std::vector<Run>& runs, Nv12Picture& picture);

} // namespace host_overlay
