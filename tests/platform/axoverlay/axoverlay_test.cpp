#include "platform/axoverlay/annotated_video.h"
#include "platform/axoverlay/host_streams.h"
#include "tests/platform/axoverlay/fake_vdo.h"
#include "tests/platform/axoverlay/test_video.h"

#include <axoverlay.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace {

/** The message of the error that a call reports, or nothing. */
template <typename Call>
std::string message_of(Call&& call) {
    GError* error = nullptr;
    call(&error);
    if (error == nullptr)
        return "";
    const std::string message = error->message;
    g_error_free(error);
    return message;
}

void draw_nothing(gpointer, gint, axoverlay_stream_data*, axoverlay_position_type, gfloat, gfloat, gint, gint,
                  gpointer) {}

class Axoverlay : public testing::Test {
  protected:
    Axoverlay() {
        unsetenv("KORVEX_OVERLAY_LISTEN");
        fake_vdo::behave({.resolutions = {{640, 360}, {1920, 1080}, {1280, 960}}});
        axoverlay_init_axoverlay_settings(&settings);
        settings.render_callback = draw_nothing;
        axoverlay_init_overlay_data(&data);
        data.width = 1920;
        data.height = 1080;
    }
    ~Axoverlay() override { axoverlay_cleanup(); }

    std::string init() {
        return message_of([&](GError** error) { axoverlay_init(&settings, error); });
    }
    std::string create() {
        return message_of([&](GError** error) { id = axoverlay_create_overlay(&data, nullptr, error); });
    }
    static std::string redraw() {
        return message_of([](GError** error) { axoverlay_redraw(error); });
    }
    static std::string destroy(gint overlay) {
        return message_of([&](GError** error) { axoverlay_destroy_overlay(overlay, error); });
    }

    axoverlay_settings settings{};
    axoverlay_overlay_data data{};
    gint id = 0;
};

constexpr const char* not_initialised = "the overlay service is not initialised";

TEST_F(Axoverlay, OnlyTheCairoImageBackendIsSupported) {
    EXPECT_TRUE(axoverlay_is_backend_supported(AXOVERLAY_CAIRO_IMAGE_BACKEND));
    EXPECT_FALSE(axoverlay_is_backend_supported(static_cast<axoverlay_backend_type>(1)));
}

TEST_F(Axoverlay, EverythingButInitNeedsInitFirst) {
    EXPECT_EQ(create(), not_initialised);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(redraw(), not_initialised);
    EXPECT_EQ(destroy(1), not_initialised);
    EXPECT_EQ(message_of([](GError** error) { EXPECT_EQ(axoverlay_get_max_resolution_width(1, error), -1); }),
              not_initialised);
    EXPECT_EQ(message_of([](GError** error) { EXPECT_EQ(axoverlay_get_max_resolution_height(1, error), -1); }),
              not_initialised);
    axoverlay_cleanup();
    EXPECT_EQ(init(), "");
}

TEST_F(Axoverlay, ASecondInitAndMissingCallbacksAreErrors) {
    settings.render_callback = nullptr;
    EXPECT_EQ(init(), "there is no render callback");
    settings.render_callback = draw_nothing;
    settings.backend = static_cast<axoverlay_backend_type>(1);
    EXPECT_EQ(init(), "only the cairo image backend is supported");
    settings.backend = AXOVERLAY_CAIRO_IMAGE_BACKEND;
    EXPECT_EQ(init(), "");
    EXPECT_EQ(init(), "the overlay service is initialised already");
    EXPECT_EQ(message_of([](GError** error) { axoverlay_init(nullptr, error); }), "there are no settings");
    axoverlay_cleanup();
    EXPECT_EQ(init(), "");
}

TEST_F(Axoverlay, TheMaximumResolutionIsTheChannelsLargest) {
    init();
    EXPECT_EQ(axoverlay_get_max_resolution_width(1, nullptr), 1920);
    EXPECT_EQ(axoverlay_get_max_resolution_height(1, nullptr), 1080);
    EXPECT_EQ(message_of([](GError** error) { EXPECT_EQ(axoverlay_get_max_resolution_width(2, error), -1); }),
              "there is no camera 2; the only one is camera 1");
    fake_vdo::behave({.channel_failure = "away"});
    EXPECT_EQ(message_of([](GError** error) { EXPECT_EQ(axoverlay_get_max_resolution_height(1, error), -1); }),
              "the camera's video channel is not available: away");
}

TEST_F(Axoverlay, AnOverlayIsCreatedOnceAndDestroyedByItsId) {
    init();
    EXPECT_EQ(redraw(), "there is no overlay to redraw");
    EXPECT_EQ(create(), "");
    EXPECT_GT(id, 0);
    EXPECT_EQ(redraw(), "");
    const gint first = id;
    EXPECT_EQ(create(), "there is an overlay already; this service holds one");
    EXPECT_EQ(destroy(0), "there is no overlay 0");
    EXPECT_EQ(destroy(first + 1), "there is no overlay " + std::to_string(first + 1));
    EXPECT_EQ(destroy(first), "");
    EXPECT_EQ(destroy(first), "there is no overlay " + std::to_string(first));
    EXPECT_EQ(redraw(), "there is no overlay to redraw");
    EXPECT_EQ(create(), "");
    EXPECT_NE(id, first);
}

TEST_F(Axoverlay, OverlaysThatItCannotShowAreRefused) {
    init();
    const axoverlay_overlay_data good = data;
    const auto refused = [&](auto&& change) {
        data = good;
        change(data);
        const std::string message = create();
        EXPECT_EQ(id, 0);
        return message;
    };
    EXPECT_EQ(refused([](auto& d) { d.colorspace = AXOVERLAY_COLORSPACE_4BIT_PALETTE; }),
              "only the colour space ARGB32 is supported");
    EXPECT_EQ(refused([](auto& d) { d.scale_to_stream = TRUE; }), "scaling an overlay to its stream is not supported");
    const std::string placed = "only an overlay anchored and placed at the top-left corner is supported";
    EXPECT_EQ(refused([](auto& d) { d.postype = AXOVERLAY_CUSTOM_NORMALIZED; }), placed);
    EXPECT_EQ(refused([](auto& d) { d.anchor_point = AXOVERLAY_ANCHOR_CENTER; }), placed);
    EXPECT_EQ(refused([](auto& d) { d.x = 0.5F; }), placed);
    EXPECT_EQ(refused([](auto& d) { d.y = -1.0F; }), placed);
    EXPECT_EQ(refused([](auto& d) { d.width = -1; }),
              "an overlay of -1x1080 is not possible; the camera's largest picture is 1920x1080");
    EXPECT_EQ(refused([](auto& d) { d.height = 1081; }),
              "an overlay of 1920x1081 is not possible; the camera's largest picture is 1920x1080");
    EXPECT_EQ(message_of([](GError** error) { EXPECT_EQ(axoverlay_create_overlay(nullptr, nullptr, error), 0); }),
              "there is no overlay data");
}

TEST_F(Axoverlay, ErrorsMayBeIgnored) {
    axoverlay_redraw(nullptr);
    axoverlay_destroy_overlay(7, nullptr);
    EXPECT_EQ(axoverlay_create_overlay(&data, nullptr, nullptr), 0);
    EXPECT_FALSE(axoverlay_init(nullptr, nullptr));
}

TEST_F(Axoverlay, WithoutAListenAddressNothingIsServedAndABadOneFailsInit) {
    EXPECT_EQ(init(), "");
    EXPECT_EQ(host_overlay::listen_address(), "");
    axoverlay_cleanup();
    setenv("KORVEX_OVERLAY_LISTEN", "somewhere", 1);
    EXPECT_EQ(init(), "KORVEX_OVERLAY_LISTEN is \"somewhere\"; it must be a numeric address and a port, like "
                      "127.0.0.1:8080 or [::1]:8080, or unix: and the path of a socket");
    setenv("KORVEX_OVERLAY_LISTEN", "127.0.0.1:0", 1);
    setenv("KORVEX_OVERLAY_JPEG_QUALITY", "best", 1);
    EXPECT_EQ(init(), "KORVEX_OVERLAY_JPEG_QUALITY is \"best\"; it must be 1 to 100");
    unsetenv("KORVEX_OVERLAY_JPEG_QUALITY");
    EXPECT_EQ(init(), "");
    EXPECT_TRUE(host_overlay::listen_address().starts_with("127.0.0.1:"));
    EXPECT_EQ(redraw(), "there is no overlay to redraw");
    unsetenv("KORVEX_OVERLAY_LISTEN");
}

/** Every argument that a callback got, and the thread that it was called on. */
struct Called {
    std::string name;
    std::thread::id thread;
    gint id = 0;
    axoverlay_stream_data stream{};
    gint width = 0;
    gint height = 0;
    gpointer user_data = nullptr;
};
std::vector<Called> calls;

gboolean record_select(gint camera, gint width, gint height, gint rotation, gboolean mirrored,
                       axoverlay_stream_type type) {
    calls.push_back({"select", std::this_thread::get_id(), 0, {0, camera, width, height, rotation, mirrored, type}});
    return width != 640;
}

void record_adjustment(gint id, axoverlay_stream_data* stream, axoverlay_position_type* position, gfloat* x, gfloat* y,
                       gint* width, gint* height, gpointer user_data) {
    calls.push_back({"adjust", std::this_thread::get_id(), id, *stream, *width, *height, user_data});
    EXPECT_EQ(*position, AXOVERLAY_TOP_LEFT);
    EXPECT_EQ(*x, 0.0F);
    EXPECT_EQ(*y, 0.0F);
    *width = stream->height;
    *height = stream->width;
}

void record_render(gpointer context, gint id, axoverlay_stream_data* stream, axoverlay_position_type position, gfloat x,
                   gfloat y, gint width, gint height, gpointer user_data) {
    calls.push_back({"render", std::this_thread::get_id(), id, *stream, width, height, user_data});
    EXPECT_EQ(cairo_image_surface_get_width(cairo_get_target(static_cast<cairo_t*>(context))), width);
    EXPECT_EQ(cairo_image_surface_get_height(cairo_get_target(static_cast<cairo_t*>(context))), height);
    EXPECT_EQ(position, AXOVERLAY_TOP_LEFT);
    EXPECT_EQ(x, 0.0F);
    EXPECT_EQ(y, 0.0F);
}

TEST_F(Axoverlay, CallsBackInTheRedrawingThreadWithWhatBelongsToEachStream) {
    calls.clear();
    settings = {record_render, record_adjustment, record_select, AXOVERLAY_CAIRO_IMAGE_BACKEND};
    init();
    int user_data = 0;
    id = axoverlay_create_overlay(&data, &user_data, nullptr);
    EXPECT_EQ(redraw(), "");
    EXPECT_TRUE(calls.empty());

    const host_overlay::AnnotatedVideo turned({1280, 960, 90, true}, AXOVERLAY_STREAM_JPEG);
    const host_overlay::AnnotatedVideo unselected({640, 360, 0, false}, AXOVERLAY_STREAM_H264);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(redraw(), "");
    EXPECT_EQ(redraw(), "");

    std::vector<std::string> names;
    for (const Called& call : calls) {
        names.push_back(call.name);
        EXPECT_EQ(call.thread, std::this_thread::get_id());
        EXPECT_EQ(call.stream.camera, 1);
    }
    ASSERT_EQ(names, (std::vector<std::string>{"select", "adjust", "render", "select", "render"}));
    for (const std::size_t i : {1U, 2U, 4U}) {
        EXPECT_EQ(calls[i].id, id);
        EXPECT_EQ(calls[i].user_data, &user_data);
        EXPECT_EQ(calls[i].stream.id, calls[1].stream.id);
        EXPECT_EQ(calls[i].stream.width, 1280);
        EXPECT_EQ(calls[i].stream.height, 960);
        EXPECT_EQ(calls[i].stream.rotation, 90);
        EXPECT_EQ(calls[i].stream.is_mirrored, TRUE);
        EXPECT_EQ(calls[i].stream.type, AXOVERLAY_STREAM_JPEG);
    }
    EXPECT_EQ(calls[1].width, 1920);
    EXPECT_EQ(calls[1].height, 1080);
    EXPECT_EQ(calls[2].width, 960);
    EXPECT_EQ(calls[2].height, 1280);
    EXPECT_EQ(calls[3].stream.width, 640);
    EXPECT_EQ(calls[3].stream.type, AXOVERLAY_STREAM_H264);
}

TEST_F(Axoverlay, OneStreamThatFailsDoesNotKeepTheOthersBare) {
    settings.adjustment_callback = [](gint, axoverlay_stream_data* stream, axoverlay_position_type*, gfloat*, gfloat*,
                                      gint* width, gint* height, gpointer) {
        *width = stream->width == 640 ? -3 : stream->width;
        *height = stream->height;
    };
    settings.render_callback = [](gpointer context, gint, axoverlay_stream_data*, axoverlay_position_type, gfloat,
                                  gfloat, gint, gint, gpointer) { cairo_paint(static_cast<cairo_t*>(context)); };
    init();
    create();
    host_overlay::AnnotatedVideo bad({640, 360, 0, false}, AXOVERLAY_STREAM_JPEG);
    host_overlay::AnnotatedVideo good({1280, 960, 0, false}, AXOVERLAY_STREAM_JPEG);
    good.start();
    EXPECT_EQ(redraw(), "an overlay cannot be -3 pixels wide or high; it may have 1 to 32767");
    std::string why;
    ASSERT_TRUE(good.next(why)) << why;
    EXPECT_EQ(good.picture().luma()[0], 16);
}

TEST_F(Axoverlay, DestroyingTheOverlayBaresTheOpenStreams) {
    settings.render_callback = [](gpointer context, gint, axoverlay_stream_data*, axoverlay_position_type, gfloat,
                                  gfloat, gint, gint, gpointer) { cairo_paint(static_cast<cairo_t*>(context)); };
    init();
    host_overlay::AnnotatedVideo video({1280, 960, 0, false}, AXOVERLAY_STREAM_JPEG);
    video.start();
    std::string why;
    ASSERT_TRUE(video.next(why));
    EXPECT_TRUE(video.overlay_settled());
    create();
    ASSERT_TRUE(video.next(why));
    EXPECT_FALSE(video.overlay_settled());
    redraw();
    ASSERT_TRUE(video.next(why));
    EXPECT_EQ(video.picture().luma()[0], 16);
    axoverlay_cleanup();
    ASSERT_TRUE(video.next(why));
    EXPECT_EQ(video.picture().luma()[0], 128);
}

} // namespace
