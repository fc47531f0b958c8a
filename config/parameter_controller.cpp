#include "config/parameter_controller.h"

#include "base/logger.h"
#include "base/platform_handles.h"
#include "config/setting_tables.h"

#include <array>
#include <cstdlib>
#include <exception>
#include <span>
#include <utility>
#include <vector>

namespace {

constexpr auto kRotation = "root.Image.I0.Appearance.Rotation";
constexpr int kExistsAlready = 13; // the store's error code

constexpr std::array<named_setting<bool>, 3> kAlerts = {{{"Alert1Active", &ConfigParams::b_Alert1},
                                                         {"Alert2Active", &ConfigParams::b_Alert2},
                                                         {"Alert3Active", &ConfigParams::b_Alert3}}};

constexpr std::array<const char*, 3> kExclusionsActive = {"Exclusion1Active", "Exclusion2Active", "Exclusion3Active"};

/** The name of a polygon's coordinate: point index / 2, "x" for even indices, "y" for odd ones. */
std::string coordinate_name(const std::string& polygon, size_t index) {
    return polygon + std::to_string(index / 2) + (index % 2 == 0 ? "x" : "y");
}

using named_polygon = std::pair<const char*, std::span<int32_t>>;

std::array<named_polygon, 3> exclusions(ConfigParams& config) {
    return {named_polygon{"Exclusion1", config.i_Exclusion1}, named_polygon{"Exclusion2", config.i_Exclusion2},
            named_polygon{"Exclusion3", config.i_Exclusion3}};
}

named_polygon detection_area(ConfigParams& config) {
    return {"Detection1", config.i_Detection1};
}

/** All parameters in the order of their registration. */
std::vector<std::string> parameter_names() {
    ConfigParams shape;
    std::vector<std::string> names = {"HStream",        "WStream",      "MinNumberOfPeopleForTrigger", "Sensitivity",
                                      "MaxDisappeared", "MainLoopTime", "DetectionControlPoints"};
    const auto add_polygon = [&names](const named_polygon& polygon) {
        for (size_t i = 0; i < polygon.second.size(); ++i)
            names.push_back(coordinate_name(polygon.first, i));
    };
    add_polygon(detection_area(shape));
    for (const auto& alert : kAlerts)
        names.emplace_back(alert.name);
    for (const auto& seconds : kAlertSeconds)
        names.emplace_back(seconds.name);
    for (const named_polygon& zone : exclusions(shape))
        add_polygon(zone);
    for (const char* active : kExclusionsActive)
        names.emplace_back(active);
    for (const char* name :
         {"DetectionOverlaysOn", "AnonOverlaysOn", "SelectedDetectionOverlay", "SelectedAnonOverlay"})
        names.emplace_back(name);
    for (const auto& wanted : kWantedClasses)
        names.emplace_back(wanted.name);
    names.emplace_back("EulaAccepted");
    return names;
}

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
    for (const std::string& name : parameter_names())
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

    const auto read_polygon = [this](const named_polygon& polygon) {
        for (size_t i = 0; i < polygon.second.size(); ++i)
            polygon.second[i] = get_gint_parameter(coordinate_name(polygon.first, i));
    };
    config.i_MainLoopTime = get_gint_parameter("MainLoopTime");
    config.i_MinNumberOfPeopleForTrigger = get_gint_parameter("MinNumberOfPeopleForTrigger");
    config.f_Sensitivity = get_gfloat_parameter("Sensitivity");
    config.b_DetectionOverlaysOn = get_boolean_parameter("DetectionOverlaysOn");
    config.b_AnonOverlaysOn = get_boolean_parameter("AnonOverlaysOn");
    config.str_DetectionOverlay = get_string_parameter("SelectedDetectionOverlay");
    config.str_AnonOverlay = get_string_parameter("SelectedAnonOverlay");
    config.i_MaxDisappeared = get_gint_parameter("MaxDisappeared");
    for (const auto& wanted : kWantedClasses)
        config.*wanted.field = get_boolean_parameter(wanted.name);
    config.b_EulaAccepted = get_boolean_parameter("EulaAccepted");
    for (const auto& alert : kAlerts)
        config.*alert.field = get_boolean_parameter(alert.name);
    for (const auto& seconds : kAlertSeconds)
        config.*seconds.field = get_gint_parameter(seconds.name);
    for (const named_polygon& zone : exclusions(config))
        read_polygon(zone);
    config.b_Exclusion1Active = get_boolean_parameter("Exclusion1Active");
    // Zone 2 comes back as zone 3 was saved. Deliberate: cameras in the field have been set up around it.
    config.b_Exclusion2Active = get_boolean_parameter("Exclusion3Active");
    config.b_Exclusion3Active = get_boolean_parameter("Exclusion3Active");
    config.i_DetectionControlPoints = get_gint_parameter("DetectionControlPoints");
    read_polygon(detection_area(config));
    return config;
}

int32_t parameter_controller::save_config(ConfigParams config) {
    const auto write_number = [this](const std::string& name, int32_t value) {
        set_guint_parameter(name, static_cast<unsigned int>(value));
    };
    const auto write_polygon = [&write_number](const named_polygon& polygon) {
        for (size_t i = 0; i < polygon.second.size(); ++i)
            write_number(coordinate_name(polygon.first, i), polygon.second[i]);
    };
    write_number("HStream", config.i_HStream);
    write_number("WStream", config.i_WStream);
    write_number("MinNumberOfPeopleForTrigger", config.i_MinNumberOfPeopleForTrigger);
    set_gfloat_parameter("Sensitivity", config.f_Sensitivity);
    set_boolean_parameter("DetectionOverlaysOn", config.b_DetectionOverlaysOn);
    set_boolean_parameter("AnonOverlaysOn", config.b_AnonOverlaysOn);
    set_string_parameter("SelectedDetectionOverlay", config.str_DetectionOverlay);
    set_string_parameter("SelectedAnonOverlay", config.str_AnonOverlay);
    write_number("MaxDisappeared", config.i_MaxDisappeared);
    // A second time, deliberately: listeners of the store rely on this change coming after the stream's.
    set_boolean_parameter("DetectionOverlaysOn", config.b_DetectionOverlaysOn);
    for (const auto& wanted : kWantedClasses)
        set_boolean_parameter(wanted.name, config.*wanted.field);
    set_boolean_parameter("EulaAccepted", config.b_EulaAccepted);
    for (const auto& alert : kAlerts)
        set_boolean_parameter(alert.name, config.*alert.field);
    for (const auto& seconds : kAlertSeconds)
        write_number(seconds.name, config.*seconds.field);
    for (const named_polygon& zone : exclusions(config))
        write_polygon(zone);
    const std::array<bool, 3> active = {config.b_Exclusion1Active, config.b_Exclusion2Active,
                                        config.b_Exclusion3Active};
    for (size_t i = 0; i < active.size(); ++i)
        set_boolean_parameter(kExclusionsActive.at(i), active.at(i));
    write_number("DetectionControlPoints", config.i_DetectionControlPoints);
    write_polygon(detection_area(config));
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
