#include "platform/axoverlay/broadcast.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/http_client.h"
#include "tests/platform/axoverlay/test_video.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <thread>

namespace {

using http_client::Motion;

class BroadcastTest : public test_video::OverlayApplication {};

/**
 * A stream's thread destroys its encoder when it has found itself without viewers; it is held there while this is set.
 */
std::atomic<bool> hold_ending_stream = false;
std::atomic<bool> stream_is_held = false;
std::atomic<int> times_given_back = 0;

/** Without a connection: such a viewer is never asked to send. */
std::shared_ptr<host_overlay::Viewer> new_viewer() {
    return std::make_shared<host_overlay::Viewer>(nullptr, host_overlay::Viewer::Wish::all_pictures);
}

constexpr int mark = 16;

/** Noise, which makes large files, with the picture's number in two squares at the top left, 64 shades each. */
void paint_numbered_noise(std::uint8_t* nv12, int width, int height, unsigned number) {
    unsigned state = number;
    for (int i = 0; i < width * height; ++i) {
        state = state * 1664525 + 1013904223;
        nv12[i] = static_cast<std::uint8_t>(64 + (state >> 25));
    }
    std::fill_n(nv12 + width * height, width * height / 2, std::uint8_t{128});
    for (int y = 0; y < mark; ++y) {
        std::fill_n(nv12 + y * width, mark, static_cast<std::uint8_t>(16 + number % 64 * 3));
        std::fill_n(nv12 + y * width + mark, mark, static_cast<std::uint8_t>(16 + number / 64 * 3));
    }
}

int number_of(const std::vector<std::uint8_t>& jpeg) {
    const auto image = test_video::decode(jpeg);
    const auto digit = [&](int x) { return (image.at(x, mark / 2).g * 219 / 255 + 1) / 3; };
    return digit(mark / 2) + 64 * digit(mark + mark / 2);
}

TEST_F(BroadcastTest, TwentyViewersShareOneStreamAndAStalledOneDelaysNobody) {
    fake_vdo::behave({.period = std::chrono::milliseconds(20), .paint = paint_numbered_noise});
    start();
    Motion stalled(address(), "/stream/640x360.mjpg", 4096);
    stalled.head();
    std::vector<std::vector<std::vector<std::uint8_t>>> seen(19);
    {
        std::list<std::jthread> viewers;
        for (auto& pictures : seen) {
            viewers.emplace_back([&pictures, this] {
                Motion motion(address(), "/stream/640x360.mjpg");
                EXPECT_EQ(motion.head().status, 200);
                while (pictures.size() < 60) {
                    pictures.push_back(motion.next_picture());
                    ASSERT_FALSE(pictures.back().empty());
                }
            });
        }
    }
    EXPECT_EQ(fake_vdo::streams_started(), 1);
    // A picture that two viewers have is the same file: it was encoded once.
    int shared = 0;
    for (const auto& picture : seen[0]) {
        for (std::size_t other = 1; other < seen.size(); ++other)
            shared += static_cast<int>(std::ranges::count(seen[other], picture));
    }
    EXPECT_GT(shared, 0);

    // The stalled viewer finds what was under way, then the newest: it has lost pictures, not the present.
    const int newest = number_of(seen[0].back());
    std::vector<int> numbers;
    while (numbers.empty() || numbers.back() < newest) {
        const auto picture = stalled.next_picture();
        ASSERT_FALSE(picture.empty());
        numbers.push_back(number_of(picture));
    }
    EXPECT_TRUE(std::ranges::is_sorted(numbers));
    EXPECT_LT(static_cast<int>(numbers.size()), newest - numbers.front() + 1);
}

TEST_F(BroadcastTest, AStreamOpensWithItsFirstViewerAndClosesAfterItsLast) {
    start();
    EXPECT_EQ(fake_vdo::open_streams(), 0);
    {
        Motion first(address(), "/stream/320x240.mjpg");
        EXPECT_FALSE((first.head(), first.next_picture()).empty());
        Motion other_size(address(), "/stream/640x360.mjpg");
        EXPECT_FALSE((other_size.head(), other_size.next_picture()).empty());
        Motion turned(address(), "/stream/640x360.mjpg?rotation=180");
        EXPECT_FALSE((turned.head(), turned.next_picture()).empty());
        EXPECT_EQ(fake_vdo::open_streams(), 3);
    }
    EXPECT_TRUE(becomes_true([] { return fake_vdo::open_streams() == 0; }));
    EXPECT_EQ(fake_vdo::streams_started(), 3);

    Motion again(address(), "/stream/320x240.mjpg");
    EXPECT_FALSE((again.head(), again.next_picture()).empty());
    EXPECT_EQ(fake_vdo::open_streams(), 1);
    EXPECT_EQ(fake_vdo::streams_started(), 4);
}

TEST_F(BroadcastTest, AViewerOutlivesASilenceOfTheCamera) {
    start();
    Motion motion(address(), "/stream/320x240.mjpg");
    EXPECT_FALSE((motion.head(), motion.next_picture()).empty());
    fake_vdo::behave({.dead = true});
    ASSERT_TRUE(becomes_true([] { return fake_vdo::pictures_refused() >= 5; }));
    fake_vdo::behave({});
    for (int i = 0; i < 10; ++i)
        EXPECT_FALSE(motion.next_picture().empty());
}

TEST_F(BroadcastTest, CleanupEndsConnectedStalledAndWaitingViewersAtOnce) {
    fake_vdo::behave({.paint = paint_numbered_noise});
    start();
    std::list<Motion> playing;
    for (int i = 0; i < 10; ++i)
        playing.emplace_back(address(), i % 2 == 0 ? "/stream/640x360.mjpg" : "/stream/320x240.mjpg", i == 0 ? 4096 : 0)
            .head();
    fake_vdo::behave({.silent = true});
    Motion waiting(address(), "/stream/1280x720.mjpg");
    ASSERT_TRUE(becomes_true([] { return fake_vdo::open_streams() == 3; }));
    axoverlay_cleanup();
    EXPECT_EQ(fake_vdo::open_streams(), 0);
    for (Motion& motion : playing)
        motion.drain();
}

TEST_F(BroadcastTest, AStreamThatIsEndingLeavesTheNextOneOfItsSizeToItsViewers) {
    const host_overlay::Geometry size{320, 240, 0, false};
    fake_vdo::behave({.period = std::chrono::milliseconds(1)});
    host_overlay::Broadcasts broadcasts(80);
    hold_ending_stream = true;
    const auto leaving = new_viewer();
    broadcasts.join(size, leaving);
    leaving->leave();
    ASSERT_TRUE(becomes_true([] { return stream_is_held.load(); }));
    const auto first = new_viewer();
    broadcasts.join(size, first);
    hold_ending_stream = false;
    ASSERT_TRUE(becomes_true([] { return fake_vdo::streams_started() == 2 && fake_vdo::open_streams() == 1; }));
    const auto second = new_viewer();
    broadcasts.join(size, second);
    const unsigned handed_out = fake_vdo::pictures_handed_out();
    ASSERT_TRUE(becomes_true([&] { return fake_vdo::pictures_handed_out() >= handed_out + 20; }));
    EXPECT_EQ(fake_vdo::streams_started(), 2);
    broadcasts.stop();
}

constexpr host_overlay::Geometry six_sizes[] = {{320, 240, 0, false},   {320, 240, 90, false}, {320, 240, 180, false},
                                                {320, 240, 270, false}, {640, 360, 0, false},  {640, 360, 0, true}};
constexpr host_overlay::Geometry seventh_size = {640, 360, 90, false};
constexpr const char* too_many =
    "The camera is shown in at most 6 sizes and orientations at once, and viewers watch as "
    "many others already.";

std::string refusal_of(host_overlay::Broadcasts& broadcasts, const host_overlay::Geometry& geometry) {
    try {
        broadcasts.join(geometry, new_viewer());
        return "";
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
}

TEST_F(BroadcastTest, SixGeometriesAreWatchedAtOnceAndASeventhIsRefusedWithASentence) {
    start();
    std::list<Motion> watching;
    for (const std::string target : {"320x240.mjpg", "320x240.mjpg?mirror=1", "640x360.mjpg",
                                     "640x360.mjpg?rotation=90", "640x360.mjpg?rotation=180", "1280x720.mjpg"})
        EXPECT_EQ(watching.emplace_back(address(), "/stream/" + target).head().status, 200) << target;
    for (const std::string target : {"/stream/640x360.mjpg?mirror=1", "/stream/320x240.jpg?rotation=90"}) {
        const auto reply = http_client::request(address(), "GET", target);
        EXPECT_EQ(reply.head.status, 503) << target;
        EXPECT_EQ(reply.body, too_many + std::string("\n")) << target;
    }
    EXPECT_EQ(Motion(address(), "/stream/320x240.mjpg").head().status, 200);
    EXPECT_EQ(fake_vdo::streams_started(), 6);

    watching.pop_back();
    EXPECT_TRUE(becomes_true([&] {
        Motion seventh(address(), "/stream/640x360.mjpg?mirror=1");
        return seventh.head().status == 200;
    }));
}

TEST_F(BroadcastTest, AGeometryThatNobodyWatchesAnyMoreLeavesItsPlaceAtOnce) {
    fake_vdo::behave({.silent = true}); // so that no stream notices it by itself
    host_overlay::Broadcasts broadcasts(80);
    std::vector<std::shared_ptr<host_overlay::Viewer>> watching;
    for (const auto& geometry : six_sizes)
        broadcasts.join(geometry, watching.emplace_back(new_viewer()));
    EXPECT_EQ(refusal_of(broadcasts, seventh_size), too_many);
    watching[2]->leave();
    EXPECT_EQ(refusal_of(broadcasts, seventh_size), "");
    EXPECT_EQ(refusal_of(broadcasts, six_sizes[2]), too_many);
    ASSERT_TRUE(becomes_true([] { return fake_vdo::open_streams() == 6; }));
    // The one that left its place does not take another's with it.
    watching[5]->leave();
    EXPECT_EQ(refusal_of(broadcasts, six_sizes[2]), "");
    ASSERT_TRUE(becomes_true([] { return fake_vdo::streams_started() == 8 && fake_vdo::open_streams() == 6; }));
    EXPECT_EQ(refusal_of(broadcasts, six_sizes[5]), too_many);
    broadcasts.stop();
}

TEST_F(BroadcastTest, StreamsThatAreEndingDoNotPileUp) {
    fake_vdo::behave({.period = std::chrono::milliseconds(1)});
    host_overlay::Broadcasts broadcasts(80);
    hold_ending_stream = true;
    std::string refusal;
    while (refusal.empty() && fake_vdo::streams_started() < 30) {
        const auto viewer = new_viewer();
        try {
            broadcasts.join(seventh_size, viewer);
        } catch (const std::runtime_error& failure) {
            refusal = failure.what();
        }
        viewer->leave();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(refusal, too_many);
    EXPECT_TRUE(becomes_true([] { return fake_vdo::streams_started() == 12; }));
    hold_ending_stream = false;
    broadcasts.stop();
}

TEST_F(BroadcastTest, MemoryGoesBackOnceWhenNobodyWatchesAnyMore) {
    fake_vdo::behave({.period = std::chrono::milliseconds(1)});
    host_overlay::Broadcasts broadcasts(80);
    times_given_back = 0;
    const auto stays = new_viewer();
    broadcasts.join(six_sizes[0], stays);
    for (int visit = 0; visit < 3; ++visit) {
        const auto visitor = new_viewer();
        broadcasts.join(seventh_size, visitor);
        visitor->leave();
        ASSERT_TRUE(becomes_true([] { return fake_vdo::open_streams() == 1; }));
    }
    EXPECT_EQ(times_given_back, 0);
    stays->leave();
    EXPECT_TRUE(becomes_true([] { return times_given_back == 1; }));

    // Nobody waits for that when it ends.
    broadcasts.join(six_sizes[0], new_viewer());
    broadcasts.stop();
    EXPECT_EQ(times_given_back, 1);
}

TEST_F(BroadcastTest, ViewersThatComeAndGoWhileItDrawsAndEndsLeaveNothingBehind) {
    for (int round = 0; round < 5; ++round) {
        fake_vdo::behave({.period = std::chrono::milliseconds(2)});
        start();
        std::atomic<bool> ending = false;
        std::atomic<int> pictures = 0;
        std::list<std::jthread> viewers;
        for (int i = 0; i < 6; ++i) {
            viewers.emplace_back([&, i] {
                for (int visit = 0; visit < 8 && !ending; ++visit) {
                    Motion motion(address(), i % 2 == 0 ? "/stream/320x240.mjpg" : "/stream/320x240.mjpg?mirror=1");
                    EXPECT_EQ(motion.head().status, 200);
                    pictures += motion.next_picture().empty() ? 0 : 1;
                }
            });
        }
        redraw([](cairo_t* context, const axoverlay_stream_data&, int, int) { cairo_paint(context); });
        // In the midst of their comings and goings.
        EXPECT_TRUE(redraw_until([&] { return pictures >= 12; }));
        ending = true;
        viewers.clear();
        axoverlay_cleanup();
        EXPECT_EQ(fake_vdo::open_streams(), 0);
        EXPECT_EQ(fake_vdo::pictures_outstanding(), 0);
    }
}

} // namespace

/** Stands before the library's own. */
extern "C" int tjDestroy(tjhandle handle) {
    while (hold_ending_stream) {
        stream_is_held = true;
        std::this_thread::yield();
    }
    return reinterpret_cast<int (*)(tjhandle)>(dlsym(RTLD_NEXT, "tjDestroy"))(handle);
}

/** Stands before the library's own. */
extern "C" int malloc_trim(std::size_t /*pad*/) {
    ++times_given_back;
    return 1;
}
