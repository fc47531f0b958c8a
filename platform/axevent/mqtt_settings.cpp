#include "platform/axevent/mqtt_settings.h"

#include "platform/axevent/environment.h"

#include <mosquitto.h>
#include <unistd.h>

namespace host_events {
namespace {

constexpr guint64 highest_port = 65535;
/** A text goes to the broker with its length in two bytes. */
constexpr size_t longest_text = 65535;

/** "HOST:PORT", an IPv6 address in brackets. */
bool split_address(const std::string& address, MqttSettings& settings) {
    const size_t colon = address.rfind(':');
    guint64 port = 0;
    if (colon == std::string::npos || colon == 0 ||
        g_ascii_string_to_unsigned(address.c_str() + colon + 1, 10, 1, highest_port, &port, nullptr) == FALSE) {
        return false;
    }
    std::string host = address.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    } else if (host.find(':') != std::string::npos) {
        return false;
    }
    settings.host = host;
    settings.port = static_cast<int>(port);
    return true;
}

/** The beginning of a topic, with room for the rest of it. */
bool begins_topic(const std::string& topic) {
    constexpr size_t longest = 1000;
    return mosquitto_pub_topic_check(topic.c_str()) == MOSQ_ERR_SUCCESS &&
           mosquitto_validate_utf8(topic.c_str(), static_cast<int>(topic.size())) == MOSQ_ERR_SUCCESS &&
           topic.size() <= longest && topic.front() != '/' && topic.back() != '/';
}

/** The file's text without the line's end that editors and `echo` leave. */
bool read_password(const std::string& path, std::string& password) {
    g_autofree gchar* text = nullptr;
    // Anything but a file could keep the start waiting.
    if (g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR) == FALSE ||
        g_file_get_contents(path.c_str(), &text, nullptr, nullptr) == FALSE) {
        return false;
    }
    password = text;
    while (!password.empty() && (password.back() == '\n' || password.back() == '\r')) {
        password.pop_back();
    }
    return true;
}

std::string default_queue_path() {
    const std::string journal = environment("KORVEX_AXEVENT_JOURNAL");
    return journal.empty() ? "" : journal + ".mqtt-queue";
}

} // namespace

std::optional<MqttSettings> mqtt_settings_from_environment(std::string& problem) {
    const std::string address = environment("KORVEX_MQTT");
    if (address.empty()) {
        return std::nullopt;
    }
    MqttSettings settings;
    if (!split_address(address, settings)) {
        problem = "KORVEX_MQTT is '" + address + "'; it must be HOST:PORT";
        return std::nullopt;
    }
    settings.user = environment("KORVEX_MQTT_USER");
    const std::string password_file = environment("KORVEX_MQTT_PASSWORD_FILE");
    if (!password_file.empty() && settings.user.empty()) {
        problem = "KORVEX_MQTT_PASSWORD_FILE is set, but KORVEX_MQTT_USER is not";
        return std::nullopt;
    }
    if (!password_file.empty() && !read_password(password_file, settings.password)) {
        problem = "KORVEX_MQTT_PASSWORD_FILE: cannot read " + password_file;
        return std::nullopt;
    }
    if (settings.user.size() > longest_text || settings.password.size() > longest_text) {
        problem =
            "KORVEX_MQTT_USER and the password must not be longer than " + std::to_string(longest_text) + " bytes";
        return std::nullopt;
    }
    settings.ca_file = environment("KORVEX_MQTT_CA_FILE");
    if (!settings.ca_file.empty() && access(settings.ca_file.c_str(), R_OK) != 0) {
        problem = "KORVEX_MQTT_CA_FILE: cannot read " + settings.ca_file;
        return std::nullopt;
    }
    if (const std::string prefix = environment("KORVEX_MQTT_PREFIX"); !prefix.empty()) {
        settings.prefix = prefix;
    }
    if (std::getenv("KORVEX_MQTT_DISCOVERY") != nullptr) {
        settings.discovery = environment("KORVEX_MQTT_DISCOVERY");
    }
    if (!begins_topic(settings.prefix) || (!settings.discovery.empty() && !begins_topic(settings.discovery))) {
        problem = "KORVEX_MQTT_PREFIX and KORVEX_MQTT_DISCOVERY must be topics without wildcards, with no '/' at "
                  "either end";
        return std::nullopt;
    }
    settings.queue_path = environment("KORVEX_MQTT_QUEUE");
    if (settings.queue_path.empty()) {
        settings.queue_path = default_queue_path();
    }
    return settings;
}

bool shows_password(const MqttSettings& settings) {
    const bool this_machine =
        settings.host == "localhost" || settings.host == "::1" || settings.host.starts_with("127.");
    return !settings.password.empty() && settings.ca_file.empty() && !this_machine;
}

} // namespace host_events
