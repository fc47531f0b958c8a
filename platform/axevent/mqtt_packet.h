#pragma once

#include "platform/axevent/mqtt_messages.h"
#include "platform/axevent/mqtt_settings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/** The few packets of MQTT 3.1.1 that go between a broker and a client that publishes and subscribes to nothing. */
namespace host_events {

/** No packet of a broker may be longer: those that this client needs have four bytes. */
inline constexpr std::size_t longest_from_broker = 65536;
/** A text that goes with its length in two bytes. */
inline constexpr std::size_t longest_text = 65535;

inline constexpr int qos = 1;

/** A topic that can be published to: UTF-8, neither empty nor too long, without wildcards. */
bool is_topic(const std::string& topic);
/** Empty, or why no broker could be sent the message. */
std::string why_unsendable(const MqttMessage& message);

/** A clean session as identifier(settings.prefix), with the Will. REQUIRES: a sendable Will, and neither user nor
    password longer than longest_text. */
std::string connect_packet(const MqttSettings& settings, const MqttMessage& will, int keepalive_s);
/** Retained. REQUIRES: a sendable message. */
std::string publish_packet(const MqttMessage& message, std::uint16_t number);
std::string ping_packet();
std::string disconnect_packet();

/** A packet from a broker. */
struct MqttPacket {
    enum class Type { connection_answer = 2, publish_answer = 4, ping_answer = 13 };

    /** Of those, or any other number from 0 to 15. */
    Type type;
    std::string body;

    /** Of a connection's answer: 0, or why the broker refuses. */
    int refusal() const { return body.size() == 2 ? static_cast<unsigned char>(body[1]) : -1; }
    /** Of a publish's answer; 0 is no number. */
    std::uint16_t number() const;
    std::size_t size() const { return body.size() + 2; }
};

/** Takes the first whole packet off the front of what was received. Nothing when there is none yet, or with `problem`
   set when there will never be one. */
std::optional<MqttPacket> take_packet(std::string& received, std::string& problem);

/** "Connection Refused: not authorised." and so on, as the protocol numbers them. */
std::string text_of_refusal(int refusal);

} // namespace host_events
