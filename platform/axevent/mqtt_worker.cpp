#include "platform/axevent/mqtt_worker.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace host_events {
namespace {

using namespace std::chrono_literals;

constexpr size_t queue_limit = 10000;
constexpr auto first_rest = 200ms;
constexpr std::chrono::milliseconds longest_rest = 5s;
/** A broker that takes the connection and confirms nothing is away as well. */
constexpr auto answer_time = 10s;
/** The client library wants to be called about once a second, to keep the connection alive. */
constexpr std::chrono::milliseconds step_time = 1s;
/** The part of stop_time that goes to the queue; the rest is for taking leave. */
constexpr auto flush_time = 200ms;

void drain(int wake) {
    std::uint64_t count = 0;
    static_cast<void>(read(wake, &count, sizeof(count)) == 0); // empty already: as good
}

} // namespace

/** One connection's work. */
class MqttWorker::Visit {
  public:
    explicit Visit(MqttWorker& worker) : m_worker(worker), m_connection(worker.m_settings) {}

    /** Serves the queue until the connection is lost (false) or the worker is to stop (true). */
    bool run() {
        if (!m_connection.start()) {
            return false;
        }
        const Clock::time_point answer_by = Clock::now() + answer_time;
        while (true) {
            drain(m_worker.m_wake);
            if (m_connection.is_ready()) {
                serve();
            }
            if (!m_worked && Clock::now() >= answer_by) {
                m_problem = "it does not answer";
                return false;
            }
            std::chrono::milliseconds timeout = step_time;
            if (const std::optional<Clock::time_point> stop_at = stop_time_point()) {
                if (m_connection.is_ready() && take_leave(*stop_at)) {
                    return true;
                }
                timeout = std::chrono::ceil<std::chrono::milliseconds>(*stop_at - Clock::now());
                if (timeout <= 0ms) {
                    return true;
                }
                timeout = std::min(timeout, 10ms); // the flush ends by the clock, too
            }
            if (!m_connection.step(m_worker.m_wake, timeout)) {
                return false;
            }
        }
    }

    /** The broker has confirmed something: it is one that may be asked again soon. */
    bool has_worked() const { return m_worked; }
    bool is_distrusted() const { return m_connection.is_distrusted(); }
    const std::string& problem() const { return m_problem.empty() ? m_connection.problem() : m_problem; }

  private:
    struct OnItsWay {
        MqttQueue::Entry entry;
        int number;
    };

    std::optional<Clock::time_point> stop_time_point() const {
        const std::lock_guard lock(m_worker.m_mutex);
        return m_worker.m_stop_at;
    }

    void serve() {
        if (!m_greeted) {
            greet();
        }
        announce();
        if (!m_worked && !m_connection.is_waiting(m_online)) {
            m_worked = true;
            m_worker.m_news.back(m_worker.m_queue.size());
        }
        if (m_on_its_way && !m_connection.is_waiting(m_on_its_way->number)) {
            if (m_on_its_way->number != 0) {
                m_worker.m_delivered[m_on_its_way->entry.message.topic] = m_on_its_way->entry.message.payload;
            }
            m_worker.m_queue.pop(m_on_its_way->entry.number);
            m_worker.m_queue.tidy();
            m_on_its_way.reset();
        }
        if (!m_on_its_way && !m_offline) {
            if (std::optional<MqttQueue::Entry> entry = m_worker.m_queue.front()) {
                const int number = m_connection.publish(entry->message);
                m_on_its_way = OnItsWay{std::move(*entry), number};
            }
        }
    }

    void greet() {
        m_greeted = true;
        m_online = m_connection.publish(availability_message(m_worker.m_settings, true));
        for (const auto& [topic, payload] : m_worker.m_delivered) {
            m_connection.publish({topic, payload});
        }
    }

    void announce() {
        const std::lock_guard lock(m_worker.m_mutex);
        for (; m_announced < m_worker.m_announcements.size(); ++m_announced) {
            m_connection.publish(m_worker.m_announcements[m_announced]);
        }
    }

    /** True once the broker knows that the camera is offline. */
    bool take_leave(Clock::time_point stop_at) {
        if (!m_offline) {
            if (m_on_its_way && Clock::now() < stop_at - (stop_time - flush_time)) {
                return false;
            }
            m_offline = m_connection.publish(availability_message(m_worker.m_settings, false));
        }
        if (m_connection.is_waiting(*m_offline)) {
            return false;
        }
        m_connection.close();
        return true;
    }

    MqttWorker& m_worker;
    MqttConnection m_connection;
    std::string m_problem;
    bool m_greeted = false;
    int m_online = 0; // the number of the first message
    bool m_worked = false;
    size_t m_announced = 0;
    std::optional<OnItsWay> m_on_its_way;
    std::optional<int> m_offline;
};

MqttWorker::MqttWorker(const MqttSettings& settings)
    : m_settings(settings), m_queue(settings.queue_path, queue_limit), m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

MqttWorker::~MqttWorker() {
    close(m_wake);
}

void MqttWorker::announce(const MqttMessage& message) {
    {
        const std::lock_guard lock(m_mutex);
        if (std::find(m_announcements.begin(), m_announcements.end(), message) != m_announcements.end()) {
            return;
        }
        m_announcements.push_back(message);
    }
    wake();
}

void MqttWorker::enqueue(MqttMessage message) {
    m_queue.push(std::move(message));
    wake();
}

void MqttWorker::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stop_at = Clock::now() + stop_time;
    }
    wake();
}

void MqttWorker::run() {
    std::chrono::milliseconds pause = first_rest;
    while (true) {
        Visit visit(*this);
        if (visit.run()) {
            return;
        }
        m_news.away(visit.problem(), visit.is_distrusted());
        pause = visit.has_worked() ? first_rest : pause;
        if (!rest(pause)) {
            return;
        }
        pause = std::min(pause * 2, longest_rest);
    }
}

void MqttWorker::wake() const {
    const std::uint64_t one = 1;
    static_cast<void>(write(m_wake, &one, sizeof(one)) == 0); // full means that it is awake
}

bool MqttWorker::rest(std::chrono::milliseconds time) {
    const Clock::time_point until = Clock::now() + time;
    while (true) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_stop_at) {
                return false;
            }
        }
        m_queue.tidy();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        if (left <= 0ms) {
            return true;
        }
        pollfd file = {m_wake, POLLIN, 0};
        poll(&file, 1, static_cast<int>(left.count()));
        drain(m_wake);
    }
}

} // namespace host_events
