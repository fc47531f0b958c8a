#include "platform/axevent/mqtt_settings.h"
#include "tests/platform/axevent/scratch.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

using host_events::mqtt_settings_from_environment;
using host_events::MqttSettings;

namespace {

using Values = std::map<std::string, std::string>;

std::optional<MqttSettings> read(const Values& values, std::string& problem) {
    std::vector<std::unique_ptr<Variables>> set;
    set.reserve(values.size());
    for (const auto& [name, value] : values)
        set.push_back(std::make_unique<Variables>(name, value));
    return mqtt_settings_from_environment(problem);
}

TEST(MqttSettings, AreNothingWithoutABroker) {
    std::string problem;
    EXPECT_FALSE(read({{"KORVEX_MQTT_USER", "me"}}, problem));
    EXPECT_EQ(problem, "");
}

TEST(MqttSettings, HaveDefaultsForAllButTheAddress) {
    std::string problem;
    const auto settings = read({{"KORVEX_MQTT", "broker.example:1883"}}, problem);
    ASSERT_TRUE(settings) << problem;
    EXPECT_EQ(settings->host, "broker.example");
    EXPECT_EQ(settings->port, 1883);
    EXPECT_EQ(settings->user, "");
    EXPECT_EQ(settings->password, "");
    EXPECT_EQ(settings->ca_file, "");
    EXPECT_EQ(settings->prefix, "korvex_orvel");
    EXPECT_EQ(settings->discovery, "homeassistant");
    EXPECT_EQ(settings->queue_path, "");
}

TEST(MqttSettings, NameTheClientAfterThePrefixAndTheInstallation) {
    const TemporaryFolder first;
    const TemporaryFolder second;
    const auto client_of = [](const std::string& queue) {
        std::string problem;
        const auto settings =
            read({{"KORVEX_MQTT", "broker:1883"}, {"KORVEX_MQTT_PREFIX", "yard/gate"}, {"KORVEX_MQTT_QUEUE", queue}},
                 problem);
        return settings ? settings->client_id : problem;
    };
    const std::string name = client_of(first / "queue");
    EXPECT_EQ(name.size(), std::string("yard_gate-01234567").size());
    EXPECT_EQ(name.substr(0, 10), "yard_gate-");
    EXPECT_EQ(client_of(first / "queue"), name) << "it stays";
    EXPECT_NE(client_of(second / "queue"), name) << "another installation has another one";
    EXPECT_NE(client_of(""), client_of(""));
    std::ofstream(first / "queue.name") << "damaged";
    const std::string anew = client_of(first / "queue");
    EXPECT_NE(anew, name);
    EXPECT_EQ(client_of(first / "queue"), anew);
    EXPECT_EQ(client_of("/no/such/folder/queue").substr(0, 10), "yard_gate-");
}

TEST(MqttSettings, TakeAllVariables) {
    const TemporaryFolder scratch;
    std::ofstream(scratch / "password") << "s3cret with blank \r\n";
    std::ofstream(scratch / "ca.pem") << "certificates";
    std::string problem;
    const auto settings = read({{"KORVEX_MQTT", "[::1]:8883"},
                                {"KORVEX_MQTT_USER", "me"},
                                {"KORVEX_MQTT_PASSWORD_FILE", scratch / "password"},
                                {"KORVEX_MQTT_CA_FILE", scratch / "ca.pem"},
                                {"KORVEX_MQTT_PREFIX", "site/gate"},
                                {"KORVEX_MQTT_DISCOVERY", ""},
                                {"KORVEX_MQTT_QUEUE", "/var/queue"}},
                               problem);
    ASSERT_TRUE(settings) << problem;
    EXPECT_EQ(settings->host, "::1");
    EXPECT_EQ(settings->port, 8883);
    EXPECT_EQ(settings->user, "me");
    EXPECT_EQ(settings->password, "s3cret with blank ");
    EXPECT_EQ(settings->ca_file, scratch / "ca.pem");
    EXPECT_EQ(settings->prefix, "site/gate");
    EXPECT_EQ(settings->discovery, "");
    EXPECT_EQ(settings->queue_path, "/var/queue");
}

TEST(MqttSettings, PutTheQueueBesideTheJournal) {
    std::string problem;
    const auto settings = read({{"KORVEX_MQTT", "a:1"}, {"KORVEX_AXEVENT_JOURNAL", "/data/events.jsonl"}}, problem);
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->queue_path, "/data/events.jsonl.mqtt-queue");
}

TEST(MqttSettings, RefuseWhatIsWrongWithASentence) {
    for (const char* wrong : {"host", "host:", ":1883", "host:0", "host:65536", "host:http", "::1:1883"}) {
        std::string problem;
        EXPECT_FALSE(read({{"KORVEX_MQTT", wrong}}, problem));
        EXPECT_EQ(problem, std::string("KORVEX_MQTT is '") + wrong + "'; it must be HOST:PORT");
    }
    const std::string topics = "KORVEX_MQTT_PREFIX and KORVEX_MQTT_DISCOVERY must be topics without wildcards, with no "
                               "'/' at either end";
    const std::pair<Values, std::string> table[] = {
        {{{"KORVEX_MQTT_PASSWORD_FILE", "/nowhere"}}, "KORVEX_MQTT_PASSWORD_FILE is set, but KORVEX_MQTT_USER is not"},
        {{{"KORVEX_MQTT_USER", "me"}, {"KORVEX_MQTT_PASSWORD_FILE", "/nowhere"}},
         "KORVEX_MQTT_PASSWORD_FILE: cannot read /nowhere"},
        {{{"KORVEX_MQTT_USER", "me"}, {"KORVEX_MQTT_PASSWORD_FILE", "/dev/zero"}},
         "KORVEX_MQTT_PASSWORD_FILE: cannot read /dev/zero"},
        {{{"KORVEX_MQTT_USER", std::string(65536, 'x')}},
         "KORVEX_MQTT_USER and the password must not be longer than 65535 bytes"},
        {{{"KORVEX_MQTT_CA_FILE", "/nowhere"}}, "KORVEX_MQTT_CA_FILE: cannot read /nowhere"},
        {{{"KORVEX_MQTT_PREFIX", "a/#"}}, topics},
        {{{"KORVEX_MQTT_PREFIX", "a+b"}}, topics},
        {{{"KORVEX_MQTT_PREFIX", "/a"}}, topics},
        {{{"KORVEX_MQTT_PREFIX", std::string(1001, 'a')}}, topics},
        {{{"KORVEX_MQTT_PREFIX", "a/"}}, topics},
        {{{"KORVEX_MQTT_PREFIX", "\xff"}}, topics},
        {{{"KORVEX_MQTT_DISCOVERY", "#"}}, topics},
    };
    for (auto [variables, sentence] : table) {
        variables["KORVEX_MQTT"] = "host:1883";
        std::string problem;
        EXPECT_FALSE(read(variables, problem));
        EXPECT_EQ(problem, sentence);
    }
}

TEST(MqttSettings, ShowAPasswordThatLeavesTheMachineWithoutTls) {
    MqttSettings settings;
    settings.password = "secret";
    for (const char* host : {"broker.example", "192.168.1.2", "fe80::1", "localhost.example"}) {
        settings.host = host;
        EXPECT_TRUE(shows_password(settings)) << host;
    }
    settings.ca_file = "ca.pem";
    EXPECT_FALSE(shows_password(settings));
    settings.ca_file = "";
    for (const char* host : {"localhost", "127.0.0.1", "127.1.2.3", "::1"}) {
        settings.host = host;
        EXPECT_FALSE(shows_password(settings)) << host;
    }
    settings.host = "broker.example";
    settings.password = "";
    EXPECT_FALSE(shows_password(settings));
}

} // namespace
