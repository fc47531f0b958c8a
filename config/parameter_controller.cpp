#include "config/parameter_controller.h"

#include "base/logger.h"
#include "base/platform_handles.h"
#include "config/settings.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr auto kRotation = "root.Image.I0.Appearance.Rotation";
constexpr int kExistsAlready = 13; // the store's error code

/** All zones' corners, then which zones are active. */
constexpr auto kZones = rows_from_to<row::zone1, row::zone3_active>();

int32_t to_number(const std::string& text) {
    try {
        return std::stoi(text);
    } catch (const std::exception&) {
        return 0; // no number, or one out of range: start-up goes on with 0
    }
}

} // namespace

void parameter_controller::init_controller(std::string appName) {
    m_Parameter = ax_parameter_new(appName.c_str(), nullptr);
    if (m_Parameter == nullptr)
        g_Logger.error("init_controller: Error Initializing Parameter of " + appName);
    m_rotation = find_rotation_parameter(appName);
    for (const setting& each : kSettings)
        for (const std::string& name : stored_names(each))
            add_parameter(name);
}

int32_t parameter_controller::find_rotation_parameter(std::string) {
    gchar* value = nullptr;
    GError* error = nullptr;
    const bool found = ax_parameter_get(m_Parameter, kRotation, &value, &error) != FALSE;
    const g_free_ptr<gchar> owned(value);
    if (!found)
        g_Logger.error("find_rotation_parameter: ERROR ax_parameter_get " + message_of(error));
    g_clear_error(&error);
    if (value == nullptr) {
        g_Logger.error("find_rotation_parameter: Unknown error trying to get rotation value");
        return 0;
    }
    g_Logger.info(std::string("find_rotation_parameter: The value of rotation is ") + value);
    return static_cast<int32_t>(std::strtol(value, nullptr, 10));
}

void parameter_controller::add_parameter(std::string name) {
    GError* error = nullptr;
    if (ax_parameter_add(m_Parameter, name.c_str(), "0", nullptr, &error))
        return;
    if (error != nullptr && error->code == kExistsAlready) {
        g_clear_error(&error);
        return;
    }
    g_Logger.error("add_parameter: Failed to add parameter " + name + ". Error: " + take_message(error));
    ax_parameter_free(m_Parameter);
}

std::optional<std::string> parameter_controller::read(const char* operation, const std::string& name) {
    gchar* value = nullptr;
    GError* error = nullptr;
    const bool found = ax_parameter_get(m_Parameter, name.c_str(), &value, &error) != FALSE;
    const g_free_ptr<gchar> owned(value);
    if (!found) {
        g_Logger.error(std::string(operation) + ": Failed to get " + name);
        g_clear_error(&error);
        ax_parameter_free(m_Parameter);
        return std::nullopt;
    }
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

int32_t parameter_controller::read_number(const char* operation, const std::string& name) {
    return to_number(read(operation, name).value_or(""));
}

int32_t parameter_controller::get_gint_parameter(std::string name) {
    return read_number("get_gint_parameter", name);
}

float parameter_controller::get_gfloat_parameter(std::string name) {
    return static_cast<float>(std::strtod(read("get_gfloat_parameter", name).value_or("").c_str(), nullptr));
}

bool parameter_controller::get_boolean_parameter(std::string name) {
    return read("get_boolean_parameter", name) == "true";
}

std::string parameter_controller::get_string_parameter(std::string name) {
    return read("get_string_parameter", name).value_or("");
}

larodChip parameter_controller::get_larodchiptype_parameter(std::string name) {
    return static_cast<larodChip>(read_number("get_larodchiptype_parameter", name));
}

void parameter_controller::write(const std::string& name, const std::string& text, const std::string& failure) {
    GError* error = nullptr;
    if (ax_parameter_set(m_Parameter, name.c_str(), text.c_str(), TRUE, &error))
        return;
    g_Logger.error(failure);
    g_clear_error(&error);
    ax_parameter_free(m_Parameter);
}

void parameter_controller::set_guint_parameter(std::string name, unsigned int value) {
    write(name, std::to_string(value), "set_guint_parameter: Failed to save " + name);
}

void parameter_controller::set_gfloat_parameter(std::string name, float value) {
    write(name, std::to_string(value), "set_gfloat_parameter: Failed to save " + name);
}

void parameter_controller::set_boolean_parameter(std::string name, bool value) {
    write(name, value ? "true" : "false", "set_boolean_parameter: Failed to save " + name);
}

void parameter_controller::set_string_parameter(std::string name, std::string value) {
    write(name, value, "set_string_parameter: Failed to save " + name + " with " + value);
}

ConfigParams parameter_controller::load_config() {
    ConfigParams config;
    config.s_LandscapeModelFileName = "detect_960_540.tflite";
    config.s_PortraitModelFileName = "detect_540_960.tflite";
    config.l_LarodChipType = LAROD_CHIP_TFLITE_ARTPEC8DLPU;
    config.i_ModelWidth = 960;
    config.i_ModelHeight = 540;

    const auto load = [this, &config](row which) {
        // Zone 2 comes back as zone 3 was saved; deliberate, kept as it is.
        const std::vector<std::string> names =
            stored_names(setting_of(which == row::zone2_active ? row::zone3_active : which));
        visit_value(setting_of(which), config,
                    for_each_kind{[&](int32_t& value) { value = get_gint_parameter(names[0]); },
                                  [&](float& value) { value = get_gfloat_parameter(names[0]); },
                                  [&](bool& value) { value = get_boolean_parameter(names[0]); },
                                  [&](std::string& value) { value = get_string_parameter(names[0]); },
                                  [&](std::span<int32_t> coordinates) {
                                      for (size_t i = 0; i < coordinates.size(); ++i)
                                          coordinates[i] = get_gint_parameter(names[i]);
                                  }});
    };
    for (const row which : {row::main_loop_time, row::min_number, row::sensitivity, row::detection_overlays_on,
                            row::anon_overlays_on, row::detection_overlay, row::anon_overlay, row::max_disappeared})
        load(which);
    std::ranges::for_each(kWantedClasses, load);
    load(row::eula);
    std::ranges::for_each(kAlertSettings, load);
    std::ranges::for_each(kZones, load);
    load(row::control_points);
    load(row::area);
    return config;
}

int32_t parameter_controller::save_config(ConfigParams config) {
    const auto save = [this, &config](row which) {
        const std::vector<std::string> names = stored_names(setting_of(which));
        const auto write_number = [&](size_t i, int32_t value) {
            set_guint_parameter(names[i], static_cast<unsigned int>(value));
        };
        visit_value(setting_of(which), config,
                    for_each_kind{[&](int32_t& value) { write_number(0, value); },
                                  [&](float& value) { set_gfloat_parameter(names[0], value); },
                                  [&](bool& value) { set_boolean_parameter(names[0], value); },
                                  [&](std::string& value) { set_string_parameter(names[0], value); },
                                  [&](std::span<int32_t> coordinates) {
                                      for (size_t i = 0; i < coordinates.size(); ++i)
                                          write_number(i, coordinates[i]);
                                  }});
    };
    for (const row which : {row::h_stream, row::w_stream, row::min_number, row::sensitivity, row::detection_overlays_on,
                            row::anon_overlays_on, row::detection_overlay, row::anon_overlay, row::max_disappeared})
        save(which);
    save(row::detection_overlays_on); // a second time; deliberate, kept as it is
    std::ranges::for_each(kWantedClasses, save);
    save(row::eula);
    std::ranges::for_each(kAlertSettings, save);
    std::ranges::for_each(kZones, save);
    save(row::control_points);
    save(row::area);
    return 1;
}

void parameter_controller::list_params() {
    GError* error = nullptr;
    GList* names = ax_parameter_list(m_Parameter, &error);
    if (error != nullptr)
        g_Logger.error("list_params: Failed to list parameters. Error: " + take_message(error));
    for (const GList* name = names; name != nullptr; name = name->next)
        g_Logger.info(std::string("list_params: ") + static_cast<const char*>(name->data));
    g_list_free_full(names, g_free);
}

void parameter_controller::status_callback_log(const char* name, const char* value, void*) {
    g_Logger.info(std::string("status_callback_log: ") + (name != nullptr ? name : "") + " is now " +
                  (value != nullptr ? value : ""));
}
