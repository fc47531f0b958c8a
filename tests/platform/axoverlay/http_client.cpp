#include "tests/platform/axoverlay/http_client.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

namespace http_client {
namespace {

int connect_to(const std::string& address, int receive_buffer) {
    sockaddr_storage to{};
    socklen_t size = 0;
    if (address.starts_with("unix:")) {
        auto& path = reinterpret_cast<sockaddr_un&>(to);
        path.sun_family = AF_UNIX;
        address.copy(path.sun_path, sizeof path.sun_path - 1, 5);
        size = sizeof path;
    } else {
        auto& host = reinterpret_cast<sockaddr_in&>(to);
        const std::size_t colon = address.rfind(':');
        host.sin_family = AF_INET;
        host.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(colon + 1))));
        EXPECT_EQ(inet_pton(AF_INET, address.substr(0, colon).c_str(), &host.sin_addr), 1);
        size = sizeof host;
    }
    const int socket = ::socket(to.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receive_buffer != 0)
        setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    const timeval limit{10, 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    EXPECT_EQ(connect(socket, reinterpret_cast<const sockaddr*>(&to), size), 0) << address;
    return socket;
}

void send_request(int socket, const std::string& method, const std::string& target) {
    const std::string text = method + " " + target + " HTTP/1.1\r\nHost: camera\r\n\r\n";
    EXPECT_EQ(send(socket, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
}

Head parse_head(const std::string& text) {
    Head head;
    std::size_t line = text.find("\r\n");
    head.status = std::stoi(text.substr(text.find(' ') + 1));
    while (line + 2 < text.size()) {
        const std::size_t end = text.find("\r\n", line + 2);
        const std::string header = text.substr(line + 2, end - line - 2);
        if (const std::size_t colon = header.find(": "); colon != std::string::npos) {
            std::string name = header.substr(0, colon);
            std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
            head.headers[name] = header.substr(colon + 2);
        }
        line = end;
    }
    return head;
}

} // namespace

Reply request(const std::string& address, const std::string& method, const std::string& target) {
    const int socket = connect_to(address, 0);
    send_request(socket, method, target);
    std::string all;
    char block[4096];
    ssize_t count = 0;
    while ((count = recv(socket, block, sizeof block, 0)) > 0)
        all.append(block, static_cast<std::size_t>(count));
    close(socket);
    EXPECT_EQ(count, 0) << "no answer to " << target;
    const std::size_t end = all.find("\r\n\r\n");
    if (end == std::string::npos) {
        ADD_FAILURE() << "no complete answer to " << target;
        return {};
    }
    return {parse_head(all.substr(0, end + 2)), all.substr(end + 4)};
}

Motion::Motion(const std::string& address, const std::string& target, int receive_buffer)
    : m_socket(connect_to(address, receive_buffer)) {
    send_request(m_socket, "GET", target);
}

Motion::~Motion() {
    close(m_socket);
}

bool Motion::fill() {
    m_buffer.erase(0, m_position);
    m_position = 0;
    char block[65536];
    const ssize_t count = recv(m_socket, block, sizeof block, 0);
    EXPECT_GE(count, 0) << "the stream has stalled";
    if (count <= 0)
        return false;
    m_buffer.append(block, static_cast<std::size_t>(count));
    return true;
}

std::string Motion::read_to(const std::string& mark) {
    std::size_t end = 0;
    while ((end = m_buffer.find(mark, m_position)) == std::string::npos) {
        if (!fill())
            return "";
    }
    const std::string line = m_buffer.substr(m_position, end - m_position);
    m_position = end + mark.size();
    return line;
}

std::string Motion::read_line() {
    return read_to("\r\n");
}

std::string Motion::read_exactly(std::size_t size) {
    while (m_buffer.size() - m_position < size) {
        if (!fill())
            return "";
    }
    m_position += size;
    return m_buffer.substr(m_position - size, size);
}

Head Motion::head() {
    std::string text;
    for (std::string line; !(line = read_line()).empty();)
        text += line + "\r\n";
    return text.empty() ? Head{} : parse_head(text);
}

std::vector<std::uint8_t> Motion::next_picture() {
    const std::string boundary = read_line();
    if (boundary.empty())
        return {};
    EXPECT_EQ(boundary, "--picture");
    EXPECT_EQ(read_line(), "Content-Type: image/jpeg");
    const std::string length = read_line();
    EXPECT_TRUE(length.starts_with("Content-Length: ")) << length;
    EXPECT_EQ(read_line(), "");
    const std::string picture = read_exactly(std::stoul(length.substr(length.find(' ') + 1)));
    if (!picture.empty()) {
        EXPECT_EQ(read_line(), "");
    }
    return {picture.begin(), picture.end()};
}

std::string Motion::next_message() {
    return read_to("\n\n");
}

void Motion::drain() {
    while (fill())
        m_position = m_buffer.size();
}

} // namespace http_client
