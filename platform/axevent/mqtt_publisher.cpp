#include "platform/axevent/mqtt_publisher.h"

#include "base/blocked_signals.h"
#include "platform/axevent/mqtt_messages.h"
#include "platform/axevent/mqtt_worker.h"

#include <utility>

namespace host_events {
namespace {

/** What a connection may need beyond stop_time for its last system calls on a busy machine. */
constexpr std::chrono::milliseconds slack{100};

} // namespace

MqttPublisher::MqttPublisher(const MqttSettings& settings)
    : m_settings(settings), m_worker(std::make_shared<MqttWorker>(settings)) {
    std::packaged_task<void()> task([worker = m_worker] { worker->run(); });
    m_ended = task.get_future();
    const blocked_signals during_creation;
    m_thread = std::thread(std::move(task));
}

MqttPublisher::~MqttPublisher() {
    m_worker->stop();
    if (m_ended.wait_for(MqttWorker::stop_time + slack) == std::future_status::ready) {
        m_thread.join();
    } else {
        m_thread.detach();
    }
}

void MqttPublisher::publish(const Occurrence& occurrence) {
    if (!is_alert(occurrence) || occurrence.what == Occurrence::What::undeclared) {
        return;
    }
    if (occurrence.what == Occurrence::What::declared && !m_settings.discovery.empty()) {
        m_worker->announce(discovery_message(m_settings, occurrence));
    }
    m_worker->enqueue(state_message(m_settings, occurrence));
}

} // namespace host_events
