#include "platform/street/figures.h"

#include <cmath>
#include <numbers>

namespace host_scene {
namespace {

constexpr Colour skin = {0.80, 0.60, 0.48};
constexpr Colour hair = {0.16, 0.11, 0.08};
constexpr Colour trousers = {0.13, 0.16, 0.25};
constexpr Colour shoes = {0.08, 0.07, 0.07};
constexpr double hip = -76.0;
constexpr double shoulder = -122.0;
/** Ground covered by one full turn of both legs. */
constexpr double two_steps = 92.0;

Colour jacket_of(PaintJob paint) {
    if (paint == PaintJob::red)
        return {0.66, 0.16, 0.14};
    return paint == PaintJob::green ? Colour{0.24, 0.40, 0.24} : Colour{0.20, 0.33, 0.56};
}

/** Two straight pieces from (x, y), each `length` long, at angles from hanging straight down. */
Point limb(cairo_t* context, double x, double y, double upper, double lower, double length) {
    const Point joint = {x + std::sin(upper) * length, y + std::cos(upper) * length};
    const Point end = {joint.x + std::sin(lower) * length, joint.y + std::cos(lower) * length};
    cairo_move_to(context, x, y);
    cairo_line_to(context, joint.x, joint.y);
    cairo_line_to(context, end.x, end.y);
    cairo_stroke(context);
    return end;
}

void leg(cairo_t* context, double swing, double lift, double dark) {
    set_colour(context, shade(trousers, dark));
    cairo_set_line_width(context, 14.0);
    const Point ankle = limb(context, 0, hip, swing, swing - lift, 36.0);
    set_colour(context, shoes);
    const double sole = std::min(ankle.y + 1.0, -4.0);
    line(context, ankle.x - 2.0, sole, ankle.x + 11.0, sole, 7.5);
}

void arm(cairo_t* context, const Colour& jacket, double swing) {
    set_colour(context, jacket);
    cairo_set_line_width(context, 9.5);
    const Point hand = limb(context, 0, shoulder + 4.0, swing, swing + 0.35, 23.0);
    set_colour(context, skin);
    disc(context, hand.x, hand.y, 4.6);
}

} // namespace

void paint_person(cairo_t* context, const Actor& person) {
    cairo_save(context);
    cairo_translate(context, person.x, person.ground);
    cairo_scale(context, person.to_the_left ? -person.scale : person.scale, person.scale);
    soft_shadow(context, 0, 0, 34, 7, 0.5);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
    const double phase = person.travelled / person.scale / two_steps * 2.0 * std::numbers::pi;
    // Swung further for longer than a pendulum: a silhouette with its legs together reads as a post.
    const double swing = 0.52 * std::tanh(1.8 * std::sin(phase)) / std::tanh(1.8);
    const Colour jacket = jacket_of(person.paint);
    arm(context, shade(jacket, -0.35), swing * 0.9);
    leg(context, -swing, 0.12 + 0.5 * std::max(0.0, -std::cos(phase)), -0.25);
    leg(context, swing, 0.12 + 0.5 * std::max(0.0, std::cos(phase)), 0.05);
    rounded_rectangle(context, -13, shoulder - 4.0, 26, 56, 11);
    set_vertical_gradient(context, shoulder, hip, {shade(jacket, 0.15), shade(jacket, -0.2)});
    cairo_fill(context);
    arm(context, jacket, -swing * 0.9);
    set_colour(context, skin);
    line(context, 0, shoulder - 2.0, 1, shoulder - 10.0, 8.0);
    disc(context, 1.5, -138, 11);
    set_colour(context, hair);
    cairo_arc(context, -0.5, -139.5, 11.5, 0.75 * std::numbers::pi, 1.93 * std::numbers::pi);
    cairo_close_path(context);
    cairo_fill(context);
    cairo_restore(context);
}

} // namespace host_scene
