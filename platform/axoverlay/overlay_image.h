#pragma once

#include "platform/axoverlay/blend.h"
#include "platform/common/cairo.h"

#include <cstdint>
#include <vector>

namespace host_overlay {

using platform::CairoContext;
using platform::CairoSurface;

/**
 * One ARGB32 image that the application draws on. Goes through these states:
 *
 *     clean --context()--> drawn --blend_onto()--> scanned --clear()--> clean
 *                            '----------clear()--------------------------^
 *
 * Used by one thread at a time; memory is taken at construction only, the list of runs apart.
 */
class OverlayImage {
  public:
    OverlayImage() = default;
    /** Throws std::runtime_error for a size that cairo does not take. */
    OverlayImage(int width, int height);

    /** A fresh drawing context, so that no font or operator of an earlier drawing remains. REQUIRES: clean. */
    CairoContext context();
    /**
     * Blends what was drawn over the picture; the first call after a drawing also looks for it (one pass over the
     * image), the following ones visit only what is drawn.
     */
    void blend_onto(Nv12Picture& picture);
    void clear();

  private:
    enum class State { clean, drawn, scanned };

    ArgbView view();

    // Both sizes are rounded up to even numbers; cairo never touches the padding, which therefore stays zero.
    int m_width = 0;
    int m_height = 0;
    std::vector<std::uint32_t> m_pixels;
    CairoSurface m_surface;
    std::vector<Run> m_runs;
    State m_state = State::clean;
};

} // namespace host_overlay
