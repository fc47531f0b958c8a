#include "platform/axevent/mqtt_packet.h"

#include <glib.h>

#include <array>

namespace host_events {
namespace {

constexpr char connect_header = 0x10;
constexpr char publish_header = 0x30 | qos << 1 | 1; // retained
constexpr std::size_t longest_message = 268435455;

/** Seven bits a byte, the lowest first; the eighth says that there is more. */
std::string length_bytes(std::size_t length) {
    std::string bytes;
    do {
        const std::size_t rest = length / 128;
        bytes += static_cast<char>(length % 128 | (rest > 0 ? 0x80U : 0U));
        length = rest;
    } while (length > 0);
    return bytes;
}

std::string two_bytes(std::size_t number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string with_length(const std::string& text) {
    return two_bytes(text.size()) + text;
}

std::string packet(char header, const std::string& body) {
    return header + length_bytes(body.size()) + body;
}

} // namespace

bool is_topic(const std::string& topic) {
    return !topic.empty() && topic.size() <= longest_text && topic.find_first_of("+#") == std::string::npos &&
           g_utf8_validate_len(topic.data(), topic.size(), nullptr) != FALSE;
}

std::string why_unsendable(const MqttMessage& message) {
    if (!is_topic(message.topic)) {
        return "its topic is none that can be published to";
    }
    const std::size_t size = 4 + message.topic.size() + message.payload.size();
    return size > longest_message ? "it is too long" : "";
}

std::string connect_packet(const MqttSettings& settings, const MqttMessage& will, int keepalive_s) {
    constexpr unsigned clean_session = 0x02;
    constexpr unsigned retained_will = 0x24 | static_cast<unsigned>(qos) << 3;
    constexpr unsigned has_password = 0x40;
    constexpr unsigned has_user = 0x80;
    constexpr char version = 4;
    const bool user = !settings.user.empty();
    const bool password = user && !settings.password.empty();
    const unsigned flags = clean_session | retained_will | (password ? has_password : 0) | (user ? has_user : 0);
    std::string body =
        with_length("MQTT") + version + static_cast<char>(flags) + two_bytes(static_cast<std::size_t>(keepalive_s));
    body += with_length(identifier(settings.prefix)) + with_length(will.topic) + with_length(will.payload);
    body += user ? with_length(settings.user) : "";
    body += password ? with_length(settings.password) : "";
    return packet(connect_header, body);
}

std::string publish_packet(const MqttMessage& message, std::uint16_t number) {
    return packet(publish_header, with_length(message.topic) + two_bytes(number) + message.payload);
}

std::string ping_packet() {
    return {'\xc0', '\0'};
}

std::string disconnect_packet() {
    return {'\xe0', '\0'};
}

std::uint16_t MqttPacket::number() const {
    return body.size() == 2 ? static_cast<std::uint16_t>(static_cast<unsigned char>(body[0]) << 8 |
                                                         static_cast<unsigned char>(body[1]))
                            : std::uint16_t{0};
}

std::optional<MqttPacket> take_packet(std::string& received, std::string& problem) {
    constexpr std::size_t longest_length = 4;
    std::size_t length = 0;
    std::size_t at = 1;
    bool more = true;
    for (; more; ++at) {
        if (at > longest_length) {
            problem = "it does not speak MQTT";
            return std::nullopt;
        }
        if (at >= received.size()) {
            return std::nullopt;
        }
        const auto byte = static_cast<unsigned char>(received[at]);
        length |= std::size_t{byte & 0x7fU} << (7 * (at - 1));
        more = (byte & 0x80U) != 0;
    }
    if (length > longest_from_broker) {
        problem = "it sends " + std::to_string(length) + " bytes at once; " + std::to_string(longest_from_broker) +
                  " are the most";
        return std::nullopt;
    }
    if (received.size() < at + length) {
        return std::nullopt;
    }
    MqttPacket taken{static_cast<MqttPacket::Type>(static_cast<unsigned char>(received[0]) >> 4),
                     received.substr(at, length)};
    received.erase(0, at + length);
    return taken;
}

std::string text_of_refusal(int refusal) {
    constexpr std::array<const char*, 6> reasons = {"",
                                                    "unacceptable protocol version.",
                                                    "identifier rejected.",
                                                    "broker unavailable.",
                                                    "bad user name or password.",
                                                    "not authorised."};
    const bool known = refusal > 0 && static_cast<std::size_t>(refusal) < reasons.size();
    return std::string("Connection Refused: ") +
           (known ? reasons[static_cast<std::size_t>(refusal)] : "unknown reason.");
}

} // namespace host_events
