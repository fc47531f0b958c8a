#pragma once

#include "platform/axoverlay/nv12_picture.h"
#include "tests/support/becomes_true.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/variables.h"

#include <axoverlay.h>
#include <cairo.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

/** What several tests need around the overlay service. */
namespace test_video {

struct Rgb {
    int r = 0, g = 0, b = 0;
};

struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    Rgb at(int x, int y) const;
};

RgbImage decode(std::span<const std::uint8_t> jpeg);

/** Each channel within the tolerance: what JPEG's rounding and, near an edge, its ringing leave. */
testing::AssertionResult near(Rgb seen, Rgb expected, int tolerance = 8);

/**
 * Lets threads have the low priority that they ask for, while it lives. Else they keep that of the tests, which may be
 * many at once on a small machine: nothing would ever be left over for such a thread.
 */
class LowPriorities {
  public:
    LowPriorities();
    ~LowPriorities();
    LowPriorities(const LowPriorities&) = delete;
    LowPriorities& operator=(const LowPriorities&) = delete;
};

/** An application with one overlay: every test draws what it likes. */
class OverlayApplication : public testing::Test {
  protected:
    using Draw = std::function<void(cairo_t*, const axoverlay_stream_data&, int width, int height)>;

    OverlayApplication();
    ~OverlayApplication() override;

    /** axoverlay_init with a server on a free port, and an overlay of the camera's largest size. */
    void start();
    /** A redraw with this drawing from now on. Fails the test when the service reports an error. */
    void redraw(Draw draw);
    /** Redraws what was drawn last until the condition holds, as the analysis passes would. */
    testing::AssertionResult redraw_until(const std::function<bool()>& condition);
    const std::string& address() const { return m_address; }

    axoverlay_settings settings{};
    gint overlay_id = 0;

  private:
    const Variables m_listen{"KORVEX_OVERLAY_LISTEN", "127.0.0.1:0"};

    static void render(gpointer context, gint id, axoverlay_stream_data* stream, axoverlay_position_type position,
                       gfloat x, gfloat y, gint width, gint height, gpointer user_data);
    static void adjust(gint id, axoverlay_stream_data* stream, axoverlay_position_type* position, gfloat* x, gfloat* y,
                       gint* width, gint* height, gpointer user_data);

    std::string m_address;
    Draw m_draw;
};

} // namespace test_video
