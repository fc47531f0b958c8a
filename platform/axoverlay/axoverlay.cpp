#include "platform/axoverlay/host_answers.h"
#include "platform/axoverlay/host_streams.h"
#include "platform/axoverlay/listeners.h"
#include "platform/axoverlay/resolutions.h"
#include "platform/axoverlay/service.h"
#include "platform/common/glib.h"

#include <axoverlay.h>

#include <type_traits>

namespace {

using host_overlay::Service;

/** `none`: the result of a call that fails. */
template <typename Call, typename Result = std::invoke_result_t<Call>>
Result reporting(GError** error, Call call, Result none = {}) {
    return platform::guarded(error, "axoverlay-error-quark", call, none);
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
    return reporting(error, [&] {
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
    return reporting(
        error, [&] { return static_cast<gint>(max_resolution(camera).width); }, -1);
}

gint axoverlay_get_max_resolution_height(gint camera, GError** error) {
    return reporting(
        error, [&] { return static_cast<gint>(max_resolution(camera).height); }, -1);
}

void axoverlay_init_overlay_data(struct axoverlay_overlay_data* data) {
    if (data != nullptr)
        *data = {};
}

gint axoverlay_create_overlay(struct axoverlay_overlay_data* data, gpointer user_data, GError** error) {
    return reporting(error, [&] {
        if (data == nullptr)
            throw std::runtime_error("there is no overlay data");
        return Service::instance().create_overlay(*data, user_data);
    });
}

void axoverlay_destroy_overlay(gint id, GError** error) {
    reporting(error, [&] { return Service::instance().destroy_overlay(id), 0; });
}

void axoverlay_redraw(GError** error) {
    reporting(error, [&] { return Service::instance().redraw(), 0; });
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
