#include "platform/axevent/mqtt_connection.h"

#include "platform/axevent/complain.h"

#include <mosquitto.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace host_events {
namespace {

/** Half as long again without a packet, and the broker sends the Will. */
constexpr int keepalive_s = 20;
constexpr int qos = 1;

mosquitto* new_client(const MqttSettings& settings, void* owner) {
    // Never cleaned up: a connection that hangs in the name service may outlive the end of `main`.
    static std::once_flag initialised;
    std::call_once(initialised, mosquitto_lib_init);
    // The same name each time: the broker then ends what is left of a former connection before it begins this one, and
    // not minutes later with a Will that would stay.
    return mosquitto_new(identifier(settings.prefix).c_str(), true, owner);
}

std::string text_of(int code) {
    return code == MOSQ_ERR_ERRNO ? std::strerror(errno) : mosquitto_strerror(code);
}

/** What became of a connect that did not end at once; 0 when it succeeded. */
int connect_result(int socket) {
    int result = 0;
    socklen_t size = sizeof(result);
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &result, &size) == 0 ? result : errno;
}

} // namespace

void MqttConnection::Destroy::operator()(mosquitto* client) const {
    mosquitto_destroy(client);
}

MqttConnection::MqttConnection(const MqttSettings& settings)
    : m_settings(settings), m_client(new_client(settings, this)) {
    mosquitto_connect_callback_set(m_client.get(), [](mosquitto*, void* owner, int refusal) {
        auto* self = static_cast<MqttConnection*>(owner);
        self->m_ready = refusal == 0;
        if (refusal != 0) {
            self->m_problem = mosquitto_connack_string(refusal);
        }
    });
    mosquitto_publish_callback_set(m_client.get(), [](mosquitto*, void* owner, int number) {
        static_cast<MqttConnection*>(owner)->m_waiting.erase(number);
    });
}

MqttConnection::~MqttConnection() = default;

bool MqttConnection::configure() {
    mosquitto* client = m_client.get();
    int code = mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
    const MqttMessage will = availability_message(m_settings, false);
    if (code == MOSQ_ERR_SUCCESS) {
        code = mosquitto_will_set(client, will.topic.c_str(), static_cast<int>(will.payload.size()),
                                  will.payload.data(), qos, true);
    }
    if (code == MOSQ_ERR_SUCCESS && !m_settings.user.empty()) {
        code = mosquitto_username_pw_set(client, m_settings.user.c_str(),
                                         m_settings.password.empty() ? nullptr : m_settings.password.c_str());
    }
    if (code == MOSQ_ERR_SUCCESS && !m_settings.ca_file.empty()) {
        code = mosquitto_tls_set(client, m_settings.ca_file.c_str(), nullptr, nullptr, nullptr, nullptr);
    }
    return code == MOSQ_ERR_SUCCESS || lost(code);
}

bool MqttConnection::start() {
    if (!configure()) {
        return false;
    }
    const int code = mosquitto_connect_async(m_client.get(), m_settings.host.c_str(), m_settings.port, keepalive_s);
    return code == MOSQ_ERR_SUCCESS || lost(code);
}

bool MqttConnection::step(int wake, std::chrono::milliseconds timeout) {
    const int socket = mosquitto_socket(m_client.get());
    if (socket < 0) {
        return lost(MOSQ_ERR_CONN_LOST);
    }
    const bool wants_to_write = !m_tcp_connected || mosquitto_want_write(m_client.get());
    std::array<pollfd, 2> files = {
        {{socket, static_cast<short>(wants_to_write ? POLLIN | POLLOUT : POLLIN), 0}, {wake, POLLIN, 0}}};
    if (poll(files.data(), files.size(), static_cast<int>(timeout.count())) < 0) {
        return errno == EINTR || lost(MOSQ_ERR_ERRNO);
    }
    const int events = files[0].revents;
    int code = MOSQ_ERR_SUCCESS;
    if (!m_tcp_connected && events != 0) {
        errno = connect_result(socket);
        if (errno != 0) {
            return lost(MOSQ_ERR_ERRNO);
        }
        m_tcp_connected = true;
        // With TLS, reading is what begins the handshake; without, there is nothing to read yet, which does no harm.
        code = mosquitto_loop_read(m_client.get(), 1);
    } else if ((events & (POLLIN | POLLERR | POLLHUP)) != 0) {
        code = mosquitto_loop_read(m_client.get(), 1);
    }
    if (code == MOSQ_ERR_SUCCESS && (events & POLLOUT) != 0) {
        code = mosquitto_loop_write(m_client.get(), 1);
    }
    if (code == MOSQ_ERR_SUCCESS) {
        code = mosquitto_loop_misc(m_client.get());
    }
    return (code == MOSQ_ERR_SUCCESS && m_problem.empty()) || lost(code);
}

int MqttConnection::publish(const MqttMessage& message) {
    int number = 0;
    const int code = mosquitto_publish(m_client.get(), &number, message.topic.c_str(),
                                       static_cast<int>(message.payload.size()), message.payload.data(), qos, true);
    if (code == MOSQ_ERR_INVAL || code == MOSQ_ERR_MALFORMED_UTF8 || code == MOSQ_ERR_PAYLOAD_SIZE) {
        complain("a message for the broker is left out: " + text_of(code));
        return 0;
    }
    // A connection that is lost meanwhile confirms nothing: the message waits, and the next step says so.
    m_waiting.insert(number);
    return number;
}

void MqttConnection::close() {
    mosquitto_disconnect(m_client.get());
    mosquitto_loop_write(m_client.get(), 1);
}

bool MqttConnection::lost(int code) {
    if (m_problem.empty()) { // the broker's own reason comes first
        m_problem = text_of(code);
    }
    return false;
}

} // namespace host_events
