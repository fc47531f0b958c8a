#include "platform/street/painter.h"

#include <cmath>
#include <numbers>

namespace host_scene {

Colour shade(const Colour& base, double amount) {
    const double target = amount > 0.0 ? 1.0 : 0.0;
    const double share = std::abs(amount);
    const auto mix = [target, share](double value) { return value + (target - value) * share; };
    return {mix(base.red), mix(base.green), mix(base.blue)};
}

void set_colour(cairo_t* context, const Colour& paint, double alpha) {
    cairo_set_source_rgba(context, paint.red, paint.green, paint.blue, alpha);
}

void set_vertical_gradient(cairo_t* context, double y0, double y1, std::initializer_list<Colour> colours) {
    const CairoPattern pattern(cairo_pattern_create_linear(0.0, y0, 0.0, y1));
    const double steps = static_cast<double>(colours.size() - 1);
    double step = 0.0;
    for (const Colour& stop : colours) {
        cairo_pattern_add_color_stop_rgb(pattern.get(), step / steps, stop.red, stop.green, stop.blue);
        step += 1.0;
    }
    cairo_set_source(context, pattern.get());
}

void polygon(cairo_t* context, std::initializer_list<Point> corners) {
    cairo_new_sub_path(context);
    for (const Point& corner : corners)
        cairo_line_to(context, corner.x, corner.y);
    cairo_close_path(context);
}

void fill_polygon(cairo_t* context, std::initializer_list<Point> corners) {
    polygon(context, corners);
    cairo_fill(context);
}

void fill_rectangle(cairo_t* context, double x, double y, double width, double height) {
    cairo_rectangle(context, x, y, width, height);
    cairo_fill(context);
}

void rounded_rectangle(cairo_t* context, double x, double y, double width, double height, double radius) {
    constexpr double quarter = std::numbers::pi / 2.0;
    cairo_new_sub_path(context);
    cairo_arc(context, x + width - radius, y + radius, radius, -quarter, 0.0);
    cairo_arc(context, x + width - radius, y + height - radius, radius, 0.0, quarter);
    cairo_arc(context, x + radius, y + height - radius, radius, quarter, 2.0 * quarter);
    cairo_arc(context, x + radius, y + radius, radius, 2.0 * quarter, 3.0 * quarter);
    cairo_close_path(context);
}

void fill_rounded(cairo_t* context, double x, double y, double width, double height, double radius) {
    rounded_rectangle(context, x, y, width, height, radius);
    cairo_fill(context);
}

void line(cairo_t* context, double x0, double y0, double x1, double y1, double width) {
    cairo_set_line_width(context, width);
    cairo_move_to(context, x0, y0);
    cairo_line_to(context, x1, y1);
    cairo_stroke(context);
}

void disc(cairo_t* context, double x, double y, double radius) {
    cairo_new_sub_path(context);
    cairo_arc(context, x, y, radius, 0.0, 2.0 * std::numbers::pi);
    cairo_fill(context);
}

void soft_shadow(cairo_t* context, double x, double y, double half_width, double half_height, double darkness) {
    cairo_save(context);
    cairo_translate(context, x, y);
    cairo_scale(context, half_width, half_height);
    const CairoPattern pattern(cairo_pattern_create_radial(0.0, 0.0, 0.0, 0.0, 0.0, 1.0));
    cairo_pattern_add_color_stop_rgba(pattern.get(), 0.0, 0.0, 0.0, 0.0, darkness);
    cairo_pattern_add_color_stop_rgba(pattern.get(), 0.75, 0.0, 0.0, 0.0, darkness * 0.7);
    cairo_pattern_add_color_stop_rgba(pattern.get(), 1.0, 0.0, 0.0, 0.0, 0.0);
    cairo_set_source(context, pattern.get());
    disc(context, 0.0, 0.0, 1.0);
    cairo_restore(context);
}

Sprite make_sprite(double left, double above, double right, double below, double scale_x, double scale_y) {
    const int width = static_cast<int>(std::ceil((left + right) * scale_x));
    const int height = static_cast<int>(std::ceil((above + below) * scale_y));
    Sprite made{CairoSurface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)), left, above};
    cairo_surface_set_device_scale(made.surface.get(), scale_x, scale_y);
    return made;
}

CairoContext draw_on(const Sprite& target) {
    CairoContext context(cairo_create(target.surface.get()));
    cairo_translate(context.get(), target.origin_x, target.origin_y);
    return context;
}

void paint(cairo_t* context, const Sprite& source, double x, double y, bool mirrored) {
    cairo_save(context);
    cairo_translate(context, x, y);
    if (mirrored)
        cairo_scale(context, -1.0, 1.0);
    cairo_set_source_surface(context, source.surface.get(), -source.origin_x, -source.origin_y);
    cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_BILINEAR);
    cairo_paint(context);
    cairo_restore(context);
}

} // namespace host_scene
