#include "output/overlay_manager.h"

#include "base/logger.h"
#include "base/platform_handles.h"
#include "base/shared_field.h"

int32_t OverlayManager::m_OverlayID = 0;

OverlayManager::OverlayManager() {
    // Nothing here ends the construction: each step that cannot work says so itself.
    if (!axoverlay_is_backend_supported(AXOVERLAY_CAIRO_IMAGE_BACKEND))
        g_Logger.error("AXOVERLAY_CAIRO_IMAGE_BACKEND is not supported");

    axoverlay_settings settings{};
    axoverlay_init_axoverlay_settings(&settings);
    settings.render_callback = renderCallback;
    settings.adjustment_callback = adjustmentCallback;
    settings.select_callback = selectStreamCallback;
    settings.backend = AXOVERLAY_CAIRO_IMAGE_BACKEND;
    GError* error = nullptr;
    if (!axoverlay_init(&settings, &error) || error != nullptr)
        g_Logger.error("OverlayManager: Failed to initialize axoverlay: " + take_message(error));

    const gint width = axoverlay_get_max_resolution_width(1, &error);
    g_clear_error(&error);
    const gint height = axoverlay_get_max_resolution_height(1, &error);
    g_clear_error(&error);
    write_shared(m_OverlayID, createOverlay(width, height));

    axoverlay_redraw(&error);
    if (error != nullptr) {
        g_Logger.error("OverlayManager: Failed to do initial draw of overlays: " + message_of(error));
        axoverlay_destroy_overlay(m_OverlayID, nullptr);
        axoverlay_cleanup();
        g_clear_error(&error);
    }
}

OverlayManager::~OverlayManager() {
    axoverlay_destroy_overlay(m_OverlayID, nullptr);
    axoverlay_cleanup();
}

bool OverlayManager::renderFindings() const {
    GError* error = nullptr;
    axoverlay_redraw(&error);
    if (error == nullptr)
        return true;
    g_Logger.error("renderFindings: Failed to redraw overlay: " + take_message(error));
    return false;
}

int OverlayManager::createOverlay(int width, int height) {
    axoverlay_overlay_data data{};
    axoverlay_init_overlay_data(&data);
    data.anchor_point = AXOVERLAY_ANCHOR_TOP_LEFT;
    data.postype = AXOVERLAY_TOP_LEFT;
    data.x = 0;
    data.y = 0;
    data.width = width;
    data.height = height;
    data.colorspace = AXOVERLAY_COLORSPACE_ARGB32;
    data.scale_to_stream = FALSE;
    GError* error = nullptr;
    const gint id = axoverlay_create_overlay(&data, &g_OverlayInfo, &error);
    if (error == nullptr)
        return id;
    g_Logger.error("createOverlay: Failed to create overlay: " + take_message(error));
    return 0;
}

void OverlayManager::adjustmentCallback(gint, axoverlay_stream_data* stream, axoverlay_position_type*, gfloat*, gfloat*,
                                        gint* overlay_width, gint* overlay_height, gpointer) {
    const bool rotated = stream->rotation == 90 || stream->rotation == 270;
    *overlay_width = rotated ? stream->height : stream->width;
    *overlay_height = rotated ? stream->width : stream->height;
}

gboolean OverlayManager::selectStreamCallback(gint, gint, gint, gint, gboolean, axoverlay_stream_type) {
    return TRUE;
}
