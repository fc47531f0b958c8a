#pragma once

#include "platform/axevent/broker_news.h"
#include "platform/axevent/mqtt_connection.h"
#include "platform/axevent/mqtt_queue.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace host_events {

/** Brings messages to the broker, on a thread of its own that calls `run`; everything else may be called from any
    thread and waits for neither broker nor network.

        away --connected--> greeting (online, discovery, last states) --> the queue, one message at a time --+
          ^                                                                                                   |
          +------- lost: wait 0.2 s, 0.4 s, ... 5 s -------------------------------------------------- stop: offline

    A message leaves the queue when the broker has confirmed it, and only then the next one goes: messages arrive in
    order, and after an interruption the last one may arrive twice. After a reconnection the last confirmed state of
    each alert goes first, for a broker that forgot what it retained. */
class MqttWorker {
  public:
    explicit MqttWorker(const MqttSettings& settings);
    ~MqttWorker();
    MqttWorker(const MqttWorker&) = delete;
    MqttWorker& operator=(const MqttWorker&) = delete;

    /** A message that is sent on every connection before the queue; the same one again changes nothing. */
    void announce(const MqttMessage& message);
    void enqueue(MqttMessage message);

    /** Has `run` return soon: at once while the broker is away, otherwise when the queue is empty and the camera
        offline, and within `stop_time` in any case but one: a name service that does not answer. */
    void stop();
    static constexpr std::chrono::milliseconds stop_time{300};

    void run();

  private:
    using Clock = std::chrono::steady_clock;
    class Visit;

    void wake() const;
    /** False when it was woken to stop. */
    bool rest(std::chrono::milliseconds time);

    const MqttSettings m_settings;
    MqttQueue m_queue;
    const int m_wake; // an eventfd

    std::mutex m_mutex;
    std::vector<MqttMessage> m_announcements; // only grows
    std::optional<Clock::time_point> m_stop_at;

    // the thread of `run` only
    std::map<std::string, std::string> m_delivered; // topic to payload, as last confirmed
    BrokerNews m_news{m_settings};
};

} // namespace host_events
