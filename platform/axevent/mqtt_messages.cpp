#include "platform/axevent/mqtt_messages.h"

#include "platform/axevent/json.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace host_events {
namespace {

constexpr const char* product = "Korvex Orvel";

std::string state_topic(const MqttSettings& settings, const Occurrence& alert) {
    return settings.prefix + "/" + identifier(alert.id) + "/state";
}

std::string state_topic(const MqttSettings& settings, const Problem& problem) {
    return settings.prefix + "/problems/" + identifier(problem.kind) + "/state";
}

const char* on_or_off(bool active) {
    return active ? "ON" : "OFF";
}

/** Of several cameras, each is known by its prefix. */
std::string device_name(const MqttSettings& settings) {
    return settings.prefix == MqttSettings().prefix ? product : std::string(product) + " " + settings.prefix;
}

/** Home Assistant puts the device's name before the entity's. */
std::string name_within_device(const std::string& nice_name) {
    const std::string start = std::string(product) + " ";
    return nice_name.size() > start.size() && nice_name.starts_with(start) ? nice_name.substr(start.size()) : nice_name;
}

/** What Home Assistant shows as one sensor that is on or off. */
struct Sensor {
    std::string id; // within the camera
    std::string name;
    std::string topic; // of its state
    const char* device_class;
};

MqttMessage discovery_of(const MqttSettings& settings, const Sensor& sensor) {
    const std::string camera = identifier(settings.prefix);
    const std::string unique = camera + "_" + sensor.id;
    const std::string state = json_text(sensor.topic);
    const std::string name = json_text(product);
    std::vector<std::pair<const char*, std::string>> device = {{"identifiers", "[" + json_text(camera) + "]"},
                                                               {"name", json_text(device_name(settings))},
                                                               {"manufacturer", json_text("Korvex")},
                                                               {"model", json_text("Orvel")},
                                                               {"sw_version", json_text(KORVEX_VERSION)}};
    if (!settings.pages.empty())
        device.emplace_back("configuration_url", json_text(settings.pages));
    return {settings.discovery + "/binary_sensor/" + unique + "/config",
            json_object({{"name", json_text(sensor.name)},
                         {"unique_id", json_text(unique)},
                         {"object_id", json_text(unique)},
                         {"default_entity_id", json_text("binary_sensor." + unique)},
                         {"state_topic", state},
                         {"value_template", json_text("{{ value_json.state }}")},
                         {"json_attributes_topic", state},
                         {"payload_on", json_text("ON")},
                         {"payload_off", json_text("OFF")},
                         {"availability_topic", json_text(availability_message(settings, true).topic)},
                         {"payload_available", json_text("online")},
                         {"payload_not_available", json_text("offline")},
                         {"device_class", json_text(sensor.device_class)},
                         {"device", json_object(device)},
                         {"origin", json_object({{"name", name}})}})};
}

} // namespace

bool is_alert(const Occurrence& occurrence) {
    return occurrence.stateful && occurrence.active.has_value();
}

MqttMessage availability_message(const MqttSettings& settings, bool online) {
    return {settings.prefix + "/availability", online ? "online" : "offline"};
}

MqttMessage stay_message(const MqttSettings& settings, const std::string& stay) {
    return {settings.prefix + "/stays", stay, false};
}

MqttMessage instance_message(const MqttSettings& settings) {
    return {settings.prefix + "/instance", settings.client_id, false};
}

MqttMessage state_message(const MqttSettings& settings, const Occurrence& alert) {
    return {state_topic(settings, alert), json_object({{"state", json_text(on_or_off(alert.active.value_or(false)))},
                                                       {"time", json_text(alert.time)},
                                                       {"name", json_text(alert.nice_name)}})};
}

MqttMessage discovery_message(const MqttSettings& settings, const Occurrence& alert) {
    return discovery_of(settings, {.id = identifier(alert.id),
                                   .name = name_within_device(alert.nice_name),
                                   .topic = state_topic(settings, alert),
                                   .device_class = "occupancy"});
}

MqttMessage state_message(const MqttSettings& settings, const Problem& problem, const std::string& time) {
    return {state_topic(settings, problem), json_object({{"state", json_text(on_or_off(problem.active))},
                                                         {"time", json_text(time)},
                                                         {"text", json_text(problem.text)}})};
}

MqttMessage discovery_message(const MqttSettings& settings, const Problem& problem) {
    return discovery_of(settings, {.id = "problem_" + identifier(problem.kind),
                                   .name = problem.name,
                                   .topic = state_topic(settings, problem),
                                   .device_class = "problem"});
}

std::string identifier(const std::string& text) {
    std::string result = text;
    std::replace_if(
        result.begin(), result.end(),
        [](char each) { return g_ascii_isalnum(each) == FALSE && each != '_' && each != '-'; }, '_');
    return result;
}

} // namespace host_events
