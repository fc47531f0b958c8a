#include "tests/platform/axoverlay/test_video.h"

#include "platform/axoverlay/host_streams.h"
#include "tests/platform/axoverlay/fake_vdo.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

namespace test_video {

Rgb RgbImage::at(int x, int y) const {
    const std::uint8_t* pixel = bytes.data() + (static_cast<std::ptrdiff_t>(y) * width + x) * 3;
    return {pixel[0], pixel[1], pixel[2]};
}

RgbImage decode(std::span<const std::uint8_t> jpeg) {
    RgbImage image;
    const tjhandle handle = tjInitDecompress();
    int sampling = 0;
    int space = 0;
    const auto size = static_cast<unsigned long>(jpeg.size());
    EXPECT_EQ(tjDecompressHeader3(handle, jpeg.data(), size, &image.width, &image.height, &sampling, &space), 0);
    image.bytes.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 3);
    EXPECT_EQ(tjDecompress2(handle, jpeg.data(), size, image.bytes.data(), image.width, 0, image.height, TJPF_RGB, 0),
              0);
    tjDestroy(handle);
    return image;
}

testing::AssertionResult near(Rgb seen, Rgb expected, int tolerance) {
    const int off =
        std::max({std::abs(seen.r - expected.r), std::abs(seen.g - expected.g), std::abs(seen.b - expected.b)});
    if (off <= tolerance)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "(" << seen.r << ", " << seen.g << ", " << seen.b << ") instead of ("
                                       << expected.r << ", " << expected.g << ", " << expected.b << ")";
}

namespace {

std::atomic<bool> low_priorities = false;

} // namespace

LowPriorities::LowPriorities() {
    low_priorities = true;
}

LowPriorities::~LowPriorities() {
    low_priorities = false;
}

OverlayApplication::OverlayApplication() {
    fake_vdo::behave({});
    axoverlay_init_axoverlay_settings(&settings);
    settings.render_callback = render;
    settings.adjustment_callback = adjust;
}

OverlayApplication::~OverlayApplication() {
    axoverlay_cleanup();
    EXPECT_EQ(fake_vdo::open_streams(), 0);
    EXPECT_EQ(fake_vdo::pictures_outstanding(), 0);
}

void OverlayApplication::start() {
    g_autoptr(GError) error = nullptr;
    ASSERT_TRUE(axoverlay_init(&settings, &error)) << error->message;
    m_address = host_overlay::listen_address();
    axoverlay_overlay_data data{};
    axoverlay_init_overlay_data(&data);
    data.width = axoverlay_get_max_resolution_width(1, &error);
    data.height = axoverlay_get_max_resolution_height(1, &error);
    overlay_id = axoverlay_create_overlay(&data, this, &error);
    ASSERT_EQ(error, nullptr) << error->message;
}

void OverlayApplication::redraw(Draw draw) {
    m_draw = std::move(draw);
    g_autoptr(GError) error = nullptr;
    axoverlay_redraw(&error);
    EXPECT_EQ(error, nullptr) << error->message;
}

testing::AssertionResult OverlayApplication::redraw_until(const std::function<bool()>& condition) {
    return becomes_true([&] {
        redraw(m_draw);
        return condition();
    });
}

void OverlayApplication::render(gpointer context, gint, axoverlay_stream_data* stream, axoverlay_position_type, gfloat,
                                gfloat, gint width, gint height, gpointer user_data) {
    if (const Draw& draw = static_cast<OverlayApplication*>(user_data)->m_draw)
        draw(static_cast<cairo_t*>(context), *stream, width, height);
}

void OverlayApplication::adjust(gint, axoverlay_stream_data* stream, axoverlay_position_type*, gfloat*, gfloat*,
                                gint* width, gint* height, gpointer) {
    const bool turned = stream->rotation == 90 || stream->rotation == 270;
    *width = turned ? stream->height : stream->width;
    *height = turned ? stream->width : stream->height;
}

} // namespace test_video

// These stand before the library's own.

extern "C" int sched_setscheduler(pid_t thread, int policy, const sched_param* parameters) noexcept {
    return test_video::low_priorities ? static_cast<int>(syscall(SYS_sched_setscheduler, thread, policy, parameters))
                                      : 0;
}

extern "C" int setpriority(__priority_which_t which, id_t who, int niceness) noexcept {
    return test_video::low_priorities ? static_cast<int>(syscall(SYS_setpriority, which, who, niceness)) : 0;
}
