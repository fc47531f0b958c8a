#include "bench/viewer.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>

namespace bench {
namespace {

/** More than an answer without a picture has. */
constexpr std::size_t some_pictures = 20000;

int connect_to(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    sockaddr_in to{};
    to.sin_family = AF_INET;
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (colon != std::string::npos) {
        to.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(colon + 1))));
    }
    if (socket < 0 || inet_pton(AF_INET, address.substr(0, colon).c_str(), &to.sin_addr) != 1 ||
        connect(socket, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
        throw std::runtime_error("no stream server answers at \"" + address + "\"");
    }
    return socket;
}

} // namespace

Viewer::Viewer(const std::string& address, const std::string& path) : socket_(connect_to(address)) {
    const std::string request = "GET " + path + " HTTP/1.1\r\nHost: " + address + "\r\n\r\n";
    if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size())) {
        throw std::runtime_error("cannot ask for " + path);
    }
    reader_ = std::thread([this] {
        std::array<char, 65536> block{};
        ssize_t count = 0;
        while ((count = recv(socket_, block.data(), block.size(), 0)) > 0) {
            bytes_ += static_cast<std::size_t>(count);
        }
    });
}

Viewer::~Viewer() {
    shutdown(socket_, SHUT_RDWR);
    reader_.join();
    close(socket_);
}

void Viewer::wait_for_pictures() const {
    for (int tenths = 0; bytes_ < some_pictures; ++tenths) {
        if (tenths == 100) {
            throw std::runtime_error("the stream delivers no pictures");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

} // namespace bench
