#include "platform/axoverlay/host_streams.h"
#include "platform/axoverlay/stream_server.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/http_client.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace {

using http_client::Motion;
using http_client::request;
using test_video::decode;
using test_video::near;

class StreamServerTest : public test_video::OverlayApplication {
  protected:
    static test_video::RgbImage picture_of(const http_client::Reply& reply) {
        return decode({reinterpret_cast<const std::uint8_t*>(reply.body.data()), reply.body.size()});
    }
};

TEST_F(StreamServerTest, AnswersRequests) {
    struct Case {
        std::string method, target;
        int status;
        std::string type, sentence;
    };
    const std::string text = "text/plain; charset=utf-8";
    start();
    redraw({});
    for (const Case& c : std::vector<Case>{
             {"GET", "/stream/641x360.jpg", 404, text,
              "The camera has no video of that size; it offers 1280x720, 640x360, 320x240.\n"},
             {"GET", "/stream/axb.mjpg", 400, text, "The size must be two numbers joined by an x, like 1280x720.\n"},
             {"GET", "/stream/320x240.jpg?rotation=1", 400, text, "The rotation must be 0, 90, 180 or 270.\n"},
             {"GET", "/stream/320x240.jpg?mirror", 400, text, "The value of mirror must be 0 or 1.\n"},
             {"POST", "/stream/320x240.jpg", 405, text, "The camera's video is read with GET.\n"},
             {"DELETE", "/", 405, text, "The camera's video is read with GET.\n"},
             {"HEAD", "/stream/320x240.jpg", 200, "image/jpeg", ""},
             {"HEAD", "/stream/320x240.mjpg", 200, "multipart/x-mixed-replace; boundary=picture", ""},
             {"HEAD", "/stream/1x1.jpg", 404, text, ""},
         }) {
        auto reply = request(address(), c.method, c.target);
        EXPECT_EQ(reply.head.status, c.status) << c.target;
        EXPECT_EQ(reply.head.headers.at("content-type"), c.type) << c.target;
        EXPECT_EQ(reply.head.headers["cross-origin-resource-policy"], "same-origin") << c.target;
        EXPECT_EQ(reply.head.headers["x-content-type-options"], "nosniff") << c.target;
        EXPECT_EQ(reply.body, c.sentence) << c.target;
        EXPECT_EQ(reply.head.headers.count("allow"), c.status == 405 ? 1U : 0U) << c.target;
    }
    EXPECT_EQ(fake_vdo::streams_started(), 0);
}

TEST_F(StreamServerTest, OnePictureComesInTheSizeAndOrientationAskedFor) {
    start();
    axoverlay_destroy_overlay(overlay_id, nullptr);
    for (const auto& [target, width, height] : std::vector<std::tuple<std::string, int, int>>{
             {"/stream/1280x720.jpg", 1280, 720},
             {"/stream/640x360.jpg?rotation=90", 360, 640},
             {"/stream/640x360.jpg?rotation=180&mirror=1", 640, 360},
             {"/stream/320x240.jpg?mirror=1&rotation=270", 240, 320},
         }) {
        auto reply = request(address(), "GET", target);
        ASSERT_EQ(reply.head.status, 200) << target;
        EXPECT_EQ(reply.head.headers["cross-origin-resource-policy"], "same-origin");
        EXPECT_EQ(reply.head.headers.at("content-type"), "image/jpeg");
        EXPECT_EQ(reply.head.headers.at("cache-control"), "no-store");
        EXPECT_EQ(reply.head.headers.at("content-length"), std::to_string(reply.body.size()));
        const auto image = picture_of(reply);
        EXPECT_EQ(image.width, width) << target;
        EXPECT_EQ(image.height, height) << target;
    }
}

TEST_F(StreamServerTest, ASinglePictureWaitsForTheOverlayOfItsFreshStream) {
    fake_vdo::behave({.paint = fake_vdo::solid(126, 128, 128)});
    start();
    redraw([](cairo_t* context, const axoverlay_stream_data&, int, int) {
        cairo_set_source_rgb(context, 1, 0, 0);
        cairo_rectangle(context, 32, 16, 64, 32);
        cairo_fill(context);
        cairo_set_source_rgba(context, 0, 0, 1, 0.5);
        cairo_rectangle(context, 32, 160, 64, 32);
        cairo_fill(context);
    });
    http_client::Reply reply;
    std::atomic<bool> arrived = false;
    std::jthread viewer([&] {
        reply = request(address(), "GET", "/stream/320x240.jpg");
        arrived = true;
    });
    ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_handed_out() > 3; }));
    ASSERT_TRUE(redraw_until([&] { return arrived.load(); }));
    viewer.join();
    const auto image = picture_of(reply);
    EXPECT_TRUE(near(image.at(64, 32), {255, 0, 0}));
    EXPECT_TRUE(near(image.at(64, 176), {64, 64, 191}));
    EXPECT_TRUE(near(image.at(8, 8), {128, 128, 128}));
    EXPECT_TRUE(near(image.at(160, 100), {128, 128, 128}));
}

TEST_F(StreamServerTest, NoPictureOfAFreshMultipartStreamComesBeforeItsOverlay) {
    fake_vdo::behave({.period = std::chrono::milliseconds(5), .paint = fake_vdo::solid(126, 128, 128)});
    start();
    redraw([](cairo_t* context, const axoverlay_stream_data&, int, int) {
        cairo_set_source_rgb(context, 1, 0, 0);
        cairo_paint(context);
    });
    for (int visit = 0; visit < 6; ++visit) {
        Motion motion(address(), "/stream/320x240.mjpg");
        const unsigned before = fake_vdo::pictures_handed_out();
        ASSERT_TRUE(becomes_true([&] { return fake_vdo::pictures_handed_out() > before + 3; }));
        std::atomic<bool> arrived = false;
        std::vector<std::uint8_t> first;
        std::jthread viewer([&] {
            EXPECT_EQ(motion.head().status, 200);
            first = motion.next_picture();
            arrived = true;
        });
        ASSERT_TRUE(redraw_until([&] { return arrived.load(); }));
        viewer.join();
        EXPECT_TRUE(near(decode(first).at(160, 120), {255, 0, 0})) << visit;
    }
}

TEST_F(StreamServerTest, AStreamThatHidesObjectsShowsACardWhenNothingIsDrawnForLong) {
    fake_vdo::behave({.period = std::chrono::milliseconds(5), .paint = fake_vdo::solid(235, 128, 128)});
    start();
    redraw([](cairo_t*, const axoverlay_stream_data&, int, int) {});
    host_overlay::cover_streams({{320, 240}}, std::chrono::milliseconds(100));
    const auto corner_becomes = [this](const std::string& target, bool dark) {
        Motion motion(address(), target);
        motion.head();
        return becomes_true([&] {
            const int green = decode(motion.next_picture()).at(8, 8).g;
            return dark ? green < 80 : green > 200;
        });
    };
    EXPECT_TRUE(corner_becomes("/stream/320x240.mjpg", true));
    EXPECT_TRUE(corner_becomes("/stream/320x240.mjpg?rotation=90", true)) << "turned, too";
    std::atomic<bool> shown = false;
    std::jthread viewer([&] {
        EXPECT_TRUE(corner_becomes("/stream/640x360.mjpg", false)) << "another stream";
        EXPECT_TRUE(corner_becomes("/stream/320x240.mjpg", false)) << "this one, while it is drawn on";
        shown = true;
    });
    EXPECT_TRUE(redraw_until([&] { return shown.load(); }));
    viewer.join();
    EXPECT_TRUE(corner_becomes("/stream/320x240.mjpg", true));
}

TEST_F(StreamServerTest, ASinglePictureComesWithoutOverlayWhenNothingIsRedrawn) {
    start();
    EXPECT_EQ(request(address(), "GET", "/stream/320x240.jpg").head.status, 200);
}

TEST_F(StreamServerTest, TheMultipartStreamShowsTheLastOverlayUntilTheNextRedraw) {
    fake_vdo::behave({.paint = fake_vdo::solid(235, 128, 128)});
    start();
    Motion motion(address(), "/stream/320x240.mjpg?mirror=1");
    auto head = motion.head();
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.headers["cross-origin-resource-policy"], "same-origin");
    EXPECT_EQ(head.headers.at("content-type"), "multipart/x-mixed-replace; boundary=picture");
    EXPECT_EQ(head.headers.count("transfer-encoding"), 0U);

    for (const int left : {16, 160, 80}) {
        redraw([left](cairo_t* context, const axoverlay_stream_data&, int, int) {
            cairo_rectangle(context, left, 64, 64, 64);
            cairo_fill(context);
        });
        test_video::RgbImage image;
        for (int i = 0; i < 200 && (image.width == 0 || !near(image.at(left + 32, 96), {0, 0, 0})); ++i)
            image = decode(motion.next_picture());
        for (const int other : {16, 160, 80}) {
            const int shade = other == left ? 0 : 255;
            if (std::abs(other - left) >= 80) {
                EXPECT_TRUE(near(image.at(other + 32, 96), {shade, shade, shade})) << other;
            }
        }
        const auto held = decode(motion.next_picture());
        EXPECT_TRUE(near(held.at(left + 32, 96), {0, 0, 0}));
    }
}

TEST_F(StreamServerTest, ACameraWithoutVideoIsSaidWith503) {
    start();
    fake_vdo::behave({.start_failure = "no encoder left"});
    auto reply = request(address(), "GET", "/stream/1280x720.mjpg");
    EXPECT_EQ(reply.head.status, 503);
    EXPECT_EQ(reply.body, "the camera's video does not start: no encoder left\n");
    fake_vdo::behave({.dead = true});
    reply = request(address(), "GET", "/stream/1280x720.jpg");
    EXPECT_EQ(reply.head.status, 503);
    EXPECT_EQ(reply.body, "the camera delivers no video: the source is gone\n");
    fake_vdo::behave({.channel_failure = "away"});
    reply = request(address(), "GET", "/stream/1280x720.jpg");
    EXPECT_EQ(reply.head.status, 503);
    EXPECT_EQ(reply.body, "the camera's video channel is not available: away\n");
}

TEST_F(StreamServerTest, ATakenPortIsAClearError) {
    start();
    setenv("KORVEX_OVERLAY_LISTEN", address().c_str(), 1);
    try {
        const host_overlay::StreamServer second(*host_overlay::listen_setting(), 80);
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), "cannot listen on " + address() + ": Address already in use");
    }
}

TEST_F(StreamServerTest, ServesOnAUnixSocketAsOnAPort) {
    const TemporaryFolder own;
    const std::string folder = own.path();
    const std::string path = folder + "/streams.socket";
    setenv("KORVEX_OVERLAY_LISTEN", ("unix:" + path).c_str(), 1);
    start();
    axoverlay_destroy_overlay(overlay_id, nullptr);
    EXPECT_EQ(address(), "unix:" + path);
    EXPECT_EQ(request(address(), "GET", "/stream/320x240.jpg").head.status, 200);
    Motion motion(address(), "/stream/320x240.mjpg");
    EXPECT_EQ(motion.head().status, 200);
    for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(motion.next_picture().empty());
    setenv("KORVEX_OVERLAY_LISTEN", address().c_str(), 1);
    try {
        const host_overlay::StreamServer second(*host_overlay::listen_setting(), 80);
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), "cannot listen on unix:" + path + ": another program serves it");
    }
    axoverlay_cleanup();
    motion.drain();
    EXPECT_FALSE(std::filesystem::exists(path));
}

/** What the kernel says of a thread, "SigBlk" for example. */
std::string status_line(const std::filesystem::path& task, const std::string& name) {
    std::ifstream status(task / "status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name))
            return line.substr(line.find('\t') + 1);
    }
    return "";
}

TEST_F(StreamServerTest, ItsThreadsBlockTheSignalsThatBelongToTheApplication) {
    start();
    Motion motion(address(), "/stream/320x240.mjpg");
    motion.head();
    int threads = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == std::to_string(getpid()))
            continue;
        const auto blocked = std::stoull(status_line(task.path(), "SigBlk"), nullptr, 16);
        EXPECT_NE(blocked >> (SIGTERM - 1) & 1, 0U) << task.path();
        EXPECT_NE(blocked >> (SIGINT - 1) & 1, 0U) << task.path();
        ++threads;
    }
    EXPECT_GE(threads, 2);
}

} // namespace
