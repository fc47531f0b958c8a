#include "platform/axevent/mqtt_connection.h"
#include "tests/platform/axevent/process.h"

#include <gtest/gtest.h>
#include <mosquitto.h>

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
    return eventually(
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

/** A certificate for 127.0.0.1 that vouches for itself, in cert.pem and key.pem. */
void make_certificate(const ScratchDirectory& directory) {
    output_of({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
               "-keyout", directory / "key.pem", "-out", directory / "cert.pem", "-days", "2", "-subj", "/CN=127.0.0.1",
               "-addext", "subjectAltName=IP:127.0.0.1"});
}

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
        const int number = connection.publish({"a/b", "payload"});
        EXPECT_TRUE(step_until(connection, [&] { return !connection.is_waiting(number); }));
        connection.close();
    }
    settings.password = "wrong";
    MqttConnection refused(settings);
    EXPECT_FALSE(comes_up(refused));
    EXPECT_EQ(refused.problem(), "Connection Refused: not authorised.");
}

TEST(MqttConnection, RefusesABrokerThatNobodyVouchesFor) {
    Broker broker("allow_anonymous true\n"
                  "cafile %DIR%cert.pem\ncertfile %DIR%cert.pem\nkeyfile %DIR%key.pem\n");
    make_certificate(broker.directory());
    broker.start();
    const ScratchDirectory elsewhere;
    make_certificate(elsewhere);
    MqttSettings settings = settings_for(broker.port());
    settings.ca_file = elsewhere / "cert.pem";
    MqttConnection connection(settings);
    EXPECT_FALSE(comes_up(connection));
    EXPECT_EQ(connection.problem(), "A TLS error occurred.");
}

} // namespace
