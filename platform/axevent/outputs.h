#pragma once

#include "platform/axevent/host_events.h"
#include "platform/axevent/journal.h"
#include "platform/axevent/mqtt_publisher.h"

#include <memory>
#include <optional>

namespace host_events {

/** Calls the listener; false when there is none. */
bool tell_listener(const Occurrence& occurrence);

/** The line for a person: "<time> <nice name>: started", or declared, stopped, sent, undeclared. No newline. */
std::string console_line(const Occurrence& occurrence);

/**
 * Where occurrences go: journal, listener or console, broker, each as its environment variables say (README.md).
 * A bad variable is said on stderr and its output does without it.
 */
class Outputs {
  public:
    static Outputs from_environment();

    /**
     * Costs a short write to each file; never waits for the broker. One call at a time: their order is the order of
     * every output.
     */
    void publish(const Occurrence& occurrence);

    void publish(const Problem& problem, const std::string& time, bool is_news);
    /** What host_events.h tells of a stay. */
    void tell_stay(const std::string& time, const std::string& stay);

    /** Ends the broker's part: the camera goes offline there. Takes at most a third of a second. */
    void close() { m_mqtt.reset(); }

  private:
    std::optional<Journal> m_journal;
    std::unique_ptr<MqttPublisher> m_mqtt;
    bool m_console = false;
};

} // namespace host_events
