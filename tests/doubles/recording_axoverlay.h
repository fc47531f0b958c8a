#pragma once

#include "tests/doubles/call_recorder.h"

#include <axoverlay.h>

#include <functional>
#include <map>

/**
 * The overlay service for a test. It opens no stream and draws nothing of its own accord: a test calls the callbacks
 * that were handed in.
 *
 * Journal lines: "axoverlay_is_backend_supported BACKEND", "axoverlay_init_axoverlay_settings", "axoverlay_init",
 * "axoverlay_cleanup", "axoverlay_get_max_resolution_width CAMERA", "axoverlay_get_max_resolution_height CAMERA",
 * "axoverlay_init_overlay_data", "axoverlay_create_overlay", "axoverlay_destroy_overlay ID", "axoverlay_redraw".
 *
 * Overlays are numbered from 1. Destroying one that does not exist fails with code 2.
 */
namespace recording_axoverlay {

struct overlay {
    axoverlay_overlay_data data;
    gpointer user_data;
};

call_recorder& recorder();

/** Journal, failures, overlays, settings and size as at the start. */
void reset();

/** The largest overlay; 1920x1080 at the start. */
void set_max_resolution(int width, int height);

/** What `axoverlay_init` was given last. */
axoverlay_settings settings();

/** Runs inside every redraw. */
void on_redraw(std::function<void()> what);

/** Every overlay that exists, by number. */
std::map<gint, overlay> overlays();

} // namespace recording_axoverlay
