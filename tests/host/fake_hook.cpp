#include "tests/host/fake_hook.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>

namespace {

constexpr int look_milliseconds = 10;

/** The whole of a request whose head tells its length. */
bool is_whole(const std::string& request) {
    const size_t head = request.find("\r\n\r\n");
    const size_t length = request.find("Content-Length: ");
    return head != std::string::npos && length != std::string::npos &&
           request.size() >= head + 4 + std::stoul(request.substr(length + 16));
}

} // namespace

FakeHook::FakeHook() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    bind(m_listener, reinterpret_cast<sockaddr*>(&address), size);
    listen(m_listener, 8);
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

FakeHook::~FakeHook() {
    {
        const std::lock_guard lock(m_lock);
        m_ending = true;
    }
    m_changed.notify_all();
    m_thread.join();
    close(m_listener);
}

std::string FakeHook::url() const {
    return "http://127.0.0.1:" + std::to_string(m_port) + "/alerts";
}

void FakeHook::answer(int status) {
    const std::lock_guard lock(m_lock);
    m_status = status;
    m_changed.notify_all();
}

std::vector<std::string> FakeHook::requests(size_t count) {
    std::unique_lock lock(m_lock);
    m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_requests.size() >= count; });
    return m_requests;
}

void FakeHook::run() {
    while (true) {
        {
            const std::lock_guard lock(m_lock);
            if (m_ending)
                return;
        }
        pollfd waiting{m_listener, POLLIN, 0};
        if (poll(&waiting, 1, look_milliseconds) > 0) {
            const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            serve(client);
            close(client);
        }
    }
}

void FakeHook::serve(int client) {
    std::string request;
    std::array<char, 4096> bytes{};
    ssize_t size = 1;
    while (!is_whole(request) && (size = recv(client, bytes.data(), bytes.size(), 0)) > 0)
        request.append(bytes.data(), static_cast<size_t>(size));
    std::unique_lock lock(m_lock);
    m_requests.push_back(request);
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_ending || m_status != 0; });
    const std::string answer =
        "HTTP/1.1 " + std::to_string(m_status) + " Told\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok";
    send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
}
