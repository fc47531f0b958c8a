// The whole way from the C interface to a subscriber.
#include "platform/axevent/mqtt_publisher.h"
#include "platform/axevent/mqtt_queue.h"
#include "tests/platform/axevent/alerts.h"
#include "tests/platform/axevent/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <set>

using host_events::MqttQueue;
using testing::ElementsAre;

namespace {

constexpr const char* names[] = {"Korvex Orvel First Alert", "Korvex Orvel Second Alert", "Korvex Orvel Third Alert"};
constexpr const char* keys[] = {"KorvexOrvelFirstAlert", "KorvexOrvelSecondAlert", "KorvexOrvelThirdAlert"};
constexpr size_t any_limit = 10000;

/** The application's side: a handler with the three alerts, and the variables that it reads. */
class Application {
  public:
    explicit Application(const std::string& address)
        : m_address("KORVEX_MQTT", address), m_queue("KORVEX_MQTT_QUEUE", queue_path()), m_handler(new_handler()) {
        for (size_t number = 0; number < std::size(names); ++number)
            m_ids.push_back(declare(m_handler, alert_set(keys[number], names[number])));
    }

    bool set(size_t alert, bool active) { return send(m_handler, m_ids[alert], active); }
    std::string queue_path() const { return m_scratch / "queue"; }

  private:
    TemporaryFolder m_scratch;
    Variables m_address;
    Variables m_queue;
    Handler m_handler;
    std::vector<guint> m_ids;
};

const std::vector<std::string> all_off = {"KorvexOrvelFirstAlert OFF", "KorvexOrvelSecondAlert OFF",
                                          "KorvexOrvelThirdAlert OFF"};

TEST(MqttPublisher, BringsSixChangesInOrderAndLeavesTheStates) {
    Broker broker;
    broker.start();
    Watcher watcher(broker);
    {
        Application application(broker.address());
        EXPECT_EQ(watcher.states(3), all_off);
        for (const bool active : {true, false}) {
            for (size_t alert = 0; alert < 3; ++alert)
                EXPECT_TRUE(application.set(alert, active));
        }
        EXPECT_THAT(watcher.states(6), ElementsAre("KorvexOrvelFirstAlert ON", "KorvexOrvelSecondAlert ON",
                                                   "KorvexOrvelThirdAlert ON", "KorvexOrvelFirstAlert OFF",
                                                   "KorvexOrvelSecondAlert OFF", "KorvexOrvelThirdAlert OFF"));
        EXPECT_TRUE(application.set(1, true));
        EXPECT_EQ(watcher.state(), "KorvexOrvelSecondAlert ON");
        EXPECT_EQ(broker.retained("korvex_orvel/availability", 1),
                  std::vector<std::string>{"korvex_orvel/availability online"});
        const std::vector<std::string> states = broker.retained("korvex_orvel/+/state", 3);
        ASSERT_EQ(states.size(), 3U);
        for (const std::string& state : states)
            EXPECT_EQ(state.find("SecondAlert") != std::string::npos, state.find("\"ON\"") != std::string::npos)
                << state;
    }
    EXPECT_EQ(watcher.message(), "korvex_orvel/availability offline");
}

TEST(MqttPublisher, DescribesTheAlertsForDiscovery) {
    Broker broker;
    broker.start();
    const Application application(broker.address());
    const std::vector<std::string> messages = broker.retained("homeassistant/#", 3);
    ASSERT_EQ(messages.size(), 3U);
    std::set<std::string> alerts;
    for (const std::string& message : messages) {
        const std::string payload = message.substr(message.find(' ') + 1);
        g_autoptr(JsonNode) root = json_from_string(payload.c_str(), nullptr);
        ASSERT_NE(root, nullptr) << payload;
        JsonObject* object = json_node_get_object(root);
        alerts.insert(json_object_get_string_member(object, "name"));
        EXPECT_EQ(broker.retained(json_object_get_string_member(object, "state_topic"), 1).size(), 1U);
        EXPECT_EQ(broker.retained(json_object_get_string_member(object, "availability_topic"), 1).size(), 1U);
        JsonObject* device = json_object_get_object_member(object, "device");
        EXPECT_STREQ(json_object_get_string_member(device, "name"), "Korvex Orvel");
    }
    EXPECT_EQ(alerts, (std::set<std::string>{"First Alert", "Second Alert", "Third Alert"}));
}

TEST(MqttPublisher, TwoWithOnePrefixHearOfEachOther) {
    Broker broker;
    broker.start();
    host_events::MqttSettings settings;
    const std::string address = broker.address();
    settings.host = address.substr(0, address.rfind(':'));
    settings.port = std::stoi(address.substr(address.rfind(':') + 1));
    settings.client_id = "korvex_orvel-11111111";
    Watcher watcher(broker);
    testing::internal::CaptureStderr();
    {
        const host_events::MqttPublisher first(settings);
        EXPECT_TRUE(watcher.hears("korvex_orvel/instance korvex_orvel-11111111"));
        settings.client_id = "korvex_orvel-22222222";
        const host_events::MqttPublisher second(settings);
        EXPECT_TRUE(watcher.hears("korvex_orvel/instance korvex_orvel-22222222"));
        EXPECT_TRUE(watcher.hears("korvex_orvel/instance korvex_orvel-11111111")) << "for who has just come";
        EXPECT_TRUE(watcher.hears("korvex_orvel/instance korvex_orvel-22222222"));
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, testing::HasSubstr("another camera, korvex_orvel-22222222, tells the broker"));
    EXPECT_THAT(said, testing::HasSubstr("another camera, korvex_orvel-11111111, tells the broker"));
}

TEST(MqttPublisher, LosesNothingWhileTheBrokerIsAway) {
    Broker broker;
    broker.start();
    Watcher watcher(broker);
    Application application(broker.address());
    EXPECT_TRUE(application.set(0, true));
    EXPECT_EQ(watcher.states(3), all_off);
    EXPECT_EQ(watcher.state(), "KorvexOrvelFirstAlert ON");

    broker.stop();
    EXPECT_TRUE(application.set(1, true));
    EXPECT_TRUE(application.set(2, true));
    EXPECT_TRUE(application.set(2, false));
    EXPECT_TRUE(application.set(1, false));
    EXPECT_TRUE(application.set(0, false));
    EXPECT_EQ(MqttQueue(application.queue_path(), any_limit).size(), 5U);
    broker.start();

    EXPECT_THAT(watcher.new_states(5),
                ElementsAre("KorvexOrvelSecondAlert ON", "KorvexOrvelThirdAlert ON", "KorvexOrvelThirdAlert OFF",
                            "KorvexOrvelSecondAlert OFF", "KorvexOrvelFirstAlert OFF"));
    EXPECT_TRUE(becomes_true([&] { return MqttQueue(application.queue_path(), any_limit).size() == 0; }));
}

/** Answers no connection, or takes it and never says a word: in both cases sending returns, and the file holds it. */
TEST(MqttPublisher, SendsWithoutWaitingForABrokerThatIsAway) {
    for (const bool takes_connections : {false, true}) {
        const int silent = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        ASSERT_EQ(bind(silent, reinterpret_cast<const sockaddr*>(&address), size), 0);
        ASSERT_EQ(getsockname(silent, reinterpret_cast<sockaddr*>(&address), &size), 0);
        if (takes_connections) {
            ASSERT_EQ(listen(silent, 5), 0);
        }
        Application application("127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
        constexpr int changes = 200;
        for (int change = 0; change < changes; ++change)
            EXPECT_TRUE(application.set(0, change % 2 == 0));
        EXPECT_EQ(MqttQueue(application.queue_path(), any_limit).size(), size_t{changes + 3});
        close(silent);
    }
}

std::set<std::string> threads() {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        all.insert(entry.path().string());
    return all;
}

/** Signal number n is bit n - 1 of the mask, as in /proc/self/task/.../status. */
bool blocks(const std::string& thread, int signal) {
    for (const std::string& line : lines(thread + "/status")) {
        if (line.starts_with("SigBlk:"))
            return ((std::stoull(line.substr(line.find('\t') + 1), nullptr, 16) >> (signal - 1)) & 1U) != 0;
    }
    return false;
}

TEST(MqttPublisher, RunsOnAThreadThatTakesNoSignalsAndEndsWithTheHandler) {
    Broker broker;
    broker.start();
    const std::set<std::string> before = threads();
    {
        const Application application(broker.address());
        int added = 0;
        for (const std::string& thread : threads()) {
            if (!before.contains(thread)) {
                ++added;
                for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGPIPE, SIGCHLD})
                    EXPECT_TRUE(blocks(thread, signal)) << signal;
            }
        }
        EXPECT_EQ(added, 1);
    }
    // A joined thread may stand in the list a moment longer.
    EXPECT_TRUE(becomes_true([&] { return threads() == before; }));
}

TEST(MqttPublisher, LeavesAWillForAProcessThatIsKilled) {
    Broker broker;
    broker.start();
    Watcher watcher(broker);
    const Variables address("KORVEX_MQTT", broker.address());
    Process sender({ALERT_SENDER});
    EXPECT_EQ(watcher.message(), "korvex_orvel/availability online");
    EXPECT_EQ(watcher.states(2), (std::vector<std::string>{"KorvexOrvelFirstAlert OFF", "KorvexOrvelFirstAlert ON"}));
    sender.end(SIGKILL);
    EXPECT_EQ(watcher.message(), "korvex_orvel/availability offline");
}

TEST(MqttPublisher, TakesLeaveForAProcessThatFreesNothing) {
    Broker broker("allow_anonymous true\nlog_dest file %DIR%log\nlog_type all\n");
    broker.start();
    Watcher watcher(broker);
    const Variables address("KORVEX_MQTT", broker.address());
    Process sender({ALERT_SENDER, "end"});
    EXPECT_EQ(sender.wait(), 0);
    std::string last;
    while (const std::optional<std::string> news = watcher.message()) {
        last = *news;
        if (last == "korvex_orvel/availability offline")
            break;
    }
    EXPECT_EQ(last, "korvex_orvel/availability offline");
    EXPECT_TRUE(becomes_true([&] {
        return content(broker.directory() / "log").find("Received DISCONNECT from korvex_orvel") != std::string::npos;
    }));
}

} // namespace
