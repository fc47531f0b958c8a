#include "platform/axoverlay/overlay_target.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace host_overlay {

OverlayImage& OverlayExchange::canvas() {
    m_drawn.clear();
    return m_drawn;
}

void OverlayExchange::publish() {
    const annotated_lock lock(m_lock);
    std::swap(m_drawn, m_ready);
    m_fresh = true;
}

void OverlayExchange::blend_onto(Nv12Picture& picture) {
    bool fresh = false;
    {
        const annotated_lock lock(m_lock);
        fresh = m_fresh;
    }
    if (fresh) {
        m_shown.clear();
        const annotated_lock lock(m_lock);
        std::swap(m_ready, m_shown);
        m_fresh = false;
    }
    m_shown.blend_onto(picture);
}

OverlayTarget::OverlayTarget(gint stream_id, const Geometry& geometry, axoverlay_stream_type type, bool awaiting)
    : m_stream{stream_id, 1, geometry.width, geometry.height, geometry.rotation, geometry.mirrored, type},
      m_awaiting(awaiting) {}

void OverlayTarget::ask(const axoverlay_settings& settings, const Overlay& overlay) {
    m_canvases.reset();
    if (settings.select_callback != nullptr &&
        settings.select_callback(m_stream.camera, m_stream.width, m_stream.height, m_stream.rotation,
                                 m_stream.is_mirrored, m_stream.type) == FALSE) {
        m_asked_for = overlay.id;
        return;
    }
    m_width = overlay.data.width;
    m_height = overlay.data.height;
    axoverlay_position_type position = overlay.data.postype;
    gfloat x = overlay.data.x;
    gfloat y = overlay.data.y;
    if (settings.adjustment_callback != nullptr)
        settings.adjustment_callback(overlay.id, &m_stream, &position, &x, &y, &m_width, &m_height, overlay.user_data);
    if (position != AXOVERLAY_TOP_LEFT || x != 0.0F || y != 0.0F)
        throw std::runtime_error("the adjustment callback moved the overlay away from the top-left corner, which this "
                                 "service does not offer");
    m_canvases = std::make_shared<OverlayExchange>(m_width, m_height);
    m_asked_for = overlay.id;
}

void OverlayTarget::redraw(const axoverlay_settings& settings, const Overlay& overlay) {
    if (m_asked_for != overlay.id)
        ask(settings, overlay);
    if (m_canvases != nullptr) {
        const CairoContext context = m_canvases->canvas().context();
        settings.render_callback(context.get(), overlay.id, &m_stream, overlay.data.postype, overlay.data.x,
                                 overlay.data.y, m_width, m_height, overlay.user_data);
        if (const cairo_status_t status = cairo_status(context.get()); status != CAIRO_STATUS_SUCCESS)
            throw std::runtime_error(std::string("drawing the overlay failed: ") + cairo_status_to_string(status));
        m_canvases->publish();
    }
    const annotated_lock lock(m_lock);
    m_visible = m_canvases;
    m_awaiting = false;
}

void OverlayTarget::expect_overlay() {
    const annotated_lock lock(m_lock);
    m_awaiting = true;
}

void OverlayTarget::withdraw() {
    m_canvases.reset();
    m_asked_for = 0;
    const annotated_lock lock(m_lock);
    m_visible.reset();
    m_awaiting = false;
}

bool OverlayTarget::blend_onto(Nv12Picture& picture) {
    std::shared_ptr<OverlayExchange> visible;
    bool awaiting = false;
    {
        const annotated_lock lock(m_lock);
        visible = m_visible;
        awaiting = m_awaiting;
    }
    if (visible != nullptr)
        visible->blend_onto(picture);
    return !awaiting;
}

} // namespace host_overlay
