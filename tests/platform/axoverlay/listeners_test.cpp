#include "platform/axoverlay/host_answers.h"
#include "tests/platform/axoverlay/http_client.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using http_client::Motion;

using ListenersTest = test_video::OverlayApplication;

TEST_F(ListenersTest, AListenerGetsWhatIsToldFromNowOnUntilTheEnd) {
    EXPECT_FALSE(host_overlay::has_listeners()) << "there is no server yet";
    host_overlay::tell_listeners("nobody hears this");
    start();
    EXPECT_FALSE(host_overlay::has_listeners());
    host_overlay::tell_listeners("nobody hears this either");
    Motion listener(address(), host_overlay::events_path);
    ASSERT_TRUE(becomes_true(host_overlay::has_listeners));
    host_overlay::tell_listeners("{\"pass\": 1}");
    auto head = listener.head();
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.headers["content-type"], "text/event-stream");
    EXPECT_EQ(head.headers["cache-control"], "no-store");
    EXPECT_EQ(listener.next_message(), "data: {\"pass\": 1}");
    host_overlay::tell_listeners("{\"pass\": 2}");
    EXPECT_EQ(listener.next_message(), "data: {\"pass\": 2}");
    axoverlay_cleanup();
    EXPECT_EQ(listener.next_message(), "");
}

TEST_F(ListenersTest, OneThatLeavesIsForgotten) {
    start();
    {
        const Motion listener(address(), host_overlay::events_path);
        ASSERT_TRUE(becomes_true(host_overlay::has_listeners));
    }
    // Its absence shows when something is sent.
    EXPECT_TRUE(becomes_true([] {
        host_overlay::tell_listeners("{}");
        return !host_overlay::has_listeners();
    }));
}

TEST_F(ListenersTest, OneThatTakesNothingKeepsNobodyWaitingAndHearsTheNewest) {
    start();
    Motion stalled(address(), host_overlay::events_path, 2048);
    ASSERT_TRUE(becomes_true(host_overlay::has_listeners));
    host_overlay::tell_listeners("{}");
    EXPECT_EQ(stalled.head().status, 200);
    // More than its connection holds: told without a wait, or this would never end.
    const std::string filling(100000, 'x');
    for (int i = 0; i < 100; ++i)
        host_overlay::tell_listeners(filling);
    host_overlay::tell_listeners("the last");
    std::string message;
    EXPECT_TRUE(becomes_true([&] {
        message = stalled.next_message();
        return message.ends_with("the last");
    })) << message;
}

TEST_F(ListenersTest, AskingForTheHeadAloneOpensNothing) {
    start();
    auto reply = http_client::request(address(), "HEAD", host_overlay::events_path);
    EXPECT_EQ(reply.head.status, 200);
    EXPECT_EQ(reply.head.headers["content-type"], "text/event-stream");
    EXPECT_FALSE(host_overlay::has_listeners());
}

} // namespace
