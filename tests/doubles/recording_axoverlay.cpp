#include "tests/doubles/recording_axoverlay.h"

#include <utility>

namespace {

struct service {
    int width = 1920;
    int height = 1080;
    axoverlay_settings settings{};
    gint last_number = 0;
    std::map<gint, recording_axoverlay::overlay> overlays;
    std::function<void()> during_redraw;
};

service& the_service() {
    static auto& instance = *new service; // outlives the process-wide objects, which still call at their end
    return instance;
}

call_recorder& recorder() {
    return recording_axoverlay::recorder();
}

} // namespace

call_recorder& recording_axoverlay::recorder() {
    static auto& instance = *new call_recorder; // outlives the process-wide objects, which still call at their end
    return instance;
}

void recording_axoverlay::reset() {
    recorder().reset();
    the_service() = {};
}

void recording_axoverlay::set_max_resolution(int width, int height) {
    the_service().width = width;
    the_service().height = height;
}

axoverlay_settings recording_axoverlay::settings() {
    return the_service().settings;
}

void recording_axoverlay::on_redraw(std::function<void()> what) {
    the_service().during_redraw = std::move(what);
}

std::map<gint, recording_axoverlay::overlay> recording_axoverlay::overlays() {
    return the_service().overlays;
}

gboolean axoverlay_is_backend_supported(enum axoverlay_backend_type backend) {
    return !recorder().call(call_line("axoverlay_is_backend_supported", static_cast<int>(backend)));
}

void axoverlay_init_axoverlay_settings(struct axoverlay_settings* settings) {
    recorder().call("axoverlay_init_axoverlay_settings");
    *settings = {};
}

gboolean axoverlay_init(struct axoverlay_settings* settings, GError** error) {
    the_service().settings = *settings;
    return !recorder().fails("axoverlay_init", error);
}

void axoverlay_cleanup(void) {
    recorder().call("axoverlay_cleanup");
}

gint axoverlay_get_max_resolution_width(gint camera, GError** error) {
    return recorder().fails(call_line("axoverlay_get_max_resolution_width", camera), error) ? 0 : the_service().width;
}

gint axoverlay_get_max_resolution_height(gint camera, GError** error) {
    return recorder().fails(call_line("axoverlay_get_max_resolution_height", camera), error) ? 0 : the_service().height;
}

void axoverlay_init_overlay_data(struct axoverlay_overlay_data* data) {
    recorder().call("axoverlay_init_overlay_data");
    *data = {};
}

gint axoverlay_create_overlay(struct axoverlay_overlay_data* data, gpointer user_data, GError** error) {
    if (recorder().fails("axoverlay_create_overlay", error))
        return 0;
    const gint number = ++the_service().last_number;
    the_service().overlays[number] = {*data, user_data};
    return number;
}

void axoverlay_destroy_overlay(gint id, GError** error) {
    if (!recorder().fails(call_line("axoverlay_destroy_overlay", id), error) && the_service().overlays.erase(id) == 0)
        set_error(error, 2, "no such overlay");
}

void axoverlay_redraw(GError** error) {
    if (!recorder().fails("axoverlay_redraw", error) && the_service().during_redraw)
        the_service().during_redraw();
}
