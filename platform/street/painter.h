#pragma once

#include "platform/common/cairo.h"

#include <initializer_list>

/** Small tools for drawing with cairo. */
namespace host_scene {

using platform::CairoContext;
using platform::CairoPattern;
using platform::CairoSurface;

/** Red, green and blue from 0 to 1. */
struct Colour {
    double red;
    double green;
    double blue;
};

/** Towards white (amount > 0) or black (amount < 0); 1 and -1 reach it. */
Colour shade(const Colour& base, double amount);
void set_colour(cairo_t* context, const Colour& paint, double alpha = 1.0);
/** From `top` at y0 to `bottom` at y1, as the source of the next fill. */
void set_vertical_gradient(cairo_t* context, double y0, double y1, std::initializer_list<Colour> colours);

struct Point {
    double x;
    double y;
};
void polygon(cairo_t* context, std::initializer_list<Point> corners);
void fill_polygon(cairo_t* context, std::initializer_list<Point> corners);
void fill_rectangle(cairo_t* context, double x, double y, double width, double height);
void rounded_rectangle(cairo_t* context, double x, double y, double width, double height, double radius);
void fill_rounded(cairo_t* context, double x, double y, double width, double height, double radius);
void line(cairo_t* context, double x0, double y0, double x1, double y1, double width);
void disc(cairo_t* context, double x, double y, double radius);
/** A soft dark ellipse on the ground. */
void soft_shadow(cairo_t* context, double x, double y, double half_width, double half_height, double darkness);

/** A transparent picture drawn once and painted many times; (origin_x, origin_y) of it is the object's own (0, 0). */
struct Sprite {
    CairoSurface surface;
    double origin_x = 0.0;
    double origin_y = 0.0;
};
/** An empty sprite that holds x from -left to right and y from -above to below, at `scale` picture pixels a unit. */
Sprite make_sprite(double left, double above, double right, double below, double scale_x, double scale_y);
/** A context on it in the object's own units. */
CairoContext draw_on(const Sprite& target);
/** Paints it with its origin at (x, y), mirrored left to right when asked; the context is in the same units. */
void paint(cairo_t* context, const Sprite& source, double x, double y, bool mirrored);

} // namespace host_scene
