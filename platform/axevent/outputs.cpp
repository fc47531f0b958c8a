#include "platform/axevent/outputs.h"

#include "base/thread_safety.h"
#include "platform/axevent/failure.h"
#include "platform/common/settings.h"

#include <cstdio>
#include <utility>

namespace host_events {
namespace {

using platform::environment;

constexpr std::uint64_t default_journal_bytes = 1 << 20;
constexpr std::uint64_t default_journal_files = 3;
constexpr std::uint64_t most_journal_files = 1000;

struct Slot {
    annotated_mutex mutex;
    Listener listener GUARDED_BY(mutex);
};

/** Never destroyed: the application's own process-wide objects send their last events while the process ends. */
Slot& slot() {
    static Slot* instance = new Slot;
    return *instance;
}

const char* verb(const Occurrence& occurrence) {
    if (occurrence.what != Occurrence::What::event)
        return occurrence.what == Occurrence::What::declared ? "declared" : "undeclared";
    return !occurrence.active ? "sent" : *occurrence.active ? "started" : "stopped";
}

/** The default when it is not set, and with a message when it is no number of that range. */
std::uint64_t environment_number(const char* name, std::uint64_t otherwise, std::uint64_t least, std::uint64_t most) {
    const std::string text = environment(name);
    const auto number = platform::parse_number(text, least, most);
    if (!number && !text.empty())
        complain(std::string(name) + " is '" + text + "', which is no number from " + std::to_string(least) + " to " +
                 std::to_string(most) + "; " + std::to_string(otherwise) + " is used");
    return number.value_or(otherwise);
}

} // namespace

void set_listener(Listener listener) {
    const annotated_lock lock(slot().mutex);
    slot().listener = std::move(listener);
}

bool tell_listener(const Occurrence& occurrence) {
    const annotated_lock lock(slot().mutex);
    if (!slot().listener)
        return false;
    slot().listener(occurrence);
    return true;
}

std::string console_line(const Occurrence& occurrence) {
    return occurrence.time + " " + occurrence.nice_name + ": " + verb(occurrence);
}

Outputs Outputs::from_environment() {
    Outputs outputs;
    const std::string journal = environment("KORVEX_AXEVENT_JOURNAL");
    if (!journal.empty()) {
        const auto bytes = environment_number("KORVEX_AXEVENT_JOURNAL_BYTES", default_journal_bytes, 1, G_MAXINT64);
        const auto files =
            environment_number("KORVEX_AXEVENT_JOURNAL_FILES", default_journal_files, 0, most_journal_files);
        outputs.m_journal.emplace(journal, bytes, static_cast<unsigned>(files));
    }
    outputs.m_console = environment("KORVEX_AXEVENT_CONSOLE") == "1";
    std::string problem;
    const std::optional<MqttSettings> settings = mqtt_settings_from_environment(problem);
    if (!problem.empty())
        complain(problem + "; events do not go to a broker");
    if (!settings)
        return outputs;
    if (shows_password(*settings))
        complain("the password for the broker " + settings->host +
                 " goes through the network for everybody to read; KORVEX_MQTT_CA_FILE (--mqtt-ca) turns TLS on");
    outputs.m_mqtt = std::make_unique<MqttPublisher>(*settings);
    return outputs;
}

void Outputs::publish(const Occurrence& occurrence) {
    // First: it may have to put down what the others then tell of.
    if (!tell_listener(occurrence) && m_console) {
        std::fprintf(stdout, "%s\n", console_line(occurrence).c_str());
        std::fflush(stdout);
    }
    if (m_journal)
        m_journal->write(journal_line(occurrence));
    if (m_mqtt)
        m_mqtt->publish(occurrence);
}

void Outputs::publish(const Problem& problem, const std::string& time, bool is_news) {
    if (m_journal && is_news)
        m_journal->write(journal_line(problem, time));
    if (m_mqtt)
        m_mqtt->publish(problem, time);
}

void Outputs::tell_stay(const std::string& time, const std::string& stay) {
    if (m_journal)
        m_journal->write(stay_line(time, stay));
    if (m_mqtt)
        m_mqtt->tell_stay(stay);
}

} // namespace host_events
