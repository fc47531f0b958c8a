#pragma once

#include "platform/street/painter.h"

namespace host_scene {

/** Everything that stands still: sky, houses, trees, both pavements and the road, in 1280x720 units. */
void draw_street(cairo_t* context);

} // namespace host_scene
