#include "platform/axevent/event_service.h"

#include "base/thread_safety.h"
#include "platform/axevent/failure.h"
#include "platform/axevent/timestamp.h"

#include <atomic>
#include <cstdlib>
#include <utility>

namespace host_events {
namespace {

struct Slot {
    annotated_mutex mutex;
    std::weak_ptr<EventService> service GUARDED_BY(mutex);
};

/** Never destroyed: handlers of the application's process-wide objects outlive every static object made here. */
Slot& slot() {
    static Slot* instance = new Slot;
    return *instance;
}

/** An application that ends without freeing its handler still leaves the broker in order. */
void close_at_exit() {
    const annotated_lock lock(slot().mutex);
    if (const std::shared_ptr<EventService> service = slot().service.lock())
        service->close_outputs();
}

guint next_id() {
    static std::atomic<guint> last{0};
    guint id = 0;
    while (id == 0)
        id = ++last;
    return id;
}

} // namespace

EventService::EventService(Outputs outputs, Clock clock) : m_clock(std::move(clock)), m_outputs(std::move(outputs)) {}

std::shared_ptr<EventService> EventService::acquire() {
    static const int registered = std::atexit(close_at_exit);
    static_cast<void>(registered); // without the hook the broker's own Will does the same, later
    const annotated_lock lock(slot().mutex);
    std::shared_ptr<EventService> service = slot().service.lock();
    if (service == nullptr) {
        service = std::make_shared<EventService>(Outputs::from_environment(), iso_now);
        slot().service = service;
    }
    return service;
}

void EventService::release(std::shared_ptr<EventService> service) {
    // Under the lock, so that the next service begins after the end of this one: both use the same files and broker.
    const annotated_lock lock(slot().mutex);
    service.reset();
}

guint EventService::declare(const void* owner, const KeyValueSet& set, bool stateless) {
    const std::optional<Topic> topic = topic_of(set);
    if (!topic)
        fail(ErrorCode::no_topic,
             "The set to declare needs a topic0, and every topic level is a text that is not empty.");
    const annotated_lock lock(m_mutex);
    const guint id = next_id();
    const Declaration& added = m_declarations[id] = {owner, set, *topic, stateless};
    publish(Occurrence::What::declared, added, m_clock());
    return id;
}

void EventService::undeclare(const void* owner, guint id) {
    const annotated_lock lock(m_mutex);
    publish(Occurrence::What::undeclared, find(owner, id), m_clock());
    m_declarations.erase(id);
}

void EventService::send(const void* owner, guint id, const AXEvent& event) {
    const annotated_lock lock(m_mutex);
    Declaration& declaration = find(owner, id);
    declaration.state.update(event.values);
    publish(Occurrence::What::event, declaration, event.time);
}

void EventService::forget(const void* owner) {
    const annotated_lock lock(m_mutex);
    std::erase_if(m_declarations, [&](const auto& entry) REQUIRES(m_mutex) {
        if (entry.second.owner != owner)
            return false;
        publish(Occurrence::What::undeclared, entry.second, m_clock());
        return true;
    });
}

void EventService::tell(const Problem& problem, bool is_news) {
    const std::lock_guard lock(m_mutex);
    m_outputs.publish(problem, m_clock(), is_news);
}

void EventService::tell_stay(const std::string& stay) {
    const std::lock_guard lock(m_mutex);
    m_outputs.tell_stay(m_clock(), stay);
}

void EventService::close_outputs() {
    const annotated_lock lock(m_mutex);
    m_outputs.close();
}

EventService::Declaration& EventService::find(const void* owner, guint id) {
    const auto found = m_declarations.find(id);
    if (found == m_declarations.end() || found->second.owner != owner)
        fail(ErrorCode::not_declared, "This handler has no declaration " + std::to_string(id) + ".");
    return found->second;
}

void EventService::publish(Occurrence::What what, const Declaration& declaration, const std::string& time) {
    m_outputs.publish({what, time, declaration.topic.path, declaration.topic.last, declaration.topic.nice_name,
                       active_of(declaration.state), !declaration.stateless});
}

void tell_stay(const std::string& stay) {
    const std::lock_guard lock(slot().mutex);
    if (const std::shared_ptr<EventService> service = slot().service.lock())
        service->tell_stay(stay);
}

void tell_problem(const Problem& problem, bool is_news) {
    const std::lock_guard lock(slot().mutex);
    if (const std::shared_ptr<EventService> service = slot().service.lock())
        service->tell(problem, is_news);
}

} // namespace host_events
