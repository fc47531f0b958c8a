#include "tests/web/fastcgi_client.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t kMostContent = 65535;
constexpr timeval kLimit = {30, 0};

char byte_of(size_t value, int byte) {
    return static_cast<char>(static_cast<unsigned char>(value >> (8 * byte)));
}

size_t number_at(const std::string& bytes, size_t index) {
    return static_cast<unsigned char>(bytes.at(index));
}

/** One byte up to 127, four with the highest bit set above. */
std::string encode_length(size_t length) {
    if (length < 128)
        return {byte_of(length, 0)};
    return {byte_of(length | 0x80000000U, 3), byte_of(length, 2), byte_of(length, 1), byte_of(length, 0)};
}

} // namespace

fastcgi_client::fastcgi_client(const std::filesystem::path& path) : m_socket(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(m_socket);
        throw std::runtime_error("nobody listens on " + path.string());
    }
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &kLimit, sizeof kLimit);
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &kLimit, sizeof kLimit);
}

fastcgi_client::~fastcgi_client() {
    close(m_socket);
}

std::string fastcgi_client::encode(const parameters& list) {
    std::string bytes;
    for (const auto& [name, value] : list)
        bytes += encode_length(name.size()) + encode_length(value.size()) + name + value;
    return bytes;
}

std::string fastcgi_client::encode(record type, const std::string& content) {
    constexpr char version = 1;
    constexpr char id = 1;
    const std::string header = {
        version, static_cast<char>(type), 0, id, byte_of(content.size(), 1), byte_of(content.size(), 0), 0, 0};
    return header + content;
}

void fastcgi_client::send_begin() {
    constexpr char responder = 1;
    send_record(begin_request, {0, responder, 0, 0, 0, 0, 0, 0});
}

void fastcgi_client::send_parameters(const parameters& list) {
    const std::string bytes = encode(list);
    for (size_t begin = 0; begin < bytes.size(); begin += kMostContent)
        send_record(params, bytes.substr(begin, kMostContent));
    send_record(params, "");
}

void fastcgi_client::send_body(const std::string& body) {
    for (size_t begin = 0; begin < body.size(); begin += kMostContent)
        send_record(in, body.substr(begin, kMostContent));
    send_record(in, "");
}

void fastcgi_client::send_record(record type, const std::string& content) {
    send_bytes(encode(type, content));
}

void fastcgi_client::send_bytes(const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += static_cast<size_t>(count);
    }
}

void fastcgi_client::end_sending() {
    shutdown(m_socket, SHUT_WR);
}

bool fastcgi_client::is_read() const {
    int unread = 0;
    return ioctl(m_socket, SIOCOUTQ, &unread) == 0 && unread == 0;
}

bool fastcgi_client::read_exactly(std::string& bytes, size_t count) const {
    bytes.resize(count);
    for (size_t got = 0; got < count;) {
        const ssize_t more = recv(m_socket, bytes.data() + got, count - got, 0);
        if (more < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            throw std::runtime_error("no answer within 30 seconds");
        if (more <= 0)
            return false;
        got += static_cast<size_t>(more);
    }
    return true;
}

std::string fastcgi_client::receive() {
    std::string answer;
    std::string header;
    std::string content;
    m_finished = false;
    while (read_exactly(header, 8)) {
        const size_t length = number_at(header, 4) * 256 + number_at(header, 5);
        if (!read_exactly(content, length + number_at(header, 6)))
            break;
        if (header[1] == out)
            answer += content.substr(0, length);
        if (header[1] == end_request) {
            m_finished = true;
            break;
        }
    }
    return answer;
}
