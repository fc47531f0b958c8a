#pragma once

#include "scene/finding.h"
#include "tests/output/picture.h"

#include <glib.h>

/** Renders the process-wide findings as the overlay service would have it done. */
namespace rendering {

constexpr gint kOverlay = 41; // the overlay's identifier between `begin` and `end`

/** Pixels as delivered, before rotation. */
struct stream {
    int width;
    int height;
    int rotation = 0;
    int mirrored = 0;
};

/** No findings, no user rectangles, no role but the application stream's; analysed pictures of this size. */
void begin(int analysed_width, int analysed_height);
/** As before any `begin`. */
void end();

/** Moves the first role out of the way of the others. */
void set_application_stream(uint32_t width, uint32_t height);

one_find finding(int x, int y, int w, int h, int class_id, footings footing, int seconds);

/** One render call onto a cleared picture of the size that the adjustment callback chooses. */
picture render(const stream& what, gint overlay = kOverlay);

} // namespace rendering
