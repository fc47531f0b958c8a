#include "platform/axevent/mqtt_messages.h"

#include "platform/axevent/json_object.h"

#include <algorithm>

namespace host_events {
namespace {

constexpr const char* product = "Korvex Orvel";

std::string state_topic(const MqttSettings& settings, const Occurrence& alert) {
    return settings.prefix + "/" + identifier(alert.id) + "/state";
}

/** Home Assistant puts the device's name before the entity's. */
std::string name_within_device(const std::string& nice_name) {
    const std::string start = std::string(product) + " ";
    return nice_name.size() > start.size() && nice_name.starts_with(start) ? nice_name.substr(start.size()) : nice_name;
}

} // namespace

bool is_alert(const Occurrence& occurrence) {
    return occurrence.stateful && occurrence.active.has_value();
}

MqttMessage availability_message(const MqttSettings& settings, bool online) {
    return {settings.prefix + "/availability", online ? "online" : "offline"};
}

MqttMessage state_message(const MqttSettings& settings, const Occurrence& alert) {
    JsonObjectWriter json;
    json.text("state", alert.active.value_or(false) ? "ON" : "OFF")
        .text("time", alert.time)
        .text("name", alert.nice_name);
    return {state_topic(settings, alert), json.finish()};
}

MqttMessage discovery_message(const MqttSettings& settings, const Occurrence& alert) {
    const std::string device = identifier(settings.prefix);
    const std::string unique = device + "_" + identifier(alert.id);
    JsonObjectWriter json;
    json.text("name", name_within_device(alert.nice_name))
        .text("unique_id", unique)
        .text("object_id", unique)
        .text("state_topic", state_topic(settings, alert))
        .text("value_template", "{{ value_json.state }}")
        .text("json_attributes_topic", state_topic(settings, alert))
        .text("payload_on", "ON")
        .text("payload_off", "OFF")
        .text("availability_topic", availability_message(settings, true).topic)
        .text("payload_available", "online")
        .text("payload_not_available", "offline")
        .text("device_class", "occupancy");
    json.begin("device")
        .list("identifiers", device)
        .text("name", product)
        .text("manufacturer", "Korvex")
        .text("model", "Orvel")
        .end();
    json.begin("origin").text("name", product).end();
    return {settings.discovery + "/binary_sensor/" + unique + "/config", json.finish()};
}

std::string identifier(const std::string& text) {
    std::string result = text;
    std::replace_if(
        result.begin(), result.end(),
        [](char each) { return g_ascii_isalnum(each) == FALSE && each != '_' && each != '-'; }, '_');
    return result;
}

} // namespace host_events
