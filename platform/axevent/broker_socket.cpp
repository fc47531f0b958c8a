#include "platform/axevent/broker_socket.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace host_events {
namespace {

constexpr const char* connection_lost = "The connection was lost.";
constexpr std::size_t most_at_once = 4096;
/** OpenSSL's place for what belongs to a session's owner. */
constexpr int owner_index = 0;

/** What became of a connect that did not end at once; 0 when it succeeded. */
int connect_result(int socket) {
    int result = 0;
    socklen_t size = sizeof(result);
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &result, &size) == 0 ? result : errno;
}

/** Of a connection that stood. */
std::string text_of(int error) {
    return error == ECONNRESET || error == EPIPE ? connection_lost : std::strerror(error);
}

bool is_address(const std::string& host) {
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return inet_pton(AF_INET, host.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, host.c_str(), address.data()) == 1;
}

std::string day_of(const ASN1_TIME* time) {
    std::tm parts = {};
    std::array<char, 16> text{};
    ASN1_TIME_to_tm(time, &parts);
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return text.data();
}

} // namespace

BrokerSocket::~BrokerSocket() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

bool BrokerSocket::start() {
    if (!m_settings.ca_file.empty() && !begin_tls()) {
        return false;
    }
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* addresses = nullptr;
    const int code = getaddrinfo(m_settings.host.c_str(), std::to_string(m_settings.port).c_str(), &hints, &addresses);
    if (code != 0) {
        return lost(code == EAI_SYSTEM ? std::strerror(errno) : gai_strerror(code));
    }
    m_addresses.reset(addresses);
    m_next = addresses;
    return connect_to_next();
}

bool BrokerSocket::connect_to_next() {
    for (; m_next != nullptr; m_next = m_next->ai_next) {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
        m_descriptor = socket(m_next->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (m_descriptor < 0) {
            lost(std::strerror(errno));
            continue;
        }
        const int on = 1;
        setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        if (connect(m_descriptor, m_next->ai_addr, m_next->ai_addrlen) == 0 || errno == EINPROGRESS) {
            m_next = m_next->ai_next;
            return true;
        }
        lost(std::strerror(errno));
    }
    return false;
}

short BrokerSocket::wanted_events(bool output) const {
    const bool write = m_stage == Stage::connecting || m_tls_wants_to_write || (m_stage == Stage::open && output);
    return static_cast<short>(write ? POLLIN | POLLOUT : POLLIN);
}

bool BrokerSocket::advance(short events) {
    if (m_stage == Stage::connecting && events != 0) {
        const int failure = connect_result(m_descriptor);
        if (failure != 0) {
            lost(std::strerror(failure));
            return connect_to_next();
        }
        m_problem.clear(); // of an address that did not answer
        m_stage = m_session == nullptr ? Stage::open : Stage::handshake;
        if (m_session != nullptr) {
            SSL_set_fd(m_session.get(), m_descriptor);
        }
    }
    return m_stage != Stage::handshake || shake_hands();
}

bool BrokerSocket::begin_tls() {
    // Nothing is freed at the process's end: a connection that hangs in the name service may still be there.
    OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT, nullptr);
    ERR_clear_error();
    m_context.reset(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_min_proto_version(m_context.get(), TLS1_2_VERSION);
    if (SSL_CTX_load_verify_locations(m_context.get(), m_settings.ca_file.c_str(), nullptr) != 1) {
        return distrusted(m_settings.ca_file + " has no certificate that could vouch for it");
    }
    m_session.reset(SSL_new(m_context.get()));
    SSL_set_ex_data(m_session.get(), owner_index, this);
    SSL_set_verify(m_session.get(), SSL_VERIFY_PEER, &BrokerSocket::judge_certificate);
    SSL_set_mode(m_session.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    const char* host = m_settings.host.c_str();
    if (is_address(m_settings.host)) {
        X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(m_session.get()), host);
    } else {
        SSL_set1_host(m_session.get(), host);
        SSL_ctrl(m_session.get(), SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name, const_cast<char*>(host));
    }
    return true;
}

bool BrokerSocket::shake_hands() {
    ERR_clear_error();
    const int result = SSL_connect(m_session.get());
    if (result == 1) {
        m_tls_wants_to_write = false;
        m_stage = Stage::open;
        return true;
    }
    return waits(result);
}

bool BrokerSocket::waits(int result) {
    const int reason = SSL_get_error(m_session.get(), result);
    m_tls_wants_to_write = reason == SSL_ERROR_WANT_WRITE;
    if (m_tls_wants_to_write || reason == SSL_ERROR_WANT_READ) {
        return true;
    }
    const unsigned long error = ERR_peek_error();
    if (m_distrusted || error == 0 || ERR_GET_REASON(error) == SSL_R_UNEXPECTED_EOF_WHILE_READING) {
        return lost(connection_lost);
    }
    if (ERR_GET_REASON(error) == SSL_R_WRONG_VERSION_NUMBER) {
        return lost("it does not speak TLS at this port");
    }
    const char* text = ERR_reason_error_string(error);
    return lost(std::string("TLS: ") + (text == nullptr ? "unknown reason" : text));
}

bool BrokerSocket::read(std::string& received, bool& more) {
    std::array<char, most_at_once> bytes{};
    more = false;
    if (m_session != nullptr) {
        ERR_clear_error();
        const int count = SSL_read(m_session.get(), bytes.data(), static_cast<int>(bytes.size()));
        if (count <= 0) {
            return waits(count);
        }
        received.append(bytes.data(), static_cast<std::size_t>(count));
        more = true;
        return true;
    }
    const ssize_t count = recv(m_descriptor, bytes.data(), bytes.size(), 0);
    if (count < 0) {
        return errno == EAGAIN || errno == EINTR || lost(text_of(errno));
    }
    received.append(bytes.data(), static_cast<std::size_t>(count));
    more = count > 0;
    return more || lost(connection_lost);
}

bool BrokerSocket::write(std::string& output) {
    while (!output.empty()) {
        if (m_session != nullptr) {
            ERR_clear_error();
            std::size_t count = 0;
            const int result = SSL_write_ex(m_session.get(), output.data(), output.size(), &count);
            if (result != 1) {
                return waits(result);
            }
            m_tls_wants_to_write = false;
            output.erase(0, count);
            continue;
        }
        const ssize_t count = send(m_descriptor, output.data(), output.size(), MSG_NOSIGNAL);
        if (count < 0) {
            return errno == EAGAIN || errno == EINTR || lost(text_of(errno));
        }
        output.erase(0, static_cast<std::size_t>(count));
    }
    return true;
}

int BrokerSocket::judge_certificate(int good, X509_STORE_CTX* store) {
    if (good == 0) {
        const void* session = X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx());
        auto* self = static_cast<BrokerSocket*>(SSL_get_ex_data(static_cast<const SSL*>(session), owner_index));
        self->judge(X509_STORE_CTX_get_error(store), X509_STORE_CTX_get_error_depth(store),
                    X509_STORE_CTX_get_current_cert(store));
    }
    return good;
}

void BrokerSocket::judge(int error, int depth, X509* certificate) {
    const std::string whose = depth == 0 ? "its certificate" : "a certificate that vouches for it";
    switch (error) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        distrusted(whose + " expired on " + day_of(X509_get0_notAfter(certificate)));
        break;
    case X509_V_ERR_CERT_NOT_YET_VALID:
        distrusted(whose + " is valid from " + day_of(X509_get0_notBefore(certificate)) +
                   " on; is the clock of this machine right?");
        break;
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        distrusted(whose + " is for another name than " + m_settings.host);
        break;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
        distrusted("no certificate in " + m_settings.ca_file + " vouches for it");
        break;
    default:
        distrusted(whose + " is refused: " + X509_verify_cert_error_string(error));
    }
}

bool BrokerSocket::lost(const std::string& problem) {
    if (!m_distrusted) { // what was wrong with a certificate is the cause of what comes after it
        m_problem = problem;
    }
    return false;
}

bool BrokerSocket::distrusted(const std::string& problem) {
    lost(problem);
    m_distrusted = true;
    return false;
}

} // namespace host_events
