#pragma once

#include "platform/axevent/host_events.h"
#include "platform/axevent/mqtt_settings.h"

#include <future>
#include <memory>
#include <thread>

namespace host_events {

class MqttWorker;

/** The alerts at an MQTT broker. Owns the worker and its thread, which takes no signals. Any thread. */
class MqttPublisher {
  public:
    explicit MqttPublisher(const MqttSettings& settings);
    /** Takes leave of the broker; see MqttWorker::stop. A thread that hangs in the name service is left to itself. */
    ~MqttPublisher();
    MqttPublisher(const MqttPublisher&) = delete;
    MqttPublisher& operator=(const MqttPublisher&) = delete;

    /** Puts an alert's declaration or change into the worker's queue. The end of a declaration changes nothing at the
        broker: it comes with the end of the application, which its availability tells. */
    void publish(const Occurrence& occurrence);

  private:
    const MqttSettings m_settings;
    const std::shared_ptr<MqttWorker> m_worker; // shared with its thread
    std::future<void> m_ended;
    std::thread m_thread;
};

} // namespace host_events
