#include "web/client_watch.h"

#include "base/shared_field.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <system_error>

void limit_waiting(int connection, int direction, std::chrono::milliseconds patience) {
    const timeval time = {patience.count() / 1000, patience.count() % 1000 * 1000};
    setsockopt(connection, SOL_SOCKET, direction, &time, sizeof time);
}

client_watch::client_watch(const int& connection, std::chrono::milliseconds first)
    : m_connection(connection), m_step(std::min(std::chrono::milliseconds(1000), first / 10)), m_allowed(first),
      m_left(first) {
    try {
        m_thread = std::thread([this] { watch(); });
    } catch (const std::system_error&) {
        // Too many threads; without this one the service does what it can.
    }
}

client_watch::~client_watch() {
    {
        const annotated_lock lock(m_mutex);
        m_ended = true;
    }
    m_end.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void client_watch::allow(std::chrono::milliseconds time) {
    const annotated_lock lock(m_mutex);
    m_left = m_allowed = time;
}

void client_watch::watch() {
    annotated_lock lock(m_mutex);
    while (!m_end.wait_for(lock, m_step, [this]() REQUIRES(m_mutex) { return m_ended; })) {
        const int connection = read_shared(m_connection);
        if (connection < 0)
            m_left = m_allowed;
        else if ((m_left -= m_step) < std::chrono::milliseconds(0))
            shutdown(connection, SHUT_RDWR);
    }
}
