#pragma once

#include "base/thread_safety.h"
#include "platform/axevent/key_value_set.h"
#include "platform/axevent/outputs.h"
#include "platform/axevent/topic.h"

#include <functional>
#include <map>
#include <memory>

namespace host_events {

/**
 * The declarations of a process and their outputs. Any thread; the order in which calls return on one thread is the
 * order in every output.
 */
class EventService {
  public:
    using Clock = std::function<std::string()>;

    /** `clock` dates declarations, which carry no time of their own. */
    EventService(Outputs outputs, Clock clock);

    /** The process's one service, made from the environment by the first owner and gone with the last. */
    static std::shared_ptr<EventService> acquire();
    /** Gives it back; the last one ends the outputs before this returns. */
    static void release(std::shared_ptr<EventService> service);

    /**
     * An owner is any address; only it may send on or end its declarations. Gives an id that is never 0 and that no
     * other declaration of the process had before. These three throw a Failure.
     */
    guint declare(const void* owner, const KeyValueSet& set, bool stateless);
    void undeclare(const void* owner, guint id);
    void send(const void* owner, guint id, const AXEvent& event);
    void tell(const Problem& problem, bool is_news);
    /** Ends all declarations of an owner. */
    void forget(const void* owner);

    /** Tells the outputs of a stay, a JSON object. */
    void tell_stay(const std::string& stay);

    void close_outputs();

  private:
    struct Declaration {
        const void* owner = nullptr;
        KeyValueSet state;
        Topic topic;
        bool stateless = false;
    };

    Declaration& find(const void* owner, guint id) REQUIRES(m_mutex);
    void publish(Occurrence::What what, const Declaration& declaration, const std::string& time) REQUIRES(m_mutex);

    const Clock m_clock;
    annotated_mutex m_mutex;
    Outputs m_outputs GUARDED_BY(m_mutex);
    std::map<guint, Declaration> m_declarations GUARDED_BY(m_mutex);
};

} // namespace host_events
