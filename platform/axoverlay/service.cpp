#include "platform/axoverlay/service.h"

#include "platform/axoverlay/resolutions.h"
#include "platform/axoverlay/settings.h"
#include "platform/axoverlay/stream_server.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace host_overlay {
namespace {

void check(const axoverlay_overlay_data& data) {
    if (data.colorspace != AXOVERLAY_COLORSPACE_ARGB32)
        throw std::runtime_error("only the colour space ARGB32 is supported");
    if (data.postype != AXOVERLAY_TOP_LEFT || data.anchor_point != AXOVERLAY_ANCHOR_TOP_LEFT || data.x != 0.0F ||
        data.y != 0.0F)
        throw std::runtime_error("only an overlay anchored and placed at the top-left corner is supported");
    if (data.scale_to_stream != FALSE)
        throw std::runtime_error("scaling an overlay to its stream is not supported");
    const VdoResolution limit = largest(channel_resolutions());
    if (data.width < 1 || data.height < 1 || static_cast<guint32>(data.width) > limit.width ||
        static_cast<guint32>(data.height) > limit.height)
        throw std::runtime_error("an overlay of " + std::to_string(data.width) + "x" + std::to_string(data.height) +
                                 " is not possible; the camera's largest picture is " + list_text({limit}));
}

} // namespace

Service::Service() = default;
Service::~Service() = default;

Service& Service::instance() {
    static Service& service = *new Service;
    return service;
}

void Service::init(const axoverlay_settings& settings) {
    if (m_initialised)
        throw std::runtime_error("the overlay service is initialised already");
    if (settings.backend != AXOVERLAY_CAIRO_IMAGE_BACKEND)
        throw std::runtime_error("only the cairo image backend is supported");
    if (settings.render_callback == nullptr)
        throw std::runtime_error("there is no render callback");
    const int quality = jpeg_quality_setting();
    if (const auto listen = listen_setting())
        m_server = std::make_unique<StreamServer>(*listen, quality);
    m_settings = settings;
    m_initialised = true;
}

void Service::cleanup() {
    if (m_overlay.id != 0)
        destroy_overlay(m_overlay.id);
    m_server.reset();
    m_drawn = std::chrono::steady_clock::time_point{};
    cover({}, {});
    m_initialised = false;
}

void Service::require_init() const {
    if (!m_initialised)
        throw std::runtime_error("the overlay service is not initialised");
}

gint Service::create_overlay(const axoverlay_overlay_data& data, gpointer user_data) {
    require_init();
    if (m_overlay.id != 0)
        throw std::runtime_error("there is an overlay already; this service holds one");
    check(data);
    m_overlay = {++m_last_overlay_id, data, user_data};
    const annotated_lock lock(m_lock);
    m_has_overlay = true;
    for (const auto& target : m_targets)
        target->expect_overlay();
    return m_overlay.id;
}

void Service::destroy_overlay(gint id) {
    require_init();
    if (id == 0 || id != m_overlay.id)
        throw std::runtime_error("there is no overlay " + std::to_string(id));
    m_overlay = {};
    const annotated_lock lock(m_lock);
    m_has_overlay = false;
    for (const auto& target : m_targets)
        target->withdraw();
}

void Service::redraw() {
    require_init();
    if (m_overlay.id == 0)
        throw std::runtime_error("there is no overlay to redraw");
    {
        const annotated_lock lock(m_lock);
        m_redrawn = m_targets;
    }
    std::string failure;
    for (const auto& target : m_redrawn) {
        try {
            target->redraw(m_settings, m_overlay);
        } catch (const std::exception& error) {
            failure = error.what();
        }
    }
    m_redrawn.clear();
    m_drawn = std::chrono::steady_clock::now();
    if (!failure.empty())
        throw std::runtime_error(failure);
}

void Service::cover(const std::vector<CoveredSize>& sizes, std::chrono::milliseconds patience) {
    const annotated_lock lock(m_lock);
    m_covered = sizes;
    m_cover_patience = patience;
}

bool Service::hides(const Geometry& geometry) {
    const annotated_lock lock(m_lock);
    return !draws(m_cover_patience) && std::ranges::count(m_covered, CoveredSize{geometry.width, geometry.height}) > 0;
}

bool Service::draws(std::chrono::milliseconds patience) const {
    const auto drawn = m_drawn.load();
    return drawn != std::chrono::steady_clock::time_point{} && std::chrono::steady_clock::now() - drawn <= patience;
}

std::string Service::listen_address() const {
    return m_server != nullptr ? m_server->address() : "";
}

Listeners* Service::listeners() const {
    return m_server != nullptr ? &m_server->listeners() : nullptr;
}

std::shared_ptr<OverlayTarget> Service::open_stream(const Geometry& geometry, axoverlay_stream_type type) {
    const annotated_lock lock(m_lock);
    m_targets.push_back(std::make_shared<OverlayTarget>(++m_last_stream_id, geometry, type, m_has_overlay));
    return m_targets.back();
}

void Service::close_stream(const std::shared_ptr<OverlayTarget>& target) {
    const annotated_lock lock(m_lock);
    std::erase(m_targets, target);
}

} // namespace host_overlay
