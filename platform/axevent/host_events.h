#pragma once

#include <functional>
#include <optional>
#include <string>

namespace host_events {

/** Something that the event service was told. */
struct Occurrence {
    enum class What { declared, event, undeclared };

    What what = What::event;
    std::string time;           // ISO 8601 with milliseconds and zone; for an event, the event's own
    std::string topic;          // "tnsaxis:CameraApplicationPlatform/.../KorvexOrvelFirstAlert"
    std::string id;             // the topic's last level
    std::string nice_name;      // "Korvex Orvel First Alert"
    std::optional<bool> active; // the state after it; nothing for an event that has no such key
    bool stateful = true;       // false: a pulse, which leaves no state behind
};

using Listener = std::function<void(const Occurrence&)>;

/** Something that keeps the camera from seeing or telling what happens, which a host's program has noticed. */
struct Problem {
    std::string kind; // "video": names its sensor
    std::string name; // of the sensor: "No video"
    bool active = false;
    std::string text; // "No video since 08:35"; empty when it is over
};

/**
 * Tells the journal and the broker that a problem has begun, or is over, or (`is_news` false: the broker alone, so that
 * its sensor is there) how it stands at the start. Nothing when the process has no event service. Any thread.
 */
void tell_problem(const Problem& problem, bool is_news = true);

/**
 * Has `listener` called for every occurrence from now on, on the thread that declares or sends and in the order of the
 * journal, before the journal and the broker hear of it. It stands in for the line on stdout. An empty one ends that;
 * when this returns, no call of the former listener is under way. One for the process, any thread; the listener must
 * not call into the event service.
 */
void set_listener(Listener listener);

/**
 * Tells of a stay that has ended, a JSON object on one line: a line of the journal and a message to the broker, which
 * goes the way of the alerts but is not retained. Nothing happens while the application has no event handler. Any
 * thread, not from a listener.
 */
void tell_stay(const std::string& stay);

} // namespace host_events
