#include "bench/viewer.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

/** More than an answer without a picture has. */
constexpr std::size_t some_pictures = 20000;

int connect_to(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    sockaddr_in to{};
    to.sin_family = AF_INET;
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (colon != std::string::npos)
        to.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(colon + 1))));
    if (socket < 0 || inet_pton(AF_INET, address.substr(0, colon).c_str(), &to.sin_addr) != 1 ||
        connect(socket, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
        throw std::runtime_error("no stream server answers at \"" + address + "\"");
    return socket;
}

/** A connection on which the stream has been asked for. */
int ask_for(const std::string& address, const std::string& path) {
    const int socket = connect_to(address);
    const std::string request = "GET " + path + " HTTP/1.1\r\nHost: " + address + "\r\n\r\n";
    if (send(socket, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        throw std::runtime_error("cannot ask for " + path);
    return socket;
}

std::size_t count_of(std::string_view wanted, std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(wanted, at)) != std::string_view::npos; at += wanted.size())
        ++count;
    return count;
}

} // namespace

Viewer::Viewer(const std::string& address, const std::string& path) : m_socket(ask_for(address, path)) {
    m_reader = std::thread([this] {
        std::array<char, 65536> block{};
        ssize_t count = 0;
        while ((count = recv(m_socket, block.data(), block.size(), 0)) > 0) {
            m_bytes += static_cast<std::size_t>(count);
            m_pictures += count_of("\r\nContent-Type: image/jpeg\r\n", {block.data(), static_cast<std::size_t>(count)});
        }
    });
}

Viewer::~Viewer() {
    shutdown(m_socket, SHUT_RDWR);
    m_reader.join();
    close(m_socket);
}

void Viewer::wait_for_pictures() const {
    for (int tenths = 0; m_bytes < some_pictures; ++tenths) {
        if (tenths == 100)
            throw std::runtime_error("the stream delivers no pictures");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

StalledViewer::StalledViewer(const std::string& address, const std::string& path) {
    m_waiter = std::thread([this, address, path, socket = ask_for(address, path)]() mutable {
        constexpr int look_ms = 100;
        while (!m_ending) {
            pollfd dropped{socket, POLLRDHUP, 0};
            if (poll(&dropped, 1, look_ms) > 0) {
                close(socket);
                socket = ask_for(address, path);
            }
        }
        close(socket);
    });
}

StalledViewer::~StalledViewer() {
    m_ending = true;
    m_waiter.join();
}

} // namespace bench
