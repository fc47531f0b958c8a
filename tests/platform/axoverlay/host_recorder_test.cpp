#include "platform/axoverlay/host_recorder.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/mp4_reader.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using host_overlay::Recorder;

class HostRecorder : public test_video::OverlayApplication {
  protected:
    HostRecorder() {
        options.path = path;
        options.width = 320;
        options.height = 240;
    }
    ~HostRecorder() override { std::filesystem::remove(path); }

    std::string failure_of_construction() {
        try {
            const Recorder recorder(options);
            return "";
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
    }

    const std::string path = testing::TempDir() + "host_recorder_test_" + std::to_string(getpid()) + ".mp4";
    host_overlay::RecorderOptions options;
};

TEST_F(HostRecorder, InReplayItTakesOnePictureAPassWithTheOverlayOfThatPass) {
    fake_vdo::behave({.period = std::chrono::milliseconds(0), .paint = fake_vdo::solid(200, 128, 128)});
    start();
    options.replay = true;
    options.rotation = 90;
    Recorder recorder(options);
    for (int pass = 0; pass < 10; ++pass) {
        redraw([&](cairo_t* context, const axoverlay_stream_data& stream, int width, int height) {
            EXPECT_EQ(stream.type, AXOVERLAY_STREAM_H264);
            EXPECT_EQ(width, 240);
            EXPECT_EQ(height, 320);
            if (pass % 2 == 1) {
                cairo_rectangle(context, 0, 0, 64, 64);
                cairo_fill(context);
            }
        });
        recorder.take(0.2 * pass);
    }
    EXPECT_EQ(fake_vdo::pictures_handed_out(), 10U);
    recorder.finish();
    const Mp4Content content = read_mp4(options.path);
    EXPECT_EQ(content.width, 240);
    EXPECT_EQ(content.height, 320);
    ASSERT_EQ(content.seconds.size(), 10U);
    for (std::size_t pass = 0; pass < 10; ++pass) {
        EXPECT_NEAR(content.seconds[pass], 0.2 * static_cast<double>(pass), 1e-3);
        EXPECT_NEAR(content.luma[pass], pass % 2 == 1 ? 16 : 200, 6);
    }
    EXPECT_THROW(recorder.take(5.0), std::runtime_error);
    recorder.finish();
}

TEST_F(HostRecorder, LiveItFollowsTheVideoUntilItIsFinished) {
    start();
    Recorder recorder(options);
    ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_handed_out() >= 20; }));
    recorder.finish();
    EXPECT_EQ(fake_vdo::open_streams(), 0);
    const Mp4Content content = read_mp4(options.path);
    EXPECT_EQ(content.width, 320);
    EXPECT_EQ(content.height, 240);
    EXPECT_GE(content.seconds.size(), 19U);
    EXPECT_LE(content.seconds.size(), fake_vdo::pictures_handed_out());
    EXPECT_EQ(content.seconds.front(), 0.0);
    EXPECT_GT(content.seconds.back(), 0.1);
}

TEST_F(HostRecorder, LiveASilentCameraOnlyPausesIt) {
    fake_vdo::behave({.dead = true});
    Recorder recorder(options);
    ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_refused() >= 5; }));
    fake_vdo::behave({});
    ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_handed_out() >= 5; }));
    recorder.finish();
    EXPECT_GE(read_mp4(options.path).seconds.size(), 4U);
}

TEST_F(HostRecorder, LiveAFullDiskIsToldWhenItHappens) {
    start();
    options.path = "/dev/full";
    std::string why;
    std::atomic<bool> told = false;
    options.stopped = [&](const std::string& reason) {
        why = reason;
        told = true;
    };
    try {
        Recorder recorder(options);
        EXPECT_TRUE(becomes_true([&] { return told.load(); }));
        EXPECT_THROW(recorder.finish(), std::runtime_error);
    } catch (const std::runtime_error& refused) {
        why = refused.what(); // the file's head alone may be too much already
    }
    EXPECT_NE(why.find("No space left on device"), std::string::npos) << why;
}

TEST_F(HostRecorder, WhatCannotBeRecordedIsSaidAtOnce) {
    options.width = 321;
    EXPECT_EQ(failure_of_construction(), "cannot record 321x240; the camera offers 1280x720, 640x360, 320x240");
    options.width = 320;
    options.path = "/nowhere/out.mp4";
    EXPECT_EQ(failure_of_construction(), "cannot write /nowhere/out.mp4: No such file or directory");
    options.path = "/dev/full";
    EXPECT_EQ(failure_of_construction(), "cannot write /dev/full: No space left on device");
    options.path = path;
    fake_vdo::behave({.start_failure = "no encoder left"});
    EXPECT_EQ(failure_of_construction(), "the camera's video does not start: no encoder left");
}

TEST_F(HostRecorder, ATakeWithoutVideoIsAnError) {
    fake_vdo::behave({.dead = true});
    options.replay = true;
    Recorder recorder(options);
    EXPECT_THROW(recorder.take(0.0), std::runtime_error);
}

} // namespace
