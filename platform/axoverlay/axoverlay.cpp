#include "platform/axoverlay/host_answers.h"
#include "platform/axoverlay/host_streams.h"
#include "platform/axoverlay/listeners.h"
#include "platform/axoverlay/resolutions.h"
#include "platform/axoverlay/service.h"
#include "platform/common/glib.h"

#include <axoverlay.h>

#include <exception>

namespace {

using host_overlay::Service;

/** Runs one call of the C interface; an exception becomes the GError, and the result is then `failed`. */
template <typename Result, typename Call>
Result reporting(GError** error, Result failed, Call&& call) {
    try {
        return call();
    } catch (const std::exception& failure) {
        platform::set_error(error, "axoverlay-error-quark", 0, failure.what());
        return failed;
    }
}

VdoResolution max_resolution(gint camera) {
    Service::instance().require_init();
    if (camera != host_overlay::only_camera)
        throw std::runtime_error("there is no camera " + std::to_string(camera) + "; the only one is camera 1");
    return host_overlay::largest(host_overlay::channel_resolutions());
}

} // namespace

gboolean axoverlay_is_backend_supported(enum axoverlay_backend_type backend) {
    return backend == AXOVERLAY_CAIRO_IMAGE_BACKEND ? TRUE : FALSE;
}

void axoverlay_init_axoverlay_settings(struct axoverlay_settings* settings) {
    if (settings != nullptr)
        *settings = {};
}

gboolean axoverlay_init(struct axoverlay_settings* settings, GError** error) {
    return reporting<gboolean>(error, FALSE, [&] {
        if (settings == nullptr)
            throw std::runtime_error("there are no settings");
        Service::instance().init(*settings);
        return TRUE;
    });
}

void axoverlay_cleanup(void) {
    Service::instance().cleanup();
}

gint axoverlay_get_max_resolution_width(gint camera, GError** error) {
    return reporting<gint>(error, -1, [&] { return static_cast<gint>(max_resolution(camera).width); });
}

gint axoverlay_get_max_resolution_height(gint camera, GError** error) {
    return reporting<gint>(error, -1, [&] { return static_cast<gint>(max_resolution(camera).height); });
}

void axoverlay_init_overlay_data(struct axoverlay_overlay_data* data) {
    if (data != nullptr)
        *data = {};
}

gint axoverlay_create_overlay(struct axoverlay_overlay_data* data, gpointer user_data, GError** error) {
    return reporting<gint>(error, 0, [&] {
        if (data == nullptr)
            throw std::runtime_error("there is no overlay data");
        return Service::instance().create_overlay(*data, user_data);
    });
}

void axoverlay_destroy_overlay(gint id, GError** error) {
    reporting<int>(error, 0, [&] { return Service::instance().destroy_overlay(id), 0; });
}

void axoverlay_redraw(GError** error) {
    reporting<int>(error, 0, [&] { return Service::instance().redraw(), 0; });
}

bool host_overlay::has_listeners() {
    Listeners* listeners = Service::instance().listeners();
    return listeners != nullptr && !listeners->empty();
}

void host_overlay::tell_listeners(const std::string& line) {
    if (Listeners* listeners = Service::instance().listeners())
        listeners->tell(line);
}

std::string host_overlay::listen_address() {
    return Service::instance().listen_address();
}

void host_overlay::cover_streams(const std::vector<CoveredSize>& sizes, std::chrono::milliseconds patience) {
    Service::instance().cover(sizes, patience);
}

// For builds with LeakSanitizer. The fonts of the overlays are fontconfig's, and live as long as the process; it keeps
// distances in place of pointers, which the checker cannot follow. A program of another mind overrides this.
// NOLINTBEGIN(bugprone-reserved-identifier): the checker's own name
extern "C" __attribute__((weak)) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\n";
}
// NOLINTEND(bugprone-reserved-identifier)
