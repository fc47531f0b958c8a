#pragma once

#include "platform/axevent/mqtt_settings.h"

#include <netdb.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace host_events {

/** The bytes to a broker and back: TCP, with TLS when the settings name a CA file. Nothing waits but `start`, for the
   name service. One thread. After a false, the connection is lost and `problem` says why.

        start --> connecting (each address in turn) --> TLS handshake, if any --> open */
class BrokerSocket {
  public:
    explicit BrokerSocket(const MqttSettings& settings) : m_settings(settings) {}
    ~BrokerSocket();
    BrokerSocket(const BrokerSocket&) = delete;
    BrokerSocket& operator=(const BrokerSocket&) = delete;

    bool start();
    /** What to poll for; `output`: there is something to write. */
    int descriptor() const { return m_descriptor; }
    short wanted_events(bool output) const;
    /** After a poll: goes on with connecting. */
    bool advance(short events);
    bool is_open() const { return m_stage == Stage::open; }

    /** Appends what has come, a few kilobytes at most; `more`: there may be more of it. REQUIRES: is_open() */
    bool read(std::string& received, bool& more);
    /** Takes what can go off the front of `output`. REQUIRES: is_open() */
    bool write(std::string& output);

    const std::string& problem() const { return m_problem; }
    /** The problem is that the broker does not prove who it is: `problem` says what is wrong with its certificate. */
    bool is_distrusted() const { return m_distrusted; }

  private:
    enum class Stage { connecting, handshake, open };
    struct Free {
        void operator()(addrinfo* list) const { freeaddrinfo(list); }
        void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
        void operator()(SSL* session) const { SSL_free(session); }
    };

    bool connect_to_next();
    bool begin_tls();
    bool shake_hands();
    /** True when TLS only has to wait. */
    bool waits(int result);
    bool lost(const std::string& problem);
    bool distrusted(const std::string& problem);
    static int judge_certificate(int good, X509_STORE_CTX* store);
    void judge(int error, int depth, X509* certificate);

    const MqttSettings& m_settings;
    std::unique_ptr<addrinfo, Free> m_addresses;
    const addrinfo* m_next = nullptr;
    int m_descriptor = -1;
    Stage m_stage = Stage::connecting;
    std::unique_ptr<SSL_CTX, Free> m_context;
    std::unique_ptr<SSL, Free> m_session;
    bool m_tls_wants_to_write = false;
    std::string m_problem;
    bool m_distrusted = false;
};

} // namespace host_events
