#include "platform/axoverlay/host_stills.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/test_video.h"

#include <future>
#include <stdexcept>

namespace {

using namespace std::chrono_literals;
using host_overlay::StillCamera;
using host_overlay::StillView;

constexpr test_video::Rgb red{255, 0, 0};

class HostStillsTest : public test_video::OverlayApplication {
  protected:
    static std::string problem_of(StillCamera& camera, std::chrono::milliseconds patience) {
        try {
            camera.take({}, patience);
        } catch (const std::runtime_error& problem) {
            return problem.what();
        }
        return "";
    }

    static test_video::RgbImage decode(const std::string& jpeg) {
        return test_video::decode({reinterpret_cast<const std::uint8_t*>(jpeg.data()), jpeg.size()});
    }
};

TEST_F(HostStillsTest, AStillHasTheOverlayOfThePassThatComes) {
    start();
    redraw([](cairo_t* context, const axoverlay_stream_data&, int, int) {
        cairo_set_source_rgb(context, 1, 0, 0);
        cairo_paint(context);
    });
    StillCamera camera;
    auto taken = std::async(std::launch::async, [&] { return camera.take({640, 360, 90}, 10s); });
    ASSERT_TRUE(redraw_until([&] { return taken.wait_for(0ms) == std::future_status::ready; }));
    const test_video::RgbImage picture = decode(taken.get());
    EXPECT_EQ(picture.width, 360);
    EXPECT_EQ(picture.height, 640);
    EXPECT_TRUE(test_video::near(picture.at(180, 320), red));
}

TEST_F(HostStillsTest, WithoutAPassThereIsNone) {
    start();
    StillCamera camera;
    EXPECT_EQ(problem_of(camera, 200ms), "no pass has drawn on it");
}

TEST_F(HostStillsTest, WithoutVideoThereIsNoneForThatReason) {
    start();
    StillCamera camera;
    fake_vdo::behave({.start_failure = "it is broken"});
    EXPECT_EQ(problem_of(camera, 10s), "the camera's video does not start: it is broken");
    EXPECT_EQ(fake_vdo::open_streams(), 0);
}

TEST_F(HostStillsTest, WhoStopsItWaitsForNobody) {
    start();
    StillCamera camera;
    auto problem = std::async(std::launch::async, [&] { return problem_of(camera, 60s); });
    EXPECT_EQ(problem.wait_for(100ms), std::future_status::timeout);
    camera.stop();
    EXPECT_EQ(problem.wait_for(5s), std::future_status::ready);
    EXPECT_NE(problem.get(), "");
    EXPECT_NE(problem_of(camera, 60s), ""); // and every later one
}

} // namespace
