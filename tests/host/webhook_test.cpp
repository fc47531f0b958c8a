#include "host/webhook.h"
#include "platform/axevent/mqtt_queue.h"
#include "tests/host/fake_hook.h"
#include "tests/host/stay_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>

namespace {

using console::Webhook;
using console::WebhookSettings;
using testing::EndsWith;
using testing::SizeIs;
using Clock = std::chrono::steady_clock;

class WebhookTest : public StayTest {
  protected:
    WebhookSettings settings() const { return {hook.url(), "", state + "/queue"}; }

    static bool always(const std::string& /*picture*/) { return true; }

    FakeHook hook;
};

TEST_F(WebhookTest, AlertsArriveInTheirOrder) {
    Webhook webhook(settings(), always);
    for (const char* alert : {"one", "two", "three"})
        webhook.push("", alert);
    const auto requests = hook.requests(3);
    ASSERT_THAT(requests, SizeIs(3));
    EXPECT_THAT(requests[0], EndsWith("one"));
    EXPECT_THAT(requests[1], EndsWith("two"));
    EXPECT_THAT(requests[2], EndsWith("three"));
}

TEST_F(WebhookTest, ARefusedAlertIsTriedAgainAndTheOutageSaidOnce) {
    testing::internal::CaptureStderr();
    {
        hook.answer(503);
        Webhook webhook(settings(), always);
        webhook.push("", "one");
        ASSERT_THAT(hook.requests(2), SizeIs(2));
        hook.answer(200);
        webhook.push("", "two");
        const auto requests = hook.requests(4);
        ASSERT_THAT(requests, SizeIs(4));
        EXPECT_THAT(requests[2], EndsWith("one"));
        EXPECT_THAT(requests[3], EndsWith("two"));
    }
    const std::string name = console::shown_hook(hook.url());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "webhook: the webhook " + name + " takes no alert (it answers with status 503); alerts wait for it\n" +
                  "webhook: the webhook " + name + " takes alerts again\n");
}

TEST_F(WebhookTest, AHookThatHangsDelaysNeitherAlertsNorTheEnd) {
    hook.answer(0);
    auto webhook = std::make_unique<Webhook>(settings(), always);
    webhook->push("", "one");
    ASSERT_THAT(hook.requests(1), SizeIs(1));
    auto begin = Clock::now();
    for (int count = 0; count < 50; ++count)
        webhook->push("", "more");
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(250));
    begin = Clock::now();
    webhook.reset();
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(300));
}

TEST_F(WebhookTest, WhatAKilledProcessHadToTellTheNextOneTells) {
    const pid_t child = fork();
    if (child == 0) {
        host_events::MqttQueue(state + "/queue", 10).push({"", "one"});
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    {
        const Webhook webhook(settings(), always);
        ASSERT_THAT(hook.requests(1), SizeIs(1));
    }
    EXPECT_THAT(hook.requests(1)[0], EndsWith("one"));
}

TEST_F(WebhookTest, AnAlertWaitsForItsPictureButNotForLong) {
    std::atomic<bool> made = false;
    std::atomic<int> asked = 0;
    Webhook webhook(settings(), [&](const std::string& picture) {
        ++asked;
        return picture == "12-1" && made;
    });
    webhook.push("12-1", "one");
    for (int tries = 0; tries < 1000 && asked < 3; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_GE(asked, 3);
    made = true;
    EXPECT_THAT(hook.requests(1), SizeIs(1));
    const auto begin = Clock::now();
    webhook.push("13-1", "two"); // whose picture is never made
    EXPECT_THAT(hook.requests(2), SizeIs(2));
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(2));
}

TEST(WebhookName, HoldsNoSecret) {
    EXPECT_EQ(console::shown_hook("https://example.org/alerts/secret?token=secret"), "https://example.org");
    EXPECT_EQ(console::shown_hook("https://me:secret@[::1]:8443?x"), "https://[::1]:8443");
    EXPECT_EQ(console::shown_hook("http://h"), "http://h");
}

} // namespace
