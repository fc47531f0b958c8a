#include "tests/platform/axevent/fake_broker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

const std::string FakeBroker::accepted("\x20\x02\x00\x00", 4);

FakeBroker::FakeBroker(std::function<void(const Client&)> serve)
    : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, any, size) != 0 || listen(m_listener, 5) != 0 || getsockname(m_listener, any, &size) != 0)
        throw std::runtime_error("no port for the fake broker");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this, serve = std::move(serve)] {
        for (int file = 0; (file = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0; close(file))
            serve(Client(file));
    });
}

FakeBroker::~FakeBroker() {
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
    close(m_listener);
}

bool FakeBroker::Client::receive(char& byte) const {
    return recv(m_file, &byte, 1, 0) == 1;
}

std::string FakeBroker::Client::packet() const {
    char byte = 0;
    if (!receive(byte))
        return "";
    std::string whole(1, byte);
    size_t length = 0;
    for (int shift = 0; receive(byte); shift += 7) {
        whole += byte;
        length |= static_cast<size_t>(byte & 0x7f) << shift;
        if ((byte & 0x80) == 0)
            break;
    }
    while (length-- > 0 && receive(byte))
        whole += byte;
    return whole;
}

bool FakeBroker::Client::send(const std::string& bytes) const {
    return ::send(m_file, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}
