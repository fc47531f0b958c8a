#include "platform/axevent/mqtt_publisher.h"
#include "platform/axevent/mqtt_queue.h"
#include "tests/platform/axevent/fake_broker.h"
#include "tests/platform/axevent/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <thread>

using host_events::MqttPublisher;
using host_events::MqttQueue;
using host_events::MqttSettings;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

MqttSettings settings_for(int port, const std::string& queue_path) {
    MqttSettings settings;
    settings.host = "127.0.0.1";
    settings.port = port;
    settings.queue_path = queue_path;
    return settings;
}

TEST(MqttPublisherThread, GreetsThenAnnouncesThenBringsTheQueue) {
    const TemporaryFolder scratch;
    Broker broker;
    broker.start();
    Watcher watcher(broker);
    const MqttSettings settings = settings_for(broker.port(), scratch / "queue");
    MqttQueue(settings.queue_path, 10).push({"left", "by the last process"});
    {
        MqttPublisher publisher(settings);
        publisher.announce({"config", "{}"});
        publisher.announce({"config", "{}"});
        publisher.enqueue({"state", "1"});
        publisher.enqueue({"state", "2"});
        // The announcement may come after the queue's first message: whatever was first when the connection stood.
        std::vector<std::string> news;
        for (int count = 0; count < 5; ++count)
            news.push_back(watcher.message().value_or("nothing"));
        EXPECT_EQ(news[0], "korvex_orvel/availability online");
        EXPECT_THAT(news, testing::Contains("config {}"));
        news.erase(std::find(news.begin(), news.end(), "config {}"));
        EXPECT_THAT(news,
                    ElementsAre("korvex_orvel/availability online", "left by the last process", "state 1", "state 2"));
    }
    EXPECT_EQ(watcher.message(), "korvex_orvel/availability offline");
    EXPECT_EQ(MqttQueue(settings.queue_path, 10).size(), 0U);
}

TEST(MqttPublisherThread, PassesOverWhatNoBrokerCanBeSent) {
    const TemporaryFolder scratch;
    Broker broker;
    broker.start();
    Watcher watcher(broker);
    const MqttSettings settings = settings_for(broker.port(), scratch / "queue");
    MqttQueue(settings.queue_path, 10).push({"a/#", "no topic to publish to"});
    {
        MqttPublisher publisher(settings);
        publisher.enqueue({"state", "1"});
        EXPECT_EQ(watcher.message(), "korvex_orvel/availability online");
        EXPECT_EQ(watcher.message(), "state 1");
    }
    EXPECT_EQ(MqttQueue(settings.queue_path, 10).size(), 0U);
}

TEST(MqttPublisherThread, BringsTheQueueBeforeItGoesOffline) {
    Broker broker;
    broker.start();
    Watcher watcher(broker);
    {
        MqttPublisher publisher(settings_for(broker.port(), ""));
        ASSERT_EQ(watcher.message(), "korvex_orvel/availability online");
        for (int number = 0; number < 5; ++number)
            publisher.enqueue({"state", std::to_string(number)});
    }
    EXPECT_EQ(watcher.message(), "state 0");
    // On a machine that is too busy for all five, those that do not go stay in the queue.
    std::string last;
    while (last != "korvex_orvel/availability offline")
        last = watcher.message().value_or("korvex_orvel/availability offline");
    EXPECT_EQ(broker.retained("korvex_orvel/availability", 1),
              std::vector<std::string>{"korvex_orvel/availability offline"});
}

TEST(MqttPublisherThread, TellsABrokerThatForgotTheLastStateAgain) {
    Broker broker;
    broker.start();
    MqttPublisher publisher(settings_for(broker.port(), ""));
    publisher.announce({"config", "{}"});
    publisher.enqueue({"state", "1"});
    publisher.enqueue({"state", "2"});
    ASSERT_TRUE(becomes_true([&] { return broker.retained("state", 1) == std::vector<std::string>{"state 2"}; }));
    testing::internal::CaptureStderr();
    broker.stop();
    broker.forget();
    broker.start();
    EXPECT_EQ(broker.retained("state", 1), std::vector<std::string>{"state 2"});
    EXPECT_EQ(broker.retained("config", 1), std::vector<std::string>{"config {}"});
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("axevent: the broker " + broker.address() + " is away ("));
    EXPECT_THAT(said, HasSubstr("axevent: the broker is there again; "));
}

std::ptrdiff_t entries_of(const char* folder) {
    const std::filesystem::directory_iterator all(folder);
    return std::distance(begin(all), end(all));
}

TEST(MqttPublisherThread, LosesNothingToABrokerThatDiesTwentyTimesAndLeavesNothingBehind) {
    constexpr int deaths = 20;
    const auto threads = entries_of("/proc/self/task");
    const auto descriptors = entries_of("/proc/self/fd");
    std::vector<std::string> heard; // the broker's thread's until that has ended
    std::atomic<size_t> news = 0;
    std::atomic<int> connections = 0;
    testing::internal::CaptureStderr();
    {
        const FakeBroker broker([&](const FakeBroker::Client& client) {
            ++connections;
            client.packet();
            client.send(FakeBroker::accepted);
            // The change that is under way when the broker dies has arrived, but is not confirmed.
            for (bool dies = false; !dies;) {
                const std::string packet = client.packet();
                const size_t state = packet.find("state");
                if (packet.empty())
                    return;
                const std::string payload = state == std::string::npos ? "" : packet.substr(state + 7);
                const bool is_new = !payload.empty() && std::find(heard.begin(), heard.end(), payload) == heard.end();
                if (is_new) {
                    heard.push_back(payload);
                    ++news;
                }
                dies = is_new && connections <= deaths;
                const size_t number = 4 + static_cast<unsigned char>(packet[3]);
                if (!dies && packet[0] == '\x33')
                    client.send(std::string("\x40\x02", 2) + packet.substr(number, 2));
            }
        });
        MqttPublisher publisher(settings_for(broker.port(), ""));
        for (int number = 0; number < deaths + 5; ++number)
            publisher.enqueue({"state", std::to_string(number)});
        EXPECT_TRUE(becomes_true([&] { return news == deaths + 5; }));
    }
    testing::internal::GetCapturedStderr();
    EXPECT_GT(connections, deaths);
    ASSERT_EQ(heard.size(), size_t{deaths + 5});
    for (int number = 0; number < deaths + 5; ++number)
        EXPECT_EQ(heard[static_cast<size_t>(number)], std::to_string(number));
    EXPECT_TRUE(becomes_true([&] { return entries_of("/proc/self/task") == threads; }));
    EXPECT_EQ(entries_of("/proc/self/fd"), descriptors);
}

TEST(MqttPublisherThread, TakesABrokerThatConfirmsNothingForOneThatIsAway) {
    std::atomic<int> connections = 0;
    testing::internal::CaptureStderr();
    int port = 0;
    {
        const FakeBroker broker([&](const FakeBroker::Client& client) {
            ++connections;
            client.packet();
            client.send(FakeBroker::accepted);
            client.packet();
        });
        port = broker.port();
        MqttPublisher publisher(settings_for(port, ""));
        EXPECT_TRUE(becomes_true([&] { return connections >= 4; }));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "axevent: the broker 127.0.0.1:" + std::to_string(port) +
                                                          " is away (The connection was lost.); changes wait for it\n");
}

TEST(MqttPublisherThread, SaysOnceThatTheBrokerIsAwayAndEndsAtOnce) {
    testing::internal::CaptureStderr();
    const int port = free_port();
    {
        MqttPublisher publisher(settings_for(port, ""));
        publisher.enqueue({"state", "1"});
        // two attempts at least
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "axevent: the broker 127.0.0.1:" + std::to_string(port) +
                                                          " is away (Connection refused); changes wait for it\n");
}

} // namespace
