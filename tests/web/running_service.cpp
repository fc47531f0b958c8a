#include "tests/web/running_service.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

running_service::running_service(const std::filesystem::path& socket, const client_times& times) : m_path(socket) {
    m_service.m_times = times;
    std::signal(SIGPIPE, SIG_IGN); // as start-up does: clients may be gone before they are answered
    FCGX_Init();
    m_service.m_sock = FCGX_OpenSocket(m_path.c_str(), 5);
    FCGX_InitRequest(&m_service.m_request, m_service.m_sock, 0);
    m_thread = std::thread([this] { EXPECT_EQ(m_service.run(), 0); });
}

running_service::~running_service() {
    shutdown(m_service.m_sock, SHUT_RDWR);
    m_thread.join();
    close(m_service.m_sock);
}

std::string running_service::ask(const fastcgi_client::parameters& parameters, const std::string& body) const {
    // libfcgi drops a client that is silent for its first two seconds; on a busy machine any client can be.
    for (int tries = 3;; --tries) {
        fastcgi_client client(m_path);
        client.send_begin();
        client.send_parameters(parameters);
        client.send_body(body);
        std::string answer = client.receive();
        if (!client.finished() && tries > 1)
            continue;
        EXPECT_TRUE(client.finished());
        return answer;
    }
}

std::string running_service::get(const std::string& uri) const {
    return ask({{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", uri}});
}

std::string running_service::post(const std::string& uri, const std::string& body) const {
    return ask({{"REQUEST_METHOD", "POST"}, {"REQUEST_URI", uri}, {"CONTENT_LENGTH", std::to_string(body.size())}},
               body);
}
