#include "platform/axevent/mqtt_connection.h"

#include "platform/axevent/failure.h"

#include <linux/tcp.h> // not netinet's, which knows no tcpi_bytes_received
#include <mosquitto.h>
#include <netdb.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

namespace host_events {
namespace {

/** Half as long again without a packet, and the broker sends the Will. */
constexpr std::chrono::seconds keepalive{20};
constexpr int qos = 1;
/** Of another client: what is longer is no name. */
constexpr std::size_t longest_name = 200;
/**
 * What a broker may send without confirming anything: a TLS handshake has a few thousand bytes, an answer to a ping
 * has two.
 */
constexpr std::uint64_t most_unasked_bytes = std::uint64_t{64} * 1024;

mosquitto* new_client(const MqttSettings& settings, void* owner) {
    // Nothing is cleaned up at the process's end: a connection that hangs in the name service may still be there.
    static std::once_flag initialised;
    std::call_once(initialised, [] {
        OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT, nullptr);
        mosquitto_lib_init();
    });
    // The same name each time: the broker then ends what is left of a former connection before it begins this one, and
    // not minutes later with a Will that would stay.
    return mosquitto_new(settings.client_id.c_str(), true, owner);
}

/** What became of a connect that did not end at once; 0 when it succeeded. */
int connect_result(int socket) {
    int result = 0;
    socklen_t size = sizeof(result);
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &result, &size) == 0 ? result : errno;
}

std::uint64_t received_bytes(int socket) {
    tcp_info info = {};
    socklen_t size = sizeof(info);
    return getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_bytes_received : 0;
}

std::string day_of(const ASN1_TIME* time) {
    std::tm parts = {};
    std::array<char, 16> text{};
    ASN1_TIME_to_tm(time, &parts);
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return text.data();
}

/** What is wrong with the broker's certificate, in words. REQUIRES: X509_verify_cert refused it. */
std::string certificate_problem(X509_STORE_CTX* store, const MqttSettings& settings) {
    const int error = X509_STORE_CTX_get_error(store);
    const X509* certificate = X509_STORE_CTX_get_current_cert(store);
    const std::string whose =
        X509_STORE_CTX_get_error_depth(store) == 0 ? "its certificate" : "a certificate that vouches for it";
    switch (error) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return whose + " expired on " + day_of(X509_get0_notAfter(certificate));
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return whose + " is valid from " + day_of(X509_get0_notBefore(certificate)) +
               " on; is the clock of this machine right?";
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return whose + " is for another name than " + settings.host;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
        return "no certificate in " + settings.ca_file + " vouches for it";
    default:
        return whose + " is refused: " + X509_verify_cert_error_string(error);
    }
}

} // namespace

MqttConnection::MqttConnection(const MqttSettings& settings)
    : m_settings(settings), m_client(new_client(settings, this)), m_allowed_bytes(most_unasked_bytes) {
    mosquitto_connect_callback_set(m_client.get(), [](mosquitto*, void* owner, int refusal) {
        auto* self = static_cast<MqttConnection*>(owner);
        self->m_ready = refusal == 0;
        if (refusal != 0)
            self->m_problem = mosquitto_connack_string(refusal);
    });
    mosquitto_publish_callback_set(m_client.get(), [](mosquitto*, void* owner, int number) {
        auto* self = static_cast<MqttConnection*>(owner);
        self->m_waiting.erase(number);
        self->allow_more();
    });
    mosquitto_message_callback_set(m_client.get(), [](mosquitto*, void* owner, const mosquitto_message* message) {
        auto* self = static_cast<MqttConnection*>(owner);
        const std::string name(static_cast<const char*>(message->payload),
                               static_cast<std::size_t>(message->payloadlen));
        if (name != self->m_settings.client_id && name.size() <= longest_name)
            self->m_namesake = name;
    });
    // The library takes OpenSSL's errors out of their list and only logs them: "OpenSSL Error[0]: error:0A00010B:...".
    mosquitto_log_callback_set(m_client.get(), [](mosquitto*, void* owner, int, const char* line) {
        auto* self = static_cast<MqttConnection*>(owner);
        const char* number = std::strstr(line, "error:");
        if (number != nullptr && self->m_tls_error == 0)
            self->m_tls_error = std::strtoul(number + std::strlen("error:"), nullptr, 16);
    });
}

bool MqttConnection::configure() {
    mosquitto* client = m_client.get();
    int code = mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
    const MqttMessage will = availability_message(m_settings, false);
    if (code == MOSQ_ERR_SUCCESS)
        code = mosquitto_will_set(client, will.topic.c_str(), static_cast<int>(will.payload.size()),
                                  will.payload.data(), qos, true);
    if (code == MOSQ_ERR_SUCCESS && !m_settings.user.empty())
        code = mosquitto_username_pw_set(client, m_settings.user.c_str(),
                                         m_settings.password.empty() ? nullptr : m_settings.password.c_str());
    if (code != MOSQ_ERR_SUCCESS)
        return lost(code);
    return m_settings.ca_file.empty() || configure_tls();
}

/**
 * With a context of our own, since the library's says nothing of what is wrong with a certificate. It is so all by
 * itself: the library's defaults for such a context would have its check of the name refuse every certificate.
 */
bool MqttConnection::configure_tls() {
    const platform::Handle<SSL_CTX, SSL_CTX_free> context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    if (SSL_CTX_load_verify_locations(context.get(), m_settings.ca_file.c_str(), nullptr) != 1) {
        ERR_clear_error();
        return distrusted(m_settings.ca_file + " has no certificate that could vouch for it");
    }
    X509_VERIFY_PARAM* expected = SSL_CTX_get0_param(context.get());
    const char* host = m_settings.host.c_str();
    if (X509_VERIFY_PARAM_set1_ip_asc(expected, host) != 1 && X509_VERIFY_PARAM_set1_host(expected, host, 0) != 1)
        return distrusted("no certificate can be for the name " + m_settings.host);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_cert_verify_callback(
        context.get(),
        [](X509_STORE_CTX* store, void* owner) {
            auto* self = static_cast<MqttConnection*>(owner);
            const int good = X509_verify_cert(store);
            if (good != 1)
                self->distrusted(certificate_problem(store, self->m_settings));
            return good;
        },
        this);
    int code = mosquitto_void_option(m_client.get(), MOSQ_OPT_SSL_CTX, context.get()); // which shares it
    if (code == MOSQ_ERR_SUCCESS)
        code = mosquitto_int_option(m_client.get(), MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);
    return code == MOSQ_ERR_SUCCESS || lost(code);
}

bool MqttConnection::start() {
    if (!configure())
        return false;
    const int code = mosquitto_connect_async(m_client.get(), m_settings.host.c_str(), m_settings.port,
                                             static_cast<int>(keepalive.count()));
    return code == MOSQ_ERR_SUCCESS || lost(code);
}

bool MqttConnection::step(int wake, std::chrono::milliseconds timeout) {
    const int socket = mosquitto_socket(m_client.get());
    if (socket < 0)
        return lost(MOSQ_ERR_CONN_LOST);
    const bool wants_to_write = !m_tcp_connected || mosquitto_want_write(m_client.get());
    std::array<pollfd, 2> files = {
        {{socket, static_cast<short>(wants_to_write ? POLLIN | POLLOUT : POLLIN), 0}, {wake, POLLIN, 0}}};
    if (poll(files.data(), files.size(), static_cast<int>(timeout.count())) < 0)
        return errno == EINTR || lost(MOSQ_ERR_ERRNO);
    if (floods())
        return lost("it sends what nobody asked for");
    const int code = exchange(socket, files[0].revents);
    return (code == MOSQ_ERR_SUCCESS && m_problem.empty()) || lost(code);
}

int MqttConnection::exchange(int socket, int events) {
    int code = MOSQ_ERR_SUCCESS;
    if (!m_tcp_connected && events != 0) {
        errno = connect_result(socket);
        if (errno != 0)
            return MOSQ_ERR_ERRNO;
        m_tcp_connected = true;
        // With TLS, reading is what begins the handshake; without, there is nothing to read yet, which does no harm.
        code = mosquitto_loop_read(m_client.get(), 1);
    } else if ((events & (POLLIN | POLLERR | POLLHUP)) != 0) {
        code = mosquitto_loop_read(m_client.get(), 1);
    }
    if (code == MOSQ_ERR_SUCCESS && (events & POLLOUT) != 0)
        code = mosquitto_loop_write(m_client.get(), 1);
    return code == MOSQ_ERR_SUCCESS ? mosquitto_loop_misc(m_client.get()) : code;
}

/** Looks before the library reads, which reserves what a packet announces and touches what has come of it. */
bool MqttConnection::floods() {
    if (received_bytes(mosquitto_socket(m_client.get())) > m_allowed_bytes)
        return true;
    if (Clock::now() >= m_allowed_until)
        allow_more();
    return false;
}

void MqttConnection::allow_more() {
    m_allowed_bytes = received_bytes(mosquitto_socket(m_client.get())) + most_unasked_bytes;
    m_allowed_until = Clock::now() + keepalive;
}

int MqttConnection::publish(const MqttMessage& message) {
    int number = 0;
    const int code =
        mosquitto_publish(m_client.get(), &number, message.topic.c_str(), static_cast<int>(message.payload.size()),
                          message.payload.data(), qos, message.retained);
    if (code == MOSQ_ERR_INVAL || code == MOSQ_ERR_MALFORMED_UTF8 || code == MOSQ_ERR_PAYLOAD_SIZE) {
        complain("a message for the broker is left out: " + text_of(code));
        return 0;
    }
    // A connection that is lost meanwhile confirms nothing: the message waits, and the next step says so.
    m_waiting.insert(number);
    return number;
}

void MqttConnection::present() {
    const MqttMessage self = instance_message(m_settings);
    mosquitto_subscribe(m_client.get(), nullptr, self.topic.c_str(), 0);
    mosquitto_publish(m_client.get(), nullptr, self.topic.c_str(), static_cast<int>(self.payload.size()),
                      self.payload.data(), 0, self.retained);
}

void MqttConnection::close() {
    mosquitto_disconnect(m_client.get());
    mosquitto_loop_write(m_client.get(), 1);
}

std::string MqttConnection::text_of(int code) const {
    const bool tls = code == MOSQ_ERR_TLS || (code == MOSQ_ERR_ERRNO && errno == EPROTO);
    if (tls && ERR_GET_REASON(m_tls_error) == SSL_R_WRONG_VERSION_NUMBER)
        return "it does not speak TLS at this port";
    if (tls && m_tls_error != 0 && ERR_GET_REASON(m_tls_error) != SSL_R_UNEXPECTED_EOF_WHILE_READING) {
        const char* reason = ERR_reason_error_string(m_tls_error);
        return std::string("TLS: ") + (reason == nullptr ? "unknown reason" : reason);
    }
    if (tls || (code == MOSQ_ERR_ERRNO && errno == EPIPE))
        return mosquitto_strerror(MOSQ_ERR_CONN_LOST);
    switch (code) {
    case MOSQ_ERR_ERRNO:
        return std::strerror(errno);
    case MOSQ_ERR_EAI:
        return gai_strerror(errno);
    case MOSQ_ERR_PROTOCOL:
    case MOSQ_ERR_MALFORMED_PACKET:
        return "it does not speak MQTT";
    case MOSQ_ERR_KEEPALIVE:
        return "it does not answer";
    default:
        return mosquitto_strerror(code);
    }
}

bool MqttConnection::lost(int code) {
    return lost(text_of(code));
}

bool MqttConnection::lost(const std::string& problem) {
    if (m_problem.empty()) // the broker's own reason comes first, and what is wrong with its certificate
        m_problem = problem;
    return false;
}

bool MqttConnection::distrusted(const std::string& problem) {
    m_distrusted = true;
    return lost(problem);
}

} // namespace host_events
