#pragma once

#include "platform/axevent/mqtt_messages.h"
#include "platform/common/handle.h"

#include <mosquitto.h>

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <utility>

namespace host_events {

/**
 * One connection to the broker, from the first packet until it is lost; then make another. Its Will tells subscribers
 * that the camera is offline when the connection ends in any way other than `close`. One thread.
 *
 * It subscribes to nothing but its own prefix's instances, so that a broker has little but confirmations to send. More
 * than 64 KiB of anything else within a keepalive time end the connection: the client library itself takes packets of
 * up to 256 MiB.
 */
class MqttConnection {
  public:
    explicit MqttConnection(const MqttSettings& settings);
    MqttConnection(const MqttConnection&) = delete;
    MqttConnection& operator=(const MqttConnection&) = delete;

    /** Begins to connect. May wait for the name service, for nothing else. False with `problem` set. */
    bool start();

    /**
     * Moves what there is to move; waits up to `timeout` for it, or until `wake` is readable. False with `problem` set
     * once the connection is lost or the broker refuses it.
     */
    bool step(int wake, std::chrono::milliseconds timeout);

    /** The broker has accepted the client. */
    bool is_ready() const { return m_ready; }

    /**
     * Hands a message over; gives its number. One that no broker could be sent, from a queue file that is not what was
     * written into it, is said on stderr and left out: nothing waits for its number. REQUIRES: is_ready().
     */
    int publish(const MqttMessage& message);
    /** True until the broker has confirmed the message. */
    bool is_waiting(int number) const { return m_waiting.contains(number); }

    /** Says who this is, and hears from now on who else uses the prefix. REQUIRES: is_ready(). */
    void present();
    /** The name of another client with the same prefix, once for each of its messages; empty without any. */
    std::string take_namesake() { return std::exchange(m_namesake, {}); }

    /** Takes leave of the broker: no Will. */
    void close();
    /** Counts as lost; the first problem is the one that is kept. Always false. */
    bool lost(const std::string& problem);

    const std::string& problem() const { return m_problem; }
    /** The broker does not prove who it is, and `problem` says what is wrong with its certificate. */
    bool is_distrusted() const { return m_distrusted; }

  private:
    using Clock = std::chrono::steady_clock;

    bool configure();
    bool configure_tls();
    int exchange(int socket, int events);
    bool floods();
    void allow_more();
    std::string text_of(int code) const;
    bool lost(int code);
    bool distrusted(const std::string& problem);

    const MqttSettings m_settings;
    platform::Handle<mosquitto, mosquitto_destroy> m_client;
    std::set<int> m_waiting;
    std::uint64_t m_allowed_bytes; // from the broker, since the connection began
    Clock::time_point m_allowed_until;
    unsigned long m_tls_error = 0; // the first that OpenSSL found
    std::string m_problem;
    std::string m_namesake;
    bool m_distrusted = false;
    bool m_tcp_connected = false;
    bool m_ready = false;
};

} // namespace host_events
