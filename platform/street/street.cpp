#include "platform/street/figures.h"
#include "platform/street/street_scene.h"

#include <array>
#include <cmath>
#include <random>

namespace host_scene {
namespace {

constexpr double width = design_width;
constexpr double house_foot = 286.0;
constexpr double far_kerb = 326.0;
constexpr double near_kerb = 582.0;

void band(cairo_t* context, double top, double bottom, std::initializer_list<Colour> colours) {
    set_vertical_gradient(context, top, bottom, colours);
    fill_rectangle(context, 0, top, width, bottom - top);
}

void window(cairo_t* context, double x, double y, double w, double h) {
    set_colour(context, {0.86, 0.85, 0.82});
    fill_rectangle(context, x - 3, y - 3, w + 6, h + 6);
    set_vertical_gradient(context, y, y + h, {{0.50, 0.58, 0.66}, {0.27, 0.33, 0.40}});
    fill_rectangle(context, x, y, w, h);
    set_colour(context, {0.88, 0.87, 0.84});
    line(context, x + w / 2, y, x + w / 2, y + h, 2);
    line(context, x, y + h * 0.4, x + w, y + h * 0.4, 2);
    set_colour(context, {0, 0, 0}, 0.25);
    line(context, x - 3, y + h + 4, x + w + 3, y + h + 4, 3);
}

void shop_front(cairo_t* context, double x, double w, const Colour& awning) {
    set_vertical_gradient(context, 216, house_foot, {{0.35, 0.40, 0.44}, {0.18, 0.21, 0.24}});
    fill_rectangle(context, x + 14, 216, w - 28, house_foot - 222);
    set_colour(context, {1, 1, 1}, 0.10);
    fill_polygon(context, {{x + 40, 280}, {x + 70, 216}, {x + 96, 216}, {x + 66, 280}});
    set_colour(context, {0.16, 0.13, 0.11});
    fill_rectangle(context, x + w * 0.62, 222, 34, house_foot - 222);
    set_vertical_gradient(context, 196, 220, {shade(awning, 0.15), shade(awning, -0.25)});
    fill_polygon(context, {{x + 12, 196}, {x + w - 12, 196}, {x + w - 6, 220}, {x + 6, 220}});
    set_colour(context, {1, 1, 1}, 0.22);
    const int stripes = static_cast<int>(std::ceil((w - 44) / 28.0));
    for (int index = 0; index < stripes; ++index) {
        const double stripe = x + 20 + index * 28.0;
        fill_polygon(context, {{stripe, 196}, {stripe + 12, 196}, {stripe + 11, 220}, {stripe - 2, 220}});
    }
}

struct House {
    double x;
    double width;
    double roof;
    Colour wall;
    Colour awning;
};

void draw_house(cairo_t* context, const House& what) {
    set_vertical_gradient(context, what.roof, house_foot, {shade(what.wall, 0.08), shade(what.wall, -0.18)});
    fill_rectangle(context, what.x, what.roof, what.width, house_foot - what.roof);
    set_colour(context, shade(what.wall, -0.45));
    fill_rectangle(context, what.x - 3, what.roof - 9, what.width + 6, 10);
    set_colour(context, {0, 0, 0}, 0.20);
    line(context, what.x + what.width - 1, what.roof, what.x + what.width - 1, house_foot, 3);
    const int columns = static_cast<int>(what.width / 64.0);
    const double pitch = what.width / columns;
    const int storeys = static_cast<int>(std::ceil((140 - what.roof) / 66.0));
    for (int storey = 0; storey < storeys; ++storey) {
        const double y = what.roof + 20 + storey * 66.0;
        for (int column = 0; column < columns; ++column)
            window(context, what.x + pitch * (column + 0.5) - 15, y, 30, 42);
    }
    shop_front(context, what.x, what.width, what.awning);
}

void draw_tree(cairo_t* context, double x, double foot, std::mt19937& random) {
    soft_shadow(context, x, foot, 40, 7, 0.35);
    set_vertical_gradient(context, foot - 120, foot, {{0.30, 0.23, 0.17}, {0.20, 0.15, 0.11}});
    fill_polygon(context, {{x - 5, foot}, {x - 3, foot - 120}, {x + 3, foot - 120}, {x + 6, foot}});
    const auto next = [&random](double from, double to) {
        return from + (to - from) * static_cast<double>(random() % 1000U) / 1000.0;
    };
    for (int leaf = 0; leaf < 130; ++leaf) {
        const double dx = next(-46, 46);
        const double dy = next(-52, 44);
        if (dx * dx + dy * dy > 46 * 46)
            continue;
        const double light = 0.5 - dy / 130.0 - dx / 260.0;
        set_colour(context, {0.14 + 0.22 * light, 0.26 + 0.30 * light, 0.10 + 0.14 * light}, 0.85);
        disc(context, x + dx, foot - 150 + dy, next(7, 14));
    }
}

void draw_lamp_post(cairo_t* context, double x, double foot) {
    set_colour(context, {0.20, 0.22, 0.23});
    line(context, x, foot, x, foot - 250, 4);
    line(context, x, foot - 249, x + 44, foot - 256, 3);
    fill_rounded(context, x + 34, foot - 260, 26, 7, 3);
}

void draw_road(cairo_t* context, std::mt19937& random) {
    band(context, house_foot, far_kerb, {{0.58, 0.57, 0.55}, {0.66, 0.65, 0.63}});
    band(context, far_kerb, near_kerb, {{0.335, 0.34, 0.35}, {0.37, 0.375, 0.385}, {0.42, 0.42, 0.425}});
    band(context, near_kerb, design_height, {{0.62, 0.61, 0.59}, {0.70, 0.69, 0.66}});
    for (int speck = 0; speck < 6000; ++speck) {
        const double x = static_cast<double>(random() % 12800U) / 10.0;
        const double y = far_kerb + static_cast<double>(random() % 2560U) / 10.0;
        set_colour(context, random() % 2U == 0 ? Colour{0, 0, 0} : Colour{1, 1, 1}, 0.07);
        fill_rectangle(context, x, y, 2.2, 1.3);
    }
    for (const double kerb : {far_kerb, near_kerb}) {
        set_colour(context, {0.76, 0.75, 0.72});
        line(context, 0, kerb, width, kerb, 5);
        set_colour(context, {0.18, 0.18, 0.18}, 0.7);
        line(context, 0, kerb + (kerb < 400 ? 4 : -4), width, kerb + (kerb < 400 ? 4 : -4), 3);
    }
    set_colour(context, {0.9, 0.9, 0.87}, 0.85);
    for (int dash = 20; dash < design_width; dash += 120) {
        const double x = dash;
        fill_polygon(context, {{x, 428}, {x + 58, 428}, {x + 60, 433}, {x - 1, 433}});
    }
    set_colour(context, {0, 0, 0}, 0.16);
    for (int slab = 30; slab < design_width + 200; slab += 96)
        line(context, slab, near_kerb + 3, slab - (slab - width / 2) * -0.10, design_height, 1.4);
    for (const double y : {626.0, 678.0, 298.0, 311.0})
        line(context, 0, y, width, y, 1.2);
    soft_shadow(context, 1010, 470, 26, 8, 0.45);
}

/** The marked place at which vehicles stop. */
void draw_bay(cairo_t* context) {
    set_colour(context, {0.93, 0.75, 0.16}, 0.8);
    cairo_set_line_width(context, 4);
    polygon(context, {{462, 455}, {818, 455}, {836, 572}, {444, 572}});
    cairo_stroke(context);
}

} // namespace

void draw_street(cairo_t* context) {
    // A fixed seed: the street is the same in every run.
    std::mt19937 random(20);
    band(context, 0, house_foot, {{0.62, 0.74, 0.86}, {0.86, 0.90, 0.93}});
    constexpr std::array<House, 6> houses = {{
        {-20, 236, 26, {0.62, 0.42, 0.34}, {0.24, 0.42, 0.33}},
        {216, 198, 62, {0.80, 0.74, 0.62}, {0.60, 0.20, 0.18}},
        {414, 250, 14, {0.56, 0.58, 0.60}, {0.20, 0.30, 0.48}},
        {664, 206, 48, {0.74, 0.60, 0.46}, {0.62, 0.45, 0.16}},
        {870, 232, 20, {0.66, 0.66, 0.60}, {0.38, 0.22, 0.34}},
        {1102, 200, 56, {0.60, 0.40, 0.35}, {0.20, 0.42, 0.42}},
    }};
    for (const House& each : houses)
        draw_house(context, each);
    draw_road(context, random);
    draw_bay(context);
    soft_shadow(context, width / 2, house_foot + 2, width * 0.7, 10, 0.35);
    for (const double x : {150.0, 470.0, 905.0, 1210.0})
        draw_tree(context, x, 300, random);
    draw_lamp_post(context, 320, 318);
    draw_lamp_post(context, 1040, 318);
}

} // namespace host_scene
