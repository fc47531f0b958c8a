#pragma once

#include <optional>
#include <string>

namespace host_events {

/** Which broker, and as whom. */
struct MqttSettings {
    std::string host;
    int port = 0;
    std::string user;     // empty: anonymous
    std::string password; // empty: none
    std::string ca_file;  // empty: without TLS
    /** Every topic begins with it, and it is the client's identity at the broker: one for each camera. */
    std::string prefix = "korvex_orvel";
    std::string discovery = "homeassistant"; // empty: no discovery messages
    std::string queue_path;                  // empty: the queue is in memory only
};

/**
 * Reads KORVEX_MQTT and its companions. Nothing without `problem` when KORVEX_MQTT is not set; nothing with a sentence
 * in it when a variable is wrong.
 */
std::optional<MqttSettings> mqtt_settings_from_environment(std::string& problem);

/** A password that others may read on its way: it goes without TLS to another machine. */
bool shows_password(const MqttSettings& settings);

} // namespace host_events
