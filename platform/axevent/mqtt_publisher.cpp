#include "platform/axevent/mqtt_publisher.h"

#include "base/blocked_signals.h"
#include "platform/axevent/failure.h"
#include "platform/axevent/mqtt_connection.h"
#include "platform/axevent/mqtt_queue.h"
#include "platform/common/descriptor.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace host_events {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr size_t queue_limit = 10000;
constexpr auto first_rest = 200ms;
constexpr std::chrono::milliseconds longest_rest = 5s;
/** A broker that takes the connection and confirms nothing is away as well. */
constexpr auto answer_time = 10s;
/** The client library wants to be called about once a second, to keep the connection alive. */
constexpr std::chrono::milliseconds step_time = 1s;
/** The part of stop_time that goes to the queue; the rest is for taking leave. */
constexpr auto flush_time = 200ms;
/** What a connection may need beyond stop_time for its last system calls on a busy machine. */
constexpr auto slack = 100ms;

std::chrono::milliseconds time_until(Clock::time_point moment) {
    return std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now());
}

} // namespace

BrokerNews::BrokerNews(const MqttSettings& settings)
    : m_broker("the broker " + settings.host + ":" + std::to_string(settings.port)) {}

void BrokerNews::away(const std::string& problem, bool distrusted) {
    // What the network says of an absence changes from try to try and means nothing new.
    if (!m_said.insert(distrusted ? problem : "").second)
        return;
    complain(distrusted ? m_broker + " is not trusted: " + problem + "; changes wait until it is"
                        : m_broker + " is away (" + problem + "); changes wait for it");
}

void BrokerNews::back(std::size_t waiting_changes) {
    if (!m_said.empty())
        complain("the broker is there again; " + std::to_string(waiting_changes) + " changes waited");
    m_said.clear();
}

bool BrokerNews::namesake(const std::string& name, const std::string& prefix) {
    if (!m_namesakes.insert(identifier(name)).second)
        return false;
    complain("another camera, " + identifier(name) + ", tells " + m_broker + " under the same prefix '" + prefix +
             "', and each overwrites what the other says; KORVEX_MQTT_PREFIX (--mqtt-prefix) gives each its own");
    return true;
}

/** What the publisher's thread runs, and what others hand it. */
class MqttPublisher::Worker {
  public:
    explicit Worker(const MqttSettings& settings) : m_settings(settings), m_queue(settings.queue_path, queue_limit) {}

    void announce(const MqttMessage& message) {
        {
            const std::lock_guard lock(m_mutex);
            if (std::ranges::find(m_announcements, message) != m_announcements.end())
                return;
            m_announcements.push_back(message);
        }
        wake();
    }

    void enqueue(MqttMessage message) {
        m_queue.push(std::move(message));
        wake();
    }

    /** Has `run` return within stop_time, unless the name service hangs. */
    void stop() {
        {
            const std::lock_guard lock(m_mutex);
            m_stop_at = Clock::now() + stop_time;
        }
        wake();
    }

    void run() {
        std::chrono::milliseconds pause = first_rest;
        while (true) {
            Visit visit(m_settings);
            if (serve(visit))
                return;
            m_news.away(visit.connection.problem(), visit.connection.is_distrusted());
            pause = visit.worked ? first_rest : pause;
            if (!rest(pause))
                return;
            pause = std::min(pause * 2, longest_rest);
        }
    }

  private:
    struct OnItsWay {
        MqttQueue::Entry entry;
        int number; // the connection's
    };

    /** One connection and what has become of it. */
    struct Visit {
        explicit Visit(const MqttSettings& settings) : connection(settings) {}

        MqttConnection connection;
        bool greeted = false;
        int online = 0; // the number of the first message
        /** The broker has confirmed something: it is one that may be asked again soon. */
        bool worked = false;
        size_t announced = 0;
        std::optional<OnItsWay> on_its_way;
        std::optional<int> offline;
    };

    void wake() const {
        const std::uint64_t one = 1;
        static_cast<void>(write(m_wake.get(), &one, sizeof(one)) == 0); // full means that it is awake
    }

    void drain() const {
        std::uint64_t count = 0;
        static_cast<void>(read(m_wake.get(), &count, sizeof(count)) == 0); // empty already: as good
    }

    std::optional<Clock::time_point> stop_at() {
        const std::lock_guard lock(m_mutex);
        return m_stop_at;
    }

    /** Serves the queue until the connection is lost (false) or the thread is to end (true). */
    bool serve(Visit& visit) {
        if (!visit.connection.start())
            return false;
        const Clock::time_point answer_by = Clock::now() + answer_time;
        while (true) {
            drain();
            if (visit.connection.is_ready())
                work(visit);
            if (!visit.worked && Clock::now() >= answer_by)
                return visit.connection.lost("it does not answer");
            std::chrono::milliseconds timeout = step_time;
            if (const std::optional<Clock::time_point> end = stop_at()) {
                if (visit.connection.is_ready() && take_leave(visit, *end))
                    return true;
                timeout = std::min(time_until(*end), 10ms); // the flush ends by the clock, too
                if (timeout <= 0ms)
                    return true;
            }
            if (!visit.connection.step(m_wake.get(), timeout))
                return false;
        }
    }

    void work(Visit& visit) {
        MqttConnection& connection = visit.connection;
        if (!visit.greeted)
            greet(visit);
        announce_new(visit);
        if (!visit.worked && !connection.is_waiting(visit.online)) {
            visit.worked = true;
            m_news.back(m_queue.size());
            connection.present();
        }
        // Who has just come has not heard this one's name yet.
        if (const std::string name = connection.take_namesake();
            !name.empty() && m_news.namesake(name, m_settings.prefix))
            connection.present();
        if (visit.on_its_way && !connection.is_waiting(visit.on_its_way->number)) {
            const auto& [entry, number] = *visit.on_its_way;
            if (number != 0 && entry.message.retained)
                m_delivered[entry.message.topic] = entry.message.payload;
            m_queue.pop(entry.number);
            m_queue.tidy();
            visit.on_its_way.reset();
        }
        if (!visit.on_its_way && !visit.offline) {
            if (std::optional<MqttQueue::Entry> entry = m_queue.front()) {
                const int number = connection.publish(entry->message);
                visit.on_its_way = OnItsWay{std::move(*entry), number};
            }
        }
    }

    void greet(Visit& visit) const {
        visit.greeted = true;
        visit.online = visit.connection.publish(availability_message(m_settings, true));
        for (const auto& [topic, payload] : m_delivered)
            visit.connection.publish({topic, payload});
    }

    void announce_new(Visit& visit) {
        const std::lock_guard lock(m_mutex);
        for (; visit.announced < m_announcements.size(); ++visit.announced)
            visit.connection.publish(m_announcements[visit.announced]);
    }

    /** True once the broker knows that the camera is offline. */
    bool take_leave(Visit& visit, Clock::time_point end) const {
        if (!visit.offline) {
            if (visit.on_its_way && Clock::now() < end - (stop_time - flush_time))
                return false;
            visit.offline = visit.connection.publish(availability_message(m_settings, false));
        }
        if (visit.connection.is_waiting(*visit.offline))
            return false;
        visit.connection.close();
        return true;
    }

    /** False when it was woken to end. */
    bool rest(std::chrono::milliseconds time) {
        const Clock::time_point until = Clock::now() + time;
        while (!stop_at()) {
            m_queue.tidy();
            const auto left = time_until(until);
            if (left <= 0ms)
                return true;
            pollfd file = {m_wake.get(), POLLIN, 0};
            poll(&file, 1, static_cast<int>(left.count()));
            drain();
        }
        return false;
    }

    const MqttSettings m_settings;
    MqttQueue m_queue;
    const platform::Descriptor m_wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};

    std::mutex m_mutex;                       // the two below
    std::vector<MqttMessage> m_announcements; // only grows
    std::optional<Clock::time_point> m_stop_at;

    // the thread of `run` only
    std::map<std::string, std::string> m_delivered; // topic to payload, as last confirmed
    BrokerNews m_news{m_settings};
};

MqttPublisher::MqttPublisher(const MqttSettings& settings)
    : m_settings(settings), m_worker(std::make_shared<Worker>(settings)) {
    std::packaged_task<void()> task([worker = m_worker] { worker->run(); });
    m_ended = task.get_future();
    const blocked_signals during_creation;
    m_thread = std::thread(std::move(task));
}

MqttPublisher::~MqttPublisher() {
    m_worker->stop();
    if (m_ended.wait_for(stop_time + slack) == std::future_status::ready)
        m_thread.join();
    else
        m_thread.detach();
}

void MqttPublisher::publish(const Occurrence& occurrence) {
    if (!is_alert(occurrence) || occurrence.what == Occurrence::What::undeclared)
        return;
    if (occurrence.what == Occurrence::What::declared && !m_settings.discovery.empty())
        announce(discovery_message(m_settings, occurrence));
    enqueue(state_message(m_settings, occurrence));
}

void MqttPublisher::publish(const Problem& problem, const std::string& time) {
    if (!m_settings.discovery.empty())
        announce(discovery_message(m_settings, problem));
    enqueue(state_message(m_settings, problem, time));
}

void MqttPublisher::tell_stay(const std::string& stay) {
    enqueue(stay_message(m_settings, stay));
}

void MqttPublisher::announce(const MqttMessage& message) {
    m_worker->announce(message);
}

void MqttPublisher::enqueue(MqttMessage message) {
    m_worker->enqueue(std::move(message));
}

} // namespace host_events
