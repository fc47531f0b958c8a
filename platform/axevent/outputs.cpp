#include "platform/axevent/outputs.h"

#include "platform/axevent/complain.h"
#include "platform/axevent/environment.h"
#include "platform/axevent/listener.h"

#include <cstdio>

namespace host_events {
namespace {

constexpr std::uint64_t default_journal_bytes = 1 << 20;
constexpr std::uint64_t default_journal_files = 3;
constexpr std::uint64_t most_journal_files = 1000;

} // namespace

Outputs Outputs::from_environment() {
    Outputs outputs;
    const std::string journal = environment("KORVEX_AXEVENT_JOURNAL");
    if (!journal.empty()) {
        outputs.m_journal.emplace(
            journal, environment_number("KORVEX_AXEVENT_JOURNAL_BYTES", default_journal_bytes, 1, G_MAXINT64),
            static_cast<unsigned>(
                environment_number("KORVEX_AXEVENT_JOURNAL_FILES", default_journal_files, 0, most_journal_files)));
    }
    outputs.m_console = environment("KORVEX_AXEVENT_CONSOLE") == "1";
    std::string problem;
    const std::optional<MqttSettings> settings = mqtt_settings_from_environment(problem);
    if (settings) {
        if (shows_password(*settings)) {
            complain("the password for the broker " + settings->host +
                     " goes through the network for everybody to read; KORVEX_MQTT_CA_FILE (--mqtt-ca) turns TLS on");
        }
        outputs.m_mqtt = std::make_unique<MqttPublisher>(*settings);
    } else if (!problem.empty()) {
        complain(problem + "; events do not go to a broker");
    }
    return outputs;
}

void Outputs::publish(const Occurrence& occurrence) {
    if (m_journal) {
        m_journal->write(journal_line(occurrence));
    }
    if (!tell_listener(occurrence) && m_console) {
        std::fprintf(stdout, "%s\n", console_line(occurrence).c_str());
        std::fflush(stdout);
    }
    if (m_mqtt) {
        m_mqtt->publish(occurrence);
    }
}

} // namespace host_events
