#include "platform/axevent/mqtt_connection.h"
#include "tests/platform/axevent/fake_broker.h"
#include "tests/platform/axevent/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using host_events::MqttConnection;
using host_events::MqttSettings;

namespace {

MqttSettings settings_for(int port) {
    MqttSettings settings;
    settings.host = "127.0.0.1";
    settings.port = port;
    return settings;
}

/** Steps until `condition` holds; false when the connection is lost or nothing happens. */
bool step_until(MqttConnection& connection, const std::function<bool()>& condition) {
    constexpr int nothing_to_wake = -1; // poll passes it over
    return becomes_true(
               [&] { return condition() || !connection.step(nothing_to_wake, std::chrono::milliseconds(20)); }) &&
           condition();
}

bool comes_up(MqttConnection& connection) {
    return connection.start() && step_until(connection, [&] { return connection.is_ready(); });
}

TEST(MqttConnection, PublishesAndHearsTheConfirmation) {
    Broker broker;
    broker.start();
    MqttConnection connection(settings_for(broker.port()));
    ASSERT_TRUE(comes_up(connection)) << connection.problem();
    const int number = connection.publish({"a/b", "payload"});
    EXPECT_TRUE(connection.is_waiting(number));
    EXPECT_TRUE(step_until(connection, [&] { return !connection.is_waiting(number); }));
    EXPECT_EQ(broker.retained("#", 1), std::vector<std::string>{"a/b payload"});
}

TEST(MqttConnection, LeavesNothingBehindOfWhatIsNotRetained) {
    Broker broker;
    broker.start();
    MqttConnection connection(settings_for(broker.port()));
    ASSERT_TRUE(comes_up(connection)) << connection.problem();
    connection.publish({"a/passing", "gone", false});
    const int number = connection.publish({"a/b", "payload"});
    EXPECT_TRUE(step_until(connection, [&] { return !connection.is_waiting(number); }));
    EXPECT_EQ(broker.retained("#", 1), std::vector<std::string>{"a/b payload"});
}

TEST(MqttConnection, SaysWhyThereIsNone) {
    MqttConnection connection(settings_for(free_port()));
    EXPECT_FALSE(comes_up(connection));
    EXPECT_EQ(connection.problem(), "Connection refused");
}

TEST(MqttConnection, SaysThatTheBrokerHasGone) {
    Broker broker;
    broker.start();
    MqttConnection connection(settings_for(broker.port()));
    ASSERT_TRUE(comes_up(connection)) << connection.problem();
    broker.stop();
    EXPECT_FALSE(step_until(connection, [] { return false; }));
    EXPECT_EQ(connection.problem(), "The connection was lost.");
}

/** What becomes of a connection to a broker that behaves so. */
std::string problem_with(const std::function<void(const FakeBroker::Client&)>& serve) {
    const FakeBroker broker(serve);
    MqttConnection connection(settings_for(broker.port()));
    EXPECT_TRUE(connection.start()) << connection.problem();
    EXPECT_FALSE(step_until(connection, [] { return false; }));
    return connection.problem();
}

TEST(MqttConnection, TakesNoMoreThan64KiBFromABroker) {
    size_t taken = 0;
    EXPECT_EQ(problem_with([&](const FakeBroker::Client& client) {
                  client.packet();
                  client.send(FakeBroker::accepted + "\x30\x80\x80\x80\x64");
                  const std::string part(1 << 16, 'x');
                  while (taken < 200 * part.size() * 16 && client.send(part))
                      taken += part.size();
              }),
              "it sends what nobody asked for");
    // What the two sockets hold, and no more of 200 MiB.
    EXPECT_LT(taken, size_t{100} << 20);
    EXPECT_EQ(problem_with([](const FakeBroker::Client& client) {
                  client.packet();
                  client.send(FakeBroker::accepted);
                  while (client.send(std::string("\x30\x06\x00\x01"
                                                 "axyz",
                                                 8))) {
                  }
              }),
              "it sends what nobody asked for");
}

TEST(MqttConnection, PutsUpWithALittleThatNobodyAskedFor) {
    const FakeBroker broker([](const FakeBroker::Client& client) {
        client.packet();
        client.send(FakeBroker::accepted);
        const std::string publish = client.packet();
        client.send(std::string("\x30\x06\x00\x01", 4) + "a" + "xyz");
        client.send(std::string("\x40\x02\x77\x77", 4));
        client.send(std::string("\x40\x02\x00\x01", 4));
        client.packet();
    });
    MqttConnection connection(settings_for(broker.port()));
    ASSERT_TRUE(comes_up(connection)) << connection.problem();
    const int number = connection.publish({"a", "b"});
    EXPECT_TRUE(step_until(connection, [&] { return !connection.is_waiting(number); })) << connection.problem();
}

TEST(MqttConnection, CountsWhatNobodyAskedForFromTheLastConfirmation) {
    constexpr char times = 3;
    const FakeBroker broker([](const FakeBroker::Client& client) {
        client.packet();
        client.send(FakeBroker::accepted);
        for (char number = 1; number <= times; ++number) {
            client.packet();
            client.send(std::string("\x30\xc0\xb8\x02\x00\x01"
                                    "a",
                                    7) +
                        std::string(40000 - 3, 'x'));
            client.send(std::string("\x40\x02\x00", 3) + number);
        }
        client.packet();
    });
    MqttConnection connection(settings_for(broker.port()));
    ASSERT_TRUE(comes_up(connection)) << connection.problem();
    for (char count = 0; count < times; ++count) {
        const int number = connection.publish({"a", "b"});
        EXPECT_TRUE(step_until(connection, [&] { return !connection.is_waiting(number); })) << connection.problem();
    }
}

TEST(MqttConnection, SaysThatItIsNoBroker) {
    for (const std::string& answer : {std::string("SSH-2.0-server\r\n"), std::string("\xff\xff\xff\xff\xff\xff")}) {
        EXPECT_EQ(problem_with([&](const FakeBroker::Client& client) {
                      client.packet();
                      client.send(answer + std::string(200, ' '));
                      client.packet();
                  }),
                  "it does not speak MQTT");
    }
    EXPECT_EQ(problem_with([](const FakeBroker::Client&) {}), "The connection was lost.");
}

/** A certificate for `name` that vouches for itself, in cert.pem and key.pem. */
void make_certificate(const TemporaryFolder& directory, const std::string& name = "IP:127.0.0.1", int days = 2) {
    output_of({"openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout",
               directory / "key.pem", "-out", directory / "request.pem", "-subj", "/CN=camera"});
    std::ofstream(directory / "names") << "subjectAltName=" << name << "\nbasicConstraints=CA:TRUE\n";
    output_of({"openssl", "x509", "-req", "-in", directory / "request.pem", "-signkey", directory / "key.pem", "-days",
               std::to_string(days), "-extfile", directory / "names", "-out", directory / "cert.pem"});
}

constexpr const char* with_tls = "allow_anonymous true\n"
                                 "cafile %DIR%cert.pem\ncertfile %DIR%cert.pem\nkeyfile %DIR%key.pem\n";

TEST(MqttConnection, GoesOverTlsWithUserAndPassword) {
    Broker broker("allow_anonymous false\npassword_file %DIR%passwords\n"
                  "cafile %DIR%cert.pem\ncertfile %DIR%cert.pem\nkeyfile %DIR%key.pem\n");
    make_certificate(broker.directory());
    output_of({"mosquitto_passwd", "-b", "-c", broker.directory() / "passwords", "me", "secret"});
    broker.start();
    MqttSettings settings = settings_for(broker.port());
    settings.ca_file = broker.directory() / "cert.pem";
    settings.user = "me";
    settings.password = "secret";
    {
        MqttConnection connection(settings);
        ASSERT_TRUE(comes_up(connection)) << connection.problem();
        // Longer than a record of TLS, and than what the sockets take at once.
        const int number = connection.publish({"a/b", std::string(5 << 20, 'x')});
        EXPECT_TRUE(step_until(connection, [&] { return !connection.is_waiting(number); })) << connection.problem();
        connection.close();
    }
    settings.password = "wrong";
    MqttConnection refused(settings);
    EXPECT_FALSE(comes_up(refused));
    EXPECT_EQ(refused.problem(), "Connection Refused: not authorised.");
    EXPECT_FALSE(refused.is_distrusted());
}

/** What is wrong with a broker's certificate; "fits" when nothing is. */
std::string distrust(const std::string& name, int days, const std::string& host = "127.0.0.1") {
    Broker broker(with_tls);
    make_certificate(broker.directory(), name, days);
    broker.start();
    MqttSettings settings = settings_for(broker.port());
    settings.host = host;
    settings.ca_file = broker.directory() / "cert.pem";
    MqttConnection connection(settings);
    if (comes_up(connection))
        return "fits";
    EXPECT_TRUE(connection.is_distrusted()) << connection.problem();
    return connection.problem();
}

TEST(MqttConnection, SaysWhatIsWrongWithTheBrokersCertificate) {
    EXPECT_EQ(distrust("IP:127.0.0.1", 2), "fits");
    EXPECT_EQ(distrust("DNS:localhost", 2, "localhost"), "fits");
    EXPECT_EQ(distrust("IP:127.0.0.2", 2), "its certificate is for another name than 127.0.0.1");
    EXPECT_EQ(distrust("DNS:broker.example", 2, "localhost"), "its certificate is for another name than localhost");
    EXPECT_THAT(distrust("IP:127.0.0.1", -1), testing::MatchesRegex("its certificate expired on 20..-..-.."));
}

TEST(MqttConnection, RefusesABrokerThatNobodyVouchesFor) {
    Broker broker(with_tls);
    make_certificate(broker.directory());
    broker.start();
    const TemporaryFolder elsewhere;
    make_certificate(elsewhere);
    MqttSettings settings = settings_for(broker.port());
    settings.ca_file = elsewhere / "cert.pem";
    MqttConnection connection(settings);
    EXPECT_FALSE(comes_up(connection));
    EXPECT_EQ(connection.problem(), "no certificate in " + settings.ca_file + " vouches for it");
    EXPECT_TRUE(connection.is_distrusted());

    std::ofstream(settings.ca_file) << "no certificate\n";
    MqttConnection without(settings);
    EXPECT_FALSE(comes_up(without));
    EXPECT_EQ(without.problem(), settings.ca_file + " has no certificate that could vouch for it");
}

TEST(MqttConnection, SaysThatABrokerSpeaksNoTls) {
    Broker broker;
    broker.start();
    const TemporaryFolder scratch;
    make_certificate(scratch);
    MqttSettings settings = settings_for(broker.port());
    settings.ca_file = scratch / "cert.pem";
    MqttConnection connection(settings);
    EXPECT_FALSE(comes_up(connection));
    EXPECT_EQ(connection.problem(), "The connection was lost.");
    EXPECT_FALSE(connection.is_distrusted());
    const FakeBroker talking([](const FakeBroker::Client& client) {
        client.send("220 mail server\r\n");
        client.packet();
    });
    settings.port = talking.port();
    MqttConnection other(settings);
    EXPECT_FALSE(comes_up(other));
    EXPECT_EQ(other.problem(), "it does not speak TLS at this port");
}

TEST(MqttConnection, GoesOnToTheNextAddressOfAName) {
    Broker broker; // on 127.0.0.1 alone
    broker.start();
    MqttSettings settings = settings_for(broker.port());
    settings.host = "localhost";
    MqttConnection connection(settings);
    EXPECT_TRUE(comes_up(connection)) << connection.problem();
}

TEST(MqttConnection, SaysThatANameMeansNothing) {
    MqttSettings settings = settings_for(1883);
    settings.host = "no host has this name";
    MqttConnection connection(settings);
    EXPECT_FALSE(comes_up(connection));
    EXPECT_EQ(connection.problem(), "Name or service not known");
}

} // namespace
