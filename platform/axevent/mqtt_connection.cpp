#include "platform/axevent/mqtt_connection.h"

#include "platform/axevent/complain.h"
#include "platform/axevent/mqtt_packet.h"

#include <poll.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace host_events {
namespace {

/** Half as long again without a packet, and the broker sends the Will. */
constexpr std::chrono::seconds keepalive{20};

} // namespace

MqttConnection::MqttConnection(const MqttSettings& settings) : m_settings(settings), m_socket(m_settings) {}

bool MqttConnection::start() {
    const MqttMessage will = availability_message(m_settings, false);
    if (const std::string why = why_unsendable(will); !why.empty()) {
        return lost("the message that the camera is offline cannot be sent: " + why);
    }
    m_output = connect_packet(m_settings, will, static_cast<int>(keepalive.count()));
    m_next_ping = Clock::now() + keepalive;
    return m_socket.start();
}

bool MqttConnection::step(int wake, std::chrono::milliseconds timeout) {
    std::array<pollfd, 2> files = {
        {{m_socket.descriptor(), m_socket.wanted_events(!m_output.empty()), 0}, {wake, POLLIN, 0}}};
    if (poll(files.data(), files.size(), static_cast<int>(timeout.count())) < 0) {
        return errno == EINTR || lost(std::strerror(errno));
    }
    return m_socket.advance(files[0].revents) && (!m_socket.is_open() || exchange());
}

bool MqttConnection::exchange() {
    bool more = true;
    while (more) {
        if (!m_socket.read(m_received, more)) {
            return false;
        }
        while (const std::optional<MqttPacket> packet = take_packet(m_received, m_problem)) {
            if (!take(*packet)) {
                return false;
            }
        }
        if (!m_problem.empty()) {
            return false;
        }
    }
    return keep_alive() && m_socket.write(m_output);
}

bool MqttConnection::take(const MqttPacket& packet) {
    if (!m_ready) {
        m_ready = packet.type == MqttPacket::Type::connection_answer && packet.refusal() == 0;
        return m_ready || lost(packet.type == MqttPacket::Type::connection_answer ? text_of_refusal(packet.refusal())
                                                                                  : "it does not speak MQTT");
    }
    if (packet.type == MqttPacket::Type::publish_answer && m_waiting.erase(packet.number()) > 0) {
        return true;
    }
    if (packet.type == MqttPacket::Type::ping_answer && m_ping_unanswered) {
        m_ping_unanswered = false;
        return true;
    }
    m_unasked_bytes += packet.size();
    return m_unasked_bytes <= longest_from_broker || lost("it sends what nobody asked for");
}

bool MqttConnection::keep_alive() {
    if (!m_ready || Clock::now() < m_next_ping) {
        return true;
    }
    if (m_ping_unanswered) {
        return lost("it does not answer");
    }
    m_output += ping_packet();
    m_ping_unanswered = true;
    m_unasked_bytes = 0;
    m_next_ping = Clock::now() + keepalive;
    return true;
}

int MqttConnection::publish(const MqttMessage& message) {
    if (const std::string why = why_unsendable(message); !why.empty()) {
        complain("a message for the broker is left out: " + why);
        return 0;
    }
    do {
        ++m_last_number;
    } while (m_last_number == 0 || m_waiting.contains(m_last_number));
    m_output += publish_packet(message, m_last_number);
    // A connection that is lost meanwhile confirms nothing: the message waits, and the next step says so.
    m_waiting.insert(m_last_number);
    return m_last_number;
}

void MqttConnection::close() {
    m_output += disconnect_packet();
    m_socket.write(m_output);
}

bool MqttConnection::lost(const std::string& problem) {
    m_problem = problem;
    return false;
}

} // namespace host_events
