#pragma once

#include "platform/street/painter.h"
#include "platform/street/schedule.h"

/** What stands and moves in the street, in 1280x720 units. */
namespace host_scene {

/** Everything that stands still: sky, houses, trees, both pavements and the road. */
void draw_street(cairo_t* context);

/** A walking person seen from the side, drawn anew for every step. */
void paint_person(cairo_t* context, const Actor& person);

/** Of a vehicle, from its origin; the wheels stand on the ground. */
struct Wheels {
    double radius;
    double rear_hub;
    double front_hub;
};

/** A vehicle seen from its right side, driving to the right; its origin is on the ground below its middle. */
struct VehicleSprites {
    /** Body and shadow, with empty wheel arches. */
    Sprite body;
    Sprite wheel;
    Wheels wheels;
};

VehicleSprites make_vehicle(Kind what, PaintJob paint, double scale_x, double scale_y);
void paint_vehicle(cairo_t* context, const VehicleSprites& sprites, const Actor& vehicle);

} // namespace host_scene
