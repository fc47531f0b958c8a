#include "platform/axevent/mqtt_publisher.h"

#include <gtest/gtest.h>

namespace {

TEST(BrokerNews, AreToldOnceAnOutage) {
    host_events::MqttSettings settings;
    settings.host = "h";
    settings.port = 8883;
    host_events::BrokerNews news(settings);
    testing::internal::CaptureStderr();
    news.back(0);
    news.away("Connection refused", false);
    news.away("The connection was lost.", false);
    news.away("its certificate expired on 2024-02-29", true);
    news.away("its certificate expired on 2024-02-29", true);
    news.away("its certificate is for another name than h", true);
    news.back(3);
    news.away("The connection was lost.", false);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "axevent: the broker h:8883 is away (Connection refused); changes wait for it\n"
        "axevent: the broker h:8883 is not trusted: its certificate expired on 2024-02-29; changes wait until it "
        "is\n"
        "axevent: the broker h:8883 is not trusted: its certificate is for another name than h; changes wait until "
        "it is\n"
        "axevent: the broker is there again; 3 changes waited\n"
        "axevent: the broker h:8883 is away (The connection was lost.); changes wait for it\n");
}

TEST(BrokerNews, TellOfEachNamesakeOnce) {
    host_events::MqttSettings settings;
    settings.host = "h";
    settings.port = 1883;
    host_events::BrokerNews news(settings);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(news.namesake("gate-12345678", "yard"));
    EXPECT_FALSE(news.namesake("gate-12345678", "yard"));
    EXPECT_TRUE(news.namesake("\x1b[2J", "yard")) << "it may hold anything";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "axevent: another camera, gate-12345678, tells the broker h:1883 under the same prefix 'yard', and each "
              "overwrites what the other says; KORVEX_MQTT_PREFIX (--mqtt-prefix) gives each its own\n"
              "axevent: another camera, __2J, tells the broker h:1883 under the same prefix 'yard', and each "
              "overwrites what the other says; KORVEX_MQTT_PREFIX (--mqtt-prefix) gives each its own\n");
}

} // namespace
