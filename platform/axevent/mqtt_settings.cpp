#include "platform/axevent/mqtt_settings.h"

#include "platform/axevent/mqtt_messages.h"
#include "platform/common/settings.h"

#include <glib.h>
#include <mosquitto.h>
#include <unistd.h>

#include <fstream>
#include <random>

namespace host_events {
namespace {

using platform::environment;
using platform::environment_or;

/** A text goes to the broker with its length in two bytes. */
constexpr size_t longest_text = 65535;

/** The beginning of a topic, with room for the rest of it. */
bool begins_topic(const std::string& topic) {
    constexpr size_t longest = 1000;
    return mosquitto_pub_topic_check(topic.c_str()) == MOSQ_ERR_SUCCESS &&
           mosquitto_validate_utf8(topic.c_str(), static_cast<int>(topic.size())) == MOSQ_ERR_SUCCESS &&
           topic.size() <= longest && topic.front() != '/' && topic.back() != '/';
}

constexpr std::size_t name_length = 8;

std::string new_name() {
    std::random_device random;
    std::string name;
    while (name.size() < name_length)
        name += "0123456789abcdef"[random() % 16];
    return name;
}

/** The file's text without the line's end that editors and `echo` leave. */
bool read_password(const std::string& path, std::string& password) {
    g_autofree gchar* text = nullptr;
    // Anything but a file could keep the start waiting.
    if (g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR) == FALSE ||
        g_file_get_contents(path.c_str(), &text, nullptr, nullptr) == FALSE)
        return false;
    password = text;
    while (password.ends_with('\n') || password.ends_with('\r'))
        password.pop_back();
    return true;
}

std::string default_queue_path() {
    const std::string journal = environment("KORVEX_AXEVENT_JOURNAL");
    return journal.empty() ? "" : journal + ".mqtt-queue";
}

} // namespace

std::optional<MqttSettings> mqtt_settings_from_environment(std::string& problem) {
    const auto refuse = [&](const std::string& sentence) {
        problem = sentence;
        return std::nullopt;
    };
    const std::string address = environment("KORVEX_MQTT");
    if (address.empty())
        return std::nullopt;
    const auto broker = platform::parse_host_port(address, 1);
    if (!broker)
        return refuse("KORVEX_MQTT is '" + address + "'; it must be HOST:PORT");
    MqttSettings settings;
    settings.host = broker->host;
    settings.port = broker->port;
    settings.user = environment("KORVEX_MQTT_USER");
    const std::string password_file = environment("KORVEX_MQTT_PASSWORD_FILE");
    if (!password_file.empty() && settings.user.empty())
        return refuse("KORVEX_MQTT_PASSWORD_FILE is set, but KORVEX_MQTT_USER is not");
    if (!password_file.empty() && !read_password(password_file, settings.password))
        return refuse("KORVEX_MQTT_PASSWORD_FILE: cannot read " + password_file);
    if (settings.user.size() > longest_text || settings.password.size() > longest_text)
        return refuse("KORVEX_MQTT_USER and the password must not be longer than " + std::to_string(longest_text) +
                      " bytes");
    settings.ca_file = environment("KORVEX_MQTT_CA_FILE");
    if (!settings.ca_file.empty() && access(settings.ca_file.c_str(), R_OK) != 0)
        return refuse("KORVEX_MQTT_CA_FILE: cannot read " + settings.ca_file);
    settings.prefix = environment_or("KORVEX_MQTT_PREFIX", settings.prefix);
    if (std::getenv("KORVEX_MQTT_DISCOVERY") != nullptr)
        settings.discovery = environment("KORVEX_MQTT_DISCOVERY");
    if (!begins_topic(settings.prefix) || (!settings.discovery.empty() && !begins_topic(settings.discovery)))
        return refuse("KORVEX_MQTT_PREFIX and KORVEX_MQTT_DISCOVERY must be topics without wildcards, with no '/' at "
                      "either end");
    settings.queue_path = environment_or("KORVEX_MQTT_QUEUE", default_queue_path());
    settings.client_id = identifier(settings.prefix) + "-" + name_of_installation(settings.queue_path);
    settings.pages = environment("KORVEX_MQTT_PAGES");
    return settings;
}

std::string name_of_installation(const std::string& queue_path) {
    if (queue_path.empty())
        return new_name();
    const std::string path = queue_path + ".name";
    std::string name;
    std::ifstream(path) >> name;
    if (name.size() == name_length && name.find_first_not_of("0123456789abcdef") == std::string::npos)
        return name;
    name = new_name();
    std::ofstream(path) << name << '\n'; // one that cannot be kept serves this run
    return name;
}

bool shows_password(const MqttSettings& settings) {
    const bool this_machine =
        settings.host == "localhost" || settings.host == "::1" || settings.host.starts_with("127.");
    return !settings.password.empty() && settings.ca_file.empty() && !this_machine;
}

} // namespace host_events
