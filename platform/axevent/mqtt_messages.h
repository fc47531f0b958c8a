#pragma once

#include "platform/axevent/host_events.h"
#include "platform/axevent/mqtt_settings.h"

#include <string>

namespace host_events {

/** Every message is of QoS 1; what tells how things stand is retained, so that who subscribes later sees it. */
struct MqttMessage {
    std::string topic;
    std::string payload;
    bool retained = true;

    bool operator==(const MqttMessage&) const = default;
};

/** An alert: an event with a state that is on or off. Nothing else goes to the broker. */
bool is_alert(const Occurrence& occurrence);

/** "<prefix>/availability": "online" or "offline". */
MqttMessage availability_message(const MqttSettings& settings, bool online);

/**
 * "<prefix>/instance": the client's name. Said once the broker is there and not retained, so that two cameras of one
 * prefix hear of each other.
 */
MqttMessage instance_message(const MqttSettings& settings);

/** "<prefix>/<id>/state": {"state":"ON"|"OFF","time":…,"name":…}. REQUIRES: is_alert. */
MqttMessage state_message(const MqttSettings& settings, const Occurrence& alert);

/** "<prefix>/stays": the JSON of a stay that has ended. It is over, so it is not retained. */
MqttMessage stay_message(const MqttSettings& settings, const std::string& stay);

/**
 * "<discovery>/binary_sensor/<prefix>_<id>/config": what Home Assistant needs to show the alert. REQUIRES: is_alert.
 */
MqttMessage discovery_message(const MqttSettings& settings, const Occurrence& alert);

/** "<prefix>/problems/<kind>/state": {"state":"ON"|"OFF","time":…,"text":…}. */
MqttMessage state_message(const MqttSettings& settings, const Problem& problem, const std::string& time);

/** "<discovery>/binary_sensor/<prefix>_problem_<kind>/config": likewise for the problem's sensor. */
MqttMessage discovery_message(const MqttSettings& settings, const Problem& problem);

/** A text with nothing but letters, digits, '_' and '-': other characters become '_'. */
std::string identifier(const std::string& text);

} // namespace host_events
