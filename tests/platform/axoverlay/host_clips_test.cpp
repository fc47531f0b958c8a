#include "platform/axoverlay/host_clips.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/mp4_reader.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <mutex>

namespace {

using host_overlay::ClipRecorder;
using host_overlay::StillView;
using testing::ElementsAre;

constexpr StillView small{320, 240, 0};

class HostClipsTest : public test_video::OverlayApplication {
  protected:
    ClipRecorder::Listener listener() {
        return {[this](const std::string& path, std::uint64_t) {
                    const std::lock_guard lock(mutex);
                    written.push_back(path);
                },
                [this](const std::string& why) {
                    const std::lock_guard lock(mutex);
                    failures.push_back(why);
                }};
    }

    /** Pictures with a black overlay in the corner, until so many more have been handed out. */
    void film(unsigned pictures) {
        const unsigned until = fake_vdo::pictures_handed_out() + pictures;
        ASSERT_TRUE(redraw_until([&] { return fake_vdo::pictures_handed_out() >= until; }));
    }

    std::string path(const std::string& name) const { return folder + "/" + name; }

    const test_video::LowPriorities low;
    const TemporaryFolder scratch;
    const std::string folder = scratch.path();
    std::mutex mutex;
    std::vector<std::string> written;
    std::vector<std::string> failures;
};

TEST_F(HostClipsTest, AClipHasTheOverlayFromItsFirstPictureOn) {
    fake_vdo::behave({.paint = fake_vdo::solid(200, 128, 128)});
    start();
    {
        ClipRecorder recorder(listener());
        recorder.watch(small, 0);
        ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_handed_out() > 5; })); // still without
        redraw([](cairo_t* context, const axoverlay_stream_data& stream, int, int) {
            EXPECT_EQ(stream.type, AXOVERLAY_STREAM_H264);
            cairo_rectangle(context, 0, 0, 32, 32);
            cairo_fill(context);
        });
        film(30);
        recorder.save(path("a.mp4"));
        film(10);
    }
    ASSERT_THAT(written, ElementsAre(path("a.mp4")));
    const Mp4Content content = read_mp4(path("a.mp4"));
    EXPECT_EQ(content.width, 320);
    ASSERT_GT(content.luma.size(), 20U);
    for (const int luma : content.luma)
        EXPECT_LT(luma, 60);
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(fake_vdo::open_streams(), 0);
}

TEST_F(HostClipsTest, AnotherRoleBeginsAnewAndEndsWhatIsBeingWritten) {
    fake_vdo::behave({.paint = fake_vdo::solid(200, 128, 128)});
    start();
    redraw([](cairo_t*, const axoverlay_stream_data&, int, int) {});
    {
        ClipRecorder recorder(listener());
        recorder.watch(small, 0);
        film(30);
        recorder.save(path("a.mp4"));
        film(10);
        recorder.watch(small, 0); // the same: nothing happens
        EXPECT_TRUE(written.empty());
        recorder.watch(small, 1);
        ASSERT_TRUE(redraw_until([&] {
            const std::lock_guard lock(mutex);
            return written.size() == 1;
        }));
        fake_vdo::behave({.paint = fake_vdo::solid(50, 128, 128)});
        film(30);
        recorder.save(path("b.mp4"));
        film(10);
    }
    ASSERT_THAT(written, ElementsAre(path("a.mp4"), path("b.mp4")));
    EXPECT_NEAR(read_mp4(path("a.mp4")).luma.front(), 200, 6);
    EXPECT_GT(read_mp4(path("b.mp4")).luma.size(), 10U);
}

TEST_F(HostClipsTest, WithoutAViewThereIsNoStream) {
    start();
    ClipRecorder recorder(listener());
    recorder.watch(small, 0);
    ASSERT_TRUE(becomes_true([] { return fake_vdo::open_streams() == 1; }));
    recorder.watch(std::nullopt, 0);
    EXPECT_TRUE(becomes_true([] { return fake_vdo::open_streams() == 0; }));
}

TEST_F(HostClipsTest, WithoutVideoItSaysSoOnceAndEndsAtOnce) {
    start();
    fake_vdo::behave({.start_failure = "it is broken"});
    {
        ClipRecorder recorder(listener());
        recorder.watch(small, 0);
        ASSERT_TRUE(becomes_true([&] {
            const std::lock_guard lock(mutex);
            return !failures.empty();
        }));
    }
    EXPECT_THAT(failures, ElementsAre("the camera's video does not start: it is broken"));
}

} // namespace
