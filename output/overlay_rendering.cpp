#include "base/arithmetic.h"
#include "base/run_state.h"
#include "base/shared_field.h"
#include "detection/object_class.h"
#include "output/overlay_manager.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace {

constexpr int32_t kCrossArm = 5; // pixels
constexpr int32_t kLabelGap = 2; // pixels between the left edge of a box and its label

/** A rectangle in pixels of the stream as it is shown, after rotation. */
struct box {
    int32_t x;
    int32_t y;
    int32_t w;
    int32_t h;
};

/**
 * Where the analysed picture lies on a stream. Heights are made equal and the picture is centred horizontally, so a
 * stream of another aspect ratio shows the boxes where a camera that crops left and right has the objects. The ratios
 * are of pixel distances, hence the ones; analysed sizes of 1 or 0 give infinities, which float_to_int ends.
 */
class stream_mapping {
  public:
    explicit stream_mapping(const axoverlay_stream_data& stream) {
        const bool rotated = stream.rotation == 90 || stream.rotation == 270;
        m_right = wrap_subtract(rotated ? stream.height : stream.width, 1);
        const int32_t bottom = wrap_subtract(rotated ? stream.width : stream.height, 1);
        m_mirrored = stream.is_mirrored == TRUE;
        const auto analysed_right = static_cast<float>(wrap_subtract(g_StreamWidth, 1));
        const auto analysed_bottom = static_cast<float>(wrap_subtract(g_StreamHeight, 1));
        m_scale = static_cast<float>(bottom) / analysed_bottom;
        m_offset = (analysed_right - static_cast<float>(m_right) / m_scale) / 2;
    }

    box operator()(int32_t x, int32_t y, int32_t w, int32_t h) const {
        return {float_to_int((static_cast<float>(x) - m_offset) * m_scale),
                float_to_int(static_cast<float>(y) * m_scale), float_to_int(static_cast<float>(w) * m_scale),
                float_to_int(static_cast<float>(h) * m_scale)};
    }

    bool mirrored() const { return m_mirrored; }

    /** The column where `x` is seen. */
    int32_t column(int32_t x) const { return m_mirrored ? wrap_subtract(m_right, x) : x; }

    /** The columns of the left and the right edge of a box. */
    std::pair<int32_t, int32_t> edges(const box& place) const {
        const int32_t right = wrap_add(place.x, place.w);
        return m_mirrored ? std::pair(column(right), column(place.x)) : std::pair(place.x, right);
    }

  private:
    int32_t m_right; // last column
    bool m_mirrored;
    float m_scale;  // stream pixels for one analysed pixel
    float m_offset; // analysed columns left of the stream's first
};

struct footing_style {
    PaletteColors color;
    int32_t outlines;
};

footing_style style_of(footings footing) {
    switch (footing) {
    case not_in_AOI:
        return {Green, 1};
    case in_AOI1_briefly:
        return {Yellow, 1};
    case in_AOI1_lengthily:
        return {Red, 1};
    case in_AOI1_more_lengthily:
        return {Red, 2};
    case in_AOI1_most_lengthily:
        return {Red, 3};
    }
    return {Green, 1};
}

/** One render call: a context, a stream and how to draw on it. */
class finding_painter {
  public:
    finding_painter(cairo_t* cairo, const axoverlay_stream_data& stream, bool fill)
        : m_cairo(cairo), m_map(stream), m_fill(fill) {
        // Half a percent and three percent of the smaller side.
        const int32_t side = std::min(stream.width, stream.height);
        m_line_width = std::max(1, side / 200);
        const int64_t font_size = std::max<int64_t>(16, int64_t{side} * 3 / 100);
        cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
        cairo_select_font_face(cairo, "Arial", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
        cairo_set_font_size(cairo, static_cast<double>(font_size));
    }

    void paint(const one_find& finding) const {
        const box place = m_map(finding.detect.X, finding.detect.Y, finding.detect.W, finding.detect.H);
        const footing_style style = style_of(finding.footing);
        const auto draw = style.outlines == 3   ? OverlayManager::drawRectangle3
                          : style.outlines == 2 ? OverlayManager::drawRectangle2
                                                : OverlayManager::drawRectangle;
        const auto [left, right] = m_map.edges(place);
        draw(m_cairo, left, place.y, right, wrap_add(place.y, place.h), style.color, m_line_width, m_fill);
        OverlayManager::drawCross(m_cairo, m_map.column(wrap_add(place.x, place.w / 2)), wrap_add(place.y, place.h / 2),
                                  White, m_line_width, kCrossArm);
        if (finding.detect.ClassId > 0)
            paint_label(class_label(finding.detect.ClassId), place);
        if (finding.footing != not_in_AOI)
            paint_dwell_time(OverlayManager::secondsToTimeText(finding.seconds), place, style.outlines - 1);
    }

    void paint(const UserRectangle& user) const {
        const box place = m_map(user.rect.X, user.rect.Y, user.rect.W, user.rect.H);
        const auto [left, right] = m_map.edges(place);
        OverlayManager::drawRectangle(m_cairo, left, place.y, right, wrap_add(place.y, place.h), user.colorIndex,
                                      m_line_width, false);
    }

  private:
    /** Inside the box's upper left corner as it is seen. */
    void paint_label(const std::string& text, const box& place) const {
        const cairo_text_extents_t size = measure(text);
        const int32_t corner =
            m_map.mirrored() ? wrap_subtract(wrap_add(place.x, place.w), kLabelGap) : wrap_add(place.x, kLabelGap);
        OverlayManager::drawText(m_cairo, text, m_map.column(corner), place.y + size.height + m_line_width, White);
    }

    /** Centred under the box, and under the outlines around it. */
    void paint_dwell_time(const std::string& text, const box& place, int32_t further_outlines) const {
        const cairo_text_extents_t size = measure(text);
        const int32_t half = place.w / 2;
        const int32_t centre = m_map.mirrored() ? wrap_subtract(m_map.column(place.x), half) : wrap_add(place.x, half);
        const int32_t gap = wrap_multiply(2 + further_outlines, m_line_width);
        OverlayManager::drawText(m_cairo, text, centre - size.width / 2, wrap_add(place.y, place.h) + size.height + gap,
                                 White);
    }

    cairo_text_extents_t measure(const std::string& text) const {
        cairo_text_extents_t size;
        cairo_text_extents(m_cairo, text.c_str(), &size);
        return size;
    }

    cairo_t* m_cairo;
    stream_mapping m_map;
    bool m_fill;
    int32_t m_line_width; // pixels
};

} // namespace

void OverlayManager::renderCallback(gpointer rendering_context, gint id, axoverlay_stream_data* stream,
                                    axoverlay_position_type, gfloat, gfloat, gint, gint, gpointer) {
    // Drawn so far, for a look with the debugger.
    static std::atomic<uint32_t> nCalls{0};

    const StreamType type =
        g_OverlayInfo.getStreamType(static_cast<uint32_t>(stream->width), static_cast<uint32_t>(stream->height));
    if (id != read_shared(m_OverlayID) || type == OtherStream)
        return;

    const finding_painter painter(static_cast<cairo_t*>(rendering_context), *stream, type == AnonymizedStream);
    t_findings_list findings;
    {
        const std::lock_guard lock(g_FindingsMutex);
        findings = *g_OverlayInfo.pFindings;
    }
    for (const one_find& finding : findings) {
        painter.paint(finding);
        ++nCalls;
    }
    for (const UserRectangle& user : copy_user_rectangles())
        painter.paint(user);
}

std::string OverlayManager::secondsToTimeText(int32_t seconds) {
    if (seconds == 1)
        return "1 second";
    if (seconds < 60)
        return std::to_string(seconds) + " seconds";
    if (seconds < 120)
        return "1 minute";
    return std::to_string(seconds / 60) + " minutes";
}
