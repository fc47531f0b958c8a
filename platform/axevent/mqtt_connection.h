#pragma once

#include "platform/axevent/mqtt_messages.h"

#include <chrono>
#include <memory>
#include <set>
#include <string>

struct mosquitto;

namespace host_events {

/** One connection to the broker, from the first packet until it is lost; then make another. Its Will tells subscribers
    that the camera is offline when the connection ends in any way other than `close`. One thread. */
class MqttConnection {
  public:
    explicit MqttConnection(const MqttSettings& settings);
    ~MqttConnection();
    MqttConnection(const MqttConnection&) = delete;
    MqttConnection& operator=(const MqttConnection&) = delete;

    /** Begins to connect. May wait for the name service, for nothing else. False with `problem` set. */
    bool start();

    /** Moves what there is to move; waits up to `timeout` for it, or until `wake` is readable. False with `problem` set
        once the connection is lost or the broker refuses it. */
    bool step(int wake, std::chrono::milliseconds timeout);

    /** The broker has accepted the client. */
    bool is_ready() const { return m_ready; }

    /** Hands a message over; gives its number. One that no broker could be sent, from a queue file that is not what was
        written into it, is said on stderr and left out: nothing waits for its number. REQUIRES: is_ready(). */
    int publish(const MqttMessage& message);
    /** True until the broker has confirmed the message. */
    bool is_waiting(int number) const { return m_waiting.contains(number); }

    /** Takes leave of the broker: no Will. */
    void close();

    const std::string& problem() const { return m_problem; }

  private:
    struct Destroy {
        void operator()(mosquitto* client) const;
    };

    bool configure();
    bool lost(int code);

    const MqttSettings m_settings;
    std::unique_ptr<mosquitto, Destroy> m_client;
    std::set<int> m_waiting;
    std::string m_problem;
    bool m_tcp_connected = false;
    bool m_ready = false;
};

} // namespace host_events
