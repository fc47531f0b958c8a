#pragma once

#include "platform/axevent/host_events.h"
#include "platform/axevent/mqtt_messages.h"

#include <chrono>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace host_events {

/**
 * Brings alerts to an MQTT broker, on a thread of its own that takes no signals. Any thread may call anything, and
 * waits for neither broker nor network.
 *
 *     away --connected--> greeting (online, discovery, last states) --> the queue, one message at a time --+
 *       ^                                                                                                   |
 *       +------- lost: wait 0.2 s, 0.4 s, ... 5 s ---------------------------------------------- the end: offline
 *
 * A message leaves the queue when the broker has confirmed it, and only then the next one goes: messages arrive in
 * order, and after an interruption the last one may arrive twice. After a reconnection the last confirmed state of
 * each alert goes first, for a broker that forgot what it retained.
 *
 * The client library's own threaded loop would not do: it reads before anybody can look at what has come (200 MiB of
 * one packet, where 64 KiB are the limit), it ends for good at a certificate that is wrong, and it begins with asking
 * the name service on its caller's thread.
 */
class MqttPublisher {
  public:
    explicit MqttPublisher(const MqttSettings& settings);
    /**
     * At once while the broker is away, otherwise when the queue is empty and the camera offline, and within
     * `stop_time` in any case. A thread that hangs in the name service is left to itself.
     */
    ~MqttPublisher();
    MqttPublisher(const MqttPublisher&) = delete;
    MqttPublisher& operator=(const MqttPublisher&) = delete;

    /**
     * An alert's declaration or change. The end of a declaration changes nothing at the broker: it comes with the end
     * of the application, which its availability tells.
     */
    void publish(const Occurrence& occurrence);

    /** How a problem stands. */
    void publish(const Problem& problem, const std::string& time);
    /** A stay that has ended, a JSON object. */
    void tell_stay(const std::string& stay);

    /** A message that is sent on every connection before the queue; the same one again changes nothing. */
    void announce(const MqttMessage& message);
    void enqueue(MqttMessage message);

    static constexpr std::chrono::milliseconds stop_time{300};

  private:
    class Worker;

    const MqttSettings m_settings;
    const std::shared_ptr<Worker> m_worker; // shared with its thread
    std::future<void> m_ended;
    std::thread m_thread;
};

/** What is said on stderr of the broker's coming and going: each thing once an outage. One thread. */
class BrokerNews {
  public:
    explicit BrokerNews(const MqttSettings& settings);

    /** `distrusted`: the broker is there, but its certificate is not what it should be. */
    void away(const std::string& problem, bool distrusted);
    void back(std::size_t waiting_changes);
    /** Another camera tells the broker under the same prefix. True when this is the first that is heard of it. */
    bool namesake(const std::string& name, const std::string& prefix);

  private:
    const std::string m_broker;
    std::set<std::string> m_said;
    std::set<std::string> m_namesakes;
};

} // namespace host_events
