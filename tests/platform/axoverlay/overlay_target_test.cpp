#include "platform/axoverlay/overlay_target.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

namespace {

using namespace host_overlay;

/** What the callbacks of one test do and saw; they are plain functions and find it here. */
struct Application {
    gboolean select = TRUE;
    int width = 8;
    int height = 8;
    axoverlay_position_type position = AXOVERLAY_TOP_LEFT;
    std::function<void(cairo_t*)> draw = [](cairo_t* context) { cairo_paint(context); };
    int selects = 0;
    int adjustments = 0;
    int renders = 0;
} application;

gboolean on_select(gint, gint, gint, gint, gboolean, axoverlay_stream_type) {
    ++application.selects;
    return application.select;
}

void on_adjust(gint, axoverlay_stream_data*, axoverlay_position_type* position, gfloat*, gfloat*, gint* width,
               gint* height, gpointer) {
    ++application.adjustments;
    *position = application.position;
    *width = application.width;
    *height = application.height;
}

void on_render(gpointer context, gint, axoverlay_stream_data*, axoverlay_position_type, gfloat, gfloat, gint, gint,
               gpointer) {
    ++application.renders;
    application.draw(static_cast<cairo_t*>(context));
}

class OverlayTargetTest : public testing::Test {
  protected:
    OverlayTargetTest() {
        application = {};
        overlay.id = 1;
    }

    int shown_luma() {
        Nv12Picture picture;
        picture.resize(8, 8);
        settled = target.blend_onto(picture);
        return picture.luma()[0];
    }

    axoverlay_settings settings{on_render, on_adjust, on_select, AXOVERLAY_CAIRO_IMAGE_BACKEND};
    Overlay overlay;
    OverlayTarget target{1, {8, 8, 0, false}, AXOVERLAY_STREAM_JPEG, true};
    bool settled = false;
};

TEST_F(OverlayTargetTest, IsBareAndUnsettledUntilTheFirstRedraw) {
    EXPECT_EQ(shown_luma(), 0);
    EXPECT_FALSE(settled);
    target.redraw(settings, overlay);
    EXPECT_EQ(shown_luma(), 16);
    EXPECT_TRUE(settled);
}

TEST_F(OverlayTargetTest, AsksOnceForEachOverlayAndRendersAtEachRedraw) {
    target.redraw(settings, overlay);
    target.redraw(settings, overlay);
    EXPECT_EQ(application.selects, 1);
    EXPECT_EQ(application.adjustments, 1);
    EXPECT_EQ(application.renders, 2);
    overlay.id = 2;
    target.redraw(settings, overlay);
    EXPECT_EQ(application.selects, 2);
    EXPECT_EQ(application.adjustments, 2);
}

TEST_F(OverlayTargetTest, AStreamThatIsNotSelectedIsSettledAndBare) {
    application.select = FALSE;
    target.redraw(settings, overlay);
    EXPECT_EQ(shown_luma(), 0);
    EXPECT_TRUE(settled);
    EXPECT_EQ(application.adjustments, 0);
    EXPECT_EQ(application.renders, 0);
}

TEST_F(OverlayTargetTest, EveryRedrawBeginsWithAnEmptyImageHoweverManyPicturesComeBetween) {
    for (const int pictures : {0, 1, 2, 0, 0, 0, 3}) {
        application.draw = [](cairo_t* context) { cairo_paint(context); };
        target.redraw(settings, overlay);
        for (int i = 0; i < pictures; ++i)
            EXPECT_EQ(shown_luma(), 16);
        application.draw = [](cairo_t*) {};
        target.redraw(settings, overlay);
        for (int i = 0; i < pictures; ++i)
            EXPECT_EQ(shown_luma(), 0);
    }
}

TEST_F(OverlayTargetTest, WithdrawingBaresTheStreamAndANewOverlayIsExpected) {
    target.redraw(settings, overlay);
    target.withdraw();
    EXPECT_EQ(shown_luma(), 0);
    EXPECT_TRUE(settled);
    target.expect_overlay();
    shown_luma();
    EXPECT_FALSE(settled);
}

TEST_F(OverlayTargetTest, AnImpossibleSizeOrPlaceIsAnErrorAndIsAskedAgain) {
    application.width = 0;
    EXPECT_THROW(target.redraw(settings, overlay), std::runtime_error);
    application.width = 8;
    application.position = AXOVERLAY_BOTTOM_LEFT;
    EXPECT_THROW(target.redraw(settings, overlay), std::runtime_error);
    EXPECT_EQ(application.renders, 0);
    application.position = AXOVERLAY_TOP_LEFT;
    target.redraw(settings, overlay);
    EXPECT_EQ(application.adjustments, 3);
    EXPECT_EQ(shown_luma(), 16);
}

TEST_F(OverlayTargetTest, AFailedDrawingKeepsTheOverlayBefore) {
    target.redraw(settings, overlay);
    application.draw = [](cairo_t* context) { cairo_restore(context); };
    EXPECT_THROW(target.redraw(settings, overlay), std::runtime_error);
    EXPECT_EQ(shown_luma(), 16);
}

TEST_F(OverlayTargetTest, WithoutOptionalCallbacksItTakesTheOverlaysOwnSize) {
    settings.select_callback = nullptr;
    settings.adjustment_callback = nullptr;
    overlay.data.width = 6;
    overlay.data.height = 4;
    application.draw = [](cairo_t* context) {
        EXPECT_EQ(cairo_image_surface_get_width(cairo_get_target(context)), 6);
        EXPECT_EQ(cairo_image_surface_get_height(cairo_get_target(context)), 4);
    };
    target.redraw(settings, overlay);
    EXPECT_EQ(application.renders, 1);
}

TEST_F(OverlayTargetTest, APictureNeverShowsAHalfDrawnOverlay) {
    // Each drawing fills the image from top to bottom with one of two greys; a picture must hold one of them only.
    target.redraw(settings, overlay);
    std::jthread drawing([&](const std::stop_token& stop) {
        for (int n = 0; !stop.stop_requested(); ++n) {
            application.draw = [n](cairo_t* context) {
                cairo_set_source_rgb(context, n % 2, n % 2, n % 2);
                for (int row = 0; row < 8; ++row) {
                    cairo_rectangle(context, 0, row, 8, 1);
                    cairo_fill(context);
                }
            };
            target.redraw(settings, overlay);
        }
    });
    for (int i = 0; i < 3000; ++i) {
        Nv12Picture picture;
        picture.resize(8, 8);
        target.blend_onto(picture);
        ASSERT_TRUE(picture.luma()[0] == 16 || picture.luma()[0] == 235);
        ASSERT_EQ(picture.luma()[0], picture.luma()[63]);
    }
}

} // namespace
