#pragma once

#include "platform/axevent/broker_socket.h"
#include "platform/axevent/mqtt_messages.h"

#include <chrono>
#include <cstdint>
#include <set>
#include <string>

namespace host_events {

struct MqttPacket;

/** One connection to the broker, from the first packet until it is lost; then make another. Its Will tells subscribers
    that the camera is offline when the connection ends in any way other than `close`. One thread.

    It subscribes to nothing, so that a broker has only confirmations to send. Packets of more than longest_from_broker,
    or as many bytes of others within a keepalive time, end the connection, whatever memory they ask for. */
class MqttConnection {
  public:
    explicit MqttConnection(const MqttSettings& settings);
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

    const std::string& problem() const { return m_problem.empty() ? m_socket.problem() : m_problem; }
    /** The broker does not prove who it is, and `problem` says what is wrong with its certificate. */
    bool is_distrusted() const { return m_socket.is_distrusted(); }

  private:
    using Clock = std::chrono::steady_clock;

    bool exchange();
    bool take(const MqttPacket& packet);
    bool keep_alive();
    bool lost(const std::string& problem);

    const MqttSettings m_settings;
    BrokerSocket m_socket;
    std::string m_output;
    std::string m_received; // never more than the longest packet and one read
    std::set<int> m_waiting;
    std::uint16_t m_last_number = 0;
    Clock::time_point m_next_ping;
    bool m_ping_unanswered = false;
    std::size_t m_unasked_bytes = 0; // since the last ping
    std::string m_problem;
    bool m_ready = false;
};

} // namespace host_events
