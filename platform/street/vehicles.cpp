#include "platform/street/figures.h"

#include <array>
#include <numbers>

namespace host_scene {
namespace {

constexpr Colour tyre = {0.07, 0.07, 0.08};
constexpr Colour trim = {0.11, 0.11, 0.12};
constexpr Colour glass_top = {0.30, 0.38, 0.45};
constexpr Colour glass_bottom = {0.10, 0.13, 0.17};

/** In the paint jobs' order. */
constexpr std::array<Colour, 5> coats = {
    {{0.72, 0.07, 0.08}, {0.90, 0.91, 0.92}, {0.95, 0.72, 0.10}, {0.16, 0.28, 0.55}, {0.18, 0.42, 0.28}}};

/** The van is drawn in the saloon's proportions and stands this much taller. */
constexpr double van_size = 1.2;

/** In the kinds' order. */
constexpr std::array<Wheels, 3> wheels_of_kinds = {
    {{22.5, -86.0, 90.0}, {23.0 * van_size, -82.0 * van_size, 84.0 * van_size}, {25.0, -118.0, 106.0}}};

void fill_glass(cairo_t* context, double top, double bottom) {
    set_vertical_gradient(context, top, bottom, {glass_top, glass_bottom});
    cairo_fill(context);
}

void lamp(cairo_t* context, double x, double y, double width, double height, const Colour& glow) {
    rounded_rectangle(context, x, y, width, height, std::min(width, height) * 0.45);
    set_vertical_gradient(context, y, y + height, {shade(glow, 0.4), glow});
    cairo_fill(context);
}

void wheel_arches(cairo_t* context, const Wheels& wheels) {
    set_colour(context, {0.03, 0.03, 0.04});
    for (const double hub : {wheels.rear_hub, wheels.front_hub})
        disc(context, hub, -wheels.radius, wheels.radius * 1.17);
}

/** Fills the body's outline from top to bottom, and draws its seam. */
void fill_body(cairo_t* context, const Colour& paint, double top, double bottom, std::initializer_list<Colour> colours,
               double seam, double seam_alpha) {
    set_vertical_gradient(context, top, bottom, colours);
    cairo_fill_preserve(context);
    set_colour(context, shade(paint, -0.6), seam_alpha);
    cairo_set_line_width(context, seam);
    cairo_stroke(context);
}

/** Also cuts off what of the arches would reach below the body. */
void saloon_outline(cairo_t* context) {
    cairo_new_path(context);
    cairo_move_to(context, -138, -15);
    cairo_curve_to(context, -145, -22, -145, -36, -142, -52);
    cairo_curve_to(context, -141, -60, -136, -63, -126, -64);
    cairo_line_to(context, -92, -66);
    cairo_curve_to(context, -72, -80, -58, -92, -36, -93);
    cairo_curve_to(context, -10, -94, 14, -93, 26, -90);
    cairo_curve_to(context, 42, -84, 58, -74, 72, -65);
    cairo_curve_to(context, 98, -62, 120, -59, 134, -51);
    cairo_curve_to(context, 143, -45, 145, -34, 144, -24);
    cairo_curve_to(context, 144, -18, 141, -15, 136, -14);
    cairo_close_path(context);
}

void draw_saloon(cairo_t* context, const Colour& paint) {
    saloon_outline(context);
    fill_body(context, paint, -93, -12, {shade(paint, 0.25), paint, shade(paint, 0.10), shade(paint, -0.45)}, 1.2, 0.8);
    polygon(context, {{-84, -66}, {-70, -77}, {-54, -87}, {-36, -89}, {-20, -89}, {-20, -66}});
    fill_glass(context, -89, -66);
    polygon(context, {{-15, -66}, {-15, -89}, {6, -89}, {23, -87}, {42, -77}, {59, -66}});
    fill_glass(context, -89, -66);
    // The sky in the panes, and the driver's head behind them.
    set_colour(context, {1, 1, 1}, 0.16);
    polygon(context, {{-6, -66}, {8, -89}, {18, -88}, {6, -66}});
    polygon(context, {{-62, -66}, {-48, -88}, {-40, -89}, {-52, -66}});
    cairo_fill(context);
    set_colour(context, {0.05, 0.05, 0.06}, 0.7);
    disc(context, 12, -74, 5.5);
    set_colour(context, {1, 1, 1}, 0.28);
    line(context, -134, -55, 128, -53, 1.6);
    set_colour(context, shade(paint, -0.65), 0.8);
    for (const double door : {-66.0, -17.0, 42.0})
        line(context, door, -64, door + (door > 0 ? 4 : 1), -20, 1.2);
    set_colour(context, shade(paint, -0.7));
    line(context, -32, -56, -22, -56, 2.2);
    line(context, 26, -56, 36, -56, 2.2);
    set_colour(context, shade(paint, -0.2));
    fill_rounded(context, 46, -71, 11, 7, 3);
    set_colour(context, trim);
    fill_rounded(context, -140, -20, 282, 7, 3);
    lamp(context, 122, -52, 18, 8, {0.95, 0.94, 0.85});
    lamp(context, -143, -56, 12, 11, {0.75, 0.05, 0.06});
}

void draw_van(cairo_t* context, const Colour& paint) {
    cairo_new_path(context);
    cairo_move_to(context, -133, -16);
    cairo_line_to(context, -134, -106);
    cairo_curve_to(context, -134, -114, -130, -118, -122, -118);
    cairo_line_to(context, 44, -118);
    cairo_curve_to(context, 62, -117, 74, -108, 82, -94);
    cairo_line_to(context, 97, -67);
    cairo_curve_to(context, 116, -62, 130, -58, 132, -48);
    cairo_line_to(context, 134, -20);
    cairo_line_to(context, 128, -14);
    cairo_close_path(context);
    fill_body(context, paint, -118, -14, {shade(paint, 0.5), paint, shade(paint, -0.06), shade(paint, -0.38)}, 1.3,
              0.8);
    polygon(context, {{36, -68}, {36, -104}, {60, -104}, {70, -97}, {87, -68}});
    fill_glass(context, -104, -68);
    polygon(context, {{74, -99}, {79, -94}, {95, -67}, {91, -67}});
    fill_glass(context, -104, -68);
    set_colour(context, {1, 1, 1}, 0.16);
    fill_polygon(context, {{44, -68}, {56, -104}, {62, -103}, {52, -68}});
    set_colour(context, {0.05, 0.05, 0.06}, 0.7);
    disc(context, 62, -80, 6.5);
    set_colour(context, shade(paint, -0.45), 0.85);
    for (const double seam : {-126.0, -52.0, 28.0})
        line(context, seam, -112, seam, -22, 1.2);
    line(context, 88, -64, 84, -22, 1.2);
    set_colour(context, trim);
    line(context, -60, -64, -48, -64, 2.5);
    line(context, 34, -62, 44, -62, 2.5);
    fill_rounded(context, 78, -84, 8, 15, 3);
    fill_rounded(context, -134, -24, 268, 9, 3);
    lamp(context, 116, -58, 14, 12, {0.95, 0.94, 0.86});
    lamp(context, -134, -72, 6, 22, {0.75, 0.06, 0.06});
}

void draw_bus(cairo_t* context, const Colour& paint) {
    rounded_rectangle(context, -214, -150, 428, 136, 13);
    fill_body(context, paint, -150, -14,
              {shade(paint, 0.35), paint, shade(paint, 0.05), shade(paint, -0.08), shade(paint, -0.4)}, 1.5, 0.9);
    set_colour(context, {0.06, 0.07, 0.08});
    fill_rounded(context, -206, -132, 386, 50, 5);
    for (int pane = 0; pane < 6; ++pane) {
        const double x = -202.0 + pane * 57.0;
        rounded_rectangle(context, x, -129, 53, 44, 4);
        fill_glass(context, -129, -85);
        set_colour(context, {1, 1, 1}, 0.13);
        fill_polygon(context, {{x + 12, -86}, {x + 28, -128}, {x + 38, -128}, {x + 22, -86}});
        set_colour(context, {0.04, 0.04, 0.05}, 0.55);
        disc(context, x + 20 + pane % 3 * 5, -95, 7);
    }
    polygon(context, {{186, -130}, {206, -130}, {212, -84}, {186, -84}});
    fill_glass(context, -130, -84);
    for (const double door : {138.0, -22.0}) {
        set_colour(context, {0.08, 0.08, 0.09});
        fill_rounded(context, door, -128, 40, 108, 3);
        for (const double leaf : {door + 3.0, door + 21.5}) {
            rounded_rectangle(context, leaf, -124, 15.5, 100, 2);
            fill_glass(context, -124, -24);
        }
    }
    set_colour(context, shade(paint, -0.55));
    fill_rounded(context, -214, -24, 428, 10, 4);
    set_colour(context, {0.95, 0.95, 0.95}, 0.9);
    for (const double part : {-208.0, 24.0})
        fill_rounded(context, part, -72, part < 0 ? 180 : 108, 5, 2);
    set_colour(context, {0.05, 0.05, 0.05});
    fill_rounded(context, 60, -147, 74, 12, 3);
    set_colour(context, {1.0, 0.65, 0.1});
    for (int letter = 0; letter < 6; ++letter)
        fill_rounded(context, 66.0 + letter * 11.0, -144, 6 + letter % 2 * 2, 6, 1);
    lamp(context, 200, -52, 13, 12, {0.96, 0.95, 0.86});
    lamp(context, -214, -58, 7, 18, {0.78, 0.06, 0.06});
    set_colour(context, trim);
    fill_rounded(context, 212, -122, 6, 22, 2);
}

Sprite make_wheel(double radius, double scale_x, double scale_y) {
    const double edge = radius + 1.0;
    Sprite made = make_sprite(edge, edge, edge, edge, scale_x, scale_y);
    const CairoContext context = draw_on(made);
    set_colour(context.get(), tyre);
    disc(context.get(), 0, 0, radius);
    set_colour(context.get(), {0.62, 0.64, 0.67});
    disc(context.get(), 0, 0, radius * 0.66);
    set_colour(context.get(), {0.13, 0.13, 0.15});
    disc(context.get(), 0, 0, radius * 0.57);
    set_colour(context.get(), {0.74, 0.76, 0.79});
    constexpr int spokes = 5;
    for (int spoke = 0; spoke < spokes; ++spoke) {
        cairo_save(context.get());
        cairo_rotate(context.get(), spoke * 2.0 * std::numbers::pi / spokes);
        line(context.get(), 0, 0, radius * 0.6, 0, radius * 0.17);
        cairo_restore(context.get());
    }
    disc(context.get(), 0, 0, radius * 0.2);
    return made;
}

} // namespace

VehicleSprites make_vehicle(Kind what, PaintJob paint, double scale_x, double scale_y) {
    const double half = length_of(what) / 2.0;
    const double height = height_of(what);
    VehicleSprites made{};
    made.wheels = wheels_of_kinds[static_cast<std::size_t>(what)];
    made.body = make_sprite(half + 24, height + 4, half + 24, 18, scale_x, scale_y);
    made.wheel = make_wheel(made.wheels.radius, scale_x, scale_y);
    const CairoContext context = draw_on(made.body);
    soft_shadow(context.get(), 0, 0, half + 20, 13, 0.6);
    const Colour& coat = coats[static_cast<std::size_t>(paint)];
    if (what == Kind::saloon) {
        draw_saloon(context.get(), coat);
    } else if (what == Kind::van) {
        cairo_save(context.get());
        cairo_scale(context.get(), van_size, van_size);
        draw_van(context.get(), coat);
        cairo_restore(context.get());
    } else {
        draw_bus(context.get(), coat);
    }
    wheel_arches(context.get(), made.wheels);
    return made;
}

void paint_vehicle(cairo_t* context, const VehicleSprites& sprites, const Actor& vehicle) {
    cairo_save(context);
    cairo_translate(context, vehicle.x, vehicle.ground);
    cairo_scale(context, vehicle.to_the_left ? -vehicle.scale : vehicle.scale, vehicle.scale);
    paint(context, sprites.body, 0, 0, false);
    for (const double hub : {sprites.wheels.rear_hub, sprites.wheels.front_hub}) {
        cairo_save(context);
        cairo_translate(context, hub, -sprites.wheels.radius);
        cairo_rotate(context, vehicle.travelled / (vehicle.scale * sprites.wheels.radius));
        paint(context, sprites.wheel, 0, 0, false);
        cairo_restore(context);
    }
    cairo_restore(context);
}

} // namespace host_scene
