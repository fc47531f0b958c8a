#include "platform/axoverlay/overlay_image.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace host_overlay {
namespace {

/** Cairo's own limit for an image. */
constexpr int largest_side = 32767;

/** Rounded up to an even number. */
int even(int side) {
    if (side < 1 || side > largest_side)
        throw std::runtime_error("an overlay cannot be " + std::to_string(side) +
                                 " pixels wide or high; it may have 1 to " + std::to_string(largest_side));
    return side + side % 2;
}

} // namespace

OverlayImage::OverlayImage(int width, int height)
    : m_width(even(width)), m_height(even(height)),
      m_pixels(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height)),
      m_surface(cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(m_pixels.data()),
                                                    CAIRO_FORMAT_ARGB32, width, height, m_width * 4)) {
    if (const cairo_status_t status = cairo_surface_status(m_surface.get()); status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("cannot make an overlay image: ") + cairo_status_to_string(status));
}

CairoContext OverlayImage::context() {
    m_state = State::drawn;
    return CairoContext(cairo_create(m_surface.get()));
}

void OverlayImage::blend_onto(Nv12Picture& picture) {
    if (m_state == State::drawn) {
        cairo_surface_flush(m_surface.get());
        find_runs(view(), m_runs);
        m_state = State::scanned;
    }
    if (m_state == State::scanned)
        blend_runs(view(), m_runs, picture);
}

void OverlayImage::clear() {
    if (m_state == State::scanned)
        clear_runs(view(), m_runs);
    else if (m_state == State::drawn)
        std::fill(m_pixels.begin(), m_pixels.end(), 0U);
    if (m_state != State::clean) {
        cairo_surface_mark_dirty(m_surface.get());
        m_state = State::clean;
    }
}

ArgbView OverlayImage::view() {
    return {m_pixels.data(), m_width, m_height};
}

} // namespace host_overlay
