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
    /** Every topic begins with it: one for each camera. */
    std::string prefix = "korvex_orvel";
    /**
     * The client's identity at the broker: the prefix, and what tells this installation from another one with the same
     * prefix. Two of one identity would throw each other out for ever.
     */
    std::string client_id = "korvex_orvel";
    std::string pages;                       // the address of the camera's pages; empty: not known
    std::string discovery = "homeassistant"; // empty: no discovery messages
    std::string queue_path;                  // empty: the queue is in memory only
};

/**
 * Reads KORVEX_MQTT and its companions. Nothing without `problem` when KORVEX_MQTT is not set; nothing with a sentence
 * in it when a variable is wrong.
 */
std::optional<MqttSettings> mqtt_settings_from_environment(std::string& problem);

/**
 * Eight hexadecimal digits that stay the same for a queue, kept beside it; other ones at each call for an empty path,
 * and where they cannot be kept.
 */
std::string name_of_installation(const std::string& queue_path);

/** A password that others may read on its way: it goes without TLS to another machine. */
bool shows_password(const MqttSettings& settings);

} // namespace host_events
