#pragma once

#include "output/camera_resolutions.h"
#include "output/overlay_info.h"
#include "output/palette.h"
#include "output/render_options.h"
#include "output/user_rectangles.h"

#include <axoverlay.h>
#include <cairo.h>

#include <cstdint>
#include <string>

/**
 * Draws the findings of the last pass over the camera's video streams.
 *
 * One overlay is offered to every stream that a viewer opens. On each redraw the overlay service calls `renderCallback`
 * once for each open stream; the stream's size tells what is drawn there (OverlayInfo): nothing, boxes, or boxes filled
 * with an opaque checkered pattern that hides what is in them.
 *
 * Made and destroyed on the main thread, which also asks for redraws; the callbacks may run on any thread of the
 * service. Failures of the service are told in the log, and what depends on the failed step fails and logs as well.
 *
 * Coordinates of the drawing functions are pixels of the stream.
 */
class OverlayManager {
  public:
    /** Starts the service and has it draw once. */
    OverlayManager();
    ~OverlayManager();
    OverlayManager(const OverlayManager&) = delete;
    OverlayManager& operator=(const OverlayManager&) = delete;

    /**
     * Has every open stream drawn anew from `g_findings`. False, with a line in the log, when the service fails.
     * REQUIRES: the caller does not hold g_FindingsMutex, which the callback takes.
     */
    bool renderFindings() const;

    /** The identifier of the new overlay, 0 on failure. Width and height in pixels. */
    static int createOverlay(int width, int height);

    // What the overlay service calls.

    static void renderCallback(gpointer rendering_context, gint id, axoverlay_stream_data* stream,
                               axoverlay_position_type postype, gfloat overlay_x, gfloat overlay_y, gint overlay_width,
                               gint overlay_height, gpointer user_data);
    /** Makes the overlay as large as the stream is after rotation. */
    static void adjustmentCallback(gint id, axoverlay_stream_data* stream, axoverlay_position_type* postype,
                                   gfloat* overlay_x, gfloat* overlay_y, gint* overlay_width, gint* overlay_height,
                                   gpointer user_data);
    /** Every stream gets the overlay; `renderCallback` decides what each is shown. */
    static gboolean selectStreamCallback(gint camera, gint width, gint height, gint rotation, gboolean is_mirrored,
                                         axoverlay_stream_type type);

    /** Pixels of the analysed stream. The 17th is refused with a line in the log. Any thread. */
    static void addUserRectangle(int32_t x, int32_t y, int32_t w, int32_t h, int32_t colorIndex);
    static void clearUserRectangles();

    /** "1 second", "59 seconds", "1 minute", "2 minutes": whole minutes from 60 on. */
    static std::string secondsToTimeText(int32_t seconds);

    // Drawing. Rectangles, crosses and boxes replace what is below them, and leave the context's operator that way.

    /** Black, with a line in the log, for an index outside the palette. */
    static void usePaletteColor(cairo_t* cairo, int32_t colorIndex, double alpha);

    /** An outline, and with `fill` the checkered pattern of its colour inside. */
    static void drawRectangle(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colorIndex,
                              int32_t lineWidth, bool fill);
    /** Two of them, the second larger by two line widths on every side. */
    static void drawRectangle2(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colorIndex,
                               int32_t lineWidth, bool fill);
    /** Three, each larger than the one before. */
    static void drawRectangle3(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colorIndex,
                               int32_t lineWidth, bool fill);

    /** Text with a thin black rim, from the start (x, y) of its baseline, in the context's font. */
    static void drawText(cairo_t* cairo, const std::string& text, double x, double y, int32_t colorIndex);

    /** `size` is the length of an arm. */
    static void drawCross(cairo_t* cairo, int32_t x, int32_t y, int32_t colorIndex, int32_t lineWidth, int32_t size);
    static void drawBox(cairo_t* cairo, int32_t x, int32_t y, int32_t colorIndex, int32_t lineWidth, int32_t halfSize);
    static void drawCircle(cairo_t* cairo, int32_t x, int32_t y, int32_t colorIndex, int32_t lineWidth, int32_t radius,
                           bool fill);
    static void useDashedLineStyle(cairo_t* cairo);
    static void useDottedLineStyle(cairo_t* cairo);
    static void useSolidLineStyle(cairo_t* cairo);

  public:
    static int32_t m_OverlayID; // 0: none. Set on the main thread, read by the callbacks
};
