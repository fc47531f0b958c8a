#include "platform/axparameter/settler.h"

#include "base/blocked_signals.h"

#include <utility>

namespace host_parameters {

Settler::Settler(std::function<void()> settle, std::chrono::milliseconds quiet)
    : m_settle(std::move(settle)), m_quiet(quiet) {}

void Settler::written() {
    const annotated_lock lock(m_mutex);
    m_unsettled = true;
    m_last = Clock::now();
    if (!m_thread.joinable()) {
        const blocked_signals during_creation;
        m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }
    m_changed.notify_all();
}

void Settler::run(const std::stop_token& stop) {
    annotated_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this]() REQUIRES(m_mutex) { return m_unsettled; })) {
        while (!stop.stop_requested() && Clock::now() < m_last + m_quiet)
            m_changed.wait_until(lock, stop, m_last + m_quiet, [] { return false; });
        if (stop.stop_requested())
            return;
        m_unsettled = false;
        lock.unlock();
        m_settle();
        lock.lock();
    }
}

} // namespace host_parameters
