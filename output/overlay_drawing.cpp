#include "base/arithmetic.h"
#include "base/logger.h"
#include "output/overlay_manager.h"

#include <array>
#include <cstddef>
#include <memory>

namespace {

struct color {
    double red;
    double green;
    double blue;
};

constexpr std::array<color, 7> kPalette = {{
    {0, 0, 0},   // Black
    {1, 0, 0},   // Red
    {0, 1, 0},   // Green
    {0, 0, 1},   // Blue
    {1, 1, 0},   // Yellow
    {1, 1, 1},   // White
    {1, 0.6, 0}, // Orange
}};

constexpr double kCircleEnd = 6.283184; // radians, a hair short of the full turn

struct pattern_deleter {
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};

/** What every shape starts with: its colour, replacing what is below it. */
void use_pen(cairo_t* cairo, int32_t colorIndex, int32_t lineWidth) {
    OverlayManager::usePaletteColor(cairo, colorIndex, 1);
    cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
    cairo_set_line_width(cairo, lineWidth);
}

/** Leads back to its start without being closed there: the joint has two plain ends in place of a corner. */
void outline_path(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    cairo_move_to(cairo, x1, y1);
    cairo_line_to(cairo, x2, y1);
    cairo_line_to(cairo, x2, y2);
    cairo_line_to(cairo, x1, y2);
    cairo_line_to(cairo, x1, y1);
}

} // namespace

void OverlayManager::usePaletteColor(cairo_t* cairo, int32_t colorIndex, double alpha) {
    if (colorIndex < 0 || static_cast<size_t>(colorIndex) >= kPalette.size()) {
        g_Logger.error("usePaletteColor: Unknown color index passed to OverlayManager::usePaletteColor. Using Black.");
        colorIndex = Black;
    }
    const color& chosen = kPalette[static_cast<size_t>(colorIndex)];
    cairo_set_source_rgba(cairo, chosen.red, chosen.green, chosen.blue, alpha);
}

void OverlayManager::drawRectangle(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colorIndex,
                                   int32_t lineWidth, bool fill) {
    use_pen(cairo, colorIndex, lineWidth);
    outline_path(cairo, x1, y1, x2, y2);
    if (!fill) {
        cairo_stroke(cairo);
        return;
    }
    cairo_stroke_preserve(cairo);
    const std::unique_ptr<cairo_pattern_t, pattern_deleter> pattern(getCheckeredPattern(colorIndex));
    cairo_set_source(cairo, pattern.get());
    cairo_fill(cairo);
}

void OverlayManager::drawRectangle2(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colorIndex,
                                    int32_t lineWidth, bool fill) {
    const int32_t d = wrap_multiply(2, lineWidth);
    drawRectangle(cairo, x1, y1, x2, y2, colorIndex, lineWidth, fill);
    drawRectangle(cairo, wrap_subtract(x1, d), wrap_subtract(y1, d), wrap_add(x2, d), wrap_add(y2, d), colorIndex,
                  lineWidth, fill);
}

void OverlayManager::drawRectangle3(cairo_t* cairo, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colorIndex,
                                    int32_t lineWidth, bool fill) {
    const int32_t d = wrap_multiply(4, lineWidth);
    drawRectangle2(cairo, x1, y1, x2, y2, colorIndex, lineWidth, fill);
    drawRectangle(cairo, wrap_subtract(x1, d), wrap_subtract(y1, d), wrap_add(x2, d), wrap_add(y2, d), colorIndex,
                  lineWidth, fill);
}

void OverlayManager::drawText(cairo_t* cairo, const std::string& text, double x, double y, int32_t colorIndex) {
    cairo_move_to(cairo, x, y);
    usePaletteColor(cairo, colorIndex, 1);
    cairo_text_path(cairo, text.c_str());
    cairo_fill_preserve(cairo);
    usePaletteColor(cairo, Black, 1);
    cairo_set_line_width(cairo, 1);
    cairo_stroke(cairo);
}

void OverlayManager::drawCross(cairo_t* cairo, int32_t x, int32_t y, int32_t colorIndex, int32_t lineWidth,
                               int32_t size) {
    use_pen(cairo, colorIndex, lineWidth);
    cairo_move_to(cairo, x, wrap_subtract(y, size));
    cairo_line_to(cairo, x, wrap_add(y, size));
    cairo_stroke(cairo);
    cairo_move_to(cairo, wrap_subtract(x, size), y);
    cairo_line_to(cairo, wrap_add(x, size), y);
    cairo_stroke(cairo);
}

void OverlayManager::drawBox(cairo_t* cairo, int32_t x, int32_t y, int32_t colorIndex, int32_t lineWidth,
                             int32_t halfSize) {
    drawRectangle(cairo, wrap_subtract(x, halfSize), wrap_subtract(y, halfSize), wrap_add(x, halfSize),
                  wrap_add(y, halfSize), colorIndex, lineWidth, false);
}

void OverlayManager::drawCircle(cairo_t* cairo, int32_t x, int32_t y, int32_t colorIndex, int32_t lineWidth,
                                int32_t radius, bool fill) {
    usePaletteColor(cairo, colorIndex, 1);
    cairo_set_line_width(cairo, lineWidth);
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, x, y, radius, 0, kCircleEnd);
    if (fill) {
        cairo_stroke_preserve(cairo);
        cairo_fill(cairo);
    } else {
        cairo_stroke(cairo);
    }
}

void OverlayManager::useDashedLineStyle(cairo_t* cairo) {
    constexpr std::array<double, 2> kOnOff = {10, 3};
    cairo_set_dash(cairo, kOnOff.data(), kOnOff.size(), 0);
}

void OverlayManager::useDottedLineStyle(cairo_t* cairo) {
    constexpr std::array<double, 2> kOnOff = {2, 1};
    cairo_set_dash(cairo, kOnOff.data(), kOnOff.size(), 0);
}

void OverlayManager::useSolidLineStyle(cairo_t* cairo) {
    cairo_set_dash(cairo, nullptr, 0, 0);
}
