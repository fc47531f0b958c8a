#include "host/webhook.h"

#include "base/blocked_signals.h"
#include "host/http_post.h"
#include "platform/axevent/mqtt_queue.h"
#include "platform/axoverlay/priority.h"
#include "platform/common/report.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

namespace console {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using host_events::MqttQueue;

constexpr size_t queue_limit = 10000;
constexpr std::chrono::milliseconds first_rest = 1s;
constexpr std::chrono::milliseconds longest_rest = 60s;
constexpr auto picture_patience = 3s;
constexpr auto picture_look = 100ms;

} // namespace

std::string shown_hook(const std::string& url) {
    const size_t host = url.find("://") + 3;
    const std::string authority = url.substr(host, url.find_first_of("/?#", host) - host);
    const size_t at = authority.rfind('@');
    return url.substr(0, host) + (at == std::string::npos ? authority : authority.substr(at + 1));
}

/** The thread, and what it is handed. The queue's "topic" is the name of the alert's picture. */
class Webhook::Sender {
  public:
    Sender(const WebhookSettings& settings, HasPicture has_picture)
        : m_name("the webhook " + shown_hook(settings.url)), m_has_picture(std::move(has_picture)),
          m_queue(settings.queue_path, queue_limit, "the webhook's queue"), m_post(settings.url, settings.ca_file) {
        const blocked_signals blocked;
        m_thread = std::thread([this] { run(); });
    }

    ~Sender() {
        {
            const std::lock_guard lock(m_lock);
            m_ending = true;
        }
        m_changed.notify_all();
        m_post.stop();
        m_thread.join();
    }

    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    void push(const std::string& picture, const std::string& json) {
        m_queue.push({picture, json});
        m_changed.notify_all();
    }

  private:
    void run() {
        host_overlay::give_way_to_analysis();
        std::chrono::milliseconds pause = first_rest;
        while (const std::optional<MqttQueue::Entry> entry = next()) {
            await_picture(entry->message.topic);
            const PostResult result = m_post.post(entry->message.payload);
            if (result.taken) {
                m_queue.pop(entry->number);
                m_queue.tidy();
                say_back();
                pause = first_rest;
                continue;
            }
            if (ends_within(0ms))
                return;
            say_away(result);
            if (ends_within(pause))
                return;
            pause = std::min(pause * 2, longest_rest);
        }
    }

    /** The oldest alert, when there is one; nothing at the end. */
    std::optional<MqttQueue::Entry> next() {
        std::unique_lock lock(m_lock);
        std::optional<MqttQueue::Entry> entry;
        // Who pushes holds no lock while it tells of it: now and then it is looked for without that.
        while (!m_ending && !(entry = m_queue.front()))
            m_changed.wait_for(lock, 1s);
        return m_ending ? std::nullopt : entry;
    }

    bool ends_within(std::chrono::milliseconds time) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, time, [this] { return m_ending; });
    }

    void await_picture(const std::string& name) {
        const Clock::time_point until = Clock::now() + picture_patience;
        bool waits = !name.empty();
        while (waits && Clock::now() < until)
            waits = !m_has_picture(name) && !ends_within(picture_look);
    }

    /** Each kind once an outage: what the network says of it changes from try to try and means nothing new. */
    void say_away(const PostResult& result) {
        const bool answers = result.problem.starts_with("it answers");
        if (m_said.insert(result.distrusted || answers ? result.problem : "").second) {
            platform::report("webhook",
                             result.distrusted
                                 ? m_name + " is not trusted: " + result.problem + "; alerts wait until it is"
                                 : m_name + " takes no alert (" + result.problem + "); alerts wait for it");
        }
    }

    void say_back() {
        if (!m_said.empty())
            platform::report("webhook", m_name + " takes alerts again");
        m_said.clear();
    }

    const std::string m_name;
    const HasPicture m_has_picture;
    MqttQueue m_queue;
    HttpPost m_post;
    std::set<std::string> m_said; // the thread's own

    std::mutex m_lock; // guards the next one
    bool m_ending = false;
    std::condition_variable m_changed;
    std::thread m_thread;
};

Webhook::Webhook(const WebhookSettings& settings, HasPicture has_picture)
    : m_sender(std::make_unique<Sender>(settings, std::move(has_picture))) {}

Webhook::~Webhook() = default;

void Webhook::push(const std::string& picture, const std::string& json) {
    m_sender->push(picture, json);
}

} // namespace console
