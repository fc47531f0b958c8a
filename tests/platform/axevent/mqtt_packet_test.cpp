#include "platform/axevent/mqtt_packet.h"

#include <gtest/gtest.h>

using namespace host_events;

namespace {

std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values) {
        text += static_cast<char>(value);
    }
    return text;
}

MqttSettings settings_of(const std::string& user, const std::string& password) {
    MqttSettings settings;
    settings.prefix = "a/b";
    settings.user = user;
    settings.password = password;
    return settings;
}

TEST(MqttPacket, OpensACleanSessionWithARetainedWill) {
    const MqttMessage will = {"w", "off"};
    const std::string begin = bytes({0, 4}) + "MQTT" + bytes({4});
    const std::string rest = bytes({0, 20, 0, 3}) + "a_b" + bytes({0, 1}) + "w" + bytes({0, 3}) + "off";
    EXPECT_EQ(connect_packet(settings_of("", ""), will, 20), bytes({0x10, 23}) + begin + bytes({0x2e}) + rest);
    EXPECT_EQ(connect_packet(settings_of("", "unused"), will, 20), bytes({0x10, 23}) + begin + bytes({0x2e}) + rest);
    EXPECT_EQ(connect_packet(settings_of("me", ""), will, 20),
              bytes({0x10, 27}) + begin + bytes({0xae}) + rest + bytes({0, 2}) + "me");
    EXPECT_EQ(connect_packet(settings_of("me", "pass"), will, 20),
              bytes({0x10, 33}) + begin + bytes({0xee}) + rest + bytes({0, 2}) + "me" + bytes({0, 4}) + "pass");
}

TEST(MqttPacket, PublishesRetainedAndToBeConfirmed) {
    EXPECT_EQ(publish_packet({"a/b", "xyz"}, 0x1234), bytes({0x33, 10, 0, 3}) + "a/b" + bytes({0x12, 0x34}) + "xyz");
    const std::string payload(200, 'p');
    EXPECT_EQ(publish_packet({"t", payload}, 1), bytes({0x33, 0xcd, 0x01, 0, 1}) + "t" + bytes({0, 1}) + payload);
    EXPECT_EQ(publish_packet({"t", std::string(16384 - 5, 'p')}, 1).substr(0, 5), bytes({0x33, 0x80, 0x80, 0x01, 0}));
    EXPECT_EQ(ping_packet(), bytes({0xc0, 0}));
    EXPECT_EQ(disconnect_packet(), bytes({0xe0, 0}));
}

TEST(MqttPacket, KnowsWhatNoBrokerCanBeSent) {
    for (const std::string& topic : {std::string("a"), std::string("a/b c/\xc3\xbc"), std::string(65535, 'x')}) {
        EXPECT_EQ(why_unsendable({topic, ""}), "") << topic;
    }
    for (const std::string& topic : {std::string(), std::string("a/#"), std::string("+"), std::string("\xff"),
                                     std::string("a\0b", 3), std::string(65536, 'x')}) {
        EXPECT_EQ(why_unsendable({topic, ""}), "its topic is none that can be published to") << topic;
    }
    EXPECT_EQ(why_unsendable({"a", std::string(268435456, 'x')}), "it is too long");
}

TEST(MqttPacket, IsTakenWhole) {
    std::string received;
    std::string problem;
    for (const char byte : bytes({0x20, 2, 0, 5})) {
        EXPECT_FALSE(take_packet(received, problem));
        received += byte;
    }
    received += bytes({0x40, 2, 0x12, 0x34, 0xd0, 0, 0x30, 0x80, 0x01}) + std::string(127, 'x');
    const auto connection = take_packet(received, problem);
    ASSERT_TRUE(connection);
    EXPECT_EQ(connection->type, MqttPacket::Type::connection_answer);
    EXPECT_EQ(connection->refusal(), 5);
    const auto publish = take_packet(received, problem);
    ASSERT_TRUE(publish);
    EXPECT_EQ(publish->type, MqttPacket::Type::publish_answer);
    EXPECT_EQ(publish->number(), 0x1234);
    const auto ping = take_packet(received, problem);
    ASSERT_TRUE(ping);
    EXPECT_EQ(ping->type, MqttPacket::Type::ping_answer);
    EXPECT_EQ(ping->number(), 0);
    EXPECT_FALSE(take_packet(received, problem)) << "a byte is missing";
    received += "x";
    const auto other = take_packet(received, problem);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->body.size(), 128U);
    EXPECT_EQ(received, "");
    EXPECT_EQ(problem, "");
}

TEST(MqttPacket, IsRefusedByItsFirstBytesWhenItIsTooLong) {
    const struct {
        std::string begin;
        std::string problem;
    } cases[] = {
        {bytes({0x30, 0x80, 0x80, 0x04}), ""},
        {bytes({0x30, 0x81, 0x80, 0x04}), "it sends 65537 bytes at once; 65536 are the most"},
        {bytes({0x30, 0xff, 0xff, 0xff, 0x7f}), "it sends 268435455 bytes at once; 65536 are the most"},
        {bytes({0x30, 0xff, 0xff, 0xff, 0xff}), "it does not speak MQTT"},
        {bytes({0x30, 0xff, 0xff, 0xff}), ""},
    };
    for (const auto& [begin, expected] : cases) {
        std::string received = begin;
        std::string problem;
        EXPECT_FALSE(take_packet(received, problem));
        EXPECT_EQ(problem, expected);
    }
}

TEST(MqttPacket, SaysWhyABrokerRefuses) {
    EXPECT_EQ(text_of_refusal(4), "Connection Refused: bad user name or password.");
    EXPECT_EQ(text_of_refusal(5), "Connection Refused: not authorised.");
    EXPECT_EQ(text_of_refusal(6), "Connection Refused: unknown reason.");
    EXPECT_EQ(text_of_refusal(-1), "Connection Refused: unknown reason.");
}

} // namespace
