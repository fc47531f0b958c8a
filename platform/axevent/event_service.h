#pragma once

#include "platform/axevent/key_value_set.h"
#include "platform/axevent/outputs.h"
#include "platform/axevent/topic.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>

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
     * other declaration of the process had before.
     */
    gboolean declare(const void* owner, const KeyValueSet& set, bool stateless, guint& id, GError** error);
    gboolean undeclare(const void* owner, guint id, GError** error);
    gboolean send(const void* owner, guint id, const AXEvent& event, GError** error);
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
    using Declarations = std::map<guint, Declaration>;

    Declarations::iterator find(const void* owner, guint id, GError** error);
    void publish(Occurrence::What what, const Declaration& declaration, const std::string& time);

    const Clock m_clock;
    std::mutex m_mutex; // everything below
    Outputs m_outputs;
    Declarations m_declarations;
};

} // namespace host_events
