#include "platform/axoverlay/annotated_video.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/test_video.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

using namespace host_overlay;

class AnnotatedVideoTest : public test_video::OverlayApplication {};

/** Luma 50 everywhere but in the left quarter; chroma likewise. */
void paint_left(std::uint8_t* nv12, int width, int height, unsigned) {
    for (int y = 0; y < height * 3 / 2; ++y) {
        for (int x = 0; x < width; ++x)
            nv12[y * width + x] = static_cast<std::uint8_t>(x < width / 4 ? 200 : 50);
    }
}

TEST_F(AnnotatedVideoTest, AsksTheCameraForTheGeometryAndDeliversItsPicture) {
    fake_vdo::behave({.paint = paint_left});
    AnnotatedVideo video({640, 360, 90, false}, AXOVERLAY_STREAM_JPEG);
    video.start();
    EXPECT_EQ(fake_vdo::last_setting("channel"), 1U);
    EXPECT_EQ(fake_vdo::last_setting("format"), static_cast<guint32>(VDO_FORMAT_YUV));
    EXPECT_EQ(fake_vdo::last_setting("width"), 640U);
    EXPECT_EQ(fake_vdo::last_setting("height"), 360U);
    EXPECT_EQ(fake_vdo::last_setting("rotation"), 90U);
    std::string why;
    ASSERT_TRUE(video.next(why)) << why;
    EXPECT_EQ(video.picture().width, 360);
    EXPECT_EQ(video.picture().height, 640);
    EXPECT_EQ(video.picture().luma()[0], 200);
    EXPECT_EQ(video.picture().luma()[359], 50);
    EXPECT_TRUE(video.overlay_settled());
}

TEST_F(AnnotatedVideoTest, AMirroredStreamExchangesLeftAndRightOfLumaAndChroma) {
    fake_vdo::behave({.paint = [](std::uint8_t* nv12, int width, int height, unsigned) {
        paint_left(nv12, width, height, 0);
        for (int i = width * height + 1; i < width * height * 3 / 2; i += 2) {
            nv12[i] = 77; // V everywhere: it must not change places with U
        }
    }});
    AnnotatedVideo video({320, 240, 0, true}, AXOVERLAY_STREAM_JPEG);
    video.start();
    std::string why;
    ASSERT_TRUE(video.next(why)) << why;
    const Nv12Picture& picture = video.picture();
    EXPECT_EQ(picture.luma()[0], 50);
    EXPECT_EQ(picture.luma()[319], 200);
    EXPECT_EQ(picture.chroma()[0], 50);
    EXPECT_EQ(picture.chroma()[1], 77);
    EXPECT_EQ(picture.chroma()[318], 200);
    EXPECT_EQ(picture.chroma()[319], 77);
}

TEST_F(AnnotatedVideoTest, TheOverlayStaysUprightOnRotatedAndMirroredPictures) {
    start();
    for (const auto& [rotation, mirrored] : {std::pair{0, true}, {90, false}, {180, false}, {270, true}}) {
        const Geometry geometry{320, 240, rotation, mirrored};
        AnnotatedVideo video(geometry, AXOVERLAY_STREAM_H264);
        video.start();
        redraw([&](cairo_t* context, const axoverlay_stream_data& stream, int width, int height) {
            EXPECT_EQ(stream.width, 320);
            EXPECT_EQ(stream.height, 240);
            EXPECT_EQ(stream.rotation, geometry.rotation);
            EXPECT_EQ(stream.is_mirrored != FALSE, geometry.mirrored);
            EXPECT_EQ(stream.camera, 1);
            EXPECT_EQ(stream.type, AXOVERLAY_STREAM_H264);
            EXPECT_EQ(width, geometry.picture_width());
            EXPECT_EQ(height, geometry.picture_height());
            cairo_rectangle(context, 0, 0, 10, 10);
            cairo_fill(context);
        });
        std::string why;
        ASSERT_TRUE(video.next(why)) << why;
        EXPECT_TRUE(video.overlay_settled());
        EXPECT_EQ(video.picture().luma()[0], 16);
        EXPECT_EQ(video.picture().luma()[geometry.picture_width() - 1], 128);
        EXPECT_EQ(video.picture().luma()[video.picture().luma_size() - 1], 128);
    }
}

TEST_F(AnnotatedVideoTest, FailuresCarryTheVideoServicesReason) {
    fake_vdo::behave({.start_failure = "no encoder left"});
    AnnotatedVideo refused({320, 240, 0, false}, AXOVERLAY_STREAM_JPEG);
    try {
        refused.start();
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "the camera's video does not start: no encoder left");
    }
    fake_vdo::behave({.dead = true});
    AnnotatedVideo dead({320, 240, 0, false}, AXOVERLAY_STREAM_JPEG);
    dead.start();
    std::string why;
    EXPECT_FALSE(dead.next(why));
    EXPECT_EQ(why, "the camera delivers no video: the source is gone");
}

TEST_F(AnnotatedVideoTest, StopFreesAThreadThatWaitsForASilentCamera) {
    fake_vdo::behave({.silent = true});
    AnnotatedVideo video({320, 240, 0, false}, AXOVERLAY_STREAM_JPEG);
    video.start();
    std::jthread waiting([&] {
        std::string why;
        EXPECT_FALSE(video.next(why));
    });
    video.stop();
}

TEST_F(AnnotatedVideoTest, AStopBeforeTheStartHoldsToo) {
    AnnotatedVideo video({320, 240, 0, false}, AXOVERLAY_STREAM_JPEG);
    video.stop();
    video.start();
    std::string why;
    EXPECT_FALSE(video.next(why));
}

} // namespace
